// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where the header of a text ends, and the repairs of line ends on the way there.

#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "mime/parse/source_text.h"

namespace mimetree::inner {

enum class LineEndings { AsTheyAre, Lenient };

class HeaderEndSearch {
public:
    // `source` is the text that [data, data + size) is a slice of; the repaired copies live
    // in the two buffers.
    HeaderEndSearch(SourceText& source, const char* data, unsigned size, LineEndings lineEndings,
                    StringBuffer& repairBuf, StringBuffer& convertBuf, LogBase& log);

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
    bool settleIn(StringBuffer& repaired);

    SourceText& m_source;
    const char* const m_entryData;
    const unsigned m_entrySize;
    const LineEndings m_lineEndings;
    StringBuffer& m_repairBuf;
    StringBuffer& m_convertBuf;
    LogBase& m_log;

    const char* m_data;
    unsigned m_size;
    const char* m_end = nullptr;
    const char* m_doubleCrlf = nullptr;
    const char* m_terminator = "\r\n\r\n";
    bool m_hasDoubleCr = false;
    bool m_hasLfLf = false;
};

}  // namespace mimetree::inner
