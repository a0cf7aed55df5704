// SPDX-License-Identifier: Apache-2.0

// The parts of the log that do not depend on the sink.

#include "foundation/LogBase.h"

#include <cstdio>

void LogBase::LogDataLong(const char* name, long value) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%ld", value);
    logData(name, digits);
}

void LogBase::LogDataSb(const char* name, const StringBuffer& value) {
    logData(name, value.getString());
}
