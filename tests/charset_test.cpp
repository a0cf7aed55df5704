// SPDX-License-Identifier: Apache-2.0

// Charset names, conversion between code pages, and the check for UTF-8.

#include <sstream>

#include "foundation/_zqCharset.h"
#include "foundation/_zqUtf.h"
#include "tests/support.h"

using namespace mimetree::inner;

using namespace std::string_literals;

namespace {

constexpr int kUtf8 = 65001;
const std::string kBad = "\uFFFD";

std::string decoded(int codePage, std::string_view text) {
    return converted(codePage, kUtf8, text);
}
std::string encoded(int codePage, std::string_view text) {
    return converted(kUtf8, codePage, text);
}

bool holds(int codePage, std::string_view text) {
    return EncodingConvert::canHold(codePage, text.data(), static_cast<unsigned>(text.size()));
}

// Every code page, with a text that is the same both ways.
struct SingleByte {
    int codePage, byte;
    char32_t c;
};
struct Sample {
    int codePage;
    std::string bytes, text;
};

constexpr SingleByte kSingleByte[] = {
    {20127, 0x7E, 0x007E}, {28591, 0x85, 0x0085}, {28592, 0xBC, 0x017A}, {28593, 0xA1, 0x0126},
    {28594, 0xF3, 0x0137}, {28595, 0xD8, 0x0438}, {28596, 0xD3, 0x0633}, {28597, 0xD9, 0x03A9},
    {28598, 0xF9, 0x05E9}, {38598, 0xF9, 0x05E9}, {28599, 0x9F, 0x009F}, {28599, 0xF0, 0x011F},
    {28600, 0xBF, 0x014B}, {28601, 0xE4, 0x0E44}, {28603, 0xDE, 0x017D}, {28604, 0xD0, 0x0174},
    {28605, 0xA6, 0x0160}, {28606, 0xDE, 0x021A}, {1250, 0x8F, 0x0179},  {1251, 0xB3, 0x0456},
    {1252, 0x80, 0x20AC},  {1253, 0xDC, 0x03AC},  {1254, 0x80, 0x20AC},  {1254, 0xF0, 0x011F},
    {1255, 0xA4, 0x20AA},  {1256, 0x81, 0x067E},  {1257, 0xC1, 0x012E},  {1258, 0xFE, 0x20AB},
    {874, 0x85, 0x2026},   {20866, 0xF0, 0x041F}, {21866, 0xB7, 0x0407}, {10000, 0x8E, 0x00E9},
    {10007, 0x8F, 0x041F}, {437, 0x9D, 0x00A5},   {850, 0x9D, 0x00D8},   {852, 0x9D, 0x0141},
    {855, 0xDD, 0x041F},   {866, 0xA8, 0x0438},
};

const Sample kMultiByte[] = {
    {932, "\x93\xFA\x96{\x87@\xEE\xE0\xB1\x81`", "\u65E5\u672C\u2460\u9AD9\uFF71\uFF5E"},
    {936, "\xD6\xD0\xCE\xC4\xFD\x88\xA1\xAA", "\u4E2D\u6587\u9F8D\u2014"},
    {949, "\xC7\xD1\xB1\xDB\x8C\x63", "\uD55C\uAE00\uB620"},
    {950, "\xA4\xA4\xA4\xE5\xF9\xD6\xA3\xE1", "\u4E2D\u6587\u7881\u20AC"},
    {51932, "\xC6\xFC\x8E\xB1\xA1\xC1\x8F\xB0\xA1", "\u65E5\uFF71\u301C\u4E02"},
    {51936, "\xD6\xD0\xCE\xC4", "\u4E2D\u6587"},
    {51949, "\xC7\xD1\xB1\xDB", "\uD55C\uAE00"},
    {54936, "\xD6\xD0\xA2\xE3\x81\x30\x8B\x32\x94\x39\xFC\x36", "\u4E2D\u20AC\u00F6\U0001F600"},
    {50220, "a\x1B$BF|K\x5C\x1B(J\x5C\x1B(B\n", "a\u65E5\u672C\u00A5\n"},
    {50225, "\x1B$)Ca\x0EGQ1[\x0F\n", "a\uD55C\uAE00\n"},
    {52936, "~~~{VPND~}a", "~\u4E2D\u6587a"},
    {65000, "a+-+APzYPd4AAH4-1", "a+\u00FC\U0001F600~1"},
    {1200, "a\x00\xFC\x00=\xD8\x00\xDE"s, "a\u00FC\U0001F600"},
    {1201, "\x00\x61\x00\xFC\xD8=\xDE\x00"s, "a\u00FC\U0001F600"},
    {12000, "a\x00\x00\x00\x00\xF6\x01\x00"s, "a\U0001F600"},
    {12001, "\x00\x00\x00\x61\x00\x01\xF6\x00"s, "a\U0001F600"},
    {kUtf8, "a\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x98\x80", "a\u00FC\u4E2D\U0001F600"},
};

template <class Check>
void forSamples(Check check) {
    std::vector<Sample> all(std::begin(kMultiByte), std::end(kMultiByte));
    for (const auto& [codePage, byte, c] : kSingleByte)
        all.push_back({codePage, std::string(1, char(byte)), character(c)});
    for (const auto& [codePage, bytes, text] : all) {
        SCOPED_TRACE(codePage);
        check(codePage, bytes, text);
    }
}

struct Conversion {
    const char* what;
    int codePage;
    std::string in, out;
};

const Conversion kDecodeRows[] = {
    {"unused in 1252", 1252, "\x81\x8D", "\xC2\x81\xC2\x8D"},
    {"undefined in 1253", 1253, "\x98\xD2", "\xC2\x98" + kBad},
    {"undefined pair of high bytes is one error", 949, "\xC9\xFE!", kBad + "!"},
    {"euro in text called EUC-CN", 51936, "\x80", "\u20AC"},
    {"four bytes without a character", 54936, "\xFE\x39\xFE\x39", kBad},
    {"trail byte 0x7F", 932, "\x81\x7F", kBad + "\x7F"},
    {"EUC-JP, third byte missing", 51932, "\x8F\xB0<", kBad + "<"},
    {"half-width kana by SO", 50220, "\x0E!\x0Fz", "\uFF61z"},
    {"GB2312 and KS in Japanese", 50220, "\x1B$AVP\x1B$(CGQ\x1B(B", "\u4E2D\uD55C"},
    {"line break ends a set", 50220, "\x1B$BF|\nF|", "\u65E5\nF|"},
    {"pair cut by a line break", 50220, "\x1B$BF\n<", kBad + "\n<"},
    {"unknown escape", 50220, "\x1B[0m", kBad + "[0m"},
    {"Korean shift ends with the line", 50225, "\x1B$)C\x0EGQ\n<", "\uD55C\n<"},
    {"HZ, joined lines", 52936, "a~\nb~\r\nc~\r", "abc" + kBad + "\r"},
    {"HZ, line break ends the set", 52936, "~{VP\nVP", "\u4E2D\nVP"},
    {"mark of the other order", 1200, "\xFE\xFF\0a"s, "a"},
    {"lone surrogates", 1201, "\xDC\0\xD8\0\0a\xD8\0"s, kBad + kBad + "a" + kBad},
    {"above U+10FFFF, surrogate, cut", 12000, "\0\0\x11\0\0\xD8\0\0a"s, kBad + kBad + kBad},
    {"UTF-7 without the minus", 65000, "+AOk a+AOk", "\u00E9 a\u00E9"},
    {"UTF-7, cut and lone surrogate", 65000, "+A-+2D0-\xE9", kBad + kBad + kBad},
    {"stray bytes of UTF-8", kUtf8, "a\xE9z\x80", "a\u00E9z\xC2\x80"},
    {"unknown code page", 0, "\xE9", "\xE9"},
};

const Conversion kEncodeRows[] = {
    {"euro in GBK is not GB18030's", 936, "\u20AC", "\x80"},
    {"HKSCS, letter and mark", 950, "\u00CA\u0304\u00EA\u00CA", "\x88\x62\x88\xA7\x88\x66"},
    {"Microsoft reading in EUC-JP", 51932, "\uFF5E", "\xA1\xC1"},
    {"sets beyond RFC 1468", 50220, "\uFF71\u4E02\u4EEC\uD55C",
     "\x1B(I1\x1B$(D0!\x1B$ACG\x1B$(CGQ\x1B(B"},
    {"mark that is not held, with states", 50220, "\uFEFFa\uFEFF", "a?"},
    {"lacking between pairs", 50220, "\u65E5\u0E01\u65E5", "\x1B$BF|\x1B(B?\x1B$BF|\x1B(B"},
    {"HZ tilde after pairs", 52936, "\u4E2D~", "~{VP~}~~"},
    {"UTF-7 specials", 65000, "~\\+\t", "+AH4AXAAr-\t"},
};

TEST(Convert, Rows) {
    for (const Conversion& row : kDecodeRows)
        EXPECT_EQ(decoded(row.codePage, row.in), row.out) << row.what;
    for (const Conversion& row : kEncodeRows)
        EXPECT_EQ(encoded(row.codePage, row.in), row.out) << row.what;
}

TEST(Charset, NamesAndAliases) {
    std::string codePages;
    for (const char* name :
         {"utf-8", "UTF8", " \"Utf-8\"\t", "'utf-8'", "unicode-1-1-utf-7", "utf-16", "unicode",
          "us-ascii", "ANSI_X3.4-1968", "latin1", "ISO_8859-1:1987", "csISOLatin1", "8859-1",
          "x-sjis", "gb2312", "big5-hkscs", "logical",
          // refused
          "x-unknown", "iso-8859-12", "utf-8x", "", "\"\"",
          "a-name-that-is-far-longer-than-any-name-of-the-table-is"}) {
        _zqCharset charset;
        charset.setByCodePage(437);
        codePages += charset.setByName(name) ? "" : "refused ";
        codePages += std::to_string(charset.getCodePage()) + "|";
    }
    EXPECT_EQ(codePages,
              "65001|65001|65001|65001|65000|1200|1200|20127|20127|28591|28591|28591|28591|932|936|"
              "950|38598|" +
                  repeated("refused 437|", 6));
}

TEST(Charset, RecordKeepsSpelling) {
    _zqCharset charset;
    EXPECT_TRUE(charset.setByName(" \"Latin1\""));
    EXPECT_STREQ(charset.getName(), "Latin1");
    charset.setByCodePage(4711);
    EXPECT_STREQ(charset.getName(), "cp4711");
    charset.setByCodePage(0);
    EXPECT_STREQ(charset.getName(), "");
}

// The characters that are held come back, and so does the sample, cut anywhere up to the cut.
TEST(Charset, EveryCodePageIsNamedAndConverts) {
    forSamples([](int codePage, const std::string& bytes, const std::string& text) {
        const char* name = _zqCharset::nameOf(codePage);
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(_zqCharset::codePageOf(name, unsigned(std::strlen(name))), codePage);
        EXPECT_EQ(decoded(codePage, bytes), text);
        EXPECT_EQ(encoded(codePage, text), bytes);
        EXPECT_TRUE(EncodingConvert::isKnown(codePage) && holds(codePage, text));
        std::string all;
        for (char32_t c = 0; c < 0x30000; c += c == 0xD7FF ? 0x801 : 1)
            if (holds(codePage, character(c))) all += character(c);
        EXPECT_GE(all.size(), 128u);
        EXPECT_EQ(decoded(codePage, encoded(codePage, all)), all);
        for (size_t n = 0; n < bytes.size() && codePage < kUtf8 - 1; ++n) {
            const std::string part = decoded(codePage, bytes.substr(0, n));
            EXPECT_EQ(text.find(part.substr(0, part.find(kBad))), 0u) << n;
        }
    });
}

TEST(Convert, CanHoldIsNotForLookalikes) {
    EXPECT_FALSE(holds(932, "\u301C") || holds(50220, "\uFF71") || holds(51932, "\uFF5E"));
    EXPECT_FALSE(holds(20127, "\u00E9") || holds(0, "a"));
    // what only wider readers of the charset know
    EXPECT_FALSE(holds(936, "\u01F9") || holds(51936, "\u9F8D") || holds(51949, "\uB620") ||
                 holds(950, "\u43F0") || holds(50220, "\u4E02") || holds(52936, "\u2170"));
    EXPECT_FALSE(holds(936, "\u20AC") || holds(950, "\u2460") || holds(50220, "\u2460") ||
                 holds(51932, "\u2460"));
    EXPECT_TRUE(holds(1252, "a\0b"s));
}

// All that can be read is written so that it is read again.
TEST(Convert, WhatWasReadIsWritten) {
    const char* const shifts[] = {"\x1B$B", "\x1B$(D", "\x1B$A", "\x1B$(C",
                                  "\x1B(I", "\x1B(J",  "\x0E",   "~{"};
    std::string pairs, shifted = "\x1B$)C\n";
    for (unsigned lead = 0x80; lead < 0x100; ++lead)
        for (unsigned trail = 0x30; trail < 0x100; ++trail)
            pairs += {char(lead), char(trail), '\n', '\x8F',      char(lead), char(trail),
                      '\n',       char(lead),  '0',  char(trail), '1',        '\n'};
    for (const char* shift : shifts)
        for (char lead = 0x20; lead < 0x7F; ++lead)
            for (char trail = 0x20; trail < 0x7F; ++trail)
                shifted += shift + std::string{lead, trail, '\n'};
    forSamples([&](int codePage, const std::string&, const std::string&) {
        const bool hasStates = codePage > 50000 && !EncodingConvert::keepsAscii(codePage);
        std::istringstream lines(decoded(codePage, hasStates ? shifted : pairs));
        std::string text;
        for (std::string line; std::getline(lines, line);)
            if (line.find(kBad) == std::string::npos) text += line + '\n';
        EXPECT_TRUE(decoded(codePage, encoded(codePage, text)) == text);
    });
}

// Whatever is broken, a "<" is still there, unless a set of seven bits was switched to.
TEST(Convert, BrokenCharactersDoNotSwallowMarkup) {
    for (const int codePage : {932, 936, 949, 950, 51932, 51936, 51949, 54936, 50220, 65000})
        for (unsigned lead = 0x80; lead < 0x100; ++lead)
            for (const char* middle : {"", "\xA1", "\x81\x30", "\xFE"}) {
                const std::string text = std::string(1, char(lead)) + middle + "<";
                EXPECT_EQ(decoded(codePage, text).back(), '<') << codePage << ' ' << lead;
            }
}

// The result does not depend on where output space runs out, nor does noise do harm.
// Tolerated: a mailer that labels what it has not converted.
TEST(Convert, EightBitTextWithASevenBitLabel) {
    const TextRow rows[] = {
        {"UTF-8", "a \xE3\x82\xA8", "a \xE3\x82\xA8"},
        {"EUC-JP", "a \xA5\xA8", "a \xE3\x82\xA8"},
        {"neither", "a \xA5\xA8 \xFF", "a \xEF\xBF\xBD\xEF\xBF\xBD \xEF\xBF\xBD"},
    };
    expectRows(rows, [](const std::string& in) { return decoded(50220, in); });
}

TEST(Convert, NoiseOfEveryLength) {
    std::mt19937 random(7);
    forSamples([&](int codePage, const std::string&, const std::string&) {
        for (unsigned n = 1; n < 3000; n = n * 2 + 1) {
            std::string noise = randomBytes(random, n);
            for (char& c : noise)
                if (random() % 3 == 0) c = "\x1B$B~{+(\x0E"[random() % 8];
            const std::string text = decoded(codePage, noise);
            EXPECT_EQ(decoded(kUtf8, text), text);
            EXPECT_EQ(converted(codePage, 1252, noise), encoded(1252, text));
        }
    });
}

TEST(Convert, ReadsItsOwnOutput) {
    DataBuffer out = db("x\xE9");
    LogNull log;
    EXPECT_TRUE(EncodingConvert::EncConvert(1252, kUtf8, out.getData2(), out.getSize(), out, log));
    EXPECT_EQ(str(out), "x\xE9x\u00E9");
}

TEST(Utf8, ValidWithinALimit) {
    const auto valid = [](std::string_view text, unsigned limit) {
        return _zqUtf::isValidUtf8(raw(text), unsigned(text.size()), limit);
    };
    EXPECT_TRUE(valid("", 0) && valid("\u4E2D\u00E9", 0) && valid("ab\xFF", 2));
    EXPECT_FALSE(valid("\xE4\xB8", 0) || valid("ab\xFF", 3) || valid("ab\xFF", 9));
    // cut by the limit
    EXPECT_TRUE(valid("\u4E2D", 2) && valid("\u4E2D", 1) && valid("\xF4\x8F\xBF\xBF", 3));
    EXPECT_FALSE(valid("\xF4\x90\x80\x80", 2) || valid("\xED\xA0\x80", 2) || valid("\xC1\x80", 1) ||
                 valid("\xE4\xB8", 2));
}

}  // namespace
