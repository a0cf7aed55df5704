// SPDX-License-Identifier: Apache-2.0
#pragma once

// The Date field of a message (RFC 5322 3.3, with the obsolete forms of 4.3).

#include <ctime>
#include <optional>
#include <string_view>

// Seconds since 1970 in UTC; nothing when the text is no date.  The name of the weekday is
// not compared with the date.
std::optional<std::time_t> parseMailDate(std::string_view text);
