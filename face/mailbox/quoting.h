// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "mimetree/mailbox.hpp"

namespace mimetree::inner {

// Takes the ">" away that writing to an mbox put in front of lines with "From ", in place, and
// answers the new size of text[0, size).  Only kinds rd and o have such.
size_t unquoteFromLines(char* text, size_t size, MboxKind kind) noexcept;

}  // namespace mimetree::inner
