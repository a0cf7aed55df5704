// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text of a Date field (RFC 5322 3.3, with the obsolete forms of 4.3).

#include <optional>
#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree::inner {

// Nothing when the text is no date.  The name of the weekday is not compared with the date.
std::optional<Date> parseDate(std::string_view text);

}  // namespace mimetree::inner
