// SPDX-License-Identifier: Apache-2.0
// Gathers findings: walk.cpp says where, the checks say what.

#include "face/findings/report.h"

#include <algorithm>

#include "face/files/harm.h"

namespace mimetree::inner::check {

namespace {

// Limit: what a sentence takes of the mail, in characters.
constexpr unsigned kLongestQuote = 60;
// Limit: a part number grows with the depth (mimetree/opened.hpp).
constexpr unsigned kMostNumberedDepth = 32;

void appendSpelled(char32_t c, std::string& out) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    const bool isByte = c < 0x100;
    out += isByte ? "\\x" : "\\u";
    for (int shift = isByte ? 4 : 12; shift >= 0; shift -= 4) out += kHex[c >> shift & 15];
}

}  // namespace

std::string quoted(std::string_view text) {
    std::string out = "\"";
    size_t at = 0;
    for (unsigned i = 0; at < text.size() && i < kLongestQuote; ++i) {
        const Character c = characterAt(text, at);
        const bool isRaw = c.size != 0 && c.codePoint != '\t' && !isHarmful(c.codePoint);
        if (isRaw) out += text.substr(at, c.size);
        else appendSpelled(c.codePoint, out);
        at += c.size ? c.size : 1;
    }
    return out + (at < text.size() ? "...\"" : "\"");
}

// Beyond the last that is listed, they are counted there.
bool Report::isListed() {
    if (m_counts.size() <= m_kind->number) m_counts.resize(m_kind->number + 1);
    Count& count = m_counts[m_kind->number];
    if (count.listed == kListed) {
        ++m_found[count.last].more;
        return false;
    }
    ++count.listed;
    count.last = m_found.size();
    return true;
}

void Report::list(const char* place, std::string sentence) {
    const bool isInText = !m_origin->decoded && place;
    const size_t behind = isInText ? static_cast<size_t>(place - m_origin->text.data()) : 0;
    m_found.push_back({m_kind->number, m_kind->id, m_kind->name, m_kind->severity,
                       m_origin->offset + behind, 0, partNumber(), std::move(sentence)});
}

// As OpenedParts counts: a message within the message that has no parts is one of its own, and the
// parts of one that is all there is are within part 1.
void Report::setPart(const Origin& origin, const std::vector<uint32_t>& numbers, Holds holds) {
    m_origin = &origin;
    m_part = origin.part;
    if (origin.partDepth > kMostNumberedDepth) return;
    const bool isOnlyPart = numbers.empty() && !origin.isOutermost() && holds == Holds::Nothing;
    if (m_part.empty() && !origin.isOutermost() && (isOnlyPart || !numbers.empty())) m_part = "1";
    if (isOnlyPart) m_part += ".1";
    const size_t most = kMostNumberedDepth - origin.partDepth;
    for (size_t i = 0; i < std::min(numbers.size(), most); ++i)
        m_part += (m_part.empty() ? "" : ".") + std::to_string(numbers[i]);
}

// A line ends with CRLF, LF or CR.
std::vector<Finding> Report::take(std::string_view text) {
    std::stable_sort(m_found.begin(), m_found.end(),
                     [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
    uint64_t line = 1;
    size_t at = 0;
    for (Finding& finding : m_found) {
        for (; at < finding.offset; ++at)
            line += text[at] == '\n' ||
                    (text[at] == '\r' && (at + 1 == text.size() || text[at + 1] != '\n'));
        finding.line = line;
    }
    return std::move(m_found);
}

}  // namespace mimetree::inner::check
