// SPDX-License-Identifier: Apache-2.0

// Object ids.

#include "foundation/VantrelObject.h"

#include <atomic>

namespace {

int64_t nextObjectId() {
    static std::atomic<int64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

VantrelObjectWithId::VantrelObjectWithId() : m_objectId(nextObjectId()) {}
