// SPDX-License-Identifier: Apache-2.0

#include "cli/report/markup.h"

#include <algorithm>

#include "cli/output/output.h"

namespace {

constexpr std::string_view kSpecial("&\"<>'\0", 6);

std::string_view escapeOf(char c) {
    switch (c) {
        case '&': return "&amp;";
        case '"': return "&quot;";
        case '<': return "&lt;";
        case '>': return "&gt;";
        case '\'': return "&#39;";
        default: return "\xEF\xBF\xBD";  // NUL: what parsers make of it
    }
}

}  // namespace

std::string markup(std::string_view text) {
    std::string out;
    writeValue(oneLine(text), [&](std::string_view piece) { out += piece; });
    return out;
}

std::string markupLines(std::string_view text) {
    std::string out;
    writeValue(manyLines(text), [&](std::string_view piece) { out += piece; });
    return out;
}

void writeValue(std::string_view text, const Sink& sink) {
    while (!text.empty()) {
        const size_t plain = std::min(text.find_first_of(kSpecial), text.size());
        sink(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) return;
        sink(escapeOf(text.front()));
        text.remove_prefix(1);
    }
}
