// SPDX-License-Identifier: Apache-2.0
// Judges characters for file names (safe_name.cpp) and for the program's terminal.

#include "face/files/harm.h"

#include "foundation/bytes/utf8.h"

namespace mimetree::inner {

Character characterAt(std::string_view text, size_t at) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data()) + at;
    const unsigned size = utf8::sequence(p, text.size() - at);
    if (size == 0) return {*p, 0};
    return {utf8::next(p, p + size), size};
}

bool isHarmful(char32_t c) {
    return (c < 0x20 && c != '\t') || (c >= 0x7F && c < 0xA0)  // C0, DEL, C1
           || c == 0x061C || c == 0x200E || c == 0x200F        // direction marks
           || (c >= 0x2028 && c <= 0x202E)                     // line breaks, embeddings
           || (c >= 0x2066 && c <= 0x2069);                    // isolates
}

std::string withoutHarm(std::string_view text, char replacement) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const Character c = characterAt(text, at);
        if (c.size == 0 || c.codePoint == '\t' || isHarmful(c.codePoint)) out += replacement;
        else out += text.substr(at, c.size);
        at += c.size ? c.size : 1;
    }
    return out;
}

}  // namespace mimetree::inner
