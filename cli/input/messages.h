// SPDX-License-Identifier: Apache-2.0
#pragma once

// From the command line's paths to loaded messages, one after another.

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "cli/input/options.h"
#include "cli/output/output.h"
#include "mime/MimeMessage2.h"
#include "mimetree/opened.hpp"

struct InputMessage {
    std::string name;           // as it is accepted as FILE again
    std::string_view bytes;     // as read; of an mbox, unquoted
    std::string_view fromLine;  // that stood before it in an mbox; else empty
    const mimetree::Message& mail;
    MimeMessage2& root;  // of the mail
    LogBase& log;
    mimetree::Nested nested;

    // All parts, those of messages within the message too unless --closed was given.
    mimetree::OpenedParts opened() const;
};

// A command's work on one message, in any thread.
using ShowMessage = std::function<ExitStatus(const InputMessage& message, Output& out)>;

// The same in two steps: what is answered runs in the order of the messages, one at a time,
// behind what the first step wrote.  The message lives until then.
using InTurn = std::function<ExitStatus(Output& out)>;
using PrepareMessage = std::function<InTurn(const InputMessage& message, Output& out)>;

enum class Heading { None, Name };

// Loads every message that the paths name and shows each, with the output in their order.  With
// Heading::Name, each of several is headed by its name.  What cannot be done is reported and the
// rest goes on.
ExitStatus forEachMessage(const CommonOptions& common, Output& out, Heading heading,
                          const ShowMessage& show);
ExitStatus forEachMessageInTurn(const CommonOptions& common, Output& out, Heading heading,
                                const PrepareMessage& prepare);

// The same for the one message that the path names; where it stands for several, that is an error.
ExitStatus forOneMessage(const CommonOptions& common, Output& out, const ShowMessage& show);

// The log that the options ask for.
std::unique_ptr<LogBase> makeLog(const CommonOptions& common, Output& out);
