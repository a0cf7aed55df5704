// SPDX-License-Identifier: Apache-2.0
#pragma once

// The transfer codings as plainly as they can be written, for comparison.

#include <string>
#include <string_view>

namespace reference {

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string base64Decode(std::string_view text) {
    std::string out, group;
    const auto flush = [&] {
        unsigned bits = 0;
        for (size_t i = 0; i < 4; ++i)
            bits = bits << 6 | (i < group.size() ? unsigned(group[i]) : 0);
        for (size_t i = 0; i < group.size() * 3 / 4; ++i) out += char(bits >> (16 - 8 * i) & 255);
        group.clear();
    };
    for (const char c : text) {
        const size_t value = kBase64.find(c);
        if (value != kBase64.npos) group += char(value);
        if (group.size() == 4 || c == '=') flush();
    }
    flush();
    return out;
}

inline std::string base64Encode(std::string_view data) {
    std::string out;
    for (size_t i = 0; i < data.size(); i += 3) {
        if (i % 57 == 0 && i != 0) out += "\r\n";
        unsigned bits = 0;
        for (size_t k = i; k < i + 3; ++k)
            bits = bits << 8 | (k < data.size() ? static_cast<unsigned char>(data[k]) : 0U);
        for (unsigned k = 0; k < 4; ++k)
            out += i + k > data.size() ? '=' : kBase64[bits >> (18 - 6 * k) & 63];
    }
    return out;
}

// Line by line: blanks at the end go, then a "=" there with the line break, then escapes.
inline std::string qpDecode(std::string_view text) {
    const std::string_view hex = "0123456789ABCDEF0123456789abcdef";
    std::string out;
    while (!text.empty()) {
        const size_t lf = text.find('\n');
        std::string_view line = text.substr(0, lf), lineBreak = lf == text.npos ? "" : "\n";
        text.remove_prefix(line.size() + lineBreak.size());
        if (!lineBreak.empty() && !line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
            lineBreak = "\r\n";
        }
        line = line.substr(0, line.find_last_not_of(" \t") + 1);
        if (!line.empty() && line.back() == '=') {
            line.remove_suffix(1);
            lineBreak = "";
        }
        for (size_t i = 0; i < line.size(); ++i) {
            const bool escape = line[i] == '=' && i + 2 < line.size() &&
                                hex.find(line[i + 1]) != hex.npos &&
                                hex.find(line[i + 2]) != hex.npos;
            out += escape ? char(hex.find(line[i + 1]) % 16 * 16 + hex.find(line[i + 2]) % 16)
                          : line[i];
            i += escape ? 2 : 0;
        }
        out += lineBreak;
    }
    return out;
}

inline std::string uuEncode(std::string_view data) {
    std::string out = "begin 644 x\n";
    for (; !data.empty(); data.remove_prefix(data.size() < 45 ? data.size() : 45)) {
        const std::string line(data.substr(0, 45));
        out += char(' ' + line.size());
        for (size_t i = 0; i < line.size(); i += 3) {
            unsigned bits = 0;
            for (size_t k = i; k < i + 3; ++k)
                bits = bits << 8 | (k < line.size() ? static_cast<unsigned char>(line[k]) : 0U);
            for (unsigned k = 0; k < 4; ++k) out += char(' ' + (bits >> (18 - 6 * k) & 63));
        }
        out += '\n';
    }
    return out + "`\nend\n";
}

}  // namespace reference
