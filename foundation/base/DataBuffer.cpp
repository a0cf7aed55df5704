// SPDX-License-Identifier: Apache-2.0

// The byte array.

#include "foundation/DataBuffer.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "foundation/StringBuffer.h"
#include "foundation/_zqUtf.h"
#include "foundation/base/FileSave.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"

using namespace mimetree::inner;

namespace {

const char* chars(const unsigned char* p) { return reinterpret_cast<const char*>(p); }

}  // namespace

// Storage with several buffers in it; the last one to go frees it.  Trees that were taken
// apart may go on in several threads.
struct DataBuffer::Shared {
    explicit Shared(unsigned char* d) : data(d) {}

    std::atomic<unsigned> users{1};
    unsigned char* const data;
};

DataBuffer::DataBuffer(const DataBuffer& other) { append(other); }

DataBuffer::DataBuffer(DataBuffer&& other) noexcept { swap(other); }

DataBuffer& DataBuffer::operator=(const DataBuffer& other) {
    if (this == &other) return *this;
    DataBuffer copy(other);
    if (copy.failed()) m_failed = true;
    else swap(copy);
    return *this;
}

DataBuffer& DataBuffer::operator=(DataBuffer&& other) noexcept {
    if (this != &other) {
        clear();
        swap(other);
    }
    return *this;
}

void DataBuffer::swap(DataBuffer& other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_shared, other.m_shared);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_failed, other.m_failed);
}

void DataBuffer::dropStorage() const {
    if (!m_shared) {
        std::free(m_data);
    } else if (m_shared->users.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        std::free(m_shared->data);
        delete m_shared;
    }
    m_data = nullptr;
    m_shared = nullptr;
}

bool DataBuffer::makeSliceOf(DataBuffer& whole, unsigned int offset, unsigned int n) {
    if (&whole == this || offset > whole.m_size || n > whole.m_size - offset) return false;
    if (!whole.m_shared) {
        whole.m_shared = new (std::nothrow) Shared(whole.m_data);
        if (!whole.m_shared) return false;
        whole.m_capacity = 0;
    }
    clear();
    whole.m_shared->users.fetch_add(1, std::memory_order_relaxed);
    m_shared = whole.m_shared;
    m_data = whole.m_data + offset;
    m_size = n;
    return true;
}

bool DataBuffer::cutSliceOf(DataBuffer& whole, unsigned int offset, unsigned int n) {
    if (!makeSliceOf(whole, offset, n)) return false;
    m_data[n] = 0;
    return true;
}

bool DataBuffer::refuse() {
    MemoryWatch::noteRefusal();
    m_failed = true;
    return false;
}

// Exact the first time, since most bodies are stored once; by half again later.
bool DataBuffer::grow(unsigned int needed) {
    if (needed <= m_capacity && m_data) return true;
    unsigned int wanted = needed;
    if (m_capacity && m_capacity < kMaxSize / 3 * 2 && wanted < m_capacity + m_capacity / 2)
        wanted = m_capacity + m_capacity / 2;
    return reserve(wanted);
}

bool DataBuffer::reserve(unsigned int n) {
    if (m_data && n <= m_capacity) return true;
    return makeOwn(n > m_size ? n : m_size) || refuse();
}

// The bytes move to storage that is this buffer's alone.
bool DataBuffer::makeOwn(unsigned int capacity) const {
    void* block =
        m_shared ? std::malloc(size_t(capacity) + 1) : std::realloc(m_data, size_t(capacity) + 1);
    if (!block) return false;
    if (m_shared) {
        if (m_size) std::memcpy(block, m_data, m_size);
        dropStorage();
    }
    m_data = static_cast<unsigned char*>(block);
    m_data[m_size] = 0;
    m_capacity = capacity;
    return true;
}

// The whole that a slice was cut from ends with a NUL, so the byte behind can be looked at.
const unsigned char* DataBuffer::terminated() const {
    if (m_data && m_data[m_size] != 0) makeOwn(m_size);
    return m_data;
}

unsigned char* DataBuffer::getData2_rw() { return !m_shared || makeOwn(m_size) ? m_data : nullptr; }

unsigned char* DataBuffer::extend(unsigned int n) {
    if (n > kMaxSize - m_size || !grow(m_size + n)) {
        refuse();
        return nullptr;
    }
    unsigned char* at = m_data + m_size;
    m_size += n;
    m_data[m_size] = 0;
    return at;
}

void DataBuffer::shrinkToFit() {
    if (!m_shared && m_capacity - m_size >= 64) makeOwn(m_size);
}

// `p` may point into this buffer, which growing moves.
bool DataBuffer::append(const void* p, unsigned int n) {
    if (!p || n == 0) return true;
    const unsigned char* from = static_cast<const unsigned char*>(p);
    const bool isOwn = owns(p);
    const size_t offset = isOwn ? static_cast<size_t>(from - m_data) : 0;
    unsigned char* to = extend(n);
    if (!to) return false;
    std::memmove(to, isOwn ? m_data + offset : from, n);
    return true;
}

bool DataBuffer::append(const StringBuffer& s) { return append(s.getString(), s.getSize()); }

bool DataBuffer::append(const DataBuffer& d) { return append(d.m_data, d.m_size); }

bool DataBuffer::appendStr(const char* s) {
    const size_t n = s ? std::strlen(s) : 0;
    return n <= kMaxSize ? append(s, static_cast<unsigned int>(n)) : refuse();
}

bool DataBuffer::appendChar(unsigned char c) {
    unsigned char* to = extend(1);
    if (to) *to = c;
    return to != nullptr;
}

bool DataBuffer::takeData(DataBuffer& other) {
    if (this == &other) return true;
    clear();
    swap(other);
    return true;
}

char* DataBuffer::release(unsigned int& capacity) {
    if (m_shared && !makeOwn(m_size)) {
        refuse();
        return nullptr;
    }
    char* block = reinterpret_cast<char*>(m_data);
    capacity = m_capacity;
    m_data = nullptr;
    clear();
    return block;
}

void DataBuffer::shorten(unsigned int n) {
    m_size = n < m_size ? m_size - n : 0;
    if (m_data && !m_shared) m_data[m_size] = 0;
}

// Bytes of shared storage stay where they are.
void DataBuffer::removeFront(unsigned int n) {
    if (n > m_size) n = m_size;
    if (m_shared) m_data += n;
    else if (n) std::memmove(m_data, m_data + n, m_size - n);
    shorten(n);
}

bool DataBuffer::is7bit(unsigned int n) const {
    return bytes::isAscii(chars(m_data), n < m_size ? n : m_size);
}

bool DataBuffer::isReallyUtf8(int) const {
    return !is7bit() && _zqUtf::isValidUtf8(m_data, m_size, 0);
}

bool DataBuffer::containsChar(char c) const {
    return m_size && std::memchr(m_data, c, m_size) != nullptr;
}

bool DataBuffer::containsSubstring(const char* s, unsigned int n) const {
    const size_t size = s ? std::strlen(s) : 0;
    return size == 0 || (m_size && bytes::find(chars(m_data), n < m_size ? n : m_size, s, size));
}

bool DataBuffer::equals(const DataBuffer& other) const {
    return m_size == other.m_size &&
           (m_size == 0 || std::memcmp(m_data, other.m_data, m_size) == 0);
}

bool DataBuffer::saveToFileUtf8(const char* path, LogBase* log) const {
    return saveBytesToFile(path, m_data, m_size, log);
}
