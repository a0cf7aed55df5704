// SPDX-License-Identifier: Apache-2.0
// Lays rows out: measures the columns, lets them become brief and cuts them until they fit.

#include "cli/terminal/grid.h"

#include <algorithm>
#include <numeric>

#include "cli/terminal/width.h"

namespace {

constexpr size_t kGap = 2;

// Limit: a cell as long as the message would make every row as long.
constexpr size_t kWidestColumn = 60;

}  // namespace

void Grid::add(std::vector<Cell> cells, std::string note) {
    m_rows.push_back({std::move(cells), std::move(note)});
}

void Grid::write(Output& out) {
    m_widths.assign(m_columns.size(), 0);
    m_isBrief.assign(m_columns.size(), false);
    for (size_t i = 0; i < m_columns.size(); ++i) measure(i);
    if (out.screen().isTerminal) fit(out.screen().columns);
    for (const Row& row : m_rows) writeRow(row, out);
}

void Grid::measure(size_t column) {
    size_t widest = 0;
    for (const Row& row : m_rows) {
        const Cell& cell = row.cells[column];
        const std::string& text = m_isBrief[column] ? cell.brief : cell.text;
        widest = std::max(widest, columnsOf(cell.lead) + columnsOf(text));
    }
    m_widths[column] = std::min(widest, kWidestColumn);
}

size_t Grid::total() const {
    const auto used = static_cast<size_t>(
        std::ranges::count_if(m_widths, [](size_t width) { return width > 0; }));
    return std::accumulate(m_widths.begin(), m_widths.end(), kGap * (used ? used - 1 : 0));
}

std::vector<size_t> Grid::ranked(unsigned Column::*rank) const {
    std::vector<size_t> order;
    for (size_t i = 0; i < m_columns.size(); ++i)
        if (m_columns[i].*rank) order.push_back(i);
    std::ranges::sort(order, {}, [&](size_t i) { return m_columns[i].*rank; });
    return order;
}

void Grid::fit(size_t columns) {
    for (size_t i : ranked(&Column::briefRank)) {
        if (total() <= columns) return;
        m_isBrief[i] = true;
        measure(i);
    }
    for (size_t i : ranked(&Column::cutRank)) {
        const size_t over = total() - std::min(total(), columns);
        const size_t spare = m_widths[i] - std::min(m_widths[i], m_columns[i].least);
        m_widths[i] -= std::min(over, spare);
    }
}

std::string Grid::shownText(const Cell& cell, size_t column, const Screen& screen) const {
    const std::string& text = m_isBrief[column] ? cell.brief : cell.text;
    if (!screen.isTerminal) return text;
    const size_t lead = columnsOf(cell.lead), width = m_widths[column];
    return cutMiddle(text, width > lead ? width - lead : 0, screen.isAscii ? ".." : "\u2026");
}

void Grid::writeRow(const Row& row, Output& out) const {
    std::string line;
    size_t blanks = 0;  // up to the next cell that has a text
    for (size_t i = 0; i < m_columns.size(); ++i) {
        if (m_widths[i] == 0) continue;
        const Cell& cell = row.cells[i];
        const std::string text = shownText(cell, i, out.screen());
        const size_t own = columnsOf(cell.lead) + columnsOf(text);
        const size_t rest = m_widths[i] - std::min(m_widths[i], own);
        const bool isRight = m_columns[i].side == Column::Side::Right;
        if (own > 0) {
            line.append(blanks + (isRight ? rest : 0), ' ');
            line += out.coloured(Colour::Dim, cell.lead) + out.coloured(cell.colour, text);
            blanks = 0;
        }
        blanks += kGap + (own > 0 && isRight ? 0 : rest);
    }
    out.write(line + "\n");
    if (!row.note.empty()) out.write(out.coloured(Colour::Dim, row.note) + "\n");
}
