// SPDX-License-Identifier: Apache-2.0
#pragma once

// Lines that fit a width.

#include <string>
#include <string_view>

// Appends the text in lines of at most so many columns, each behind `prefix` (which counts, too)
// and ending with a line break; the first line has a prefix of its own.  It breaks at blanks,
// and where a character of two columns ends or begins; a longer word stands out.  No-break
// spaces become blanks.
void fill(std::string_view text, size_t columns, std::string_view firstPrefix,
          std::string_view prefix, std::string& out);

// The text with each of its lines filled like that.
std::string filledLines(std::string_view text, size_t columns);
