// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text of a Date field.

#include <optional>
#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree::inner {

// Three letters each.
inline constexpr std::string_view kWeekdays = "SunMonTueWedThuFriSat";
inline constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

// RFC 5322 3.3, with the obsolete forms of 4.3; nothing for any other text.  The name of the
// weekday is not compared with the date.
std::optional<Date> parseDate(std::string_view text);

// Tolerated, too: what else programs have written, such as "Sun Nov  6 08:49:37 1994".
std::optional<Date> parseAnyDate(std::string_view text);

}  // namespace mimetree::inner
