// SPDX-License-Identifier: Apache-2.0
#pragma once

// A growable array of plain values that never throws: the engine's worklists and tables.
// The first Inline values cost no allocation.

#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

#include "foundation/bytes/MemoryWatch.h"

namespace mimetree::inner {

template <class T, unsigned Inline = 0>
class GrowArray {
    static_assert(std::is_trivially_copyable<T>::value, "values are moved as bytes");

public:
    GrowArray() = default;
    GrowArray(const GrowArray&) = delete;
    GrowArray& operator=(const GrowArray&) = delete;
    ~GrowArray() { std::free(m_heap); }

    unsigned size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    T* data() { return m_heap ? m_heap : inlineData(); }
    const T* data() const { return m_heap ? m_heap : inlineData(); }
    T& operator[](unsigned i) { return data()[i]; }
    const T& operator[](unsigned i) const { return data()[i]; }
    T& back() { return data()[m_size - 1]; }
    T* begin() { return data(); }
    T* end() { return data() + m_size; }
    const T* begin() const { return data(); }
    const T* end() const { return data() + m_size; }

    // False when memory is exhausted; the array is then unchanged.
    bool push(const T& value) {
        if (m_size == m_capacity && !reserve(m_capacity < 8 ? 8 : m_capacity * 2)) return false;
        new (data() + m_size) T(value);
        ++m_size;
        return true;
    }

    // Makes room for `n` values in all, if there is less.
    bool reserve(unsigned n) {
        if (n <= m_capacity) return true;
        const bool isTooMuch = n > 0xFFFFFFFFu / sizeof(T);
        void* const memory = isTooMuch ? nullptr : std::malloc(size_t(n) * sizeof(T));
        T* const block = static_cast<T*>(notingRefusal(memory));
        if (!block) return false;
        if (m_size) std::memcpy(static_cast<void*>(block), data(), size_t(m_size) * sizeof(T));
        std::free(m_heap);
        m_heap = block;
        m_capacity = n;
        return true;
    }

    // Room for `n` values behind the last, null when memory is exhausted; use() makes values of
    // those that were written there.
    T* spare(unsigned n) {
        const unsigned more = m_capacity < n ? n : m_capacity;
        const bool hasRoom = m_capacity - m_size >= n || reserve(m_capacity + more);
        return hasRoom ? data() + m_size : nullptr;
    }
    void use(unsigned n) { m_size += n; }

    // Becomes `n` times `value`; false when memory is exhausted.
    bool fill(unsigned n, const T& value) {
        if (!reserve(n)) return false;
        for (m_size = 0; m_size < n; ++m_size) new (data() + m_size) T(value);
        return true;
    }

    void pop() { --m_size; }
    void truncate(unsigned n) { m_size = n; }

    void removeAt(unsigned i) {
        T* at = data() + i;
        std::memmove(static_cast<void*>(at), at + 1, size_t(m_size - i - 1) * sizeof(T));
        --m_size;
    }

    void clear() {
        std::free(m_heap);
        m_heap = nullptr;
        m_size = 0;
        m_capacity = Inline;
    }

private:
    T* inlineData() { return reinterpret_cast<T*>(m_inline); }
    const T* inlineData() const { return reinterpret_cast<const T*>(m_inline); }

    T* m_heap = nullptr;
    unsigned m_size = 0;
    unsigned m_capacity = Inline;
    alignas(T) unsigned char m_inline[Inline ? Inline * sizeof(T) : 1];
};

}  // namespace mimetree::inner
