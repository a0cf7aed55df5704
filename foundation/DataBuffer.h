// SPDX-License-Identifier: Apache-2.0
#pragma once

// A growable byte array.  A NUL that does not count stands behind the bytes, so that steps
// which read them as C text end there.
//
// Memory: as with StringBuffer, a growth that fails or that would pass 4 GiB - 1 leaves the
// content as it was, answers false and marks the buffer (failed()).  Sources may lie in the
// buffer itself.

#include "foundation/export.h"

class StringBuffer;
class LogBase;

class MIMETREE_API DataBuffer {
public:
    DataBuffer() = default;
    DataBuffer(const DataBuffer& other);
    DataBuffer(DataBuffer&& other) noexcept;
    DataBuffer& operator=(const DataBuffer& other);
    DataBuffer& operator=(DataBuffer&& other) noexcept;
    ~DataBuffer() {
        if (m_data || m_shared) dropStorage();
    }

    // -- Reading

    // Null when nothing was ever stored; valid until the buffer changes.  A slice without a
    // NUL behind it gets storage of its own here, unless memory is exhausted.
    const unsigned char* getData2() const { return m_shared ? terminated() : m_data; }
    unsigned char* getData2_rw();  // also null when storage was shared and memory is exhausted
    unsigned int getSize() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }

    // True for a pointer to the bytes or right behind them.
    bool owns(const void* p) const {
        return m_data && p >= m_data && p <= static_cast<const void*>(m_data + m_size);
    }

    // True when a growth was refused since the buffer was last cleared.
    bool failed() const { return m_failed; }

    // For writers whose output was cut short for want of room elsewhere.
    void markFailed() { refuse(); }

    // True when none of the first `n` bytes, or of all, has its high bit set.
    bool is7bit(unsigned int n) const;
    bool is7bit() const { return is7bit(m_size); }

    // True when the bytes are valid UTF-8 and hold a character beyond ASCII: text that a
    // sender labelled with the single-byte code page `codePage` by mistake.
    bool isReallyUtf8(int codePage) const;

    // Whether a byte of this value is among them.
    bool containsChar(char c) const;
    // Looks only at the first `n` bytes.
    bool containsSubstring(const char* s, unsigned int n) const;
    bool equals(const DataBuffer& other) const;

    // -- Changing

    bool append(const void* p, unsigned int n);
    bool append(const StringBuffer& s);
    bool append(const DataBuffer& d);
    bool appendStr(const char* s);
    bool appendChar(unsigned char c);

    // Makes room for exactly `n` bytes in all (never less than there are).
    bool reserve(unsigned int n);

    // How many bytes can be appended before the storage has to grow.
    unsigned int spare() const { return m_capacity > m_size ? m_capacity - m_size : 0; }

    // Grows by `n` bytes for the caller to write, and gives where they start; null when
    // refused.  What is not needed is taken back with shorten().
    unsigned char* extend(unsigned int n);

    // Becomes `n` bytes of `whole` from `offset` on, without a copy: both share the storage
    // until one of them changes or is read as text, which then makes a copy of its own.  False,
    // nothing changed, when memory is exhausted or the bytes are not all there.
    bool makeSliceOf(DataBuffer& whole, unsigned int offset, unsigned int n);

    // The same, and the byte behind them in `whole` becomes a NUL, so that no reader needs a copy.
    bool cutSliceOf(DataBuffer& whole, unsigned int offset, unsigned int n);

    // Gives spare storage back where there is much of it.
    void shrinkToFit();

    // Takes over the bytes of `other`, which is left empty; the old content is gone.
    bool takeData(DataBuffer& other);

    // Hands over the bytes as a block from malloc with room for a NUL behind them (null when
    // there is none), the caller to free it; `capacity` gets its size.  The buffer is then
    // empty, unless it is marked: shared storage could not be copied.
    char* release(unsigned int& capacity);
    void swap(DataBuffer& other) noexcept;
    void shorten(unsigned int n);  // drops the last n bytes, or all of them
    void removeFront(unsigned int n);
    void clear() {  // gives the storage back
        if (m_data || m_shared) dropStorage();
        m_size = m_capacity = 0;
        m_failed = false;
    }

    // Writes the bytes to the file named by the UTF-8 `path`, created or overwritten.
    // False when that did not work out; `log`, which may be null, has the reason.
    bool saveToFileUtf8(const char* path, LogBase* log) const;

private:
    struct Shared;

    bool refuse();
    bool grow(unsigned int needed);
    bool makeOwn(unsigned int capacity) const;
    void dropStorage() const;
    const unsigned char* terminated() const;

    // Where the bytes stand may change while they are read; what they are does not.
    mutable unsigned char* m_data = nullptr;
    mutable Shared* m_shared = nullptr;  // owns what m_data points into, unless the buffer does
    unsigned int m_size = 0;
    mutable unsigned int m_capacity = 0;  // without the NUL behind
    bool m_failed = false;
};
