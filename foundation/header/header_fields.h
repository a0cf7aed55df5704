// SPDX-License-Identifier: Apache-2.0
#pragma once

// What is known of header fields by their names, which are compared ignoring case.

#include <cstddef>

namespace mimetree::inner {

// XmlAddresses: those address fields whose entries XML tells one by one.
// Opaque: a structured value that no blank may be put into, such as a URL with its own commas.
enum class FieldGrammar { Unstructured, Addresses, XmlAddresses, Params, Structured, Opaque };

FieldGrammar grammarOf(const char* name, size_t size);

// What the XML writer and the XML reader must agree on about header fields.

bool isXmlAddressField(const char* tag);

// Stands for "*" in the names of attributes.
constexpr char kXmlAsterisk[] = "__ASTERISK__";

// Attributes of a body.  The first: its text is the base64 of its bytes, though no coding is
// declared, since XML cannot hold them.  The second: its bytes are as they were received,
// not in the charset that the header names.
constexpr char kXmlCoding[] = "coding", kXmlBase64[] = "base64";
constexpr char kXmlBytes[] = "bytes", kXmlAsReceived[] = "as-received";

// The length of the name of the field that a line is; 0 when it is none.
unsigned fieldNameSize(const char* line, unsigned size);

}  // namespace mimetree::inner
