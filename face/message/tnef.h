// SPDX-License-Identifier: Apache-2.0
#pragma once

// "winmail.dat": what Outlook puts a message's attachments into (application/ms-tnef).

#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree::inner {

// By how it begins: the label is often application/octet-stream.
inline bool isTnef(const Part& part) noexcept {
    const std::string_view bytes(reinterpret_cast<const char*>(part.bytes().data()),
                                 part.bytes().size());
    return bytes.starts_with("\x78\x9F\x3E\x22");
}

}  // namespace mimetree::inner
