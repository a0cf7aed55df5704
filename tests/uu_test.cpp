// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <random>

#include "foundation/LogNull.h"
#include "foundation/LogText.h"
#include "foundation/Uu.h"
#include "tests/reference/coders.h"
#include "tests/support.h"

namespace {

using namespace std::string_literals;

std::string decode(std::string_view text) {
    LogNull log;
    DataBuffer out = db("<");
    EXPECT_TRUE(Uu().uu_decode(sb(text), out, log));
    return str(out).substr(1);
}

TEST(Uu, Rows) {
    const struct {
        const char* what;
        std::string in, out;
    } rows[] = {
        {"plain", "begin 644 cat.txt\n#0V%T\n`\nend\n", "Cat"},
        {"text around",
         "Hi,\nbegin\nbegin 64 x\n begin 644 x\nbegin 0644 a b\n#0V%T\n`\nend\n#0V%T\n", "Cat"},
        {"CRLF", "x\r\nbegin 644 c\r\n#0V%T\r\n#0V%T\r\n`\r\nend\r\n", "CatCat"},
        {"CR", "begin 644 c\r#0V%T\r`\rend\r", "Cat"},
        {"missing end", "begin 644 c\n#0V%T", "Cat"},
        {"blanks behind end", "begin 644 c\n#0V%T\nend \t\n#0V%T", "Cat"},
        {"a line that only begins with end", "begin 644 c\nendA\nend\n", "8H@\0\0"s},
        {"blank line in the middle", "begin 644 c\n#0V%T\n\n#0V%T\nend\n", "CatCat"},
        {"checksum character behind the bytes", "begin 644 c\n#0V%T5\nend\n", "Cat"},
        {"group cut behind its last byte", "begin 644 c\n\"0V$\nend\n", "Ca"},
        {"blanks at the end cut off", "begin 644 c\n%0V%T\n#0V%T\nend\n", "Cat\0\0Cat"s},
        {"` and blank are zero", "begin 644 c\n#````\n#    \nend\n", "\0\0\0\0\0\0"s},
        {"nothing behind begin", "begin 644 c", ""},
        {"Limit: zeros within the size of the text", "begin 644 c\nM\nM\nend\n", "\0\0\0\0"s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(decode(row.in), row.out);
    }
}

TEST(Uu, WantsABeginLine) {
    LogText log;
    DataBuffer out = db("<");
    for (const char* text : {"", "begin 644", "begin 644 ", "begin 999 x\n", "begin 64444 x\n",
                             "Begin 644 x\n", "end\n"})
        EXPECT_FALSE(Uu().uu_decode2(text, false, out, log)) << text;
    EXPECT_FALSE(Uu().uu_decode2(nullptr, false, out, log));
    EXPECT_EQ(str(out), "<");
}

TEST(Uu, DecodesWhatWasEncoded) {
    std::mt19937 random(7);
    for (size_t n = 0; n <= 300; ++n) {
        SCOPED_TRACE(n);
        std::string data(n, '\0');
        for (char& c : data) c = char(random());
        const std::string text = reference::uuEncode(data);
        EXPECT_EQ(decode(text), data);

        // Cut anywhere, it gives no more than the size of the text.
        const std::string cut = decode(text.substr(0, 12 + random() % (text.size() - 12)));
        EXPECT_LE(cut.size(), text.size());
    }
}

TEST(Uu, HostileLinesStayWithinTheirSize) {
    const std::string lines = [] {
        std::string text = "begin 644 x\n";
        for (int i = 0; i < 1000000; ++i) text += "_\n";
        return text;
    }();
    EXPECT_EQ(decode(lines).size(), lines.size() - 12);
}

}  // namespace
