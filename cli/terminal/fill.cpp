// SPDX-License-Identifier: Apache-2.0

#include "cli/terminal/fill.h"

#include "cli/terminal/width.h"

namespace {

constexpr std::string_view kNoBreakSpace = "\xC2\xA0";

void appendWithBlanks(std::string_view text, std::string& out) {
    for (size_t at; (at = text.find(kNoBreakSpace)) != text.npos;) {
        out.append(text.substr(0, at)) += ' ';
        text.remove_prefix(at + kNoBreakSpace.size());
    }
    out += text;
}

std::string_view withoutBlanksBehind(std::string_view text) {
    const size_t last = text.find_last_not_of(' ');
    return text.substr(0, last == text.npos ? 0 : last + 1);
}

class Filler {
public:
    Filler(std::string_view text, size_t columns, std::string_view prefix, std::string& out)
        : m_text(text), m_columns(columns), m_prefix(prefix), m_out(out) {}

    void run(std::string_view firstPrefix) {
        std::string_view lead = firstPrefix;
        size_t used = columnsOf(firstPrefix);
        const size_t indent = columnsOf(m_prefix);
        for (size_t at = 0; at < m_text.size();) {
            const Cluster cluster = clusterAt(m_text, at);
            const bool isBlank = m_text[at] == ' ';
            if (cluster.columns == 2 && at > m_begin) markBreak(at, used);
            if (!isBlank && used + cluster.columns > m_columns && m_breakAt > m_begin) {
                writeLine(lead, m_breakAt);
                lead = m_prefix;
                used = indent + used - m_breakUsed;
            }
            at += cluster.size;
            used += cluster.columns;
            if (isBlank || cluster.columns == 2) markBreak(at, used);
        }
        writeLine(lead, m_text.size());
    }

private:
    void markBreak(size_t at, size_t used) {
        m_breakAt = at;
        m_breakUsed = used;
    }

    void writeLine(std::string_view lead, size_t end) {
        const std::string_view line = withoutBlanksBehind(m_text.substr(m_begin, end - m_begin));
        m_out += line.empty() ? withoutBlanksBehind(lead) : lead;
        appendWithBlanks(line, m_out);
        m_out += '\n';
        m_begin = end;
    }

    std::string_view m_text;
    const size_t m_columns;
    std::string_view m_prefix;
    std::string& m_out;
    size_t m_begin = 0;                     // of the line
    size_t m_breakAt = 0, m_breakUsed = 0;  // where it may end, and its columns up to there
};

}  // namespace

void fill(std::string_view text, size_t columns, std::string_view firstPrefix,
          std::string_view prefix, std::string& out) {
    Filler(text, columns, prefix, out).run(firstPrefix);
}

std::string filledLines(std::string_view text, size_t columns) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const size_t end = text.find('\n');
        fill(text.substr(0, end), columns, "", "", out);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
    return out;
}
