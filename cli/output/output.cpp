// SPDX-License-Identifier: Apache-2.0
// Checked writing to standard output, error lines, and the escaping of text that could steer
// a terminal.  Every command writes through here.

#include "cli/output/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "face/files/harm.h"

using namespace mimetree::inner;

namespace {

bool isLayout(std::string_view text, size_t at) {
    const char c = text[at];
    return c == '\n' || (c == '\r' && text.substr(at + 1, 1) == "\n");
}

std::string escape(char32_t code) {
    char text[16];
    std::snprintf(text, sizeof text, code < 0x100 ? "\\x%02X" : "\\u%04X",
                  static_cast<unsigned>(code));
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
        case Colour::Red: return "\x1B[31m";
        case Colour::Green: return "\x1B[32m";
        case Colour::Yellow: return "\x1B[33m";
        case Colour::Blue: return "\x1B[34m";
        case Colour::Magenta: return "\x1B[35m";
        case Colour::Cyan: return "\x1B[36m";
        case Colour::None: break;
    }
    return "";
}

std::string errorLine(std::string_view message) { return "mimetree: " + oneLine(message) + "\n"; }

}  // namespace

std::string_view view(const StringBuffer& s) { return {s.getString(), s.getSize()}; }

std::string_view view(const DataBuffer& d) {
    return {reinterpret_cast<const char*>(d.getData2()), d.getSize()};
}

std::string_view view(const char* s) { return s ? std::string_view(s) : std::string_view(); }

std::string oneLine(std::string_view text) { return escaped(text, /*keepLayout*/ false); }

std::string manyLines(std::string_view text) { return escaped(text, /*keepLayout*/ true); }

void reportError(std::string_view message) {
    const std::string line = errorLine(message);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void reportError(std::string_view path, std::string_view reason) {
    reportError(std::string(path) + ": " + std::string(reason));
}

Output::Output() : m_screen(screenOf("auto", /*ascii*/ false)) {}

void Output::handOn(Output& to) {
    to.write(m_text);
    to.writeError(m_errors);
    m_text.clear();
    m_errors.clear();
}

void Output::write(std::string_view text) {
    if (m_isKept) m_text += text;
    if (m_isKept || !good() || text.empty()) return;
    if (std::exchange(m_wantsPager, false)) m_pager.start();
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        m_error = errno ? errno : EIO;
}

void Output::writeError(std::string_view text) {
    if (m_isKept) m_errors += text;
    else std::fwrite(text.data(), 1, text.size(), stderr);
}

void Output::error(std::string_view message) { writeError(errorLine(message)); }

void Output::error(std::string_view path, std::string_view reason) {
    error(std::string(path) + ": " + std::string(reason));
}

ExitStatus Output::failed(std::string_view path, std::string_view reason) {
    error(path, reason);
    return kFailed;
}

void Output::writeContent(std::string_view bytes) {
    if (!m_screen.isTerminal) return write(bytes);
    const std::string shown = manyLines(bytes);
    write(shown);
    if (!shown.empty() && shown.back() != '\n') write("\n");
}

std::string Output::coloured(Colour colour, std::string_view text) const {
    if (!m_screen.hasColour || text.empty()) return std::string(text);
    return codeOf(colour) + std::string(text) + "\x1B[0m";
}

// Whoever leaves a pager has seen enough, which is no failure.
bool Output::isLeftByReader() const { return m_pager.isRunning() && m_error == EPIPE; }

ExitStatus Output::finish() {
    errno = 0;
    const bool flushed = std::fflush(stdout) == 0;
    // Some file systems tell of a full disk on closing only; one that was closed from the
    // start is an error when there was something to write.
    const bool closed = flushed && (close(STDOUT_FILENO) == 0 || errno == EBADF);
    if (!closed && good()) m_error = errno ? errno : EIO;
    if (isLeftByReader()) m_error = 0;
    m_pager.wait();
    if (good()) return kDone;
    if (m_error == EPIPE) return kClosedPipe;
    reportError("cannot write the output", std::strerror(m_error));
    return kFailed;
}
