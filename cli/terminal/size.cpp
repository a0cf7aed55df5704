// SPDX-License-Identifier: Apache-2.0

#include "cli/terminal/size.h"

#include <cstdio>

std::string humanSize(uint64_t bytes) {
    constexpr const char* kUnits[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    // What would be written as 1000 is one of the next unit.
    for (; value >= (unit ? 999.5 : 1000); value /= 1000) ++unit;
    char text[32];
    const int digits = unit > 0 && value < 9.95 ? 1 : 0;
    std::snprintf(text, sizeof text, "%.*f %s", digits, value, kUnits[unit]);
    return text;
}
