// SPDX-License-Identifier: Apache-2.0
//
// Encoded words and RFC 2231 values, by rows; the laws are in header_laws_test.cpp.

#include "foundation/coding/EncodedWords.h"

#include "foundation/ContentCoding.h"
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
    {"blank between words vanishes", "=?utf-8?q?a?= \r\n\t=?utf-8?q?b?=", "ab"},
    {"blank to a malformed word stays",
     "=?utf-8?q?a?= =?utf-8?x?b?= =?utf-8?q?c?=", "a =?utf-8?x?b?= c"},
    {"unknown charset, windows-1252", "=?unknown-8bit?q?=E9=94?=", "\xC3\xA9\xE2\x80\x9D"},
    {"colon in a charset", "=?ISO_8859-1:1987?Q?=E9?=", "\xC3\xA9"},
    {"groups without padding", "=?utf-8?B?w6k?= =?utf-8?B?w6k?=", "\xC3\xA9\xC3\xA9"},
    {"no escape cut in two", "=?utf-8?Q?a=?= =?utf-8?Q?bc?=", "a=bc"},
    {"cut, then another coding", "=?utf-8?B?w6k?= =?utf-8?Q?a?=",
     "\xC3\xA9"
     "a"},
    {"shifts begin anew", "=?iso-2022-jp?B?GyRCRnw=?= =?iso-2022-jp?Q?ab?=",
     "\xE6\x97\xA5"
     "ab"},
    {"character cut in two, Q and B", "=?utf-8?q?=C3?= =?UTF-8?B?qQ==?=", "\xC3\xA9"},
    {"different charsets are apart", "=?utf-8?q?=C3?= =?iso-8859-1?q?=E9?=", "\xC3\x83\xC3\xA9"},
    {"question mark inside Q", "=?utf-8?Q?what?_now?=", "what? now"},
    {"equals sign in front of the end", "=?utf-8?Q?a=?=", "a="},
    {"invalid escapes stand", "=?utf-8?Q?a=X1=4?=", "a=X1=4"},
    {"stuck to letters", "x=?utf-8?q?a?=y(=?utf-8?q?b?=)\"=?utf-8?q?c?=\"", "xay(b)\"c\""},
    {"missing padding, stray blank", "=?utf-8?B?w 6k?=", "\xC3\xA9"},
    {"no charset", "=?\?q?a?=", "=?\?q?a?="},
    {"not closed, then a word", "=?utf-8?q?a =?utf-8?q?b?=", "=?utf-8?q?a b"},
    {"8bit is no coding here", "=?utf-8?8bit?a?=", "=?utf-8?8bit?a?="},
    {"decoded line breaks and NULs are kept", "=?utf-8?q?a=0D=0Ab=00?=", {"a\r\nb\0", 5}},
};

TEST(EncodedWords, Decode) { expectRows(kDecodeRows, decode); }

TEST(EncodedWords, DecodeToBytes) {
    const TextRow rows[] = {
        {"no conversion", "=?iso-8859-1?q?=E9?=", "\xE9"},
        {"8bit, blank between words", "x =?utf-8?8BIT?a=41?= =?u?b?Yg==?= y", "x a=41b y"},
        {"8bit up to the first end", "=?utf-8?8bit?a =?b \xC3\xA9=?=", "a =?b \xC3\xA9="},
    };
    expectRows(rows, decodeBytes);
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
        {"charset that holds the text", "Caf\xC3\xA9", 28591, 9, false, "=?iso-8859-1?Q?Caf=E9?="},
        {"no UTF-16", "Caf\xC3\xA9", 1200, 9, false, "=?utf-8?B?Q2Fmw6k=?="},
        {"ISO-2022 is always B", "a", 50220, 9, false, "=?iso-2022-jp?B?YQ==?="},
        {"not valid UTF-8", "Caf\xE9", 65001, 9, false, "=?utf-8?B?Q2Fmw6k=?="},
        {"no room on the line", "\xC3\xA9", 65001, 70, false, "\r\n =?utf-8?B?w6k=?="},
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
        {"unknown charset, no UTF-8", "x-no''%80", nullptr, "\xE2\x82\xAC", "windows-1252"},
        {"text alone, no UTF-8", "%E4", nullptr, "\xC3\xA4", "windows-1252"},
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
