// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where something long is written to, piece by piece, so that it is never held encoded.

#include <functional>
#include <string_view>

using Sink = std::function<void(std::string_view)>;

// On one line (RFC 4648 4).
void writeBase64(std::string_view bytes, const Sink& sink);

// A JSON string with its quotes, in ASCII, of UTF-8; what is none becomes U+FFFD.
void writeJsonString(std::string_view text, const Sink& sink);
