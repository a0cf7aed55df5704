// SPDX-License-Identifier: Apache-2.0
#pragma once

// The bases of every object that an owning array can hold: VantrelObject, which can be
// destroyed without knowing its type, and VantrelObjectWithId, which can also be told
// apart from every other object of the process.

#include <cstddef>
#include <cstdint>

#include "foundation/export.h"

class MIMETREE_API VantrelObject {
public:
    virtual ~VantrelObject() = default;

    // Bytes on the heap that this object holds beside itself; 0 where nobody counts them.
    virtual size_t heapUsage() const { return 0; }

    // Destroys and frees `object`, which came from `new`; null is allowed.
    static void deleteObject(VantrelObject* object) { delete object; }
};

// One that can be told from all others, and found by its number.
class MIMETREE_API VantrelObjectWithId : public VantrelObject {
public:
    VantrelObjectWithId();
    VantrelObjectWithId(const VantrelObjectWithId&) = delete;  // an id is never shared
    VantrelObjectWithId& operator=(const VantrelObjectWithId&) = delete;

    // Unique in the process, never reused, counted from 1.
    const int64_t m_objectId;
};
