// SPDX-License-Identifier: Apache-2.0
// Where a header ends and which fields are in it.  The forms are those of the engine's search for
// the end of a header, in its order; walk.cpp asks for each entity of the tree.

#include "face/findings/raw_text.h"

#include <cstring>

#include "foundation/bytes/bytes.h"
#include "foundation/bytes/utf8.h"
#include "foundation/header/header_fields.h"

namespace mimetree::inner::check {

namespace {

bool isBreakByte(char c) { return c == '\r' || c == '\n'; }

// RFC 4155, as the engine takes it: with all line breaks behind it.
size_t mboxLineSize(std::string_view text) {
    if (!text.starts_with("From ")) return 0;
    const size_t stop = text.find_first_of(std::string_view("\r\n\0", 3));
    if (stop == text.npos || text[stop] == '\0') return 0;
    const size_t next = text.find_first_not_of("\r\n", stop);
    return next == text.npos ? 0 : next;
}

const char* behindBreak(const char* p, const char* end, LineEnds ends) {
    ends.lf = true;
    return p + breakAt(p, end, ends);
}

// The first of two line ends that follow each other; null when there are none.
const char* doubleBreak(const char* p, const char* end, LineEnds ends) {
    while (p != end) {
        const size_t size = breakAt(p, end, ends);
        if (size && breakAt(p + size, end, ends)) return p;
        p += size ? size : 1;
    }
    return nullptr;
}

// In a text whose line ends are CRLF: a double CRLF, or a double LF in front of it.
const char* plainEnd(SourceText& source, const char* p, const char* end) {
    const char* const crlf = source.find(Break::CrlfCrlf, p, end);
    if (!crlf) return nullptr;
    const char* const lf = source.find(Break::LfLf, p, crlf);
    return lf ? lf : crlf;
}

const char* mixedEnd(SourceText& source, const char* p, const char* end) {
    for (const Break form : {Break::CrlfCrCrlf, Break::CrlfCr})
        if (const char* const hit = source.find(form, p, end)) return hit;
    const char* const hit = source.find(Break::LfCrlf, p, end);
    const char* const lf = hit ? source.find(Break::LfLf, p, hit) : nullptr;
    return lf ? lf : hit;
}

// Order is behaviour.  Where no form is found as the line ends are, more of them are line ends.
const char* headerEnd(SourceText& source, const char* p, const char* end, LineEnds& ends) {
    if (ends.isPlain()) {
        if (const char* const hit = plainEnd(source, p, end)) return hit;
        if (const char* const hit = mixedEnd(source, p, end)) return hit;
        ends.lf = source.find(Break::LfLf, p, end) != nullptr;
    }
    if (const char* const hit = doubleBreak(p, end, ends)) return hit;
    if (bytes::find(p, static_cast<size_t>(end - p), "\r\r\n", 3)) ends.crCrLf = true;
    else ends.lf = ends.cr = true;
    return doubleBreak(p, end, ends);
}

}  // namespace

size_t breakAt(const char* p, const char* end, LineEnds ends) {
    const auto left = static_cast<size_t>(end - p);
    if (left == 0 || !isBreakByte(*p)) return 0;
    if (*p == '\n') return ends.lf;
    if (left >= 2 && p[1] == '\n') return 2;
    if (ends.crCrLf && left >= 3 && std::memcmp(p, "\r\r\n", 3) == 0) return 3;
    if (ends.crCrLf && left >= 4 && std::memcmp(p, "\r\r\r\n", 4) == 0) return 4;
    return ends.cr;
}

bool isAtLineStart(const char* p, const char* begin) { return p == begin || isBreakByte(p[-1]); }

std::string_view textOf(const char* begin, const char* end) {
    return {begin, static_cast<size_t>(end - begin)};
}

std::string_view lineAt(const char* p, const char* end) {
    const char* stop = p;
    while (stop != end && !isBreakByte(*stop)) ++stop;
    return textOf(p, stop);
}

bool isUtf8(std::string_view text) {
    const auto* const p = reinterpret_cast<const unsigned char*>(text.data());
    return text.empty() || utf8::validPrefix(p, text.size()) == text.size();
}

bool isBlankText(std::string_view text) { return trimmedText(text).empty(); }

std::string_view trimmedText(std::string_view text) {
    while (!text.empty() && bytes::isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && bytes::isSpace(text.back())) text.remove_suffix(1);
    return text;
}

bool isSameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && bytes::equalIgnoreCase(a.data(), b.data(), a.size());
}

HeaderPlace findHeader(SourceText& source, std::string_view entity, LineEnds ends) {
    HeaderPlace place;
    const char* p = entity.data();
    const char* const end = p + entity.size();
    place.mboxLine = entity.substr(0, mboxLineSize(entity));
    p += place.mboxLine.size();
    const char* const stop = breakAt(p, end, ends) ? p : headerEnd(source, p, end, ends);
    place.hasBlankLine = stop != nullptr;
    place.header = textOf(p, stop ? stop : end);
    place.body = textOf(stop ? behindBreak(behindBreak(stop, end, ends), end, ends) : end, end);
    place.ends = ends;
    return place;
}

std::vector<Field> fieldsOf(std::string_view header, LineEnds ends) {
    std::vector<Field> fields;
    const char* p = header.data();
    const char* const end = p + header.size();
    if (header.starts_with("\xEF\xBB\xBF")) p += 3;
    while (p != end) {
        const char* stop = p;
        while (stop != end && *stop != '\n' && !(ends.cr && *stop == '\r')) ++stop;
        const char* const next = stop == end ? end : stop + 1;
        while (stop != p && stop[-1] == '\r') --stop;
        const std::string_view line = textOf(p, stop);
        p = next;
        if (line.empty()) continue;
        Field* const last = fields.empty() ? nullptr : &fields.back();
        if (last && bytes::isBlank(line[0]) && !last->name.empty()) {
            last->whole = textOf(last->whole.data(), stop);
            last->value = textOf(last->value.data(), stop);
            continue;
        }
        const size_t nameSize = fieldNameSize(line.data(), static_cast<unsigned>(line.size()));
        const size_t colon = nameSize ? line.find(':', nameSize) + 1 : 0;
        fields.push_back({line, line.substr(0, nameSize), line.substr(colon)});
    }
    return fields;
}

}  // namespace mimetree::inner::check
