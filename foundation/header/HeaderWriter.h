// SPDX-License-Identifier: Apache-2.0
#pragma once

// Writing a header field that a caller made or changed.

class StringBuffer;

namespace mimetree::inner {

// Appends "name: value" without a line break at the end: folded at 78 columns where a blank
// allows, non-ASCII text encoded where the field's grammar has a place for it.
//
// RFC 2047 5: unstructured fields and display names take encoded words (in `codePage` when
// it can hold the text, otherwise UTF-8); never an address, a quoted string or a parameter
// value.  RFC 2231: non-ASCII parameter values of Content-Type and Content-Disposition are
// percent-encoded in UTF-8.  Elsewhere (Message-ID, Received ...) non-ASCII text stays UTF-8
// (RFC 6532).
//
// `value` is UTF-8.  A CR or LF in it never starts a new field: a fold is unfolded, any other
// line break becomes a blank.
void appendHeaderField(const char* name, unsigned int nameSize, const char* value,
                       unsigned int valueSize, int codePage, StringBuffer& out);

}  // namespace mimetree::inner
