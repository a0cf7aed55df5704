// SPDX-License-Identifier: Apache-2.0
// Cutting a multipart as mime/parse/multipart.cpp does, whose oddities are kept here on purpose,
// or the places would be those of another tree.  walk.cpp makes a cutter for every multipart.
// Each gap between two delimiters is searched a fixed number of times, front to back.

#include "face/findings/cutter.h"

#include <algorithm>

#include "foundation/bytes/bytes.h"

namespace mimetree::inner::check {

namespace {

constexpr size_t kShortestPart = 5;
constexpr std::string_view kRespaced = "=_alternative ";

}  // namespace

bool Cutter::findFirst(std::string_view boundary, std::string_view written) {
    if (!isUtf8(written)) return tryForm(DelimiterForm::Unconverted, written);
    if (boundary.find(kRespaced) != boundary.npos && written.find(kRespaced) == written.npos)
        return tryForm(DelimiterForm::Respaced, boundary);
    for (const auto form :
         {DelimiterForm::Crlf, DelimiterForm::Lf, DelimiterForm::Cr, DelimiterForm::Padded})
        if (tryForm(form, boundary)) return true;
    return false;
}

Cutter::Spellings Cutter::lineEndsOf(DelimiterForm form) const {
    if (form == DelimiterForm::Lf) return {"\n"};
    if (form == DelimiterForm::Cr) return {"\r"};
    Spellings ends = {"\r\n"};
    if (m_ends.crCrLf) ends.insert(ends.end(), {"\r\r\n", "\r\r\r\n"});
    if (m_ends.lf) ends.emplace_back("\n");
    if (m_ends.cr) ends.emplace_back("\r");
    if (form == DelimiterForm::Padded)
        for (std::string& end : ends) end.insert(0, " ");
    return ends;
}

bool Cutter::tryForm(DelimiterForm form, std::string_view boundary) {
    const bool isTrimmed = form == DelimiterForm::Cr || form == DelimiterForm::Padded;
    const bool isRespaced = form == DelimiterForm::Respaced;
    m_dashed = (isRespaced ? "" : "--") + std::string(isTrimmed ? trimmedText(boundary) : boundary);
    m_matchSize = isRespaced ? m_dashed.size() : 0;
    m_delimiters = lineEndsOf(form);
    for (std::string& delimiter : m_delimiters) delimiter.insert(0, m_dashed);
    const Hit hit = isRespaced ? findExactly(m_dashed, m_end) : find(m_delimiters, m_end);
    if (!hit.at) return false;
    m_cut.form = form;
    m_cut.boundary = boundary;
    m_cut.firstAt = hit.at;
    m_cut.preamble = textOf(m_begin, hit.at);
    noteUnseen(hit.at);
    noteDelimiter(hit.at);
    m_at = hit.at + hit.size;
    return true;
}

Cutter::Hit Cutter::findExactly(std::string_view text, const char* to) const {
    const char* const at = m_source->findDelimiter(text, m_at, to);
    return {at, at ? text.size() : 0};
}

Cutter::Hit Cutter::find(const Spellings& spellings, const char* to) const {
    Hit first;
    for (const std::string& spelling : spellings) {
        const char* const limit = first.at ? std::min(to, first.at + spelling.size()) : to;
        const Hit hit = findExactly(spelling, limit);
        if (hit.at && (!first.at || hit.at < first.at || hit.size > first.size)) first = hit;
    }
    return first;
}

// How much in front of a delimiter belongs to it.
size_t Cutter::breakBefore(const char* delimiter) const {
    const auto room = static_cast<size_t>(delimiter - m_at);
    if (m_cut.form == DelimiterForm::Lf || m_cut.form == DelimiterForm::Cr) return 1;
    for (size_t size = std::min<size_t>(room, 4); size > 0; --size)
        if (breakAt(delimiter - size, delimiter, m_ends) == size) return size;
    return 2;
}

void Cutter::noteDelimiter(const char* at) {
    if (!isAtLineStart(at, m_begin)) m_cut.midLine.push_back(at);
    if (m_isBehindClose) m_cut.behind.push_back(at);
}

// RFC 2046 5.1.1: at the start of a line, and blanks may follow.  What the engine passes over on
// the way to `to`: a close delimiter with more behind it, and delimiters in other forms than the
// one that it goes by.
void Cutter::noteUnseen(const char* to) {
    const std::string close = m_dashed + "--";
    const Hit closing = findExactly(close, to);
    m_isBehindClose = m_isBehindClose || (closing.at && isAtLineStart(closing.at, m_begin));
    for (const char end : {'\n', '\r', ' ', '\t'}) {
        const Hit hit = findExactly(m_dashed + end, to);
        const bool isBlankLine =
            hit.at && isBlankText(lineAt(hit.at + m_dashed.size(), m_end).substr(0, 1000));
        if (isBlankLine && isAtLineStart(hit.at, m_begin)) m_cut.unseen.push_back(hit.at);
    }
}

bool Cutter::keeps(std::string_view part) {
    size_t size = part.size();
    if (size < kShortestPart && m_ends.lf)
        size += static_cast<size_t>(std::count(part.begin(), part.end(), '\n'));
    if (size >= kShortestPart) return true;
    if (!isBlankText(part)) m_cut.tooSmall.push_back(part);
    return false;
}

bool Cutter::next(std::string_view& part) {
    while (!m_atEnd) {
        const char* const start = m_at;
        const Hit hit = find(m_delimiters, m_end);
        const Hit close = hit.at ? Hit() : findExactly(m_dashed + "--", m_end);
        const char* const stop = hit.at ? hit.at : close.at;
        noteUnseen(stop ? stop : m_end);
        m_atEnd = !hit.at;
        if (stop) {
            const size_t taken = breakBefore(stop);
            const bool isNegative = static_cast<size_t>(stop - start) < taken;
            part = textOf(start, isNegative ? start : stop - taken);
            if (hit.at) noteDelimiter(hit.at);
        } else {
            part = textOf(start, m_end);
        }
        if (hit.at) m_at = hit.at + (m_matchSize ? m_matchSize : hit.size);
        if (close.at) endAtClose(close.at);
        if (keeps(part)) return true;
    }
    return false;
}

void Cutter::endAtClose(const char* close) {
    m_cut.closeAt = close;
    const char* p = close + m_dashed.size() + 2;
    p += lineAt(p, m_end).size();
    m_cut.epilogue = textOf(p, m_end);
    if (!isAtLineStart(close, m_begin)) m_cut.midLine.push_back(close);
}

}  // namespace mimetree::inner::check
