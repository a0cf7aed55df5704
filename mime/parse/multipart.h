// SPDX-License-Identifier: Apache-2.0
#pragma once

// Cuts the body of a multipart (RFC 2046 5.1) into its parts.

#include <cstdint>

#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "mime/parse/source_text.h"

namespace mimetree::inner {

class MultipartSplitter {
public:
    enum class Outcome { Part, NoMoreParts, MissingDelimiter };
    enum class MissingDelimiter { EndsTheLastPart, IsAnError };

    // The body is a slice of `source`, which must outlive the splitter.
    MultipartSplitter(SourceText& source, const char* body, unsigned size)
        : m_source(source), m_at(body), m_end(body + size) {}

    // Looks for the first delimiter in all its forms.  `boundary` is that of the node; one
    // form changes it.
    bool findFirst(StringBuffer& boundary, LogBase& log);

    // Cuts the next part of five bytes or more.
    Outcome next(MissingDelimiter missing, LogBase& log, const char*& part, unsigned& partSize);

    // True when the delimiter was only found once it was converted from UTF-8.
    bool matchedAnsi() const { return m_matchedAnsi; }

private:
    bool tryForm(const StringBuffer& boundary, const char* lineEnd, unsigned lineBreakLength);
    bool tryTrimmedForm(const StringBuffer& boundary, const char* lineEnd,
                        unsigned lineBreakLength);
    bool tryRespacedAlternative(StringBuffer& boundary);
    bool tryAnsi(const StringBuffer& boundary, LogBase& log);
    bool mayHold(const StringBuffer& boundary) const;
    const char* find(const StringBuffer& text) const;
    bool startAfter(const char* match, const StringBuffer& matched, unsigned lineBreakLength);

    SourceText& m_source;
    const char* m_at;  // start of the next part
    const char* const m_end;
    StringBuffer m_delimiter;        // as searched for: "--" boundary line break
    StringBuffer m_closeDelimiter;   // "--" boundary "--"
    unsigned m_matchLength = 0;      // from a delimiter to the part behind it
    unsigned m_lineBreakLength = 2;  // bytes in front of a delimiter that belong to it
    bool m_atEnd = false;
    bool m_matchedAnsi = false;
};

}  // namespace mimetree::inner
