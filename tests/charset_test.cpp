// SPDX-License-Identifier: Apache-2.0

// Charset names, conversion between code pages, and the check for UTF-8.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqUtf.h"
#include "foundation/utf8.h"
#include "tests/support.h"

using namespace std::string_literals;

namespace {

constexpr int kUtf8 = 65001;
const std::string kBad = "\uFFFD";

// From memory that ends where the text does, so that the sanitizer sees a byte too far.
std::string convert(int from, int to, std::string_view text) {
    const Exact input(text);
    DataBuffer out;
    LogNull log;
    EXPECT_TRUE(EncodingConvert::EncConvert(
        from, to, reinterpret_cast<const unsigned char*>(input.data()), input.size(), out, log));
    return str(out);
}

std::string decoded(int codePage, std::string_view text) { return convert(codePage, kUtf8, text); }
std::string encoded(int codePage, std::string_view text) { return convert(kUtf8, codePage, text); }

bool holds(int codePage, std::string_view text) {
    return EncodingConvert::canHold(codePage, text.data(), static_cast<unsigned>(text.size()));
}

std::string character(char32_t c) {
    unsigned char text[4];
    return std::string(text, utf8::put(c, text));
}

// Every code page, with a text that is the same both ways.
struct Sample {
    int codePage;
    std::string bytes, text;
};

const Sample kSamples[] = {
    {20127, "Az~", "Az~"},
    {28591, "\x85\xE9\xBD\xFF", "\xC2\x85\u00E9\u00BD\u00FF"},
    {28592, "\xA3\xF3\x64\xBC", "\u0141\u00F3d\u017A"},
    {28593, "\xA1\xF5", "\u0126\u0121"},
    {28594, "\xC0\xF3", "\u0100\u0137"},
    {28595, "\xBF\xE0\xD8\xD2\xD5\xE2", "\u041F\u0440\u0438\u0432\u0435\u0442"},
    {28596, "\xD3\xE4\xC7\xE5", "\u0633\u0644\u0627\u0645"},
    {28597, "\xD9\xEC\xDD\xE3\xE1", "\u03A9\u03BC\u03AD\u03B3\u03B1"},
    {28598, "\xF9\xEC\xE5\xED", "\u05E9\u05DC\u05D5\u05DD"},
    {38598, "\xF9\xEC\xE5\xED", "\u05E9\u05DC\u05D5\u05DD"},
    {28599, "I\xF0\x64\xFDr\x9F", "I\u011Fd\u0131r\xC2\x9F"},
    {28600, "\xD0\xBF", "\u00D0\u014B"},
    {28601, "\xE4\xB7\xC2", "\u0E44\u0E17\u0E22"},
    {28603, "\xDE\xED", "\u017D\u0137"},
    {28604, "\xD0\xFE", "\u0174\u0177"},
    {28605, "\xA4\xA6\xBD", "\u20AC\u0160\u0153"},
    {28606, "\xDE\xBA\xA4", "\u021A\u0219\u20AC"},
    {1250, "\x8F\x64\x9F\x80", "\u0179d\u017A\u20AC"},
    {1251, "\xCF\xF0\xE8\xE2\xB3\xF2", "\u041F\u0440\u0438\u0432\u0456\u0442"},
    {1252, "\x93\xE9\x80\x94", "\u201C\u00E9\u20AC\u201D"},
    {1253, "\xD9\xDC", "\u03A9\u03AC"},
    {1254, "\xF0\xDD\x80", "\u011F\u0130\u20AC"},
    {1255, "\xF9\xEC\xE5\xED\xA4", "\u05E9\u05DC\u05D5\u05DD\u20AA"},
    {1256, "\x81\x8D\x9D", "\u067E\u0686\u200C"},
    {1257, "\xDE\xC1", "\u017D\u012E"},
    {1258, "\xF5\xFE", "\u01A1\u20AB"},
    {874, "\xE4\xB7\xC2\x85", "\u0E44\u0E17\u0E22\u2026"},
    {20866, "\xF0\xD2\xC9\xD7\xC5\xD4", "\u041F\u0440\u0438\u0432\u0435\u0442"},
    {21866, "\xB7\xD6\xC1\xCB", "\u0407\u0436\u0430\u043A"},
    {10000, "\x8E\xDB\xDE", "\u00E9\u20AC\uFB01"},
    {10007, "\x8F\xF0\xE8\xE2\xE5\xF2", "\u041F\u0440\u0438\u0432\u0435\u0442"},
    {437, "\x82\xB0\xE1", "\u00E9\u2591\u00DF"},
    {850, "\x82\xB0\x9D", "\u00E9\u2591\u00D8"},
    {852, "\x9D\xAB", "\u0141\u017A"},
    {855, "\xDD\xE1\xB7\xEB\xA8\xE5", "\u041F\u0440\u0438\u0432\u0435\u0442"},
    {866, "\x8F\xE0\xA8\xA2\xA5\xE2", "\u041F\u0440\u0438\u0432\u0435\u0442"},
    {932, "\x93\xFA\x96{\x8C\xEA\x87@\xEE\xE0\xB1\x81`",
     "\u65E5\u672C\u8A9E\u2460\u9AD9\uFF71\uFF5E"},
    {936, "\xD6\xD0\xCE\xC4\xFD\x88\xA1\xAA\x80", "\u4E2D\u6587\u9F8D\u2014\u20AC"},
    {949, "\xC7\xD1\xB1\xDB\x8C\x63", "\uD55C\uAE00\uB620"},
    {950, "\xA4\xA4\xA4\xE5\xF9\xD6\xA3\xE1\x87@", "\u4E2D\u6587\u7881\u20AC\u43F0"},
    {51932, "\xC6\xFC\xB8\xEC\x8E\xB1\xA1\xC1\x8F\xB0\xA1\xAD\xA1",
     "\u65E5\u8A9E\uFF71\u301C\u4E02\u2460"},
    {51936, "\xD6\xD0\xCE\xC4", "\u4E2D\u6587"},
    {51949, "\xC7\xD1\xB1\xDB", "\uD55C\uAE00"},
    {54936, "\xD6\xD0\xA2\xE3\x81\x30\x8B\x32\x94\x39\xFC\x36", "\u4E2D\u20AC\u00F6\U0001F600"},
    {50220, "a\x1B$BF|K\x5C-!\x1B(J\x5C\x1B(B\n", "a\u65E5\u672C\u2460\u00A5\n"},
    {50225, "\x1B$)Ca\x0EGQ1[\x0F\n", "a\uD55C\uAE00\n"},
    {52936, "~~~{VPND~}a", "~\u4E2D\u6587a"},
    {65000, "a+-+APzYPd4AAH4-1", "a+\u00FC\U0001F600~1"},
    {1200, "a\x00\xFC\x00=\xD8\x00\xDE"s, "a\u00FC\U0001F600"},
    {1201, "\x00\x61\x00\xFC\xD8=\xDE\x00"s, "a\u00FC\U0001F600"},
    {12000, "a\x00\x00\x00\x00\xF6\x01\x00"s, "a\U0001F600"},
    {12001, "\x00\x00\x00\x61\x00\x01\xF6\x00"s, "a\U0001F600"},
    {kUtf8, "a\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x98\x80", "a\u00FC\u4E2D\U0001F600"},
};

struct Row {
    const char* what;
    int codePage;
    std::string in, out;
};

const Row kDecodeRows[] = {
    {"ASCII has no high byte", 20127,
     "a\xE9"
     "b",
     "a" + kBad + "b"},
    {"undefined in 1252", 1252, "\x81\x8D", kBad + kBad},
    {"undefined in ISO-8859-6", 28596, "\xA1", kBad},
    {"pair without a character keeps the ASCII byte", 936, "\x81<b>", kBad + "<b>"},
    {"undefined pair of high bytes is one error", 949, "\xC9\xFE!", kBad + "!"},
    {"byte that is no lead byte", 950, "\xFF\xA4\xA4", kBad + "\u4E2D"},
    {"lead byte at the end", 932, "\x93", kBad},
    {"four bytes in text called GBK", 936, "\x94\x39\xFC\x36", "\U0001F600"},
    {"euro in text called EUC-CN", 51936, "\x80", "\u20AC"},
    {"four bytes without a character", 54936, "\xFE\x39\xFE\x39", kBad},
    {"four bytes cut after two", 54936, "\x81\x30", kBad + "0"},
    {"four bytes broken in the third", 54936, "\x81\x30<", kBad + "0<"},
    {"UHC in text called EUC-KR", 51949, "\x8C\x63", "\uB620"},
    {"HKSCS, plane 2", 950, "\x87\x45", "\U00027267"},
    {"HKSCS, letter and mark", 950, "\x88\x62", "\u00CA\u0304"},
    {"IBM characters, private area", 932, "\xFB\xFC\xF0@", "\u9AD9\uE000"},
    {"trail byte 0x7F", 932, "\x81\x7F", kBad + "\x7F"},
    {"EUC-JP, third byte missing", 51932, "\x8F\xB0<", kBad + "<"},
    {"EUC-JP, no kana", 51932, "\x8E<\x8E\xE0", kBad + "<" + kBad},
    {"1978 JIS", 50220, "\x1B$@F|\x1B(B", "\u65E5"},
    {"half-width kana by escape", 50220, "\x1B(I1\x1B(B", "\uFF71"},
    {"half-width kana by SO", 50220,
     "\x0E\x31\x0F"
     "1",
     "\uFF71"
     "1"},
    {"JIS X 0212", 50220, "\x1B$(D0!\x1B(B", "\u4E02"},
    {"GB2312 and KS in Japanese", 50220, "\x1B$AVP\x1B$(CGQ\x1B(B", "\u4E2D\uD55C"},
    {"line break ends a set", 50220, "\x1B$BF|\nF|", "\u65E5\nF|"},
    {"pair cut by a line break", 50220, "\x1B$BF\n<", kBad + "\n<"},
    {"unknown escape", 50220, "\x1B[0m", kBad + "[0m"},
    {"high byte", 50220, "\xE9", kBad},
    {"Korean shift ends with the line", 50225, "\x1B$)C\x0EGQ\n<", "\uD55C\n<"},
    {"HZ, joined lines", 52936, "a~\nb", "ab"},
    {"HZ, line break ends the set", 52936, "~{VP\nVP", "\u4E2D\nVP"},
    {"HZ, stray tilde", 52936, "a~<b~", "a" + kBad + "<b" + kBad},
    {"mark of its own order", 1200,
     "\xFF\xFE"
     "a\0"s,
     "a"},
    {"mark of the other order", 1200, "\xFE\xFF\0a"s, "a"},
    {"mark of the other order, 32 bits", 12001, "\xFF\xFE\0\0a\0\0\0"s, "a"},
    {"a mark within text stays", 1201, "\0a\xFE\xFF"s, "a\uFEFF"},
    {"odd byte", 1200, "a\0b"s, "a" + kBad},
    {"lone surrogates", 1201, "\xDC\0\xD8\0\0a\xD8\0"s, kBad + kBad + "a" + kBad},
    {"above U+10FFFF, surrogate, cut", 12000, "\0\0\x11\0\0\xD8\0\0a"s, kBad + kBad + kBad},
    {"a UTF-8 mark is text", kUtf8,
     "\xEF\xBB\xBF"
     "a",
     "\uFEFF"
     "a"},
    {"UTF-7 without the minus", 65000, "+AOk a+AOk", "\u00E9 a\u00E9"},
    {"UTF-7, plus before what is no base64", 65000, "1+ 2+", "1+ 2+"},
    {"UTF-7, cut and lone surrogate", 65000, "+A-+2D0-\xE9", kBad + kBad + kBad},
};

const Row kEncodeRows[] = {
    {"one mark per character", 1252, "\u4E2D\U0001F600", "??"},
    {"U+FFFD is not held", 28591, kBad, "?"},
    {"euro in GBK is not GB18030's", 936, "\u20AC", "\x80"},
    {"GB18030 pairs that GBK lacks", 936, "\uE000\u01F9", "??"},
    {"GBK that GB2312 lacks", 51936, "\u9F8D\u20AC", "??"},
    {"UHC that EUC-KR lacks", 51949, "\uB620", "?"},
    {"JIS reading in 932", 932, "\u301C\u2212", "\x81`\x81|"},
    {"Microsoft reading in EUC-JP", 51932, "\uFF5E", "\xA1\xC1"},
    {"no half-width kana in ISO-2022-JP", 50220, "\uFF71", "\x1B$B%\"\x1B(B"},
    {"no escape in ISO-2022-JP", 50220, "\x1B$B", "?$B"},
    {"lacking between pairs", 50220, "\u65E5\uD55C\u65E5", "\x1B$BF|\x1B(B?\x1B$BF|\x1B(B"},
    {"lacking in Korean", 50225, "\u00FF", "\x1B$)C?"},
    {"ASCII needs no announcement", 50225, "abc", "abc"},
    {"HZ tilde after pairs", 52936, "\u4E2D~", "~{VP~}~~"},
    {"UTF-7 specials", 65000, "~\\+\t", "+AH4AXAAr-\t"},
    {"stray byte of UTF-8 is Latin-1", 28591, "\xE9\u00E9", "\xE9\xE9"},
};

const Row kUtf8Rows[] = {
    {"stray bytes", kUtf8, "a\xE9z\x80", "a\u00E9z\xC2\x80"},
    {"overlong", kUtf8, "\xC0\xAF", "\u00C0\u00AF"},
    {"surrogate", kUtf8, "\xED\xA0\x80", "\u00ED\u00A0\xC2\x80"},
    {"above U+10FFFF", kUtf8, "\xF4\x90\x80\x80", "\u00F4\xC2\x90\xC2\x80\xC2\x80"},
    {"cut", kUtf8, "\xE4\xB8", "\u00E4\u00B8"},
};

void expectRows(const Row* row, const Row* end, std::string (*convertRow)(int, std::string_view)) {
    for (; row != end; ++row) {
        SCOPED_TRACE(row->what);
        EXPECT_EQ(convertRow(row->codePage, row->in), row->out);
    }
}

TEST(Charset, NamesAndAliases) {
    struct Name {
        const char* name;
        int codePage;
    };
    const Name rows[] = {
        {"utf-8", 65001},
        {"UTF8", 65001},
        {"unicode-1-1-utf-7", 65000},
        {"utf-16", 1200},
        {"unicode", 1200},
        {"ucs-2", 1200},
        {"UTF-16BE", 1201},
        {"us-ascii", 20127},
        {"ANSI_X3.4-1968", 20127},
        {"iso-8859-1", 28591},
        {"latin1", 28591},
        {"ISO_8859-1:1987", 28591},
        {"csISOLatin1", 28591},
        {"8859-1", 28591},
        {"iso8859-1", 28591},
        {"iso-8859-9", 28599},
        {"iso-8859-11", 28601},
        {"tis-620", 874},
        {"cp1252", 1252},
        {"x-sjis", 932},
        {"windows-31j", 932},
        {"gb2312", 936},
        {"x-gbk", 936},
        {"ks_c_5601-1987", 949},
        {"euc-kr", 51949},
        {"big5-hkscs", 950},
        {"x-cp51936", 51936},
        {"cp-850", 850},
        {"x-mac-roman", 10000},
        {"logical", 38598},
        {" \"Utf-8\"\t", 65001},
        {"'gb18030'", 54936},
        {"x-unknown", 0},
        {"iso-8859-12", 0},
        {"utf-8x", 0},
        {"", 0},
        {"\"\"", 0},
        {"a-name-that-is-far-longer-than-any-name-of-the-table-is", 0},
    };
    for (const Name& row : rows) {
        SCOPED_TRACE(row.name);
        _zqCharset charset;
        charset.setByCodePage(437);
        EXPECT_EQ(charset.setByName(row.name), row.codePage != 0);
        EXPECT_EQ(charset.getCodePage(), row.codePage ? row.codePage : 437);
    }
}

TEST(Charset, RecordKeepsSpelling) {
    _zqCharset charset;
    EXPECT_STREQ(charset.getName(), "");
    EXPECT_FALSE(charset.setByName(nullptr));
    EXPECT_TRUE(charset.setByName(" \"Latin1\""));
    EXPECT_STREQ(charset.getName(), "Latin1");
    charset.setByCodePage(1252);
    EXPECT_STREQ(charset.getName(), "windows-1252");
    charset.setByCodePage(4711);
    EXPECT_STREQ(charset.getName(), "cp4711");
    EXPECT_EQ(charset.getCodePage(), 4711);
    charset.setByCodePage(0);
    EXPECT_STREQ(charset.getName(), "");
    EXPECT_EQ(_zqCharset::nameOf(4711), nullptr);
}

TEST(Charset, EveryCodePageIsNamedAndConverts) {
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(sample.codePage);
        const char* name = _zqCharset::nameOf(sample.codePage);
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(_zqCharset::codePageOf(name, unsigned(std::strlen(name))), sample.codePage);
        EXPECT_TRUE(EncodingConvert::isKnown(sample.codePage));
        EXPECT_EQ(decoded(sample.codePage, sample.bytes), sample.text);
        EXPECT_EQ(encoded(sample.codePage, sample.text), sample.bytes);
        EXPECT_TRUE(holds(sample.codePage, sample.text));
    }
}

TEST(Convert, DecodeRows) { expectRows(std::begin(kDecodeRows), std::end(kDecodeRows), decoded); }
TEST(Convert, EncodeRows) { expectRows(std::begin(kEncodeRows), std::end(kEncodeRows), encoded); }
TEST(Convert, Utf8Rows) { expectRows(std::begin(kUtf8Rows), std::end(kUtf8Rows), decoded); }

TEST(Convert, CharactersThatAreHeldComeBack) {
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(sample.codePage);
        std::string all;
        for (char32_t c = 0; c < 0x30000; ++c)
            if ((c < 0xD800 || c > 0xDFFF) && holds(sample.codePage, character(c)))
                all += character(c);
        EXPECT_GE(all.size(), 128u);
        EXPECT_EQ(decoded(sample.codePage, encoded(sample.codePage, all)), all);
    }
}

TEST(Convert, CanHoldIsNotForLookalikes) {
    EXPECT_FALSE(holds(932, "\u301C"));
    EXPECT_FALSE(holds(50220, "\uFF71"));
    EXPECT_FALSE(holds(20127, "\u00E9"));
    EXPECT_FALSE(holds(0, "a"));
    EXPECT_TRUE(holds(1252, "a\0b"s));
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

TEST(Convert, CutAnywhereTheStartIsTheSame) {
    for (const Sample& sample : kSamples)
        for (size_t n = 0; n < sample.bytes.size(); ++n) {
            SCOPED_TRACE(std::to_string(sample.codePage) + " cut at " + std::to_string(n));
            if (sample.codePage == kUtf8 || sample.codePage == 65000) continue;  // these keep bytes
            const std::string part = decoded(sample.codePage, sample.bytes.substr(0, n));
            EXPECT_EQ(sample.text.find(part.substr(0, part.find(kBad))), 0u);
        }
}

// The result does not depend on where output space runs out, nor does noise do harm.
TEST(Convert, NoiseOfEveryLength) {
    std::mt19937 random(7);
    for (const Sample& sample : kSamples)
        for (unsigned n = 1; n < 3000; n = n * 2 + 1) {
            std::string noise(n, '\0');
            for (char& c : noise)
                c = static_cast<char>(random() % 3 ? random() : "\x1B$B~{+(\x0E"[random() % 8]);
            const std::string text = decoded(sample.codePage, noise);
            EXPECT_EQ(decoded(kUtf8, text), text);
            EXPECT_TRUE(_zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(text.data()),
                                            unsigned(text.size()), 0));
            EXPECT_EQ(convert(sample.codePage, 1252, noise), encoded(1252, text));
        }
}

TEST(Convert, AppendsAndCopies) {
    DataBuffer out = db("x\xE9");
    LogNull log;
    EXPECT_TRUE(EncodingConvert::EncConvert(1252, kUtf8, out.getData2(), out.getSize(), out, log));
    EXPECT_EQ(str(out), "x\xE9x\u00E9");
    EXPECT_EQ(convert(932, 936, "\x93\xFA"), "\xC8\xD5");
    EXPECT_EQ(convert(0, kUtf8, "\xE9"), "\xE9");
    EXPECT_EQ(convert(1252, 4711, "\xE9"), "\xE9");
    EXPECT_EQ(convert(1252, kUtf8, ""), "");
}

TEST(Utf8, FastIsPlain) {
    const std::string_view pieces[] = {
        "a",          "abcdefgh",     "\u00E9",       "\u4E2D",           "\uE000",
        "\U0001F600", "\xED\x9F\xBF", "\xE0\xA0\x80", "\xF4\x8F\xBF\xBF", "\xC2"};
    const std::string_view faults[] = {"\xC1\x80",
                                       "\xE0\x9F\x80",
                                       "\xED\xA0\x80",
                                       "\xF4\x90\x80\x80",
                                       "\xF0\x8F\x80\x80",
                                       "\xE4\xB8",
                                       "\x80",
                                       "\xFF",
                                       "\xC2"};
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (auto n = random() % 12; n != 0; --n) text += pieces[random() % 9];
        if (round % 2) text += faults[random() % 9];
        for (auto n = random() % 12; n != 0; --n) text += pieces[random() % 10];
        const Exact input(text);
        const auto* p = reinterpret_cast<const unsigned char*>(input.data());
        ASSERT_EQ(utf8::validPrefix(p, text.size()), utf8::scalar::validPrefix(p, text.size()))
            << testing::PrintToString(text);
    }
}

TEST(Utf8, ValidWithinALimit) {
    struct Check {
        std::string text;
        unsigned limit;
        bool isValid;
    };
    const Check rows[] = {
        {"", 0, true},
        {"a\u00E9\u4E2D\U0001F600", 0, true},
        {"\xE4\xB8", 0, false},
        {"\xE4\xB8", 2, false},
        {"\xE4\xB8\xAD", 2, true},
        {"\xE4\xB8\xAD", 1, true},
        {"\xF4\x8F\xBF\xBF", 3, true},
        {"\xF4\x90\x80\x80", 2, false},
        {"\xED\xA0\x80", 2, false},
        {"\xC1\x80", 1, false},
        {"ab\xFF", 2, true},
        {"ab\xFF", 3, false},
        {"ab\xFF", 9, false},
    };
    for (const Check& row : rows)
        EXPECT_EQ(_zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(row.text.data()),
                                      unsigned(row.text.size()), row.limit),
                  row.isValid)
            << testing::PrintToString(row.text) << row.limit;
}

}  // namespace
