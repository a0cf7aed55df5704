// SPDX-License-Identifier: Apache-2.0
// The field Content-Length, by which some programs told the messages of an mbox apart.

#include "face/mailbox/content_length.h"

#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

// The number in a line "Content-Length: 123".
std::optional<size_t> contentLengthIn(std::string_view line) noexcept {
    constexpr std::string_view kName = "content-length:";
    if (line.size() < kName.size() ||
        !bytes::equalIgnoreCase(line.data(), kName.data(), kName.size()))
        return std::nullopt;
    size_t at = kName.size(), value = 0;
    while (at < line.size() && bytes::isBlank(line[at])) ++at;
    const size_t digits = at;
    for (; at < line.size() && bytes::isDigit(line[at]); ++at) {
        if (value > 0xFFFFFFFFu / 10) return std::nullopt;
        value = value * 10 + static_cast<size_t>(line[at] - '0');
    }
    while (at < line.size() && bytes::isSpace(line[at])) ++at;
    return at > digits && at == line.size() ? std::optional(value) : std::nullopt;
}

}  // namespace

std::optional<size_t> endByContentLength(std::string_view message) noexcept {
    std::optional<size_t> length;
    for (size_t at = 0; at < message.size();) {
        const size_t stop = message.find('\n', at);
        if (stop == std::string_view::npos) return std::nullopt;
        const std::string_view line = message.substr(at, stop + 1 - at);
        at = stop + 1;
        if (line == "\n" || line == "\r\n")
            return length ? std::optional(at + *length) : std::nullopt;
        if (const auto found = contentLengthIn(line)) length = found;
    }
    return std::nullopt;
}

}  // namespace mimetree::inner
