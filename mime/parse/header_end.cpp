// SPDX-License-Identifier: Apache-2.0

// The search for the blank line between header and body.  Mail arrives with CRLF, LF, CR,
// CRCRLF or a mixture; the forms are tried in a fixed order, and where none is found the line
// ends are rewritten in a copy and the search goes on there.  load.cpp runs it for every node.

#include "mime/parse/header_end.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string_view>

#include "foundation/bytes/bytes.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;
using line_ends::BareCr;

namespace {

// Null when there is none; the buffer is then marked.
unsigned char* makeRoom(DataBuffer& buffer, unsigned size, size_t more) {
    if (more <= 0xFFFFFFFFu - size) return buffer.extend(size + static_cast<unsigned>(more));
    buffer.markFailed();
    return nullptr;
}

// CRLF for each `found`, which ends with it, in place.
void becomeCrlf(DataBuffer& text, std::string_view found) {
    unsigned char* const begin = text.getData2_rw();
    const auto* at = reinterpret_cast<const char*>(begin);
    const char* const end = at + text.getSize();
    unsigned char* to = begin;
    while (at != end) {
        const char* const hit =
            bytes::find(at, static_cast<size_t>(end - at), found.data(), found.size());
        const char* const stop = hit ? hit : end;
        std::memmove(to, at, static_cast<size_t>(stop - at));
        to += stop - at;
        at = stop;
        if (!hit) break;
        *to++ = '\r';
        *to++ = '\n';
        at += found.size();
    }
    text.shorten(text.getSize() - static_cast<unsigned>(to - begin));
}

}  // namespace

HeaderEndSearch::HeaderEndSearch(SourceText& source, const char* data, unsigned size,
                                 LineEndings lineEndings, LogBase& log)
    : m_source(source),
      m_entryData(data),
      m_entrySize(size),
      m_lineEndings(lineEndings),
      m_log(log),
      m_data(data),
      m_size(size) {}

// Order is behaviour: each form is tried only where the ones above it were not found.
void HeaderEndSearch::run() {
    OperationContext context(m_log, "findEndOfHeader2");
    if (!atStart() && !m_end) atDoubleCrlf();
    if (m_lineEndings == LineEndings::Lenient) lookForBareBreaks();
    else if (m_doubleCrlf) atEarlierLfLf();
    const bool mustRewrite = m_end && (m_hasDoubleCr || m_hasLfLf);
    if (m_end && !mustRewrite) return;
    if (mustRewrite && rewriteAll()) return;
    atMixedBreaks() || rewriteBareLf() || rewriteCrCrLf() || rewriteBareCr();
}

// First occurrence in front of `stop`, in the text as it stands now.
const char* HeaderEndSearch::find(Break pattern, const char* stop) const {
    if (!isRepaired()) return m_source.find(pattern, m_data, stop);
    const BreakText sought = textOf(pattern);
    return bytes::find(m_data, static_cast<size_t>(stop - m_data), sought.text, sought.size);
}

bool HeaderEndSearch::takeIf(Break pattern, const char* message) {
    m_end = find(pattern, m_data + m_size);
    if (!m_end) return false;
    m_terminator = textOf(pattern).text;
    m_log.verboseInfo(message);
    return true;
}

bool HeaderEndSearch::atStart() {
    if (m_size < 2 || m_data[0] != '\r' || m_data[1] != '\n') return false;
    m_end = m_data;
    m_log.verboseInfo("MIME is missing initial header because it begins with CRLF");
    return true;
}

void HeaderEndSearch::atDoubleCrlf() {
    m_end = m_doubleCrlf = find(Break::CrlfCrlf, m_data + m_size);
}

// "A: 1\nB: 2\n\nbody\r\n\r\n": the header ends before the first double CRLF.
void HeaderEndSearch::atEarlierLfLf() {
    const char* lfLf = find(Break::LfLf, m_doubleCrlf);
    if (!lfLf) return;
    m_log.verboseInfo("Found LFLF prior to first double CRLF!");
    m_end = lfLf;
    m_terminator = textOf(Break::LfLf).text;
}

// Kept on purpose: in text, a double LF anywhere, the body included, makes the whole text be
// rewritten, and so does a double CR in front of the first double CRLF.
void HeaderEndSearch::lookForBareBreaks() {
    const char* const stop = m_data + m_size;
    const char* crCr = find(Break::CrCr, stop);
    if (crCr && (!m_doubleCrlf || crCr < m_doubleCrlf)) {
        m_log.verboseInfo("Using double CR for end of MIME header");
        m_end = crCr;
        m_hasDoubleCr = true;
    }
    const char* lfLf = find(Break::LfLf, stop);
    m_hasLfLf = lfLf != nullptr;
    if (!lfLf || m_end) return;
    m_log.verboseInfo("Double CRLF not found, but found double-LF");
    if (!bytes::find(m_data, static_cast<size_t>(lfLf - m_data), "\r\n", 2)) return;
    m_log.verboseInfo("Also found CRLF.  The MIME contains a mixture of bare-LF's and CRLF's");
    m_end = lfLf;
}

// Goes on in the copy with repaired line ends; true when its header ends somewhere.
bool HeaderEndSearch::settle() {
    m_data = m_repaired.isEmpty() ? "" : reinterpret_cast<const char*>(m_repaired.getData2());
    m_size = m_repaired.getSize();
    return searchAgain();
}

// Kept on purpose: a zero byte ends this search, and so the header's hope of a repair.
bool HeaderEndSearch::searchAgain() {
    m_terminator = textOf(Break::CrlfCrlf).text;
    atDoubleCrlf();
    if (m_end && std::memchr(m_data, 0, static_cast<size_t>(m_end - m_data))) m_end = nullptr;
    return m_end != nullptr;
}

// From the text as it came in, which a repair in between would not make another: there is one
// copy at a time, and it is no larger than it has to be; none where nothing is incomplete.
bool HeaderEndSearch::rewrite(BareCr bareCr) {
    m_repaired.clear();
    const size_t more = line_ends::countIncomplete(m_entryData, m_entrySize, bareCr);
    if (more == 0) {
        m_data = m_entryData;
        m_size = m_entrySize;
        return searchAgain();
    }
    if (unsigned char* const to = makeRoom(m_repaired, m_entrySize, more))
        line_ends::complete(m_entryData, m_entrySize, bareCr, reinterpret_cast<char*>(to));
    return settle();
}

bool HeaderEndSearch::rewriteAll() {
    m_log.verboseInfo("Converting all line endings to CRLF.");
    m_isConverted = rewrite(m_hasDoubleCr ? BareCr::BecomesCrlf : BareCr::Stays);
    return m_isConverted;
}

// "\r\n\r\r\n", "\r\n\r", "\n\r\n"; the last gives way to a "\n\n" that begins in front of it.
bool HeaderEndSearch::atMixedBreaks() {
    if (takeIf(Break::CrlfCrCrlf, "Found CRLFCRCRLF.")) return true;
    if (takeIf(Break::CrlfCr, "Found CRLFCR.")) return true;
    if (!takeIf(Break::LfCrlf, "Found LFCRLF.")) return false;
    const char* const lfLf = find(Break::LfLf, m_data + m_size);
    if (lfLf && lfLf < m_end) {
        m_log.logInfo("Using LFLF instead..");  // Kept on purpose: told to every log.
        m_end = lfLf;
        m_terminator = textOf(Break::LfLf).text;
    }
    return true;
}

// "A: 1\nB: 2\n\nbody"
bool HeaderEndSearch::rewriteBareLf() {
    if (!find(Break::LfLf, m_data + m_size)) return false;
    m_log.verboseInfo("Found LFLF, converting to CRLF");
    rewrite(BareCr::Stays);
    return true;
}

// "A: 1\r\r\nB: 2\r\r\n\r\r\nbody"; without a CRCRLF, all bare CRs become line ends.
bool HeaderEndSearch::rewriteCrCrLf() {
    if (!bytes::find(m_data, m_size, "\r\r\n", 3)) return rewrite(BareCr::BecomesCrlf);
    m_log.verboseInfo("Found CRCRLF. Fixing..");
    if (!isRepaired()) m_repaired.append(m_entryData, m_entrySize);
    for (const std::string_view found : {"\r\r\r\n", "\r\r\n"}) becomeCrlf(m_repaired, found);
    return settle();
}

// "A: 1\rB: 2\r\rbody", in the text as it came in.
bool HeaderEndSearch::rewriteBareCr() {
    if (!m_source.find(Break::CrCr, m_entryData, m_entryData + m_entrySize)) return false;
    m_log.verboseInfo("Found CRCR.");
    m_repaired.clear();
    const char* const end = m_entryData + m_entrySize;
    const auto more = static_cast<size_t>(std::count(m_entryData, end, '\r'));
    if (unsigned char* to = makeRoom(m_repaired, m_entrySize, more))
        for (const char* p = m_entryData; p != end; ++p) {
            *to++ = static_cast<unsigned char>(*p);
            if (*p == '\r') *to++ = '\n';
        }
    return settle();
}

// -- The node's face on it

void MimeMessage2::findEndOfHeader2(const char** data, unsigned int, bool lenientLineEndings,
                                    LogBase& log, bool, StringBuffer& repairBuf,
                                    StringBuffer& convertBuf, unsigned int& sizeInOut,
                                    const char** endOfHeader, const char** terminator) {
    if (!isAlive() || !*data) return;
    SourceText source(*data, *data + sizeInOut);
    HeaderEndSearch search(source, *data, sizeInOut,
                           lenientLineEndings ? LineEndings::Lenient : LineEndings::AsTheyAre, log);
    search.startFrom(*endOfHeader, *terminator);
    search.run();
    const ptrdiff_t end = search.endOfHeader() ? search.endOfHeader() - search.data() : -1;
    *data = search.data();
    sizeInOut = search.size();
    *terminator = search.terminator();
    if (search.isRepaired()) {
        StringBuffer& copy = search.isConverted() ? convertBuf : repairBuf;
        copy.takeFromDb(search.repaired());
        *data = copy.getString();
    }
    *endOfHeader = end < 0 ? nullptr : *data + end;
}

const char* MimeMessage2::findEndOfHeader(const char* text) {
    if (!isAlive() || !text) return nullptr;
    for (const char* blankLine : {"\r\n\r\n", "\n\n", "\r\r"})
        if (const char* hit = std::strstr(text, blankLine)) return hit;
    return nullptr;
}
