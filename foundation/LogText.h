// SPDX-License-Identifier: Apache-2.0
#pragma once

// A log that collects everything as text, a line each, indented by context.  Control
// characters in what it is told, line breaks above all, are spelt "\x0A".

#include "foundation/LogBase.h"
#include "foundation/export.h"

class MIMETREE_API LogText : public LogBase {
public:
    void logError(const char* text) override;                    // "ERROR: text"
    void logInfo(const char* text) override;                     // "text"
    void enterContext(const char* name, bool verbose) override;  // "name:", then deeper
    void leaveContext() override;                                // back again
    void logData(const char* name, const char* value) override;  // "name: value"

    // What was told so far.
    const StringBuffer& text() const { return m_text; }
    void clear();  // the text; open contexts stay open

private:
    void line(const char* a, const char* b, const char* c);

    StringBuffer m_text;
    unsigned m_depth = 0;
};
