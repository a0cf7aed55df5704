// SPDX-License-Identifier: Apache-2.0
#pragma once

// Leaves in uuencode, which is no coding of MIME (RFC 2045 6): the engine keeps them as they came.

#include <optional>
#include <string>
#include <string_view>

#include "mime/MimeMessage2.h"

namespace mimetree::inner {

bool isUuencoded(const MimeMessage2& part);

// Nothing for a body that is not uuencoded after all, whatever its label says.
std::optional<std::string> uudecoded(std::string_view body);

// The name on the begin line, in UTF-8; empty when there is none.
std::string uuName(std::string_view body);

}  // namespace mimetree::inner
