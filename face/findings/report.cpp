// SPDX-License-Identifier: Apache-2.0
// Gathers findings: walk.cpp says where, the checks say what.

#include "face/findings/report.h"

#include <algorithm>

#include "face/files/harm.h"

namespace mimetree::inner::check {

namespace {

// Limit: what a sentence takes of the mail, in characters.
constexpr unsigned kLongestQuote = 60;
// Limit: a part number grows with the depth.
constexpr size_t kLongestNumber = 64;

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

std::string Report::partNumber() const {
    std::string number = m_origin->part;
    for (size_t i = 0; i < m_numbers->size(); ++i) {
        if (i == kLongestNumber) return number + "...";
        number += (number.empty() ? "" : ".") + std::to_string((*m_numbers)[i]);
    }
    return number;
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
