// SPDX-License-Identifier: Apache-2.0
// Finds uuencoded files in texts.  A line "begin 644 name" alone is none: lines of code and "end"
// must follow, so that a text that tells of beginning something stays a text.

#include "mimetree/embedded.hpp"

#include <algorithm>
#include <new>

#include "face/files/safe_name.h"
#include "face/message/uuencode.h"
#include "face/result/attempt.h"
#include "foundation/bytes/bytes.h"

namespace mimetree {

namespace {

constexpr std::string_view kBegin = "begin ";

// A text line by line, without the line ends.
class Lines {
public:
    explicit Lines(std::string_view text) : m_text(text) {}

    bool next(std::string_view& line) {
        if (m_at >= m_text.size()) return false;
        const size_t end = std::min(m_text.find('\n', m_at), m_text.size());
        line = m_text.substr(m_at, end - m_at);
        if (line.ends_with('\r')) line.remove_suffix(1);
        m_at = end + 1;
        return true;
    }

    size_t at() const { return std::min(m_at, m_text.size()); }

private:
    const std::string_view m_text;
    size_t m_at = 0;
};

// "begin 644 name", with three digits or four.
bool isBeginLine(std::string_view line) {
    if (!line.starts_with(kBegin)) return false;
    line.remove_prefix(kBegin.size());
    const size_t digits = std::min(line.find_first_not_of("01234567"), line.size());
    return (digits == 3 || digits == 4) && digits + 1 < line.size() && line[digits] == ' ';
}

// A count, and four characters for three bytes of it.  Tolerated: blanks cut off at the end, and
// a check sum behind.
bool isCodeLine(std::string_view line) {
    if (line.empty() || line.front() <= ' ' || line.front() > 'M') return false;
    const auto isCode = [](char c) { return c >= ' ' && c <= '`'; };
    const size_t count = static_cast<size_t>(line.front() - ' ');
    const size_t size = 1 + (count + 2) / 3 * 4;
    return line.size() <= size + 2 && line.size() > 1 &&
           std::all_of(line.begin(), line.end(), isCode);
}

// Of nothing: in front of the end.
bool isLastLine(std::string_view line) { return line.empty() || line == "`" || line == " "; }

// Each line is looked at once, be it within a file or not.
std::vector<std::string_view> filesIn(std::string_view text) {
    std::vector<std::string_view> files;
    Lines lines(text);
    size_t begin = text.npos, codeLines = 0;
    std::string_view line;
    for (size_t at = 0; lines.next(line); at = lines.at()) {
        if (isBeginLine(line)) {
            begin = at;
            codeLines = 0;
        } else if (begin == text.npos || isLastLine(line)) {
            continue;
        } else if (line == "end") {
            if (codeLines > 0) files.push_back(text.substr(begin, lines.at() - begin));
            begin = text.npos;
        } else if (isCodeLine(line)) ++codeLines;
        else begin = text.npos;
    }
    return files;
}

}  // namespace

Result<std::vector<EmbeddedFile>> embedded_files(const Part& part) noexcept {
    return inner::attempt([&]() -> Result<std::vector<EmbeddedFile>> {
        std::vector<EmbeddedFile> found;
        const std::string_view text = part.type() == "text/plain" ? part.text() : "";
        if (text.size() < kBegin.size() ||
            !inner::bytes::find(text.data(), text.size(), kBegin.data(), kBegin.size()) ||
            inner::isUuencoded(part.node()))
            return found;
        for (const std::string_view file : filesIn(text)) {
            std::string name = inner::safeName(inner::uuName(file));
            if (name.empty()) name = "file-" + std::to_string(found.size() + 1) + ".bin";
            if (auto bytes = inner::uudecoded(file))
                found.push_back({inner::fittedName(name, ""), *std::move(bytes), file});
        }
        return found;
    });
}

}  // namespace mimetree
