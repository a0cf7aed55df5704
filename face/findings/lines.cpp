// SPDX-License-Identifier: Apache-2.0
// Findings about lines, and about bytes that stand anywhere in a message.

#include <algorithm>
#include <cstring>

#include "face/findings/count.h"
#include "face/findings/entity.h"

namespace mimetree::inner::check {

namespace {

struct LineCount {
    size_t crlf = 0, lf = 0, cr = 0;
};

LineCount countLines(std::string_view text) {
    const auto isCrlf = [](const char* p) { return (p[0] == '\r') & (p[1] == '\n'); };
    LineCount count;
    count.crlf = countPlaces(text, isCrlf, 1);
    count.lf = countOf(text, '\n') - count.crlf;
    count.cr = countOf(text, '\r') - count.crlf;
    return count;
}

// There is one.
const char* firstBareLf(std::string_view text) {
    size_t at = text.find('\n');
    while (at > 0 && text[at - 1] == '\r') at = text.find('\n', at + 1);
    return text.data() + at;
}

bool hasCr(std::string_view text) { return std::memchr(text.data(), '\r', text.size()) != nullptr; }

// Other messages stand in the text of this one, unless they were encoded.
bool hasOwnText(const Entity& e) {
    return e.isMessage && (e.origin->isOutermost() || !e.isPartOfOuterText());
}

}  // namespace

// A file with LF throughout is how mail is stored, and no finding.
void mixedLineEnds(const Entity& e, Report& report) {
    if (!hasOwnText(e) || !hasCr(e.whole)) return;
    const LineCount count = countLines(e.whole);
    if (count.crlf == 0 || count.lf == 0) return;
    const char* const firstCrlf = e.whole.data() + e.whole.find("\r\n") + 1;
    report(count.lf <= count.crlf ? firstBareLf(e.whole) : firstCrlf, count.crlf,
           " lines end with CRLF and ", count.lf, " with LF alone");
}

void bareCarriageReturn(const Entity& e, Report& report) {
    if (!hasOwnText(e) || !hasCr(e.whole)) return;
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
