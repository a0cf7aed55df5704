// SPDX-License-Identifier: Apache-2.0
#pragma once

// Which lines of an mbox begin a message.  Mbox asks, and Message::read, which refuses a file
// that holds several.

#include <cstddef>
#include <string_view>

namespace mimetree::inner {

// What stands in front of a line "From ...".
enum class LineBefore { start_of_file, blank_line, text };

// True when `text` begins with a line that begins a message (RFC 4155 appendix A, and what
// stands in mailboxes besides).  A decision needs kSeparatorReach bytes, or all until the end.
bool beginsMessage(std::string_view text, LineBefore before) noexcept;
inline constexpr size_t kSeparatorReach = 1200;

struct Separator {
    bool isFound;
    size_t at;  // where the From line begins; if there is none, from where to look in more text
};

// The first line that begins a message behind text[from]; text begins with a line.  `isEnd` says
// that no text follows.
Separator findSeparator(std::string_view text, size_t from, bool isEnd) noexcept;

// A file may begin with a byte order mark and blank lines; the length of these.
size_t inFrontOfMbox(std::string_view text) noexcept;

// True for an mbox with at least two messages.  Takes time only for what begins with "From ".
bool holdsSeveralMessages(std::string_view file) noexcept;

}  // namespace mimetree::inner
