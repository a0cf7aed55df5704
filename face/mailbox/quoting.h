// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "mimetree/mailbox.hpp"

namespace mimetree::inner {

// Takes the ">" away that writing to an mbox put in front of lines with "From ", in place, and
// answers the new size of text[0, size).  Only kinds rd and o have such.
size_t unquoteFromLines(char* text, size_t size, MboxKind kind) noexcept;

// Appends the message with ">" in front of lines with "From ", as kind rd has it.  May throw
// std::bad_alloc.
void appendQuoted(std::string& to, std::string_view message);

}  // namespace mimetree::inner
