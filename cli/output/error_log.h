// SPDX-License-Identifier: Apache-2.0
#pragma once

// The engine's log on standard error, a line each, indented by context (option --log).

#include <string_view>

#include "cli/output/output.h"
#include "foundation/LogBase.h"

class ErrorLog : public LogBase {
public:
    explicit ErrorLog(Output& out) : m_out(out) {}

    void logError(const char* text) override;
    void logInfo(const char* text) override;
    void enterContext(const char* name, bool verbose) override;
    void leaveContext() override;
    void logData(const char* name, const char* value) override;

private:
    void line(std::string_view a, std::string_view b, std::string_view c);

    Output& m_out;
    unsigned m_depth = 0;
};
