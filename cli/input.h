// SPDX-License-Identifier: Apache-2.0
#pragma once

// From the command line's paths to loaded messages.

#include <functional>
#include <memory>
#include <string>

#include "cli/options.h"
#include "cli/output.h"
#include "mime/MimeMessage2.h"
#include "mimetree/message.hpp"

struct Message {
    std::string path;
    const mimetree::Message& mail;
    MimeMessage2& root;  // of the mail
    LogBase& log;
};

// A command's work on one message.
using ShowMessage =
    std::function<ExitStatus(const Message& message, const Options& options, Output& out)>;

enum class Heading { None, Path };

// Loads every message that the paths name, in order, and shows each; a directory stands for
// the regular files below it.  With Heading::Path, each of several is headed by its path.
// What cannot be done is reported and the rest goes on.
ExitStatus forEachMessage(const Options& options, Output& out, Heading heading,
                          const ShowMessage& show);

// The log that the options ask for.
std::unique_ptr<LogBase> makeLog(const Options& options);

// The reason why a file ("-": standard input) could not be read; null when `bytes` holds it.
const char* readWhole(const std::string& path, DataBuffer& bytes);
