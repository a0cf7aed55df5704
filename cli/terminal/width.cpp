// SPDX-License-Identifier: Apache-2.0
// Counts columns by the tables of gen_width.py and by what joins an emoji.

#include "cli/terminal/width.h"

#include <algorithm>
#include <iterator>

#include "face/files/harm.h"

using mimetree::inner::Character;
using mimetree::inner::characterAt;

namespace {

struct Range {
    char32_t first, last;
};

#include "cli/terminal/width.inc"

// What U+FE0F makes an emoji of and U+200D joins (Extended_Pictographic of UTS 51), but for
// ranges that no font has.
constexpr Range kPictographs[] = {
    {0xA9, 0xA9},       {0xAE, 0xAE},       {0x203C, 0x203C},   {0x2049, 0x2049},
    {0x2122, 0x2122},   {0x2139, 0x2139},   {0x2194, 0x21AA},   {0x231A, 0x23FF},
    {0x24C2, 0x24C2},   {0x25AA, 0x25FE},   {0x2600, 0x27BF},   {0x2934, 0x2935},
    {0x2B05, 0x2B55},   {0x3030, 0x3030},   {0x303D, 0x303D},   {0x3297, 0x3299},
    {0x1F000, 0x1F1E5}, {0x1F200, 0x1F3FA}, {0x1F400, 0x1FAFF},
};

template <size_t n>
bool isIn(const Range (&table)[n], char32_t c) {
    const Range* at = std::ranges::lower_bound(table, c, {}, &Range::last);
    return at != std::end(table) && at->first <= c;
}

bool isPictograph(char32_t c) { return isIn(kPictographs, c); }
bool isFlagLetter(char32_t c) { return c >= 0x1F1E6 && c <= 0x1F1FF; }
bool isSkinTone(char32_t c) { return c >= 0x1F3FB && c <= 0x1F3FF; }
bool isKeycap(char32_t c) { return c == '#' || c == '*' || (c >= '0' && c <= '9'); }

constexpr char32_t kJoiner = 0x200D, kEmojiForm = 0xFE0F;

unsigned widthOf(char32_t c) {
    if (c < 0x20 || c == 0x7F) return 0;
    if (c < 0x80) return 1;
    return isIn(kZero, c) ? 0 : isIn(kWide, c) ? 2 : 1;
}

}  // namespace

Cluster clusterAt(std::string_view text, size_t at) {
    const Character first = characterAt(text, at);
    if (first.size == 0) return {1, 1};
    Cluster whole{first.size, widthOf(first.codePoint)};
    const bool isEmoji = isPictograph(first.codePoint);
    char32_t last = first.codePoint;
    while (at + whole.size < text.size()) {
        const Character next = characterAt(text, at + whole.size);
        if (next.size == 0) break;
        const char32_t c = next.codePoint;
        const bool isFlag = isFlagLetter(last) && isFlagLetter(c) && whole.size == first.size;
        const bool isJoined = isEmoji && (isSkinTone(c) || (last == kJoiner && isPictograph(c)));
        if (!isFlag && !isJoined && (c < 0x80 || widthOf(c) != 0)) break;
        if (isFlag || (c == kEmojiForm && (isEmoji || isKeycap(first.codePoint))))
            whole.columns = 2;
        whole.size += next.size;
        last = c;
    }
    return whole;
}

size_t columnsOf(std::string_view text) {
    size_t columns = 0;
    for (size_t at = 0; at < text.size();) {
        const Cluster cluster = clusterAt(text, at);
        columns += cluster.columns;
        at += cluster.size;
    }
    return columns;
}

// The end keeps as much as the beginning: what tells names apart, and their extension, stands
// there as a rule.
std::string cutMiddle(std::string_view text, size_t columns, std::string_view mark) {
    const size_t all = columnsOf(text), markColumns = columnsOf(mark);
    if (all <= columns) return std::string(text);
    if (columns <= markColumns) return std::string(columns == markColumns ? mark : "");
    const size_t left = (columns - markColumns + 1) / 2, right = columns - markColumns - left;
    size_t at = 0, done = 0, begin = 0;
    while (all - done > right) {
        const Cluster cluster = clusterAt(text, at);
        at += cluster.size;
        done += cluster.columns;
        if (done <= left) begin = at;
    }
    return std::string(text.substr(0, begin)).append(mark).append(text.substr(at));
}

std::string padded(std::string_view text, size_t columns) {
    const size_t own = columnsOf(text);
    return std::string(text) + std::string(columns > own ? columns - own : 0, ' ');
}

std::string paddedLeft(std::string_view text, size_t columns) {
    const size_t own = columnsOf(text);
    return std::string(columns > own ? columns - own : 0, ' ') + std::string(text);
}
