// SPDX-License-Identifier: Apache-2.0

// The vectorised line-end loops against the plain ones, and the plain ones against rows.

#include "foundation/bytes/line_ends.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support.h"

using namespace mimetree::inner;

namespace {

using line_ends::BareCr;

template <class Count, class Complete>
std::string rewritten(std::string_view text, BareCr bareCr, Count count, Complete complete) {
    const Exact in(text);
    std::string out(text.size() + count(in.data(), in.size(), bareCr), '?');
    const Exact room(out);
    complete(in.data(), in.size(), bareCr, const_cast<char*>(room.data()));
    return std::string(room.data(), room.size());
}

std::string plain(std::string_view text, BareCr bareCr) {
    return rewritten(text, bareCr, line_ends::scalar::countIncomplete, line_ends::scalar::complete);
}

std::string fast(std::string_view text, BareCr bareCr) {
    return rewritten(text, bareCr, line_ends::countIncomplete, line_ends::complete);
}

TEST(LineEnds, Rows) {
    struct Row {
        const char *in, *lfOnly, *all;
    };
    const Row rows[] = {
        {"", "", ""},
        {"a\nb", "a\r\nb", "a\r\nb"},
        {"a\r\nb\r\n", "a\r\nb\r\n", "a\r\nb\r\n"},
        {"a\rb\r", "a\rb\r", "a\r\nb\r\n"},
        {"\n\n\r\r\n", "\r\n\r\n\r\r\n", "\r\n\r\n\r\n\r\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(plain(row.in, BareCr::Stays), row.lfOnly);
        EXPECT_EQ(plain(row.in, BareCr::BecomesCrlf), row.all);
    }
}

TEST(LineEnds, FastAgreesWithPlain) {
    std::mt19937 random(7);
    for (int round = 0; round < 4000; ++round) {
        std::string text(random() % (round % 100 ? 90 : 9000), 'x');
        const auto rarity = 2 + random() % 20;
        for (char& c : text)
            if (random() % rarity == 0) c = "\r\n"[random() % 2];
        for (const BareCr bareCr : {BareCr::Stays, BareCr::BecomesCrlf})
            ASSERT_EQ(fast(text, bareCr), plain(text, bareCr)) << testing::PrintToString(text);
    }
}

}  // namespace
