// SPDX-License-Identifier: Apache-2.0
//
// Writing header fields: rows for each kind of field, and the laws of reading back, of line
// lengths and of injection.

#include "foundation/header/HeaderWriter.h"

#include <gtest/gtest.h>

#include <random>

#include "foundation/coding/EncodedWords.h"
#include "tests/support.h"

using namespace mimetree::inner;

namespace {

std::string write(std::string_view name, std::string_view value, int codePage = 65001) {
    const Exact n(name), v(value);
    StringBuffer out;
    appendHeaderField(n.data(), n.size(), v.data(), v.size(), codePage, out);
    return str(out);
}

std::string unfold(std::string text) {
    for (size_t at; (at = text.find("\r\n")) != std::string::npos;) text.erase(at, 2);
    return text;
}

std::string decode(const std::string& text) {
    StringBuffer out;
    decodeEncodedWords(text.data(), static_cast<unsigned>(text.size()), out);
    return str(out);
}

// Every line but the first is a continuation with text in it; none ends with a bare break.
void expectSafe(const std::string& field) {
    size_t at = 0;
    while ((at = field.find_first_of("\r\n", at)) != std::string::npos) {
        ASSERT_EQ(field.substr(at, 2), "\r\n");
        at += 2;
        ASSERT_LT(at, field.size());
        ASSERT_TRUE(field[at] == ' ' || field[at] == '\t');
        const size_t text = field.find_first_not_of(" \t", at);
        ASSERT_NE(text, std::string::npos);
        ASSERT_NE(field[text], '\r');
    }
}

// No line is too long that has a blank with text on both sides.
void expectShort(const std::string& field) {
    for (size_t at = 0; at < field.size();) {
        const size_t end = std::min(field.find("\r\n", at), field.size());
        const std::string line = field.substr(at, end - at);
        const size_t limit = line.find("=?utf-8?") != std::string::npos ? 76 : 78;
        const size_t from = at ? line.find_first_not_of(" \t") : line.find(": ") + 2;
        const size_t word = std::min(line.find_first_not_of(" \t", from), line.size());
        const size_t blank = line.find_first_of(" \t", word);
        const bool breakable =
            blank != std::string::npos && line.find_first_not_of(" \t", blank) != std::string::npos;
        ASSERT_TRUE(line.size() <= limit || !breakable) << line;
        at = end + 2;
    }
}

struct Row {
    const char* what;
    std::string_view name, value, out;
};

constexpr std::string_view kWord60 = "abcdefghijabcdefghijabcdefghijabcdefghijabcdefghijabcdefghij";

constexpr Row kRows[] = {
    {"ASCII", "Subject", "a  b", "Subject: a  b"},
    {"empty", "Subject", "", "Subject: "},
    {"encoded words stay", "Subject",
     "=?utf-8?q?a?= =?utf-8?q?b?=", "Subject: =?utf-8?q?a?= =?utf-8?q?b?="},
    {"fold", "Subject", "a\r\n b\r\n\tc", "Subject: a b\tc"},
    {"line breaks", "Subject", "a\r\nBcc: b\rc\nd\r\n", "Subject: a Bcc: b c d "},
    {"words beyond ASCII only", "Subject", "a \xC3\xA9 \xC3\xA8  b c",
     "Subject: a =?utf-8?B?w6kgw6g=?=  b c"},
    {"several blanks in front", "Subject", "a \t \xC3\xA9", "Subject: a =?utf-8?B?CSDDqQ==?="},
    {"behind an encoded word", "Subject", "=?utf-8?q?a b?= \xC3\xA9",
     "Subject: =?utf-8?q?a b?= =?utf-8?B?IMOp?="},
    {"before an encoded word", "Subject",
     "\xC3\xA9 =?utf-8?q?a?=", "Subject: =?utf-8?B?w6kg?= =?utf-8?q?a?="},
    {"stuck to an encoded word", "Subject", "=?utf-8?q?a?= =?utf-8?q?b?=\xC3\xA9",
     "Subject: =?utf-8?q?a?= =?utf-8?B?YsOp?="},
    {"encoded word stuck behind", "Subject",
     "\xC3\xA9=?utf-8?q?b?= =?utf-8?q?a?=", "Subject: =?utf-8?B?w6li?= =?utf-8?q?a?="},
    {"no blank behind the comma", "To", "a@b,\xC3\xA9 <c@d>", "To: a@b, =?utf-8?B?w6k=?= <c@d>"},
    {"comments nest", "To", "a@b (\xC3\xA9 (x) y)", "To: a@b (=?utf-8?B?w6kgKHgpIHk=?=)"},
    {"bare name", "From", "J\xC3\xB6rg M <j@x.de>", "From: =?utf-8?Q?J=C3=B6rg_M?= <j@x.de>"},
    {"quoted name", "To", "\"M\xC3\xBC, \\\"J\\\"\"<j@x>", "To: =?utf-8?B?TcO8LCAiSiI=?= <j@x>"},
    {"ASCII names stay", "Cc", "\"a, b\" <a@x>,c@d (e),  \xC3\xA9 <f@x>",
     "Cc: \"a, b\" <a@x>,c@d (e), =?utf-8?B?w6k=?= <f@x>"},
    {"comment", "Sender", "a@b (\xC3\xA9 \\(x\\)), c@d", "Sender: a@b (=?utf-8?B?w6kgKHgp?=), c@d"},
    {"group", "Resent-To", "Fr\xC3\xBC: a@b, c@d;", "Resent-To: =?utf-8?Q?Fr=C3=BC?= : a@b, c@d;"},
    {"address is never encoded", "To", "\xC3\xA9@x.de, x <\xC3\xA9@x>",
     "To: \xC3\xA9@x.de, x <\xC3\xA9@x>"},
    {"no address", "To", "J\xC3\xB6rg", "To: =?utf-8?B?SsO2cmc=?="},
    {"quote never closed", "To", "\xC3\xA9 \"x <a@b>", "To: \xC3\xA9 \"x <a@b>"},
    {"encoded word in a name", "To", "=?utf-8?q?a?= \xC3\xA9 <a@b>",
     "To: =?utf-8?Q?a_=C3=A9?= <a@b>"},
    {"parameters", "Content-Type", "a/b;  x=\"y\" ; name=\"\xC3\xA9\"; z=w (c)",
     "Content-Type: a/b;  x=\"y\" ; name*=utf-8''%C3%A9; z=w (c)"},
    {"missing ;", "Content-Type", "a/b; name=\xC3\xA9 charset=x name=\"\xC3\xA9\" y",
     "Content-Type: a/b; name*=utf-8''%C3%A9; charset=x ; y"},
    {"beside the extended form", "Content-Disposition",
     "a; filename=\"\xC3\xA9\"; FILENAME*=''x; filename=z; y=\xC3\xA9 y=z",
     "Content-Disposition: a; FILENAME*=''x; y*=utf-8''%C3%A9%20y%3Dz"},
    {"pieces stay", "Content-Type", "a/b; name*0=\xC3\xA9", "Content-Type: a/b; name*0=\xC3\xA9"},
    {"fold before a parameter", "Content-Disposition",
     "attachment; size=1; filename=\"\xC3\xA9 abcdefghijabcdefghijabcdefghij.pdf\"; x=y",
     "Content-Disposition: attachment; size=1;\r\n "
     "filename*=utf-8''%C3%A9%20abcdefghijabcdefghijabcdefghij.pdf; x=y"},
    {"structured", "List-Post", "\xC3\xA9 <x>", "List-Post: \xC3\xA9 <x>"},
    {"phrase", "List-ID", "\xC3\xA9 <\xC3\xA9.x>", "List-ID: =?utf-8?B?w6k=?= <\xC3\xA9.x>"},
};

TEST(HeaderWriter, Rows) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(write(row.name, row.value), row.out);
    }
    const std::string word(kWord60);
    EXPECT_EQ(write("Subject", word + "  " + word), "Subject: " + word + "\r\n  " + word);
    EXPECT_EQ(write("References", word + word), "References: " + word + word);
    EXPECT_EQ(write("References", "  " + word + word), "References:   " + word + word);
    EXPECT_EQ(write(word, "\xC3\xA9"), word + ":\r\n =?utf-8?B?w6k=?=");
    EXPECT_EQ(write("To", "\xC3\xA9 <" + word + ">, \xC3\xA8 <b@c>"),
              "To: =?utf-8?B?w6k=?=\r\n <" + word + ">,\r\n =?utf-8?B?w6g=?= <b@c>");
}

TEST(HeaderWriter, NothingIsStuckToWordsBeyondTheLine) {
    std::string text;
    for (int i = 0; i < 60; ++i) {
        text += "\xC3\xA9";
        for (const std::string& value :
             {"a@b (" + text + "), c@d", text + ": a@b;", text + "<a@b>"}) {
            const std::string out = write("To", value);
            SCOPED_TRACE(out);
            expectSafe(out);
            for (size_t at = 0, end; at < out.size(); at = end + 2) {
                end = std::min(out.find("\r\n", at), out.size());
                EXPECT_LE(end - at, 76u);
            }
        }
    }
}

std::string randomValue(std::mt19937& random, bool hostile) {
    static constexpr std::string_view kBits[] = {
        "a", "bcd", "1,2", " ", " ", "  ", "\t", "=", "?", "supercalifragilistic", "=?",
        "?=", "\xC3\xA9", "\xD0\x9F\xD1\x80\xD0\xB8", "\xE6\x97\xA5\xE6\x9C\xAC",
        "\xF0\x9F\x98\x80", "\xE0\xB8\x81", "\xD7\xA9", "utf-8?q?x",
        // hostile
        "\r\n", "\r", "\n", "\r\n ", "\"", "\\", "(", ")", "<", ">", ",", ";", ":", "@", "[", "]",
        "name=", "=?utf-8?q?x?=", "\xFF",
        "                                                        "};
    std::string value;
    for (auto n = random() % 60; n; --n)
        value += kBits[random() % (hostile ? std::size(kBits) : 19)];
    if (hostile) return value;
    value.erase(0, value.find_first_not_of(" \t"));
    value.erase(value.find_last_not_of(" \t") + 1);
    return value;
}

TEST(HeaderWriter, LawOfReadingBack) {
    static constexpr int kCodePages[] = {65001, 0, 28591, 1251, 932, 50220};
    std::mt19937 random(1);
    for (int i = 0; i < 10000; ++i) {
        const std::string value = randomValue(random, false);
        const std::string out = write("Subject", value, kCodePages[random() % 6]);
        SCOPED_TRACE(out);
        ASSERT_EQ(decode(unfold(out).substr(9)), decode(value)) << value;
        expectSafe(out);
        expectShort(out);
        if (HasFatalFailure()) return;
    }
}

TEST(HeaderWriter, LawOfInjection) {
    static constexpr std::string_view kNames[] = {"Subject",  "To", "Content-Type",
                                                  "Received", "X",  kWord60};
    std::mt19937 random(2);
    for (int i = 0; i < 10000; ++i) {
        const std::string out = write(kNames[random() % 6], randomValue(random, true));
        SCOPED_TRACE(out);
        expectSafe(out);
        if (HasFatalFailure()) return;
    }
}

TEST(HeaderWriter, HostileValuesAreWrittenInLinearTime) {
    for (std::string_view unit :
         {"(", "<", "\"", "\"\\", "\xC3\xA9,", "=?utf-8?q?", "\xC3\xA9 a ", "=\xC3\xA9;"})
        for (const char* name : {"Subject", "To", "Content-Type"}) {
            std::string value = "\xC3\xA9";
            for (int i = 0; i < 50000; ++i) value += unit;
            expectSafe(write(name, value));
        }
}

}  // namespace
