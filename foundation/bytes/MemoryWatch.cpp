// SPDX-License-Identifier: Apache-2.0

// The count of refusals, one a thread.

#include "foundation/bytes/MemoryWatch.h"

namespace mimetree::inner {

namespace {

thread_local unsigned t_refusals = 0;

}  // namespace

void MemoryWatch::noteRefusal() { ++t_refusals; }

unsigned MemoryWatch::refusals() { return t_refusals; }

}  // namespace mimetree::inner
