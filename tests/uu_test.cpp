// SPDX-License-Identifier: Apache-2.0

#include "foundation/Uu.h"
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

const std::string kZeros(42, '\0');

const TextRow kRows[] = {
    {"prose like a begin line", "begin 5 minutes later\nthan I\n" + kCat + "end\n", "Cat"},
    {"CR", "begin 644 c\r#0V%T\r`\rend\r", "Cat"},
    {"blanks behind end", kCat + "end \t\n#0V%T", "Cat"},
    {"a line that only begins with end", kCat + "endA\nend\n", "Cat8H@\0\0"s},
    {"a line of length zero ends the data", kCat + "`\n#0V%T", "Cat"},
    {"also when its blank was cut off", kCat + "\nlist at example.org\n", "Cat"},
    {"checksum character behind the bytes", "begin 644 c\n#0V%T5\nend\n", "Cat"},
    {"group cut behind its last byte", "begin 644 c\n\"0V$\nend\n", "Ca"},
    {"blanks at the end cut off", "begin 644 c\nM0V%T\n#0V%T\nend\n", "Cat" + kZeros + "Cat"},
    {"` and blank are zero", "begin 644 c\n#````\n#    \nend\n", "\0\0\0\0\0\0"s},
    {"any rights, blanks, no name", " begin \t100644 \n#0V%T\nend\n", "Cat"},
    {"rights that are not octal", "begin 999 x\n", kNone},
};

TEST(Uu, Rows) { expectRows(kRows, decode); }

TEST(Uu, DecodesWhatWasEncoded) {
    std::mt19937 random(7);
    for (size_t n = 0; n <= 300; ++n) {
        const std::string data = randomBytes(random, n), text = reference::uuEncode(data);
        EXPECT_EQ(decode(text), data) << n;
    }
    const std::string hostile = "begin 644 x\n" + repeated("_\n", 1000000);
    EXPECT_EQ(decode(hostile).size(), hostile.size() - 12 + 65536);  // Limit:
}

}  // namespace
