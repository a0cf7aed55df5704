// SPDX-License-Identifier: Apache-2.0
// Pattern in a build without RE2.

#include "cli/text/pattern.h"

struct Pattern::Compiled {};

Pattern::Pattern(const std::string&, Kind) {}
Pattern::Pattern(Pattern&&) noexcept = default;
Pattern::~Pattern() = default;

std::string Pattern::mistake() const { return "this mimetree was built without RE2"; }
std::optional<Pattern::Place> Pattern::find(std::string_view) const { return std::nullopt; }

std::string patternLibrary() { return {}; }
