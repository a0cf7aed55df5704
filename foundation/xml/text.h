// SPDX-License-Identifier: Apache-2.0
#pragma once

// The characters of XML 1.0: what may stand in a document, how text is escaped when ClsXml
// writes it and how TreeNode undoes that.  Every function that appends answers false when
// memory is exhausted; the caller then cuts `out` back.
//
// Bytes that XML has no place for (control characters other than TAB, LF and CR; U+FFFE and
// U+FFFF; whatever is not UTF-8) are spelled in a way of our own, which these readers undo
// and which every other reader accepts:
//   in element content      <?mimetree-bytes 00FF?>, an instruction holding hexadecimal pairs
//   in an attribute value   U+241B ("symbol for escape") and two hexadecimal digits a byte;
//                           U+241B itself is spelled so too, as its three bytes.

#include <cstddef>
#include <cstdint>

class StringBuffer;

namespace mimetree::inner::xml {

// XML 1.0 2.2: the length in bytes of the character at `p`, which is not `end`, and its code
// point; 0 when no character that XML can hold stands there.
unsigned charAt(const char* p, const char* end, uint32_t& codePoint);

// How many bytes from `p` on are characters that XML can hold.
size_t legalRun(const char* p, size_t n);

// XML 1.0 4.1: a reference to a character or to one of the five predefined entities, and
// the character as UTF-8.  A length of 0: none that stands for a character.
struct Reference {
    unsigned length = 0;
    unsigned utf8Size = 0;
    char utf8[4] = {};
};
Reference referenceAt(const char* p, const char* end);

// -- Writing

bool appendText(const char* p, size_t n, StringBuffer& out);

// The same as CDATA sections, with what they cannot hold (CR, odd bytes) between them.
bool appendCdata(const char* p, size_t n, StringBuffer& out);

// What stands between the double quotes.
bool appendAttributeValue(const char* p, size_t n, StringBuffer& out);

// -- Reading: [p, p + n) is well-formed

bool decodeText(const char* p, size_t n, StringBuffer& out);

// What stands between "<![CDATA[" and "]]>".
bool decodeCdata(const char* p, size_t n, StringBuffer& out);

// What stands between "<?" and "?>": our odd bytes; any other instruction is no content.
bool decodeInstruction(const char* p, size_t n, StringBuffer& out);

// What stands between the quotes.
bool decodeAttributeValue(const char* p, size_t n, StringBuffer& out);

}  // namespace mimetree::inner::xml
