// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the command line's paths name, message by message and not looked into yet.

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/input/options.h"
#include "cli/input/walk.h"

struct RawMail {
    std::string name;      // "mail.eml", "archive.mbox#17"
    std::string bytes;     // without the line "From " of an mbox, and unquoted
    std::string fromLine;  // that line, of an mbox with several messages
    std::string failure;   // why there are no bytes; empty when there are
    bool isOneOfSeveral = false;
};

// Messages out of one place.
class MailStream {
public:
    virtual ~MailStream() = default;
    virtual bool next(RawMail& mail) = 0;
};

class MailReader {
public:
    explicit MailReader(const CommonOptions& common);

    // The next one; false when there is none.
    bool next(RawMail& mail);

    // Whether there is more than one message; looks at the first place.
    bool areSeveral();

    // Read so far, and of all that the paths name as far as that is known.
    uint64_t bytesRead() const { return m_bytesRead; }
    uint64_t bytesInAll() const;

    std::string skipped() const { return m_walk.skipped(); }

private:
    std::unique_ptr<MailStream> open(const Walk::Place& place);

    const CommonOptions& m_common;
    Walk m_walk;
    std::atomic<uint64_t> m_bytesRead = 0;
    std::unique_ptr<MailStream> m_stream;
    std::optional<RawMail> m_first;  // read already, by areSeveral()
};

// Appends what a file ("-": standard input) holds; the reason why it could not be read, or null.
const char* readWhole(const std::string& path, std::string& bytes);
