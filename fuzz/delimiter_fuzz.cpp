// SPDX-License-Identifier: Apache-2.0

// The search for delimiters finds what a plain search does, also where it walks no more and an
// index answers: few bytes of text, asked for often.

#include <algorithm>
#include <string>
#include <string_view>

#include "mime/parse/delimiter_search.h"
#include "target.h"

using mimetree::inner::DelimiterSearch;

namespace {

constexpr const char* kTextPieces[] = {
    "--",   "-", "---",  "----------", "\r\n", "\n",  "\r",       "a",    "b",
    "ab",   "x", " ",    "--a",        "--b",  "a--", "--ab\r\n", "\xE9", "=_alternative ",
    "--b-", "0", "00000"};
constexpr const char* kEnds[] = {"\r\n", "\n", "\r", " \r\n", "--"};

std::string pieces(Choices& choices, unsigned most) {
    std::string text;
    for (unsigned n = choices.below(most); n; --n) text += choices.pick(kTextPieces);
    return text;
}

std::string delimiter(Choices& choices) {
    std::string boundary = pieces(choices, 6);
    boundary.erase(std::remove_if(boundary.begin(), boundary.end(),
                                  [](char c) { return c == '\r' || c == '\n'; }),
                   boundary.end());
    const bool isRespaced = boundary.find("=_alternative ") != std::string::npos;
    return (isRespaced && choices.below(2) ? "" : "--") + boundary + choices.pick(kEnds);
}

}  // namespace

FUZZ_TARGET(delimiter_fuzz) {
    Choices choices(data, size);
    std::string text = pieces(choices, 64);
    for (unsigned n = choices.below(6); n && text.size() < 4000; --n) text += text;
    const std::string_view all = text;
    DelimiterSearch search(text.data(), text.data() + text.size());
    size_t from = 0;
    do {
        const std::string wanted = delimiter(choices);
        from += choices.below(8) ? 0 : choices.byte();
        if (from > text.size()) return;
        const size_t to = from + (text.size() - from) / (1 + choices.below(2));
        const size_t at = all.substr(0, to).find(wanted, from);
        const char* const expected = at == all.npos ? nullptr : text.data() + at;
        for (unsigned times = choices.below(2) ? 1 : 200; times; --times)
            require(search.find(wanted, text.data() + from, text.data() + to) == expected,
                    "a delimiter is found where it stands first");
    } while (!choices.atEnd());
}
