// SPDX-License-Identifier: Apache-2.0
#pragma once

// The sink to which nearly every operation of the engine reports what it did, and
// LogContextExitor, which brackets the lines of one operation.  Derive from LogBase to send
// the lines somewhere; LogNull drops them and LogText keeps them.

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class MIMETREE_API LogBase {
public:
    // What a sink does with a line: one that tells a failure or repair, one that tells a step, the
    // brackets around the lines of an operation, and a value with its name.  Texts are good
    // during the call only; of a value they may hold anything that mail does.
    virtual void logError(const char* text) = 0;
    virtual void logInfo(const char* text) = 0;
    virtual void enterContext(const char* name, bool verbose) = 0;
    virtual void leaveContext() = 0;
    virtual void logData(const char* name, const char* value) = 0;
    virtual ~LogBase() = default;

    // Both arrive at the sink through logData.
    void LogDataLong(const char* name, long value);
    void LogDataSb(const char* name, const StringBuffer& value);

    // Set by the owner of the log: whether lines about every step are wanted, ...
    bool m_verbose = false;

    // ... and option words for the engine.  "StrictMimeParsing" (any case, anywhere in the
    // text) makes a missing multipart boundary a failure.
    StringBuffer m_options;

    // For the many lines that only a verbose log wants.
    void verboseInfo(const char* text) {
        if (m_verbose) logInfo(text);
    }
    void verboseData(const char* name, const char* value) {
        if (m_verbose) logData(name, value);
    }
    void verboseLong(const char* name, long value) {
        if (m_verbose) LogDataLong(name, value);
    }
};

// Brackets the lines that are logged as long as it lives.
class MIMETREE_API LogContextExitor {
public:
    // What enterContext() is told.
    LogContextExitor(LogBase& log, const char* name) : LogContextExitor(log, name, false) {}
    LogContextExitor(LogBase& log, const char* name, bool verbose) : m_log(log) {
        m_log.enterContext(name, verbose);
    }
    LogContextExitor(const LogContextExitor&) = delete;
    LogContextExitor& operator=(const LogContextExitor&) = delete;
    ~LogContextExitor() { m_log.leaveContext(); }

private:
    LogBase& m_log;
};
