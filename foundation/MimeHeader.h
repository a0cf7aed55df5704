// SPDX-License-Identifier: Apache-2.0
#pragma once

// The ordered list of header fields of one node (RFC 5322 2.2).  Names are matched ignoring
// case; several fields may share one.  Values are UTF-8 with their encoded words as written.
//
// The list is one text and a few bytes a field that say where each begins: loading copies
// the header once and cuts nothing out until it is asked for.  A field that nobody touched
// is written as it was read, folds and all.
//
// Getters append to `out`, and leave it alone when they answer false.

#include <cstdlib>

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class ClsXml;
class ExtPtrArray;
class LogBase;
class MimeMessage2;

namespace mimetree::inner {
class Loader;
class PlainValue;
struct HeaderScan;
struct XmlOutput;
}  // namespace mimetree::inner

class MIMETREE_API MimeHeader {
public:
    MimeHeader() = default;
    MimeHeader(const MimeHeader&) = delete;
    MimeHeader& operator=(const MimeHeader&) = delete;

    // Removes every field.  The argument is reserved.
    void clear(int reserved);

    // Replaces the list by the fields of a header text that ends at the first occurrence of
    // `terminator`, or with the text when that is null.  Lines may end with CRLF, LF or
    // CRCRLF.  A line that is neither a field nor a continuation becomes a field with an
    // empty name, so that it is written back where it stood; empty lines are dropped.
    //
    // `codePage` is 65001 for text known to be UTF-8, otherwise 0: a field with bytes above
    // 0x7F is UTF-8 when it is valid as such but for one character that was cut, else in the
    // charset that the header's own Content-Type declares or in the one named by
    // `charsetClue` when its bytes make text there, else in windows-1252.  Such bytes within
    // an encoded word are in the word's charset.  getDetectedCP tells what was used.
    //
    // A byte order mark in front is no part of the first field; it is written back.  False
    // when memory is exhausted.
    bool loadMimeHeaderText(const char* headerText, const char* terminator, int codePage,
                            StringBuffer& charsetClue, LogBase& log);

    // The same for exactly `size` bytes, which may hold NULs.
    bool loadMimeHeaderBytes(const char* headerText, unsigned int size, int codePage,
                             const StringBuffer& charsetClue, LogBase& log);

    // Becomes an exact copy, fields, order and spelling.
    bool copyMimeHeaderFrom(const MimeHeader& other, LogBase& log);

    // Appends the header block: fields in order, CRLF between them, none after the last.
    // Text beyond ASCII in fields that were made or changed, or that came in a charset other
    // than UTF-8, becomes encoded words in `codePage` when that can hold it, otherwise in
    // UTF-8 (HeaderWriter.h).  Bytes that may have been misread are written as they came.
    // The pointer and the flag are reserved.
    bool getMimeHeader(StringBuffer& out, const char* reserved1, int codePage, bool reserved2,
                       LogBase& log) const;

    // The same bytes without a copy, textSize() of them and no NUL behind, where all fields are as
    // they were read; else null.
    const char* textAsRead() const { return m_asRead && !m_hasOrderMark ? m_text.data() : nullptr; }
    unsigned int textSize() const { return m_text.size(); }

    // -- Changing.  A name loses what no field name may hold, a value its line breaks; nothing
    // happens when no name is left.

    // Appends a field, unless the value is empty or nothing but white space.
    bool addMimeField(const char* name, const char* value, bool reserved, LogBase& log);
    bool addMimeFieldAllowEmpty(const char* name, const char* value, LogBase& log);

    // The first field of that name takes the value where it stands; without one, a field is
    // appended.  A null value removes every field of that name.
    bool replaceMimeFieldUtf8(const char* name, const char* value, LogBase& log);

    // Removes every field of that name, or only the first.
    void removeMimeField(const char* name, bool all);

    void moveToBottom(const char* name, LogBase& log);      // all of that name, in order
    void collapseMultiple(const char* name, LogBase& log);  // keeps the first

    // Removes the fields behind the last DKIM-Signature (RFC 6376), or else behind the last
    // DomainKey-Signature.
    void removeHeaderFieldsAfterSig(LogBase& log);

    // -- Reading

    // The unfolded value of the first field of that name.
    bool getMimeFieldUtf8(const char* name, StringBuffer& out, LogBase& log) const;
    bool getMimeFieldUtf8_2(const char* name, unsigned int nameSize, StringBuffer& out,
                            LogBase& log) const;

    // The value, without quotes, of one parameter of a field such as Content-Type; RFC 2231
    // forms are decoded.
    bool getSubFieldUtf8(const char* fieldName, const char* param, StringBuffer& out,
                         LogBase& log) const;

    // Append the name, which is empty for a line that is no field, or the value in UTF-8 with its
    // encoded words as they are.  False, nothing appended, when the index is out of range.
    bool getFieldNameUtf8(int index, StringBuffer& out, LogBase& log) const;
    bool getFieldValueUtf8(int index, StringBuffer& out, LogBase& log) const;

    // The bytes of the field as they were read, without the line break at the end.
    bool getFieldText(int index, StringBuffer& out) const;

    // Adds to `xml` an element "header" with one element a field, in order: entries with "addr"
    // and "name" for addresses, value and parameter attributes for Content-* fields, the raw
    // value for the rest (docs/xml.md).  The integer and the array are reserved.  False when
    // memory is exhausted.
    bool mimeHeaderToXml(ClsXml& xml, int reserved1, ExtPtrArray* reserved2, LogBase& log) const;

    // The same, what is made printed at once unless `out` is null; `xml` is then an element to
    // which nothing was added yet.  The element "header" stays its child.
    bool printXml(ClsXml& xml, mimetree::inner::XmlOutput* out, LogBase& log) const;

    // Lets fields that are long or beyond ASCII be written as if they had been added:
    // for a header whose text was put together by a program.
    void writeAnew();

    // Lines that are no fields included.
    int getNumFields() const { return static_cast<int>(m_fields.size()); }

    // The code page that the 8-bit bytes of the last load were read in; 0 when it had none.
    int getDetectedCP() const { return m_detectedCP; }

private:
    friend class MimeMessage2;             // cached_properties.cpp: reads the four that it caches
    friend class mimetree::inner::Loader;  // load.cpp: looks through a header beforehand

    // Where the first of each stands in the list; -1: nowhere.
    struct MimeFields {
        int contentType = -1;
        int contentId = -1;
        int disposition = -1;
        int transferEncoding = -1;

        void note(const char* name, unsigned int nameSize, int index);
    };

    // A field is m_text[start, start + size): name, blanks, colon and value, with CRLF at
    // its folds only.
    struct Field {
        unsigned int start;
        unsigned int size;
        unsigned short nameSize;  // 0: a line that is no field
        unsigned short codePage;  // what the value is in; 0: in UTF-8 as it stands
        bool isRaw;               // written as it stands
    };

    // An array that never throws: false when memory is exhausted, the content then unchanged.
    // What was lent to it is somebody else's to free, and is copied when it grows.
    template <class T>
    class Store {
    public:
        Store() = default;
        Store(const Store&) = delete;
        Store& operator=(const Store&) = delete;
        ~Store() { clear(); }

        unsigned size() const { return m_size; }
        T* data() { return m_block; }
        const T* data() const { return m_block; }
        T* begin() { return m_block; }
        T* end() { return m_block + m_size; }
        const T* begin() const { return m_block; }
        const T* end() const { return m_block + m_size; }
        T& operator[](unsigned i) { return m_block[i]; }
        const T& operator[](unsigned i) const { return m_block[i]; }
        bool append(const T* from, unsigned n);
        bool push(const T& value);
        bool reserve(unsigned n);
        bool own() { return m_capacity >= m_size || reserve(m_size); }
        void lend(T* block, unsigned n);
        void adopt(T* block, unsigned n);  // which malloc gave
        void swap(Store& other) noexcept;
        void truncate(unsigned n) { m_size = n; }
        void clear() {
            if (m_capacity) std::free(m_block);
            m_block = nullptr;
            m_size = m_capacity = 0;
        }

    private:
        T* m_block = nullptr;
        unsigned m_size = 0;
        unsigned m_capacity = 0;  // 0: of lent storage
    };

    // The bytes that the text and the list of its fields take; loadScanned puts them into `room`
    // if that is not null, which then belongs to whoever has the header.
    static size_t roomFor(const mimetree::inner::HeaderScan& scan);
    bool loadScanned(const char* headerText, const mimetree::inner::HeaderScan& scan, void* room,
                     int codePage, const StringBuffer& charsetClue, MimeFields& mime, LogBase& log);
    void takeListed(const char* text, const mimetree::inner::HeaderScan& scan, MimeFields& mime);
    bool tidy(const char* text, unsigned int size);
    bool splitFields();
    bool findCodePages(int codePage, const StringBuffer& charsetClue, LogBase& log);
    int declaredCodePage(LogBase& log) const;
    Field fieldOfLine(unsigned int start, unsigned int size) const;
    static Field fieldWithName(unsigned int start, unsigned int size, unsigned int nameSize);
    bool hasName(const Field& field, const char* name, unsigned int nameSize) const;
    int indexOf(const char* name, unsigned int nameSize) const;
    MimeFields findMimeFields() const;
    bool getPlainValue(int index, mimetree::inner::PlainValue& value) const;
    void findValue(const Field& field, const char*& begin, const char*& end) const;
    void appendHeader(int codePage, StringBuffer& out) const;
    bool appendValue(const Field& field, StringBuffer& out) const;
    bool makeField(const StringBuffer& name, const char* value, Field& field);
    bool appendField(const StringBuffer& name, const char* value);
    void dropWaste();
    void compact();

    Store<char> m_text;
    Store<Field> m_fields;     // lent from the same block, until one of the two grows
    unsigned int m_waste = 0;  // bytes of m_text that no field refers to
    int m_detectedCP = 0;
    bool m_asRead = true;         // m_text is what is to be written
    bool m_hasOrderMark = false;  // in front of it
};
