// SPDX-License-Identifier: Apache-2.0
#pragma once

// The table of the kinds of findings.

#include <span>

#include "face/findings/entity.h"
#include "mimetree/findings.hpp"

namespace mimetree::inner::check {

struct Row {
    FindingKind kind;
    Check* check;
};
std::span<const Row> rows();

}  // namespace mimetree::inner::check
