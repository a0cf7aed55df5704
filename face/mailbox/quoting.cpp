// SPDX-License-Identifier: Apache-2.0
// Lines ">From " of an mbox, back to what they were for Mbox, and made for MboxWriter.

#include "face/mailbox/quoting.h"

#include <cstring>
#include <string_view>

#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

bool isQuoted(std::string_view line, MboxKind kind) noexcept {
    const size_t quotes = line.find_first_not_of('>');
    if (quotes == 0 || quotes == std::string_view::npos) return false;
    return line.substr(quotes).starts_with("From ") && (quotes == 1 || kind == MboxKind::rd);
}

// The next quoted line that begins behind `from`, or the end.
const char* nextQuoted(const char* from, const char* end, MboxKind kind) noexcept {
    while (const char* const hit = bytes::find(from, static_cast<size_t>(end - from), "\n>", 2)) {
        from = hit + 1;
        if (isQuoted({from, static_cast<size_t>(end - from)}, kind)) return from;
    }
    return end;
}

}  // namespace

size_t unquoteFromLines(char* text, size_t size, MboxKind kind) noexcept {
    if (kind != MboxKind::rd && kind != MboxKind::o) return size;
    const char* const end = text + size;
    const char* from = text;
    char* to = text;
    const char* quote = isQuoted({text, size}, kind) ? text : nextQuoted(text, end, kind);
    while (true) {
        const size_t run = static_cast<size_t>(quote - from);
        if (to != from) std::memmove(to, from, run);
        to += run;
        if (quote == end) return static_cast<size_t>(to - text);
        from = quote + 1;
        quote = nextQuoted(from, end, kind);
    }
}

// Each run of ">" is gone back over once, since a "From " stands between them.
void appendQuoted(std::string& to, std::string_view message) {
    size_t done = 0;
    for (size_t from = 0;;) {
        const char* const hit =
            bytes::find(message.data() + from, message.size() - from, "From ", 5);
        if (!hit) break;
        size_t line = static_cast<size_t>(hit - message.data());
        from = line + 5;
        while (line > 0 && message[line - 1] == '>') --line;
        if (line > 0 && message[line - 1] != '\n') continue;
        to.append(message.substr(done, line - done)) += '>';
        done = line;
    }
    to.append(message.substr(done));
}

}  // namespace mimetree::inner
