// SPDX-License-Identifier: Apache-2.0
// Tags and texts come from html_libxml2.cpp.  Text is collected in a line, which a block or a
// break ends: it is then filled and written, or becomes a line of a table's cell.

#include "cli/text/html_layout.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <utility>

#include "cli/terminal/fill.h"
#include "cli/terminal/width.h"
#include "face/files/harm.h"
#include "foundation/bytes/bytes.h"

namespace {

namespace bytes = mimetree::inner::bytes;

constexpr int kBullets = -1;

// Limit: margins are written in front of each line, and so must not grow with the HTML's depth.
constexpr size_t kMostMargins = 12;

// Limit: what is larger is no cell of a table that people read across.
constexpr size_t kMostCellLines = 8, kMostCellText = 200;

// No link needs as much of its text to be told from its URL.
constexpr size_t kMostLinkText = 2000;

std::string_view valueOf(const HtmlAttributes& attributes, std::string_view name) {
    const auto at = std::ranges::find(attributes, name, &HtmlAttribute::name);
    return at == attributes.end() ? std::string_view() : at->value;
}

bool has(const HtmlAttributes& attributes, std::string_view name) {
    return std::ranges::find(attributes, name, &HtmlAttribute::name) != attributes.end();
}

std::string lowerWithoutBlanks(std::string_view text) {
    std::string out;
    for (char c : text)
        if (!bytes::isSpace(c)) out += bytes::lower(c);
    return out;
}

// Texts in front of the mail's own, for lists of mails, are hidden like that.
bool isHiddenByStyle(const HtmlAttributes& attributes) {
    if (has(attributes, "hidden")) return true;
    const std::string style = lowerWithoutBlanks(valueOf(attributes, "style"));
    return style.find("display:none") != style.npos || style.find("visibility:hidden") != style.npos;
}

int numberIn(std::string_view text, int otherwise) {
    int number = otherwise;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && bytes::isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && bytes::isSpace(text.back())) text.remove_suffix(1);
    return text;
}

// What only lets a line break, or pads it out of sight.
bool isSoft(char32_t c) { return c == 0xAD || c == 0x34F || c == 0x200B || c == 0xFEFF; }

// False for a line of blanks, no-break spaces and what has no width.
bool hasInk(std::string_view line) {
    for (size_t at = 0; at < line.size();) {
        const Cluster cluster = clusterAt(line, at);
        const std::string_view shown = line.substr(at, cluster.size);
        if (cluster.columns > 0 && shown != " " && !shown.starts_with("\xC2\xA0")) return true;
        at += cluster.size;
    }
    return false;
}

// Anchors within the text and scripts are no targets.
bool isTarget(std::string_view url) {
    const std::string start = lowerWithoutBlanks(url.substr(0, 40));
    return !start.empty() && start[0] != '#' && !start.starts_with("javascript:") &&
           !start.starts_with("data:");
}

// True when the text of a link says where it goes.
bool saysTarget(std::string_view text, std::string_view url) {
    for (std::string_view scheme : {"mailto:", "https://", "http://", "tel:"})
        if (url.starts_with(scheme) && !text.starts_with(scheme)) url.remove_prefix(scheme.size());
    if (url.ends_with('/') && !text.ends_with('/')) url.remove_suffix(1);
    return text == url;
}

// The last piece of a URL's path; of none within the document.
std::string_view nameInUrl(std::string_view url) {
    if (url.starts_with("data:") || url.starts_with("cid:")) return {};
    url = url.substr(0, url.find_first_of("?#"));
    return url.substr(url.rfind('/') + 1);
}

}  // namespace

unsigned Links::numberOf(const std::string& url) {
    const auto [at, isNew] = m_numbers.try_emplace(url, static_cast<unsigned>(m_list.size() + 1));
    if (isNew) m_list.push_back(url);
    return at->second;
}

// -- Tags

void HtmlLayout::open(std::string_view tag, const HtmlAttributes& attributes) {
    Element element{htmlTag(tag)};
    element.isHidden = element.tag == HtmlTag::Hidden || isHiddenByStyle(attributes);
    if (element.isHidden) ++m_hidden;
    if (m_hidden == 0) openElement(element, attributes);
    m_elements.push_back(element);
}

void HtmlLayout::close() {
    if (m_elements.empty()) return;
    const Element element = m_elements.back();
    m_elements.pop_back();
    if (m_hidden == 0) closeElement(element);
    if (element.isHidden) --m_hidden;
}

void HtmlLayout::closeAll() {
    while (!m_elements.empty()) close();
}

void HtmlLayout::openElement(Element& element, const HtmlAttributes& attributes) {
    switch (element.tag) {
        case HtmlTag::Inline:
        case HtmlTag::Hidden: break;
        case HtmlTag::Block: endLine(); break;
        case HtmlTag::Paragraph: wantGap(); break;
        case HtmlTag::Preformatted:
            wantGap();
            ++m_preformatted;
            break;
        case HtmlTag::Quote:
            wantGap();
            addMargin(element, "> ", "> ");
            break;
        case HtmlTag::Bullets:
        case HtmlTag::Numbers:
            m_lists.empty() ? wantGap() : endLine();
            m_lists.push_back(element.tag == HtmlTag::Bullets
                                  ? kBullets
                                  : std::max(0, numberIn(valueOf(attributes, "start"), 1)));
            break;
        case HtmlTag::Item: openItem(element); break;
        case HtmlTag::Indented:
            endLine();
            addMargin(element, "    ", "    ");
            break;
        case HtmlTag::Table: openTable(); break;
        case HtmlTag::Row: openRow(); break;
        case HtmlTag::Cell: openCell(); break;
        case HtmlTag::LineBreak: breakLine(); break;
        case HtmlTag::Rule:
            endLine();
            releaseTable();
            writeLine(std::string(std::min<size_t>(m_form.columns / 2, 40), '-'));
            break;
        case HtmlTag::Link: openLink(attributes); break;
        case HtmlTag::Picture: addPicture(attributes); break;
    }
}

void HtmlLayout::closeElement(const Element& element) {
    if (element.hasMargin) {
        endLine();
        m_margins.pop_back();
    }
    switch (element.tag) {
        case HtmlTag::Paragraph: wantGap(); break;
        case HtmlTag::Preformatted:
            wantGap();
            --m_preformatted;
            break;
        case HtmlTag::Quote: wantGap(); break;
        case HtmlTag::Bullets:
        case HtmlTag::Numbers:
            m_lists.pop_back();
            m_lists.empty() ? wantGap() : endLine();
            break;
        case HtmlTag::Table: endTable(); break;
        case HtmlTag::Block:
        case HtmlTag::Row:
        case HtmlTag::Cell:
        case HtmlTag::Item:
        case HtmlTag::Indented: endLine(); break;
        case HtmlTag::Link:
            numberLink();
            m_link.reset();
            break;
        default: break;
    }
}

void HtmlLayout::addMargin(Element& element, std::string first, std::string rest) {
    releaseTable();
    m_margins.push_back({std::move(first), std::move(rest)});
    element.hasMargin = true;
}

// Tolerated: items without a list.
void HtmlLayout::openItem(Element& element) {
    endLine();
    if (m_lists.empty() || m_lists.back() == kBullets) return addMargin(element, "* ", "  ");
    std::string number = std::to_string(m_lists.back());
    if (m_lists.back() < 1'000'000'000) ++m_lists.back();
    number += ". ";
    const std::string rest(number.size(), ' ');
    addMargin(element, std::move(number), rest);
}

// Pictures of one pixel count readers, and those that say nothing of themselves (alt="") are
// decoration.
void HtmlLayout::addPicture(const HtmlAttributes& attributes) {
    const std::string_view url = trimmed(valueOf(attributes, "src"));
    const bool isDot = numberIn(valueOf(attributes, "width"), 99) <= 1 ||
                       numberIn(valueOf(attributes, "height"), 99) <= 1;
    if (isDot) return;
    std::string name(trimmed(valueOf(attributes, "alt")));
    if (name.empty() && m_form.pictureName) name = m_form.pictureName(url);
    if (name.empty() && has(attributes, "alt")) return;
    if (name.empty()) name = nameInUrl(url);
    addText(name.empty() ? "[image]" : "[image: " + name + "]");
}

// -- Links

void HtmlLayout::openLink(const HtmlAttributes& attributes) {
    const std::string_view url = trimmed(valueOf(attributes, "href"));
    m_link.reset();
    if (isTarget(url)) m_link = Link{std::string(url)};
}

// Before the line ends in which the link's text is, at the latest.
void HtmlLayout::numberLink() {
    if (!m_link || m_link->isNumbered || !m_link->hasInk) return;
    m_link->isNumbered = true;
    if (saysTarget(trimmed(m_link->text), m_link->url)) return;
    m_line += " [" + std::to_string(m_links.numberOf(m_link->url)) + "]";
}

// -- Text

void HtmlLayout::addText(std::string_view text) {
    if (m_hidden > 0) return;
    if (m_link) {
        if (m_link->text.size() < kMostLinkText) m_link->text += text;
        m_link->hasInk = m_link->hasInk || hasInk(trimmed(text));
    }
    m_preformatted > 0 ? appendAsIs(text) : appendWords(text);
}

void HtmlLayout::appendText(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const mimetree::inner::Character c = mimetree::inner::characterAt(text, at);
        const size_t size = c.size ? c.size : 1;
        if (!isSoft(c.codePoint)) m_line += text.substr(at, size);
        at += size;
    }
}

// White space is one blank, and none where a line begins.
void HtmlLayout::appendWords(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n\f";
    while (!text.empty()) {
        const size_t blanks = std::min(text.find_first_not_of(kSpace), text.size());
        if (blanks > 0) m_hasBlank = !m_line.empty();
        text.remove_prefix(blanks);
        const size_t word = std::min(text.find_first_of(kSpace), text.size());
        if (word == 0) break;
        if (std::exchange(m_hasBlank, false)) m_line += ' ';
        appendText(text.substr(0, word));
        text.remove_prefix(word);
    }
}

void HtmlLayout::appendAsIs(std::string_view text) {
    for (char c : text) {
        if (c == '\n' && m_line.empty()) {
            wantGap();
        } else if (c == '\n') {
            writeLine(std::exchange(m_line, {}));
        } else if (c == '\t') {
            m_line += "    ";
        } else if (c != '\r') {
            m_line += c;
        }
    }
}

// -- Lines

void HtmlLayout::breakLine() {
    const bool isEmpty = !hasInk(m_line);
    endLine();
    if (isEmpty) wantGap();
}

// The margins that go on over the empty line are those that both lines around it have.
void HtmlLayout::wantGap() {
    endLine();
    m_gapMargins = m_wantsGap ? std::min(m_gapMargins, m_margins.size()) : m_margins.size();
    m_wantsGap = true;
}

void HtmlLayout::endLine() {
    numberLink();
    const std::string line = std::exchange(m_line, {});
    m_hasBlank = false;
    if (!hasInk(line)) return;
    if (m_table && !m_table->empty() && !m_table->back().empty()) return addToCell(line);
    releaseTable();  // text between its rows
    writeLine(line);
}

std::string HtmlLayout::prefix(bool isFirst, size_t margins) {
    std::string text;
    for (size_t i = 0; i < std::min({m_margins.size(), margins, kMostMargins}); ++i) {
        Margin& margin = m_margins[i];
        text += isFirst ? margin.first : margin.rest;
        if (isFirst) margin.first = margin.rest;
    }
    return text;
}

void HtmlLayout::writeLine(const std::string& line) {
    if (m_preformatted > 0) releaseTable();
    if (std::exchange(m_wantsGap, false) && !m_out.empty())
        fill("", 0, prefix(/*isFirst*/ false, m_gapMargins), "", m_out);
    const std::string first = prefix(/*isFirst*/ true), rest = prefix(/*isFirst*/ false);
    const size_t columns = m_preformatted > 0 ? std::string::npos : m_form.columns;
    fill(line, columns, first, rest, m_out);
}

std::string HtmlLayout::finish() {
    closeAll();
    endLine();
    releaseTable();
    if (m_hasFailed) throw std::bad_alloc();
    return std::move(m_out);
}

// -- Tables.  Most lay a page out: what is in their cells is text like any other.  One whose
// cells are short and hold neither a table nor a list nor a quote is read across.

void HtmlLayout::openTable() {
    wantGap();
    releaseTable();
    m_table.emplace();
}

void HtmlLayout::openRow() {
    endLine();
    if (m_table) m_table->emplace_back();
}

void HtmlLayout::openCell() {
    endLine();
    if (!m_table) return;
    if (m_table->empty()) m_table->emplace_back();
    m_table->back().emplace_back();
}

void HtmlLayout::addToCell(const std::string& line) {
    TableCell& cell = m_table->back().back();
    cell.push_back(line);
    if (cell.size() > kMostCellLines || line.size() > kMostCellText) releaseTable();
}

// What was kept is text.
void HtmlLayout::releaseTable() {
    if (!m_table) return;
    const std::vector<TableRow> rows = std::move(*m_table);
    m_table.reset();
    for (const TableRow& row : rows)
        for (const TableCell& cell : row)
            for (const std::string& line : cell) writeLine(line);
}

void HtmlLayout::endTable() {
    endLine();
    if (m_table) {
        std::vector<size_t> widths;
        for (const TableRow& row : *m_table) {
            widths.resize(std::max(widths.size(), row.size()));
            for (size_t i = 0; i < row.size(); ++i)
                for (const std::string& line : row[i])
                    widths[i] = std::max(widths[i], columnsOf(line));
        }
        size_t total = 0, used = 0;
        for (size_t width : widths) {
            total += width + 2 * (width > 0);
            used += width > 0;
        }
        const auto full = std::ranges::count_if(*m_table, [](const TableRow& row) {
            return std::ranges::count_if(row, [](const auto& cell) { return !cell.empty(); }) > 1;
        });
        const size_t margin = columnsOf(prefix(/*isFirst*/ false));
        if (used > 1 && total <= m_form.columns - std::min(m_form.columns, margin) + 2)
            writeAligned(*std::exchange(m_table, std::nullopt), widths);
        else if (used > 1 && full > 1) writeRows(*std::exchange(m_table, std::nullopt));
        releaseTable();
    }
    wantGap();
}

void HtmlLayout::writeAligned(const std::vector<TableRow>& rows,
                              const std::vector<size_t>& widths) {
    ++m_preformatted;  // is not filled
    for (const TableRow& row : rows) {
        size_t height = 0;
        for (const TableCell& cell : row) height = std::max(height, cell.size());
        for (size_t k = 0; k < height; ++k) {
            std::string line;
            size_t blanks = 0;
            for (size_t i = 0; i < row.size(); ++i) {
                if (widths[i] == 0) continue;
                const std::string& text = k < row[i].size() ? row[i][k] : std::string();
                const size_t own = columnsOf(text);
                if (own > 0) line.append(std::exchange(blanks, 0), ' ').append(text);
                blanks += widths[i] - own + 2;
            }
            writeLine(line);
        }
    }
    --m_preformatted;
}

// Too wide to be aligned.
void HtmlLayout::writeRows(const std::vector<TableRow>& rows) {
    for (const TableRow& row : rows) {
        std::string line;
        for (const TableCell& cell : row)
            for (const std::string& text : cell) line += (line.empty() ? "" : " | ") + text;
        if (!line.empty()) writeLine(line);
    }
}
