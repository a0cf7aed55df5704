// SPDX-License-Identifier: Apache-2.0
#pragma once

// Plain text that mailing lists and virus scanners append to a body whatever its coding.

#include <cstddef>

namespace mimetree::inner::base64 {

// The size of text[0, size) without the plain text at its end.
size_t sizeWithoutFooter(const char* text, size_t size);

}  // namespace mimetree::inner::base64
