// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the charset codecs share; private to foundation/.  EncodingConvert.cpp picks the codec of
// a code page from the lists below.  Every codec decodes to UTF-8 and encodes from UTF-8:
//   single.cpp     one byte per character, ASCII below 0x80
//   multi.cpp      Chinese, Japanese and Korean without shift states
//   stateful.cpp   the same character sets behind escape sequences
//   unicode.cpp    UTF-8, UTF-7, UTF-16 and UTF-32

#include <cstddef>
#include <cstdint>

#include "foundation/bytes/utf8.h"

class DataBuffer;

namespace mimetree::inner::charset {

constexpr char32_t kReplacement = 0xFFFD;

// The bytes still to be read.
struct Source {
    const unsigned char* p;
    const unsigned char* end;

    bool isEmpty() const { return p == end; }
    size_t size() const { return static_cast<size_t>(end - p); }
};

// Appends to a DataBuffer through a pointer, so that loops check for room once a character and
// never call.  Whoever asked for room(n) may write n bytes at `at` and move it.
class Output {
public:
    explicit Output(DataBuffer& buffer);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // False when memory is exhausted.
    bool room(size_t n) { return spare() >= n || grow(n); }

    size_t spare() const { return static_cast<size_t>(m_end - at); }

    // Room for the likely size of the result of n bytes of input.
    bool roomForText(size_t n);

    bool append(const void* p, size_t n);

    // These need room for 4 bytes.
    void put(char32_t c) { at = utf8::put(c, at); }
    void putCode(uint32_t code);  // its one to four bytes, upper first; "?" for 0

    void finish();   // gives back what was not used
    void abandon();  // gives back all that was written

    unsigned char* at = nullptr;

private:
    bool grow(size_t n);

    DataBuffer& m_buffer;
    const unsigned int m_before;
    unsigned char* m_end = nullptr;
};

inline void Output::putCode(uint32_t code) {
    if (code > 0xFFFFFF) *at++ = static_cast<unsigned char>(code >> 24);
    if (code > 0xFFFF) *at++ = static_cast<unsigned char>(code >> 16);
    if (code > 0xFF) *at++ = static_cast<unsigned char>(code >> 8);
    *at++ = code == 0 ? '?' : static_cast<unsigned char>(code);
}

struct Codec {
    int codePage;
    bool (*decode)(const Codec& codec, Source in, Output& out);  // to UTF-8
    bool (*encode)(const Codec& codec, Source in, Output& out);  // from UTF-8
    // What stands for a character (no ASCII) where the label is taken strictly, 0 when nothing
    // does; `encode` may write more.  Null in a codec that has a code for every character.
    uint32_t (*codeOf)(const Codec& codec, char32_t c);
    const void* table = nullptr;
};

struct CodecList {
    const Codec* first;
    size_t count;

    const Codec* begin() const { return first; }
    const Codec* end() const { return first + count; }
};

CodecList singleByteCodecs();
bool isTotalSingleByte(const Codec& codec);  // whether every byte is a character
CodecList multiByteCodecs();
CodecList statefulCodecs();
CodecList unicodeCodecs();

// The character sets of multi.cpp as stateful.cpp sees them: rows and columns
// are counted from 0 to 93, codes have both high bits clear (0x2121 to 0x7E7E), 0 is "none".
char32_t jis0208Character(unsigned row, unsigned column);
char32_t jis0212Character(unsigned row, unsigned column);
char32_t gb2312Character(unsigned row, unsigned column);
char32_t ks1001Character(unsigned row, unsigned column);
uint32_t jis0208Code(char32_t c);
uint32_t plainJis0208Code(char32_t c);           // without the rows of vendors
void encodeJis0208Run(Source& in, Output& out);  // as many as are common and plain
uint32_t jis0212Code(char32_t c);
uint32_t gb2312Code(char32_t c);
uint32_t gb2312PlaneCode(char32_t c);  // with what GB18030 put into the plane of GB2312
uint32_t ks1001Code(char32_t c);

// Of two characters that vendors made of one JIS code: that of JIS, the character itself for all
// else; and the other of the two, 0 for all else.
char32_t toJisForm(char32_t c);
char32_t jisOtherForm(char32_t c);

}  // namespace mimetree::inner::charset
