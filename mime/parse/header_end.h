// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where the header of a text ends, and the repairs of line ends on the way there.

#include "foundation/DataBuffer.h"
#include "foundation/LogBase.h"
#include "foundation/bytes/line_ends.h"
#include "mime/parse/source_text.h"

namespace mimetree::inner {

enum class LineEndings { AsTheyAre, Lenient };

class HeaderEndSearch {
public:
    // `source` is the text that [data, data + size) is a slice of.
    HeaderEndSearch(SourceText& source, const char* data, unsigned size, LineEndings lineEndings,
                    LogBase& log);

    // What the caller knows of the end already; what is not found stays so.
    void startFrom(const char* endOfHeader, const char* terminator) {
        m_end = endOfHeader;
        m_terminator = terminator;
    }
    void run();

    const char* data() const { return m_data; }
    unsigned size() const { return m_size; }
    const char* endOfHeader() const { return m_end; }  // null when there is none
    const char* terminator() const { return m_terminator; }
    bool isRepaired() const { return m_data != m_entryData; }
    bool isConverted() const { return m_isConverted; }  // all line ends, for a double LF or CR
    DataBuffer& repaired() { return m_repaired; }       // what data() then points into

private:
    bool atStart();
    void atDoubleCrlf();
    void atEarlierLfLf();
    void lookForBareBreaks();
    bool rewriteAll();
    bool atMixedBreaks();
    bool rewriteBareLf();
    bool rewriteCrCrLf();
    bool rewriteBareCr();
    const char* find(Break pattern, const char* stop) const;
    bool takeIf(Break pattern, const char* message);
    bool rewrite(line_ends::BareCr bareCr);
    bool settle();
    bool searchAgain();

    SourceText& m_source;
    const char* const m_entryData;
    const unsigned m_entrySize;
    const LineEndings m_lineEndings;
    LogBase& m_log;
    DataBuffer m_repaired;

    const char* m_data;
    unsigned m_size;
    const char* m_end = nullptr;
    const char* m_doubleCrlf = nullptr;
    const char* m_terminator = "\r\n\r\n";
    bool m_hasDoubleCr = false;
    bool m_hasLfLf = false;
    bool m_isConverted = false;
};

}  // namespace mimetree::inner
