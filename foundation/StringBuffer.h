// SPDX-License-Identifier: Apache-2.0
#pragma once

// A growable 8-bit string: any bytes, NULs included, with a NUL kept behind them.  Most
// strings of a message (types, charsets, codings) fit inside the object and cost no
// allocation.  Text is UTF-8 unless a member says otherwise.
//
// Memory: a growth that fails, or that would pass 4 GiB - 1, leaves the content as it was,
// answers false and marks the buffer (failed()) until it is cleared or set anew.  Nothing
// throws.  Pointers given to a member may point into the buffer itself; null counts as
// empty text.  Comparisons and searches work on all bytes of the buffer.
//
// Small members stand here so that they cost no call: a message makes thousands of buffers,
// most of which never hold anything.

#include <cstdlib>
#include <cstring>

#include "foundation/VantrelObject.h"
#include "foundation/export.h"

class DataBuffer;
class LogBase;

class MIMETREE_API StringBuffer : public VantrelObject {
public:
    StringBuffer() { resetInline(); }
    StringBuffer(const StringBuffer& other);
    StringBuffer(StringBuffer&& other) noexcept;
    StringBuffer& operator=(const StringBuffer& other);
    StringBuffer& operator=(StringBuffer&& other) noexcept;
    // The store must happen although the object ends here: isValidObject may look at it later.
    ~StringBuffer() override {
        if (onHeap()) std::free(heapData());
        static_cast<volatile char&>(m_inline[kInlineBytes - 1]) = 0;
    }

    // A heap buffer that holds `s`; the caller owns it.  Null when memory is exhausted.
    static StringBuffer* createNewSB(const char* s);

    size_t heapUsage() const override;

    // -- Reading

    // Never null; valid until the buffer changes.
    const char* getString() const { return onHeap() ? heapData() : m_inline; }
    char* getString_rw() { return onHeap() ? heapData() : m_inline; }
    unsigned int getSize() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    char lastChar() const { return m_size ? getString()[m_size - 1] : '\0'; }

    // True for a pointer to the bytes or to the NUL behind them.
    bool owns(const void* p) const {
        return p >= getString() && p <= static_cast<const void*>(getString() + m_size);
    }

    // False for a buffer that was destroyed: a guard against stale references.
    bool isValidObject() const;

    // True when a growth was refused since the content was last cleared or set.
    bool failed() const { return (tag() & kFailed) != 0; }

    // For writers whose output was cut short for want of room elsewhere.
    void markFailed() { refuse(); }

    // Byte for byte, or but for the case of ASCII letters; null is the empty text.
    bool equals(const char* s) const;
    bool equals(const StringBuffer& s) const;
    bool equalsIgnoreCase(const char* s) const {
        return (s ? std::strlen(s) : 0) == m_size && equalsIgnoreCase2(s, m_size);
    }
    bool equalsIgnoreCase(const StringBuffer& s) const;
    bool equalsIgnoreCase2(const char* s, unsigned int n) const;
    bool beginsWith(const char* s) const;
    bool beginsWithIgnoreCase(const char* s) const;
    bool endsWith(const char* s) const;
    bool containsSubstring(const char* s) const;
    bool containsSubstringNoCase(const char* s) const;
    bool containsChar(char c) const;

    // True when none of the first `n` bytes (0: of all bytes) has its high bit set.
    bool is7bit(unsigned int n) const;

    // -- Replacing and appending

    bool setString(const char* s);
    bool setString(const StringBuffer& s);
    bool setStringN(const char* s, unsigned int n);
    bool append(const char* s);
    bool append(const StringBuffer& s);
    bool append(const DataBuffer& d);
    bool append(int n);
    bool appendN(const char* s, unsigned int n);
    bool append3(const char* a, const char* b, const char* c);
    bool appendChar(char c);
    bool appendCharN(char c, unsigned int n);

    // Makes room for exactly `n` bytes in all (never less than there is), so that appends up
    // to there cannot fail.
    bool reserve(unsigned int n);

    // Grows by `n` bytes for the caller to write, and gives where they start; null when
    // refused.  What is not needed is taken back with shorten().
    char* extend(unsigned int n);

    // Takes over the bytes of `d`, which is left empty; the old content is gone.
    bool takeFromDb(DataBuffer& d);
    void swap(StringBuffer& other) noexcept;

    // Gives the storage back.
    void clear() {
        if (onHeap()) std::free(heapData());
        resetInline();
    }
    // Keeps it, for buffers that are reused in loops.
    void weakClear() {
        setTag(static_cast<unsigned char>(tag() & ~kFailed));
        setSize(0);
    }

    // -- Editing in place

    void shorten(unsigned int n);      // drops the last n bytes, or all of them
    void removeFront(unsigned int n);  // drops the first n bytes, or all of them
    void trim2();                      // drops white space (blank, tab, CR, LF) at both ends
    void toLowerCase();                // ASCII letters only
    bool toCRLF();                     // bare LF becomes CRLF; a bare CR stays
    bool allToCRLF();                  // bare LF and bare CR become CRLF

    // Each answers false when memory is exhausted; the content is then unchanged.
    bool replaceAllOccurances(const char* from, const char* to);
    bool replaceFirstOccurance(const char* from, const char* to, bool reserved);
    bool replaceAllWithUchar(const char* from, unsigned char c);
    void replaceCharAnsi(char from, char to);

    // Keeps what follows the last "/", "\" or drive prefix; nothing of "." and "..".
    void stripDirectory();

    // Recodes the content between code pages (see EncodingConvert.h).
    bool convertEncoding(int fromCodePage, int toCodePage, LogBase& log);
    bool cvUtf8ToAnsi();  // UTF-8 to windows-1252

    // How many bytes can be appended before the storage has to grow.
    unsigned int spare() const { return capacity() - m_size; }

    // Replaces RFC 2047 encoded words by their text in UTF-8.
    bool qbDecode(LogBase& log);

    // Writes the content to the file named by the UTF-8 `path`, created or overwritten.
    // False when that did not work out; `log`, which may be null, has the reason.
    bool saveToFileUtf8(const char* path, LogBase* log) const;

private:
    // Content of up to kInlineSize bytes stands in m_inline; longer content on the heap,
    // where m_inline holds the capacity (4 bytes) and the block's address (8) instead.
    // The last byte of m_inline is the tag: a marker of life and two flags.
    static constexpr unsigned kInlineBytes = 20;
    static constexpr unsigned kInlineSize = kInlineBytes - 2;
    static constexpr unsigned char kAlive = 0xA4, kHeap = 1, kFailed = 2;

    unsigned char tag() const { return static_cast<unsigned char>(m_inline[kInlineBytes - 1]); }
    void setTag(unsigned char t) { m_inline[kInlineBytes - 1] = static_cast<char>(t); }
    bool onHeap() const { return (tag() & kHeap) != 0; }
    char* heapData() const {
        char* block;
        std::memcpy(&block, m_inline + 4, sizeof block);
        return block;
    }
    unsigned int capacity() const;
    void adoptHeap(char* block, unsigned int capacity);
    void setSize(unsigned int n) {
        m_size = n;
        getString_rw()[n] = '\0';
    }
    void resetInline() {
        m_size = 0;
        m_inline[0] = '\0';
        setTag(kAlive);
    }
    bool refuse();
    bool grow(unsigned int needed);
    bool replaceAll(const char* from, unsigned fromSize, const char* to, unsigned toSize,
                    bool firstOnly);

    unsigned int m_size = 0;
    char m_inline[kInlineBytes];
};

// A buffer of 32 bytes is what keeps a node below its memory bound.
static_assert(sizeof(void*) != 8 || sizeof(StringBuffer) == 32, "StringBuffer has grown");
