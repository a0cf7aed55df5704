// SPDX-License-Identifier: Apache-2.0

// The owning pointer array.

#include "foundation/ExtPtrArray.h"

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "foundation/bytes/MemoryWatch.h"
#include "foundation/VantrelObject.h"

using namespace mimetree::inner;

ExtPtrArray::~ExtPtrArray() { removeAllObjects(); }

bool ExtPtrArray::grow() {
    if (m_size < m_capacity) return true;
    if (m_capacity > INT_MAX / 2) {
        MemoryWatch::noteRefusal();
        return false;
    }
    const int wanted = m_capacity == 0 ? 2 : m_capacity * 2;
    void* block = notingRefusal(std::realloc(m_items, size_t(wanted) * sizeof(VantrelObject*)));
    if (!block) return false;
    m_items = static_cast<VantrelObject**>(block);
    m_capacity = wanted;
    return true;
}

bool ExtPtrArray::appendPtr(VantrelObject* p) {
    if (!grow()) return false;
    m_items[m_size++] = p;
    return true;
}

bool ExtPtrArray::insertAt(int i, VantrelObject* p) {
    if (i < 0 || i > m_size || !grow()) return false;
    std::memmove(m_items + i + 1, m_items + i, size_t(m_size - i) * sizeof(VantrelObject*));
    m_items[i] = p;
    ++m_size;
    return true;
}

VantrelObject* ExtPtrArray::removeAt(int i) {
    if (i < 0 || i >= m_size) return nullptr;
    VantrelObject* removed = m_items[i];
    --m_size;
    std::memmove(m_items + i, m_items + i + 1, size_t(m_size - i) * sizeof(VantrelObject*));
    return removed;
}

void ExtPtrArray::setAt(int i, VantrelObject* p) {
    if (i >= 0 && i < m_size) m_items[i] = p;
}

void ExtPtrArray::swap(ExtPtrArray& other) noexcept {
    std::swap(m_items, other.m_items);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
}

// The array stays usable while an element's destructor runs: each is taken out first.
void ExtPtrArray::removeAllObjects() {
    while (m_size > 0) VantrelObject::deleteObject(m_items[--m_size]);
    std::free(m_items);
    m_items = nullptr;
    m_capacity = 0;
}
