// SPDX-License-Identifier: Apache-2.0
#pragma once

// The parts of a multipart where they stand in the text that came in, cut as the engine cuts
// them, and what a stricter reader would see between them.

#include <string>
#include <string_view>
#include <vector>

#include "face/findings/raw_text.h"

namespace mimetree::inner::check {

// The forms of delimiters that are looked for, in this order: the first that occurs wins.
enum class DelimiterForm { None, Crlf, Lf, Cr, Padded, Respaced, Unconverted };

// What was seen of the delimiters of a multipart.  Places are in the text that came in.
struct Cut {
    std::string boundary;  // as it stands on the delimiters
    DelimiterForm form = DelimiterForm::None;
    std::string_view preamble;
    std::string_view epilogue;         // behind the line of the close delimiter
    const char* firstAt = nullptr;     // the first delimiter
    const char* closeAt = nullptr;     // the close delimiter behind the last part
    std::vector<const char*> midLine;  // delimiters that stand in a line
    std::vector<const char*> behind;   // delimiters behind a close delimiter
    std::vector<const char*> unseen;   // delimiters for a strict reader, and not for the engine
    std::vector<std::string_view> tooSmall;  // what was too little to be a part
};

class Cutter {
public:
    // `body` is a slice of what `source` searches.
    Cutter(SourceText& source, std::string_view body, LineEnds ends)
        : m_source(&source),
          m_begin(body.data()),
          m_at(m_begin),
          m_end(m_begin + body.size()),
          m_ends(ends) {}

    // Finds the first delimiter.  `boundary` is the tree's, `written` that of the header.
    bool findFirst(std::string_view boundary, std::string_view written);

    // Cuts the next part; false when there is none.
    bool next(std::string_view& part);

    Cut& cut() { return m_cut; }

private:
    // What the search is for; of several at one place the longest is taken.
    using Spellings = std::vector<std::string>;
    struct Hit {
        const char* at = nullptr;
        size_t size = 0;
    };

    bool tryForm(DelimiterForm form, std::string_view boundary);
    Spellings lineEndsOf(DelimiterForm form) const;
    Hit find(const Spellings& spellings, const char* to) const;
    Hit findExactly(std::string_view text, const char* to) const;
    size_t breakBefore(const char* delimiter) const;
    void noteDelimiter(const char* at);
    void noteUnseen(const char* to);
    void endAtClose(const char* close);
    bool keeps(std::string_view part);

    SourceText* m_source;
    const char* m_begin;
    const char* m_at;
    const char* m_end;
    LineEnds m_ends;
    std::string m_dashed;    // "--" boundary, or the boundary alone
    Spellings m_delimiters;  // with what ends their line
    size_t m_matchSize = 0;  // 0: the whole delimiter
    bool m_isBehindClose = false;
    bool m_atEnd = false;
    Cut m_cut;
};

}  // namespace mimetree::inner::check
