// SPDX-License-Identifier: Apache-2.0
#pragma once

// What is looked for in a text: some words as they are, or a regular expression; in any letter
// case, with ^ and $ at the ends of lines.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

class Pattern {
public:
    enum class Kind { Words, Regex };
    struct Place {
        size_t at, size;
    };

    Pattern(const std::string& text, Kind kind);
    Pattern(Pattern&&) noexcept;
    ~Pattern();

    // Why it cannot be looked for; empty when it can.
    std::string mistake() const;

    // The first place of it, in UTF-8.
    std::optional<Place> find(std::string_view text) const;

private:
    struct Compiled;
    std::unique_ptr<const Compiled> m_compiled;
};

// "RE2", or "" in a build without, which looks for nothing.
std::string patternLibrary();
