// SPDX-License-Identifier: Apache-2.0

// The record of an unwrapping.

#include "mime/UnwrapInfo.h"

UnwrapInfo::~UnwrapInfo() {
    m_objects1.removeAllObjects();
    m_strings.removeAllSbs();
    m_objects2.removeAllObjects();
}
