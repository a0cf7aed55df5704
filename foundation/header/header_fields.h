// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace mimetree::inner {

// What the XML writer and the XML reader must agree on about header fields.

// The fields that are described by their addresses, compared ignoring case.
bool isXmlAddressField(const char* tag);

// Stands for "*" in the names of attributes.
constexpr char kXmlAsterisk[] = "__ASTERISK__";

}  // namespace mimetree::inner
