// SPDX-License-Identifier: Apache-2.0

#include "cli/text/html_tags.h"

#include <algorithm>
#include <iterator>

namespace {

struct TagRow {
    std::string_view name;
    HtmlTag tag;
};

constexpr TagRow kTags[] = {
    {"a", HtmlTag::Link},          {"address", HtmlTag::Block},   {"article", HtmlTag::Block},
    {"aside", HtmlTag::Block},     {"blockquote", HtmlTag::Quote}, {"body", HtmlTag::Block},
    {"br", HtmlTag::LineBreak},    {"caption", HtmlTag::Paragraph}, {"center", HtmlTag::Block},
    {"dd", HtmlTag::Indented},     {"dir", HtmlTag::Bullets},     {"div", HtmlTag::Block},
    {"dl", HtmlTag::Paragraph},    {"dt", HtmlTag::Block},        {"fieldset", HtmlTag::Paragraph},
    {"figcaption", HtmlTag::Block}, {"figure", HtmlTag::Paragraph}, {"footer", HtmlTag::Block},
    {"form", HtmlTag::Block},      {"h1", HtmlTag::Paragraph},    {"h2", HtmlTag::Paragraph},
    {"h3", HtmlTag::Paragraph},    {"h4", HtmlTag::Paragraph},    {"h5", HtmlTag::Paragraph},
    {"h6", HtmlTag::Paragraph},    {"header", HtmlTag::Block},    {"hr", HtmlTag::Rule},
    {"img", HtmlTag::Picture},     {"legend", HtmlTag::Block},    {"li", HtmlTag::Item},
    {"listing", HtmlTag::Preformatted}, {"main", HtmlTag::Block}, {"menu", HtmlTag::Bullets},
    {"nav", HtmlTag::Block},       {"ol", HtmlTag::Numbers},      {"option", HtmlTag::Block},
    {"p", HtmlTag::Paragraph},     {"plaintext", HtmlTag::Preformatted},
    {"pre", HtmlTag::Preformatted}, {"script", HtmlTag::Hidden},  {"section", HtmlTag::Block},
    {"style", HtmlTag::Hidden},    {"summary", HtmlTag::Block},   {"svg", HtmlTag::Hidden},
    {"table", HtmlTag::Table},     {"td", HtmlTag::Cell},         {"template", HtmlTag::Hidden},
    {"th", HtmlTag::Cell},         {"title", HtmlTag::Hidden},    {"tr", HtmlTag::Row},
    {"ul", HtmlTag::Bullets},      {"xmp", HtmlTag::Preformatted},
};
static_assert(std::ranges::is_sorted(kTags, {}, &TagRow::name));

}  // namespace

HtmlTag htmlTag(std::string_view name) {
    const TagRow* at = std::ranges::lower_bound(kTags, name, {}, &TagRow::name);
    return at != std::end(kTags) && at->name == name ? at->tag : HtmlTag::Inline;
}
