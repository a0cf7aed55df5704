// SPDX-License-Identifier: Apache-2.0
#pragma once

// The line in front of a message in an mbox that is written here.

#include <string>
#include <string_view>

namespace mimetree::inner {

// Stand behind the date of such a line where reading would not give the same bytes without.  For
// other readers they are blanks.
inline constexpr std::string_view kIsQuoted = "\t";    // kind rd, whatever Content-Length says
inline constexpr std::string_view kHasNoEnd = "\t\t";  // and the last line end is not its own

// RFC 4155 appendix A: "From ann@example.org Thu Nov  1 12:34:56 2001", with the envelope's sender
// and the time of delivery in UTC as far as the header tells them: Return-Path or From, the first
// Received or Date.  No mark, no line end.  May throw std::bad_alloc.
std::string fromLineOf(std::string_view mail);

// The header, up to a blank line or the end.
std::string_view headerOf(std::string_view mail) noexcept;

}  // namespace mimetree::inner
