// SPDX-License-Identifier: Apache-2.0

// Line ends made CRLF; kernels_test.cpp holds the loops against each other.

#include "foundation/bytes/line_ends.h"

#include <gtest/gtest.h>

#include "tests/support.h"

using namespace mimetree::inner;

namespace {

using line_ends::BareCr;

std::string completed(std::string_view text, BareCr bareCr) {
    std::string out(text.size() + line_ends::countIncomplete(text.data(), text.size(), bareCr),
                    '?');
    line_ends::complete(text.data(), text.size(), bareCr, &out[0]);
    return out;
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
        EXPECT_EQ(completed(row.in, BareCr::Stays), row.lfOnly);
        EXPECT_EQ(completed(row.in, BareCr::BecomesCrlf), row.all);
    }
}

}  // namespace
