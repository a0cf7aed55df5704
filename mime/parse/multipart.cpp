// SPDX-License-Identifier: Apache-2.0

// Finding delimiters and cutting parts.  load.cpp makes a splitter for every multipart, asks
// it for the first delimiter and then for one part after the other.

#include "mime/parse/multipart.h"

#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"

namespace mimetree::inner {

namespace {

// Parts shorter than this are none: what stands between two delimiters that follow each
// other at once.
constexpr int64_t kShortestPart = 5;

}  // namespace

// Order is behaviour: the first form that occurs anywhere in the body wins, wherever the
// others stand.
bool MultipartSplitter::findFirst(StringBuffer& boundary, LogBase& log) {
    if (mayHold(boundary)) m_closeDelimiter.append3("--", boundary.getString(), "--");
    if (log.m_verbose) {
        StringBuffer sought;
        sought.append3("--", boundary.getString(), "\r\n");
        log.LogDataSb("findBoundary", sought);
    }
    if (tryForm(boundary, "\r\n", 2)) return true;
    log.verboseInfo("Did not find boundary ending in CRLF, re-checking for bare-LF...");
    if (tryForm(boundary, "\n", 1)) return true;
    log.verboseInfo("Did not find boundary ending in CRLF or LF, re-checking for bare-CR...");
    if (tryTrimmedForm(boundary, "\r", 1)) return true;
    log.verboseInfo(
        "Still did not find boundary.  Checking for boundary with trailing SPACE chars..");
    if (tryTrimmedForm(boundary, " \r\n", 2)) return true;
    if (log.m_verbose) log.logError("Still did not find boundary...");
    return tryRespacedAlternative(boundary) || tryAnsi(boundary, log);
}

// Of a boundary that is longer than all that is left no delimiter is made.
bool MultipartSplitter::mayHold(const StringBuffer& boundary) const {
    return boundary.getSize() <= sizeOf(m_at, m_end);
}

const char* MultipartSplitter::find(const StringBuffer& text) const {
    return m_source.findDelimiter({text.getString(), text.getSize()}, m_at, m_end);
}

bool MultipartSplitter::startAfter(const char* match, const StringBuffer& matched,
                                   unsigned lineBreakLength) {
    const bool isWhole = !matched.failed() && !m_closeDelimiter.failed();
    if (!match || !isWhole) return false;
    m_matchLength = matched.getSize();
    m_lineBreakLength = lineBreakLength;
    m_at = match + m_matchLength;
    return true;
}

bool MultipartSplitter::tryForm(const StringBuffer& boundary, const char* lineEnd,
                                unsigned lineBreakLength) {
    if (!mayHold(boundary)) return false;
    m_delimiter.clear();
    m_delimiter.append3("--", boundary.getString(), lineEnd);
    return startAfter(find(m_delimiter), m_delimiter, lineBreakLength);
}

bool MultipartSplitter::tryTrimmedForm(const StringBuffer& boundary, const char* lineEnd,
                                       unsigned lineBreakLength) {
    if (!mayHold(boundary)) return false;
    StringBuffer trimmed;
    trimmed.append3("--", boundary.getString(), "");
    trimmed.trim2();
    m_delimiter.swap(trimmed);
    m_delimiter.append(lineEnd);
    return startAfter(find(m_delimiter), m_delimiter, lineBreakLength);
}

// Tolerated: a mailer that writes "=_alternative 0012" on the delimiter line of a boundary
// that it declares as "=_alternative0012".
// Kept on purpose: from here on the delimiters have no "--" in front, and each part begins
// right behind the boundary text, with the line break of its line.
// Nothing looks at what this search passes over again: it is preamble, or all of a leaf.
bool MultipartSplitter::tryRespacedAlternative(StringBuffer& boundary) {
    static const char kGlued[] = "=_alternative", kSpaced[] = "=_alternative ";
    if (!mayHold(boundary) || !boundary.containsSubstring(kGlued)) return false;
    StringBuffer respaced(boundary);
    respaced.replaceFirstOccurance(kGlued, kSpaced, false);
    const char* const match = bytes::find(m_at, static_cast<size_t>(m_end - m_at),
                                          respaced.getString(), respaced.getSize());
    if (!startAfter(match, respaced, 2)) return false;
    boundary.setString(respaced);
    m_delimiter.setString(boundary);
    m_delimiter.append("\r\n");
    m_closeDelimiter.setString(boundary);
    m_closeDelimiter.append("--");
    return true;
}

// Tolerated: a boundary with letters beyond ASCII, which the header reader turned into UTF-8
// while the body has it as it was.
bool MultipartSplitter::tryAnsi(const StringBuffer& boundary, LogBase& log) {
    if (boundary.is7bit(0)) return false;
    log.verboseInfo("Still looking for the boundary: Searching using ANSI instead...");
    constexpr unsigned kLongest = 4;  // bytes of a character
    if (boundary.getSize() / kLongest > sizeOf(m_at, m_end)) return false;
    StringBuffer ansi(boundary);
    ansi.cvUtf8ToAnsi();
    m_closeDelimiter.clear();
    if (mayHold(ansi)) m_closeDelimiter.append3("--", ansi.getString(), "--");
    m_matchedAnsi = tryForm(ansi, "\r\n", 2);
    return m_matchedAnsi;
}

// RFC 2046 5.1.1: the line break in front of a delimiter belongs to the delimiter.
// Kept on purpose: how many bytes that is follows the form of the first delimiter, also where
// a body mixes forms.
MultipartSplitter::Outcome MultipartSplitter::next(MissingDelimiter missing, LogBase& log,
                                                   const char*& part, unsigned& partSize) {
    while (!m_atEnd) {
        const char* const start = m_at;
        const char* stop = find(m_delimiter);
        if (stop) {
            m_at = stop + m_matchLength;
        } else {
            m_atEnd = true;
            stop = find(m_closeDelimiter);
            if (!stop && missing == MissingDelimiter::IsAnError) {
                log.logError("Next boundary string not found.");
                return Outcome::MissingDelimiter;
            }
        }
        const int64_t length = stop ? stop - start - int64_t(m_lineBreakLength) : m_end - start;
        if (length < kShortestPart) continue;
        part = start;
        partSize = static_cast<unsigned>(length);
        return Outcome::Part;
    }
    return Outcome::NoMoreParts;
}

}  // namespace mimetree::inner
