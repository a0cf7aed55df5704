// SPDX-License-Identifier: Apache-2.0
#pragma once

// What Message::parse does, for those who want the engine's log of it.

#include <memory>
#include <string_view>

#include "mime/MimeMessage2.h"
#include "mimetree/message.hpp"

namespace mimetree::inner {

// The engine's tree of a mail, or why there is none.
Result<std::unique_ptr<MimeMessage2>> loadTree(std::string_view mail, ParseOptions options,
                                               LogBase& log);

}  // namespace mimetree::inner
