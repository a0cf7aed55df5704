// SPDX-License-Identifier: Apache-2.0
#pragma once

// What Message::parse does, for those who want the engine's log of it.

#include <string>
#include <string_view>

#include "foundation/LogBase.h"
#include "mimetree/message.hpp"

namespace mimetree::inner {

// The message, or why there is none.
Result<Message> parseMail(std::string_view mail, ParseOptions options, LogBase& log);

// A multipart that has no parts: its boundary is missing.
bool isCut(const Part& part);

// What is wrong with such a one, or with one that is not closed; with its number and boundary.
std::string boundaryFault(const Part& part);

}  // namespace mimetree::inner
