// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the value of a Content-Type field, parameters and all, says about the body.

namespace mimetree::inner {

struct TypeTraits {
    bool isEmpty = true;
    bool isBinary = false;  // no text in any charset
    bool isText = false;
    bool isHtml = false;
};

TypeTraits traitsOf(const char* type, unsigned size);

}  // namespace mimetree::inner
