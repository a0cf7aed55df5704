// SPDX-License-Identifier: Apache-2.0

#include "foundation/Uu.h"
#include "foundation/LogNull.h"
#include "tests/reference/coders.h"
#include "tests/support.h"

namespace {

using namespace std::string_literals;

std::string decode(std::string_view text) {
    LogNull log;
    DataBuffer out = db("<");
    const bool hasBegin = Uu().uu_decode(sb(text), out, log);
    return hasBegin ? str(out).substr(1) : "no begin line";
}

const std::string kCat = "begin 644 c\n#0V%T\n", kNone = "no begin line";

const TextRow kRows[] = {
    {"plain", kCat + "`\nend\n", "Cat"},
    {"text around", "Hi,\nbegin\nbegin 64 x\n " + kCat + kCat + "`\nend\n#0V%T\n", "Cat"},
    {"CRLF", "x\r\nbegin 0644 a b\r\n#0V%T\r\n#0V%T\r\n`\r\nend\r\n", "CatCat"},
    {"CR", "begin 644 c\r#0V%T\r`\rend\r", "Cat"},
    {"missing end", "begin 644 c\n#0V%T", "Cat"},
    {"blanks behind end", kCat + "end \t\n#0V%T", "Cat"},
    {"a line that only begins with end", "begin 644 c\nendA\nend\n", "8H@\0\0"s},
    {"blank line in the middle", kCat + "\n#0V%T\nend\n", "CatCat"},
    {"checksum character behind the bytes", "begin 644 c\n#0V%T5\nend\n", "Cat"},
    {"group cut behind its last byte", "begin 644 c\n\"0V$\nend\n", "Ca"},
    {"blanks at the end cut off", "begin 644 c\n%0V%T\n#0V%T\nend\n", "Cat\0\0Cat"s},
    {"` and blank are zero", "begin 644 c\n#````\n#    \nend\n", "\0\0\0\0\0\0"s},
    {"nothing behind begin", "begin 644 c", ""},
    {"Limit: zeros within the size of the text", "begin 644 c\nM\nM\nend\n", "\0\0\0\0"s},
    {"begin without a name", "begin 644", kNone},
    {"begin with an empty name", "begin 644 ", kNone},
    {"rights that are not octal", "begin 999 x\n", kNone},
    {"too many digits", "begin 64444 x\n", kNone},
};

TEST(Uu, Rows) { expectRows(kRows, decode); }

TEST(Uu, DecodesWhatWasEncoded) {
    std::mt19937 random(7);
    for (size_t n = 0; n <= 300; ++n) {
        const std::string data = randomBytes(random, n), text = reference::uuEncode(data);
        EXPECT_EQ(decode(text), data) << n;
    }
    const std::string hostile = "begin 644 x\n" + repeated("_\n", 1000000);
    EXPECT_EQ(decode(hostile).size(), hostile.size() - 12);
}

}  // namespace
