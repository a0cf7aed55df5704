// SPDX-License-Identifier: Apache-2.0
// Pattern by RE2, whose time is linear in the text whatever the pattern is.

#include <re2/re2.h>

#include "cli/text/pattern.h"

struct Pattern::Compiled {
    RE2 regex;
};

Pattern::Pattern(const std::string& text, Kind kind)
    : m_compiled(new Compiled{
          RE2("(?im)" + (kind == Kind::Regex ? text : RE2::QuoteMeta(text)), RE2::Quiet)}) {}
Pattern::Pattern(Pattern&&) noexcept = default;
Pattern::~Pattern() = default;

std::string Pattern::mistake() const { return m_compiled->regex.error(); }

std::optional<Pattern::Place> Pattern::find(std::string_view text) const {
    const re2::StringPiece piece(text.data(), text.size());
    re2::StringPiece found;
    if (!m_compiled->regex.Match(piece, 0, piece.size(), RE2::UNANCHORED, &found, 1))
        return std::nullopt;
    return Place{static_cast<size_t>(found.data() - piece.data()), found.size()};
}

std::string patternLibrary() { return "RE2"; }
