// SPDX-License-Identifier: Apache-2.0
// A buffer that slides over a source: it grows to what has to be held at once, and no byte is
// moved more than a few times.

#include "face/mailbox/read_ahead.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace mimetree::inner {

namespace {

constexpr size_t kChunk = size_t{256} << 10;

// Limit: what Message::parse takes; half of that where addresses have 32 bits.
constexpr size_t kLargest = std::min<size_t>(0xFFFFFFFFu, SIZE_MAX / 2) - kChunk;

}  // namespace

ReadAhead::~ReadAhead() { std::free(m_memory); }

// Moving to the front is paid for by the bytes that were dropped there: a fifth of the memory or
// more.  Otherwise the memory grows by a half.
bool ReadAhead::makeRoom(size_t n) noexcept {
    if (n <= m_capacity - m_begin) return true;
    const size_t size = m_end - m_begin;
    if (m_begin) std::memmove(m_memory, m_memory + m_begin, size);
    m_begin = 0;
    m_end = size;
    if (n <= m_capacity - m_capacity / 5) return true;
    const size_t capacity = n + n / 2;
    char* const memory = static_cast<char*>(std::realloc(m_memory, capacity + 1));
    if (!memory) return false;
    m_memory = memory;
    m_capacity = capacity;
    return true;
}

ReadAhead::Fill ReadAhead::fill(size_t n) noexcept {
    if (m_isAtEnd || n <= m_end - m_begin) return Fill::done;
    if (n > kLargest) return Fill::too_large;
    if (!makeRoom(n + kChunk)) return Fill::out_of_memory;
    while (!m_isAtEnd && m_end - m_begin < n) {
        const std::ptrdiff_t got = m_source->read(m_memory + m_end, kChunk);
        m_isAtEnd = got <= 0;
        if (got < 0) m_failure = static_cast<int>(-got);
        if (got > 0) m_end += static_cast<size_t>(got);
    }
    return Fill::done;
}

}  // namespace mimetree::inner
