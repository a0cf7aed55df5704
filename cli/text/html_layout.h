// SPDX-License-Identifier: Apache-2.0
#pragma once

// Makes lines out of the tags and texts of HTML: blocks, lists, quotes, tables, links and
// pictures.  Its stack is its own, and all work is linear, whatever the HTML is.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/text/html.h"
#include "cli/text/html_tags.h"

struct HtmlAttribute {
    std::string_view name, value;
};
using HtmlAttributes = std::vector<HtmlAttribute>;

class HtmlLayout {
public:
    HtmlLayout(const HtmlForm& form, Links& links) : m_form(form), m_links(links) {}

    void open(std::string_view tag, const HtmlAttributes& attributes);  // tag in lower case
    void close();                                                       // the innermost
    void closeAll();
    void addText(std::string_view text);
    void fail() { m_hasFailed = true; }

    // The lines; throws std::bad_alloc after fail().
    std::string finish();

private:
    struct Element {
        HtmlTag tag;
        bool isHidden = false;
        bool hasMargin = false;  // of a prefix
    };
    struct Margin {
        std::string first, rest;  // in front of the first line and of others
    };
    struct Link {
        std::string url;
        std::string text = {};
        bool hasInk = false, isNumbered = false;
    };
    static constexpr size_t kAllMargins = static_cast<size_t>(-1);
    using TableCell = std::vector<std::string>;  // lines
    using TableRow = std::vector<TableCell>;

    void openElement(Element& element, const HtmlAttributes& attributes);
    void closeElement(const Element& element);
    void openItem(Element& element);
    void openTable();
    void openRow();
    void openCell();
    void addPicture(const HtmlAttributes& attributes);
    void addMargin(Element& element, std::string first, std::string rest);
    void openLink(const HtmlAttributes& attributes);
    void numberLink();

    void appendText(std::string_view text);
    void appendWords(std::string_view text);
    void appendAsIs(std::string_view text);

    void breakLine();
    void wantGap();
    void endLine();
    void writeLine(const std::string& line);
    std::string prefix(bool isFirst, size_t margins = kAllMargins);

    void addToCell(const std::string& line);
    void releaseTable();
    void endTable();
    void writeAligned(const std::vector<TableRow>& rows, const std::vector<size_t>& widths);
    void writeRows(const std::vector<TableRow>& rows);

    const HtmlForm& m_form;
    Links& m_links;
    std::string m_out;
    std::string m_line;       // what is collected
    bool m_hasBlank = false;  // behind it
    bool m_wantsGap = false;  // an empty line in front of the next
    size_t m_gapMargins = 0;
    std::vector<Element> m_elements;
    std::vector<Margin> m_margins;
    std::vector<int> m_lists;  // the numbers of items; kBullets for none
    std::optional<Link> m_link;
    unsigned m_hidden = 0, m_preformatted = 0;
    std::optional<std::vector<TableRow>> m_table;  // the innermost, as long as it may be aligned
    bool m_hasFailed = false;
};
