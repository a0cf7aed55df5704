// SPDX-License-Identifier: Apache-2.0
#pragma once

// What is handed in as a mail and is none.

#include <optional>
#include <string_view>

#include "mimetree/result.hpp"

namespace mimetree::inner {

// Errc::not_mail for nothing at all and for bytes that are neither text nor begin with a header;
// Errc::is_mbox for several messages in one; else nothing.
std::optional<Error> whyNoMail(std::string_view input);

// Behind what may stand in front of a header: a byte order mark, blank lines, an mbox line.
std::string_view behindFront(std::string_view input);

// True for a text in whose first lines, down to a blank one, there is no header field.
bool hasNoHeader(std::string_view input);

// True when `line` begins as a header field does: a name and a colon.
bool isFieldLine(std::string_view line);

}  // namespace mimetree::inner
