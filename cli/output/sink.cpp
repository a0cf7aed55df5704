// SPDX-License-Identifier: Apache-2.0

#include "cli/output/sink.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "foundation/coding/base64.h"

namespace base64 = mimetree::inner::base64;

namespace {

constexpr size_t kPiece = 1024 * base64::kLineBytes;

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The size of the next piece, which cuts no character in two.
size_t pieceOf(std::string_view text) {
    if (text.size() <= kPiece) return text.size();
    constexpr size_t kLongest = 3;  // continuation bytes of a character
    size_t end = kPiece;
    while (end > kPiece - kLongest && isContinuation(text[end])) --end;
    return end;
}

}  // namespace

void writeBase64(std::string_view bytes, const Sink& sink) {
    std::string text;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kPiece))) {
        text.clear();
        for (std::string_view piece = bytes.substr(0, kPiece); !piece.empty();
             piece.remove_prefix(std::min(piece.size(), base64::kLineBytes))) {
            char line[base64::kLineChars];
            const char* const end =
                base64::encode(reinterpret_cast<const unsigned char*>(piece.data()),
                               std::min(piece.size(), base64::kLineBytes), line);
            text.append(line, static_cast<size_t>(end - line));
        }
        sink(text);
    }
}

void writeJsonString(std::string_view text, const Sink& sink) {
    sink("\"");
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, pieceOf(text));
        const std::string quoted = nlohmann::json(piece).dump(
            -1, ' ', /*ensure_ascii*/ true, nlohmann::json::error_handler_t::replace);
        sink(std::string_view(quoted).substr(1, quoted.size() - 2));
        text.remove_prefix(piece.size());
    }
    sink("\"");
}
