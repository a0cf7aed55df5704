// SPDX-License-Identifier: Apache-2.0
#pragma once

// The written rules (docs/faq.md): which parts are the body, and which are attachments.

#include <vector>

#include "mimetree/message.hpp"

namespace mimetree {

struct Tree;

enum class Role : uint8_t { Container, Body, Attachment, Inline };

// The rules by their names there; bodies.cpp has a row for each.
enum class RuleId : uint8_t {
    Container,
    EmptyText,
    InlineText,
    OtherText,
    BestForm,
    RelatedRoot,
    SignedText,
    Undivided,
    Declared,
    NamedText,
    NotShown,
    OtherForm,
    Embedded,
    Signature
};

struct Views {
    std::vector<RuleId> rules;  // one a part
    std::vector<Part> attachments;
    std::vector<Part> inlineParts;
    std::vector<Part> texts;  // what is shown where plain text is preferred to HTML
    std::vector<Part> htmls;  // and the other way round
};

Role roleOf(RuleId rule);
Views viewsOf(Tree& tree);

}  // namespace mimetree
