// SPDX-License-Identifier: Apache-2.0
#pragma once

// Characters with which text out of mail could steer a terminal, fake a line or turn a file
// name around.

#include <string>
#include <string_view>

namespace mimetree::inner {

struct Character {
    char32_t codePoint;
    unsigned size;  // 0: the byte, which is then the code point, begins no UTF-8 character
};

Character characterAt(std::string_view text, size_t at);

// Control characters but for the tab, line breaks of Unicode's own, and bidi controls.
bool isHarmful(char32_t codePoint);

// `text` with a replacement for what is harmful, for tabs, and for bytes that are not UTF-8.
std::string withoutHarm(std::string_view text, char replacement);

}  // namespace mimetree::inner
