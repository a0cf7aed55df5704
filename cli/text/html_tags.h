// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

// What an element is to a reader of plain text.
enum class HtmlTag {
    Inline,
    Hidden,     // never shown
    Block,      // on lines of its own
    Paragraph,  // with an empty line around it
    Preformatted,
    Quote,
    Bullets,
    Numbers,
    Item,
    Indented,
    Table,
    Row,
    Cell,
    LineBreak,
    Rule,
    Link,
    Picture,
};

// Of the name in lower case; one that is not known is inline.
HtmlTag htmlTag(std::string_view name);
