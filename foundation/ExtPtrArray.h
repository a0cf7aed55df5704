// SPDX-License-Identifier: Apache-2.0
#pragma once

// An ordered array of pointers to objects that it owns; slots may be null.  What is left in
// it at its end is deleted.  Indices count from 0.

#include "foundation/export.h"

class VantrelObject;

class MIMETREE_API ExtPtrArray {
public:
    ExtPtrArray() = default;
    ExtPtrArray(const ExtPtrArray&) = delete;  // two owners; move the elements instead
    ExtPtrArray& operator=(const ExtPtrArray&) = delete;
    ~ExtPtrArray();

    int getSize() const { return m_size; }  // null slots count

    // Null when the slot is empty or `i` out of range.
    VantrelObject* elementAt(int i) const { return i >= 0 && i < m_size ? m_items[i] : nullptr; }

    // The array takes ownership.  False when memory is exhausted: `p` stays the caller's.
    bool appendPtr(VantrelObject* p);

    // Inserts before slot `i`, or at the end when `i` is the size.  False when `i` is out of
    // range or memory is exhausted: `p` stays the caller's.
    bool insertAt(int i, VantrelObject* p);

    // Closes the gap and hands the pointer to the caller; null when out of range.
    VantrelObject* removeAt(int i);

    // Overwrites a slot without deleting what it held, which becomes the caller's.
    void setAt(int i, VantrelObject* p);

    // Exchanges the elements with their ownership.
    void swap(ExtPtrArray& other) noexcept;

    // Deletes every element, last first, and empties the array.
    void removeAllObjects();

private:
    bool grow();

    VantrelObject** m_items = nullptr;
    int m_size = 0;
    int m_capacity = 0;
};
