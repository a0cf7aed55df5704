// SPDX-License-Identifier: Apache-2.0
// Findings about lines, and about bytes that stand anywhere in a message.

#include <algorithm>
#include <cstring>

#include "face/findings/entity.h"

namespace mimetree::inner::check {

namespace {

struct LineCount {
    size_t crlf = 0, lf = 0, cr = 0;
    const char* firstLf = nullptr;
    const char* firstCrlf = nullptr;
};

LineCount countLines(std::string_view text) {
    LineCount count;
    const char* p = text.data();
    const char* const end = p + text.size();
    while (p != end) {
        const auto* const lf =
            static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
        if (!lf) break;
        const bool isCrlf = lf != text.data() && lf[-1] == '\r';
        const char*& first = isCrlf ? count.firstCrlf : count.firstLf;
        if (!first) first = lf;
        ++(isCrlf ? count.crlf : count.lf);
        p = lf + 1;
    }
    count.cr = static_cast<size_t>(std::count(text.begin(), text.end(), '\r')) - count.crlf;
    return count;
}

// Other messages stand in the text of this one, unless they were encoded.
bool hasOwnText(const Entity& e) {
    return e.isMessage && (e.origin->isOutermost() || !e.isPartOfOuterText());
}

}  // namespace

// A file with LF throughout is how mail is stored, and no finding.
void mixedLineEnds(const Entity& e, Report& report) {
    if (!hasOwnText(e)) return;
    const LineCount count = countLines(e.whole);
    if (count.crlf == 0 || count.lf == 0) return;
    report(count.lf <= count.crlf ? count.firstLf : count.firstCrlf, count.crlf,
           " lines end with CRLF and ", count.lf, " with LF alone");
}

void bareCarriageReturn(const Entity& e, Report& report) {
    if (!hasOwnText(e) || std::memchr(e.whole.data(), '\r', e.whole.size()) == nullptr) return;
    const size_t cr = countLines(e.whole).cr;
    if (cr == 0) return;
    const char* p = e.whole.data();
    const char* const end = p + e.whole.size();
    while (*p != '\r' || (p + 1 != end && p[1] == '\n')) ++p;
    report(p, cr, " carriage returns stand without a line feed");
}

void mboxLine(const Entity& e, Report& report) {
    if (e.place.mboxLine.empty()) return;
    report(e.at(), "the line ", Quoted(lineAt(e.at(), e.at() + e.whole.size())),
           " of an mbox stands in front of the header");
}

void byteOrderMark(const Entity& e, Report& report) {
    if (e.whole.starts_with("\xEF\xBB\xBF"))
        report(e.at(), "a byte order mark stands in front of the first field");
}

void nulByte(const Entity& e, Report& report) {
    if (!hasOwnText(e)) return;
    const auto* const first =
        static_cast<const char*>(std::memchr(e.whole.data(), '\0', e.whole.size()));
    if (!first) return;
    const auto count = static_cast<size_t>(std::count(e.whole.begin(), e.whole.end(), '\0'));
    report(first, count, " bytes of the message are NUL");
}

}  // namespace mimetree::inner::check
