// SPDX-License-Identifier: Apache-2.0
//
// Writing header fields: rows for each kind of field, and the law of injection.  That what is
// written is read back is in header_laws_test.cpp.

#include "foundation/header/HeaderWriter.h"

#include "tests/support.h"

using namespace mimetree::inner;

namespace {

std::string write(std::string_view name, std::string_view value, int codePage = 65001) {
    const Exact n(name), v(value);
    StringBuffer out;
    appendHeaderField(n.data(), n.size(), v.data(), v.size(), codePage, out);
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

struct Row {
    const char* what;
    std::string_view name, value, out;
};

constexpr std::string_view kWord60 = "abcdefghijabcdefghijabcdefghijabcdefghijabcdefghijabcdefghij";

constexpr Row kRows[] = {
    {"encoded words stay", "Subject",
     "=?utf-8?q?a?= =?utf-8?q?b?=", "Subject: =?utf-8?q?a?= =?utf-8?q?b?="},
    {"line breaks", "Subject", "a\r\nBcc: b\rc\nd\r\n", "Subject: a Bcc: b c d "},
    {"words beyond ASCII only", "Subject", "a \xC3\xA9 \xC3\xA8  b c",
     "Subject: a =?utf-8?B?w6kgw6g=?=  b c"},
    {"behind an encoded word", "Subject", "=?utf-8?q?a b?= \xC3\xA9",
     "Subject: =?utf-8?q?a b?= =?utf-8?B?IMOp?="},
    {"stuck to an encoded word", "Subject", "=?utf-8?q?a?= =?utf-8?q?b?=\xC3\xA9",
     "Subject: =?utf-8?q?a?= =?utf-8?B?YsOp?="},
    {"group", "Resent-To", "Fr\xC3\xBC: a@b, c@d;", "Resent-To: =?utf-8?Q?Fr=C3=BC?= : a@b, c@d;"},
    {"address is never encoded", "To", "\xC3\xA9@x.de, x <\xC3\xA9@x>",
     "To: \xC3\xA9@x.de, x <\xC3\xA9@x>"},
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
    EXPECT_EQ(write("Content-Description", word), "Content-Description:\r\n " + word);
    EXPECT_EQ(write("List-Post", "<" + word + ",x>,<" + word + ">"),
              "List-Post: <" + word + ",x>,\r\n <" + word + ">");
    EXPECT_EQ(write("Content-Type", "a/b;x=\"" + word + ";\";y=z"),
              "Content-Type: a/b;\r\n x=\"" + word + ";\";y=z");
    // Lines of 998 bytes at most: what fits one is not encoded, what does not is, or is cut.
    const std::string x(997, 'x');
    EXPECT_EQ(write("Subject", x + " a"), "Subject:\r\n " + x + "\r\n a");
    EXPECT_EQ(write("Subject", x + "x").find(x), std::string::npos);
    EXPECT_EQ(write("Content-Location", x + "xyz"), "Content-Location:\r\n " + x + "\r\n xyz");
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

std::string randomValue(std::mt19937& random) {
    static constexpr std::string_view kLong = "                                           ";
    static constexpr std::string_view kBits[] = {
        "a",  "bcd", " ",  "\t",    "abcdefghijklmnopqrst", "\xC3\xA9", "\xE6\x97\xA5", kLong, "=?",
        "?=", "\r",  "\n", "\r\n ", "=?utf-8?q?x?=",        "name=",    "\xFF",         "\r\n"};
    std::string value;
    for (auto n = random() % 60; n; --n)
        value += random() % 2 ? kBits[random() % std::size(kBits)]
                              : std::string_view("\"\\()<>,;:@[]").substr(random() % 12, 1);
    return value;
}

TEST(HeaderWriter, LawOfInjection) {
    static constexpr std::string_view kNames[] = {"Subject",  "To", "Content-Type",
                                                  "Received", "X",  kWord60};
    std::mt19937 random(2);
    for (int i = 0; i < 10000; ++i) {
        const std::string out = write(kNames[random() % 6], randomValue(random));
        SCOPED_TRACE(out);
        expectSafe(out);
        if (HasFatalFailure()) return;
    }
}

}  // namespace
