// SPDX-License-Identifier: Apache-2.0
// Prints the engine's log; input/messages.cpp creates one a message when --log asks for it.

#include "cli/output/error_log.h"

#include <algorithm>
#include <string>

void ErrorLog::logError(const char* text) { line("ERROR: ", view(text), ""); }

void ErrorLog::logInfo(const char* text) { line(view(text), "", ""); }

void ErrorLog::enterContext(const char* name, bool) {
    line(view(name), ":", "");
    ++m_depth;
}

void ErrorLog::leaveContext() {
    if (m_depth) --m_depth;
}

void ErrorLog::logData(const char* name, const char* value) { line(view(name), ": ", view(value)); }

// Limit: a message nested without end would indent its log quadratically.
void ErrorLog::line(std::string_view a, std::string_view b, std::string_view c) {
    std::string text(2 * std::min(m_depth, 40u), ' ');
    for (std::string_view part : {a, b, c}) text += oneLine(part);
    text += '\n';
    m_out.writeError(text);
}
