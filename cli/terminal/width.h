// SPDX-License-Identifier: Apache-2.0
#pragma once

// How many columns of a terminal a text takes, and where it may be cut.  The same in every
// locale: what is counted is UTF-8, which is all that the program writes.

#include <string>
#include <string_view>

// What a terminal shows in one place: a letter with its marks, an emoji with all that belongs to
// it (joined ones, skin tones, the two letters of a flag).
struct Cluster {
    size_t size;  // bytes, at least one
    unsigned columns;
};

// The cluster at text[at], at < text.size().  A byte that is no UTF-8 is one of its own.
Cluster clusterAt(std::string_view text, size_t at);

size_t columnsOf(std::string_view text);

// At most so many columns of the text, with `mark` in place of what is left out of the middle.
std::string cutMiddle(std::string_view text, size_t columns, std::string_view mark);

// The text with blanks behind it, or in front of it, up to so many columns.
std::string padded(std::string_view text, size_t columns);
std::string paddedLeft(std::string_view text, size_t columns);
