// SPDX-License-Identifier: Apache-2.0
// Checked writing to standard output, error lines, and the escaping of text that could steer
// a terminal.  Every command writes through here.

#include "cli/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Character {
    unsigned codePoint;
    unsigned size;  // 0: the byte begins no UTF-8 character
};

// RFC 3629 4: overlong forms, surrogates and values above U+10FFFF are not UTF-8.
Character characterAt(std::string_view text, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[at + i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return {first, 1};
    const unsigned size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() - at < size) return {first, 0};
    unsigned codePoint = first & (0xFFu >> (size + 1));
    for (unsigned i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0u) != 0x80) return {first, 0};
        codePoint = codePoint << 6 | (byte(i) & 0x3Fu);
    }
    constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kLeast[size] || codePoint > 0x10FFFF || isSurrogate) return {first, 0};
    return {codePoint, size};
}

bool isHarmful(unsigned c) {
    return (c < 0x20 && c != '\t') || (c >= 0x7F && c < 0xA0)  // C0, DEL, C1
           || c == 0x061C || c == 0x200E || c == 0x200F        // direction marks
           || (c >= 0x2028 && c <= 0x202E)                     // line breaks, embeddings
           || (c >= 0x2066 && c <= 0x2069);                    // isolates
}

bool isLayout(std::string_view text, size_t at) {
    const char c = text[at];
    return c == '\n' || (c == '\r' && text.substr(at + 1, 1) == "\n");
}

std::string escape(unsigned code) {
    char text[16];
    std::snprintf(text, sizeof text, code < 0x100 ? "\\x%02X" : "\\u%04X", code);
    return text;
}

std::string escaped(std::string_view text, bool keepLayout) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const Character c = characterAt(text, at);
        if (keepLayout && isLayout(text, at)) {
            if (text[at] != '\r') out += text[at];
        } else if (c.size == 0 || isHarmful(c.codePoint)) {
            out += escape(c.codePoint);
        } else {
            out += text.substr(at, c.size);
        }
        at += c.size ? c.size : 1;
    }
    return out;
}

const char* codeOf(Colour colour) {
    switch (colour) {
        case Colour::Dim: return "\x1B[2m";
        case Colour::Bold: return "\x1B[1m";
        case Colour::Green: return "\x1B[32m";
        case Colour::Cyan: return "\x1B[36m";
        case Colour::Yellow: return "\x1B[33m";
        case Colour::None: break;
    }
    return "";
}

// NO_COLOR counts when it is set and not empty (no-color.org).
bool wantsColour() {
    const char* noColour = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return !(noColour && *noColour) && !(terminal && std::strcmp(terminal, "dumb") == 0);
}

}  // namespace

std::string_view view(const StringBuffer& s) { return {s.getString(), s.getSize()}; }

std::string_view view(const DataBuffer& d) {
    return {reinterpret_cast<const char*>(d.getData2()), d.getSize()};
}

std::string_view view(const char* s) { return s ? std::string_view(s) : std::string_view(); }

std::string oneLine(std::string_view text) { return escaped(text, /*keepLayout*/ false); }

std::string manyLines(std::string_view text) { return escaped(text, /*keepLayout*/ true); }

std::string withoutHarm(std::string_view text, char replacement) {
    std::string out;
    for (size_t at = 0; at < text.size();) {
        const Character c = characterAt(text, at);
        if (c.size == 0 || c.codePoint == '\t' || isHarmful(c.codePoint)) out += replacement;
        else out += text.substr(at, c.size);
        at += c.size ? c.size : 1;
    }
    return out;
}

void reportError(std::string_view message) {
    const std::string line = "mimetree: " + oneLine(message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void reportError(std::string_view path, std::string_view reason) {
    reportError(std::string(path) + ": " + std::string(reason));
}

Output::Output()
    : m_isTerminal(isatty(STDOUT_FILENO) == 1), m_hasColour(m_isTerminal && wantsColour()) {}

void Output::write(std::string_view text) {
    if (!good() || text.empty()) return;
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        m_error = errno ? errno : EIO;
}

void Output::writeContent(std::string_view bytes) {
    if (!m_isTerminal) return write(bytes);
    const std::string shown = manyLines(bytes);
    write(shown);
    if (!shown.empty() && shown.back() != '\n') write("\n");
}

std::string Output::coloured(Colour colour, std::string_view text) const {
    if (!m_hasColour || text.empty()) return std::string(text);
    return codeOf(colour) + std::string(text) + "\x1B[0m";
}

bool Output::finish() {
    errno = 0;
    const bool flushed = std::fflush(stdout) == 0;
    // Some file systems tell of a full disk on closing only; one that was closed from the
    // start is an error when there was something to write.
    const bool closed = flushed && (close(STDOUT_FILENO) == 0 || errno == EBADF);
    if (!closed && good()) m_error = errno ? errno : EIO;
    if (!good()) reportError("cannot write the output", std::strerror(m_error));
    return good();
}
