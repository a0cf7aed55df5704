// SPDX-License-Identifier: Apache-2.0
#pragma once

// What is known of header fields by their names, which are compared ignoring case.

#include <cstddef>

namespace mimetree::inner {

// XmlAddresses: those address fields whose entries XML tells one by one.
enum class FieldGrammar { Unstructured, Addresses, XmlAddresses, Params, Structured };

FieldGrammar grammarOf(const char* name, size_t size);

// What the XML writer and the XML reader must agree on about header fields.

bool isXmlAddressField(const char* tag);

// Stands for "*" in the names of attributes.
constexpr char kXmlAsterisk[] = "__ASTERISK__";

}  // namespace mimetree::inner
