// SPDX-License-Identifier: Apache-2.0
#pragma once

// Rows of aligned cells, made to fit the terminal.

#include <span>
#include <string>
#include <vector>

#include "cli/output/output.h"

// Harmless text on one line (oneLine).
struct Cell {
    std::string lead;   // in front of the text, never cut
    std::string text;
    std::string brief;  // in place of the text where the column has become brief
    Colour colour = Colour::None;
};

struct Column {
    enum class Side { Left, Right } side = Side::Left;
    unsigned briefRank = 0;  // the lowest becomes brief first; 0: never
    unsigned cutRank = 0;    // the lowest is cut first, down to `least` columns; 0: never
    size_t least = 0;
};

class Grid {
public:
    explicit Grid(std::span<const Column> columns) : m_columns(columns) {}

    // As many cells as there are columns, and a line below them, or none.
    void add(std::vector<Cell> cells, std::string note);

    // Nothing is cut where the output is no terminal.
    void write(Output& out);

private:
    struct Row {
        std::vector<Cell> cells;
        std::string note;
    };

    void measure(size_t column);
    size_t total() const;
    void fit(size_t columns);
    std::vector<size_t> ranked(unsigned Column::*rank) const;
    void writeRow(const Row& row, Output& out) const;
    std::string shownText(const Cell& cell, size_t column, const Screen& screen) const;

    std::span<const Column> m_columns;
    std::vector<Row> m_rows;
    std::vector<size_t> m_widths;
    std::vector<bool> m_isBrief;
};
