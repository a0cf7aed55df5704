// SPDX-License-Identifier: Apache-2.0
//
// Encoded words and RFC 2231 values, by rows; the laws are in header_laws_test.cpp.

#include "foundation/coding/EncodedWords.h"

#include <gtest/gtest.h>

#include "foundation/ContentCoding.h"
#include "foundation/LogNull.h"
#include "tests/support.h"

using namespace mimetree::inner;

namespace {

std::string decode(std::string_view text) {
    const Exact in(text);
    StringBuffer out;
    EXPECT_TRUE(decodeEncodedWords(in.data(), in.size(), out));
    return str(out);
}

std::string decodeBytes(std::string_view text) {
    DataBuffer out;
    EXPECT_TRUE(ContentCoding().QB_Decode(sb(text), out));
    return str(out);
}

std::string encode(std::string_view text, int codePage, unsigned column, bool forPhrase) {
    const Exact in(text);
    StringBuffer out;
    appendEncodedWords(in.data(), in.size(), codePage, column, forPhrase, out);
    return str(out);
}

const TextRow kDecodeRows[] = {
    {"no word", "plain \xC3\xBC text", "plain \xC3\xBC text"},
    {"Q", "=?iso-8859-1?Q?Andr=E9_x?=", "Andr\xC3\xA9 x"},
    {"B, small letters", "=?UTF-8?b?w6k=?=", "\xC3\xA9"},
    {"language tag", "=?us-ascii*en?q?hi?=", "hi"},
    {"blank to text stays", "a =?utf-8?q?b?= c", "a b c"},
    {"blank between words vanishes", "=?utf-8?q?a?= \r\n\t=?utf-8?q?b?=", "ab"},
    {"blank to a malformed word stays",
     "=?utf-8?q?a?= =?utf-8?x?b?= =?utf-8?q?c?=", "a =?utf-8?x?b?= c"},
    {"unknown charset, UTF-8", "a =?x-no?q?=C3=A9?= =?default?b?w6k=?=", "a \xC3\xA9\xC3\xA9"},
    {"unknown charset, windows-1252", "=?unknown-8bit?q?=E9=94?=", "\xC3\xA9\xE2\x80\x9D"},
    {"US-ASCII with high bytes",
     "=?us-ascii?q?=E9?= =?us-ascii?b?w6k=?=", "\xC3\xA9\xC3\x83\xC2\xA9"},
    {"colon in a charset", "=?ISO_8859-1:1987?Q?=E9?=", "\xC3\xA9"},
    {"group cut in two", "=?utf-8?B?5L2g5?= =?UTF-8?B?aW9?=", "\xE4\xBD\xA0\xE5\xA5\xBD"},
    {"groups without padding", "=?utf-8?B?w6k?= =?utf-8?B?w6k?=", "\xC3\xA9\xC3\xA9"},
    {"escape cut in two", "=?utf-8?Q?=C?= =?utf-8?Q?3=?= =?utf-8?Q?A9?=", "\xC3\xA9"},
    {"no escape cut in two", "=?utf-8?Q?a=?= =?utf-8?Q?bc?=", "a=bc"},
    {"cut, then another coding", "=?utf-8?B?w6k?= =?utf-8?Q?a?=",
     "\xC3\xA9"
     "a"},
    {"shifts begin anew", "=?iso-2022-jp?B?GyRCRnw=?= =?iso-2022-jp?Q?ab?=",
     "\xE6\x97\xA5"
     "ab"},
    {"cut within a shift", "=?iso-2022-jp?B?GyRCRg==?= =?iso-2022-jp?B?fBsoQg==?=", "\xE6\x97\xA5"},
    {"character cut in two, Q and B", "=?utf-8?q?=C3?= =?UTF-8?B?qQ==?=", "\xC3\xA9"},
    {"different charsets are apart", "=?utf-8?q?=C3?= =?iso-8859-1?q?=E9?=", "\xC3\x83\xC3\xA9"},
    {"stateful words are joined",
     "=?iso-2022-jp?B?GyRCRnwbKEI=?= =?iso-2022-jp?B?GyRCS1wbKEI=?=", "\xE6\x97\xA5\xE6\x9C\xAC"},
    {"blanks inside Q", "=?utf-8?Q?a b?=", "a b"},
    {"question mark inside Q", "=?utf-8?Q?what?_now?=", "what? now"},
    {"equals sign in front of the end", "=?utf-8?Q?a=?=", "a="},
    {"invalid escapes stand", "=?utf-8?Q?a=X1=4?=", "a=X1=4"},
    {"stuck to letters", "x=?utf-8?q?a?=y(=?utf-8?q?b?=)\"=?utf-8?q?c?=\"", "xay(b)\"c\""},
    {"words without blank", "=?utf-8?q?a?==?utf-8?q?b?=", "ab"},
    {"missing padding, stray blank", "=?utf-8?B?w 6k?=", "\xC3\xA9"},
    {"empty text", "a =?utf-8?Q?\?= b", "a  b"},
    {"B that is nothing", "[=?utf-8?B?*?=]", "[]"},
    {"no charset", "=?\?q?a?=", "=?\?q?a?="},
    {"not closed", "=?utf-8?q?a", "=?utf-8?q?a"},
    {"not closed, then a word", "=?utf-8?q?a =?utf-8?q?b?=", "=?utf-8?q?a b"},
    {"cut in the head", "=?utf-8?q", "=?utf-8?q"},
    {"8bit is no coding here", "=?utf-8?8bit?a?=", "=?utf-8?8bit?a?="},
    {"decoded line breaks and NULs are kept", "=?utf-8?q?a=0D=0Ab=00?=", {"a\r\nb\0", 5}},
};

TEST(EncodedWords, Decode) { expectRows(kDecodeRows, decode); }

TEST(EncodedWords, DecodeToBytes) {
    const TextRow rows[] = {
        {"no conversion", "=?iso-8859-1?q?=E9?=", "\xE9"},
        {"8bit, blank between words", "x =?utf-8?8BIT?a=41?= =?u?b?Yg==?= y", "x a=41b y"},
        {"8bit up to the first end", "=?utf-8?8bit?a =?b \xC3\xA9=?=", "a =?b \xC3\xA9="},
        {"any charset", "=?x-no?8bit?a?=", "a"},
    };
    expectRows(rows, decodeBytes);
}

// Limit: each of these takes minutes where a search starts anew for every word.
TEST(EncodedWords, HostileTextIsReadInLinearTime) {
    std::string heads, open, never, words, closed = "=?utf-8?q?";
    for (int i = 0; i < 100000; ++i) {
        heads += "=?";
        open += "=?utf-8?q?";
        never += "=?utf-8?q?a";
        words += "=?utf-8?q?a?= ";
        closed += "=?x";
    }
    EXPECT_TRUE(decode(heads) == heads);
    EXPECT_TRUE(decode(open) == open);
    EXPECT_TRUE(decode(never) == never);
    EXPECT_TRUE(decode(words) == std::string(100000, 'a') + " ");
    EXPECT_TRUE(decode(open + "?=") == open.substr(10));
    EXPECT_TRUE(decode(closed + "?=") == closed.substr(10));
}

// -- Writing

TEST(EncodedWords, Encode) {
    struct EncodeRow {
        const char* what;
        std::string_view in;
        int codePage;
        unsigned column;
        bool forPhrase;
        std::string_view out;
    };
    static constexpr EncodeRow kRows[] = {
        {"Q where it is shorter", "Caf\xC3\xA9 (x) !", 65001, 9, false,
         "=?utf-8?Q?Caf=C3=A9_(x)_!?="},
        {"B where it is shorter", "\xC3\xA9\xC3\xA9", 65001, 9, false, "=?utf-8?B?w6nDqQ==?="},
        {"phrase", "Caf\xC3\xA9 au lait, x", 65001, 9, true, "=?utf-8?Q?Caf=C3=A9_au_lait=2C_x?="},
        {"charset that holds the text", "Caf\xC3\xA9", 28591, 9, false, "=?iso-8859-1?Q?Caf=E9?="},
        {"charset that does not", "Caf\xE2\x82\xAC", 28591, 9, false, "=?utf-8?B?Q2Fm4oKs?="},
        {"no UTF-16", "Caf\xC3\xA9", 1200, 9, false, "=?utf-8?B?Q2Fmw6k=?="},
        {"ISO-2022 is always B", "a", 50220, 9, false, "=?iso-2022-jp?B?YQ==?="},
        {"not valid UTF-8", "Caf\xE9", 65001, 9, false, "=?utf-8?B?Q2Fmw6k=?="},
        {"no room on the line", "\xC3\xA9", 65001, 70, false, "\r\n =?utf-8?B?w6k=?="},
        {"empty", "", 65001, 9, false, ""},
    };
    for (const EncodeRow& row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(encode(row.in, row.codePage, row.column, row.forPhrase), row.out);
    }
}

// -- RFC 2231

TEST(StarEncoded, Decode) {
    struct StarRow {
        const char* what;
        std::string_view in;
        const char* charset;
        std::string_view out, outCharset;
    };
    static constexpr StarRow kRows[] = {
        {"charset and language", "iso-8859-1'de'%E4%20b", nullptr, "\xC3\xA4 b", "iso-8859-1"},
        {"empty charset", "''%C3%A4", nullptr, "\xC3\xA4", "utf-8"},
        {"unknown charset", "x-no'en'%C3%A4", nullptr, "\xC3\xA4", "utf-8"},
        {"unknown charset, no UTF-8", "x-no''%80", nullptr, "\xE2\x82\xAC", "windows-1252"},
        {"text alone", "a%20b", nullptr, "a b", "utf-8"},
        {"text alone, no UTF-8", "%E4", nullptr, "\xC3\xA4", "windows-1252"},
        {"one apostrophe", "don't", nullptr, "don't", "utf-8"},
        {"apostrophes of the text", "don't can't.txt", nullptr, "don't can't.txt", "utf-8"},
        {"invalid escapes stand", "utf-8''%4g%4", nullptr, "%4g%4", "utf-8"},
        {"charset given", "utf-8''%E4", "iso-8859-1", "\xC3\xA4", "iso-8859-1"},
        {"empty", "", nullptr, "", "utf-8"},
    };
    LogNull log;
    for (const StarRow& row : kRows) {
        SCOPED_TRACE(row.what);
        StringBuffer text, charset;
        EXPECT_TRUE(ContentCoding().decodeStarEncoded(sb(row.in), row.charset, text, charset, log));
        EXPECT_EQ(str(text), row.out);
        EXPECT_EQ(str(charset), row.outCharset);
    }
}

}  // namespace
