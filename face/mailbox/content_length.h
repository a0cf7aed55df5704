// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace mimetree::inner {

// Where the header's Content-Length says that the message ends, seen from its beginning.
std::optional<size_t> endByContentLength(std::string_view message) noexcept;

}  // namespace mimetree::inner
