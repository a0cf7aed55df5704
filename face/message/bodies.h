// SPDX-License-Identifier: Apache-2.0
#pragma once

// The written rules (docs/faq.md): which parts are the body, and which are attachments.

#include <vector>

#include "mimetree/message.hpp"

namespace mimetree {

struct Tree;

enum class Role : uint8_t { Container, Body, Attachment, Inline };

struct Views {
    std::vector<Role> roles;  // one a part
    std::vector<Part> attachments;
    std::vector<Part> inlineParts;
    std::vector<Part> texts;  // what is shown where plain text is preferred to HTML
    std::vector<Part> htmls;  // and the other way round
};

Views viewsOf(Tree& tree);

}  // namespace mimetree
