// SPDX-License-Identifier: Apache-2.0
//
// Parameters of header values: what is tolerated, what is found and what is written.

#include "foundation/header/HeaderParams.h"

#include "tests/support.h"

using namespace mimetree::inner;

namespace {

// "main|name=value|..." as the cursor gives them.
std::string outline(std::string_view text) {
    const Exact in(text);
    HeaderParams params(in.data(), in.size());
    StringBuffer main;
    params.getMainValue(main);
    std::string out = str(main);
    while (params.next()) out += "|" + str(params.name()) + "=" + str(params.value());
    return out;
}

std::string find(std::string_view text, const char* name) {
    const Exact in(text);
    StringBuffer out = sb("(unchanged)");
    const bool found = findHeaderParam(in.data(), in.size(), name, out);
    EXPECT_EQ(found, str(out) != "(unchanged)");
    return str(out);
}

const TextRow kRows[] = {
    {"main value is missing", "; name=x", "|name=x"},
    {"missing ; behind a quoted value", "a; b=\"c\" d=e", "a|b=c|d=e"},
    {"missing ; behind a word", "text/plain charset=utf-8 format=flowed",
     "text/plain|charset=utf-8|format=flowed"},
    {"no missing ;", "a; name=Copy of a=b.txt", "a|name=Copy of a=b.txt"},
    {"no value", "a; b; c=d; e", "a|c=d"},
    {"empty values", "a; b=; c=\"\"", "a|b=|c="},
    {"tspecials in a value", "a; boundary=----=_Part/1?x; b=c", "a|boundary=----=_Part/1?x|b=c"},
    {"comments", "a/b (x); c=d (e (f;) \\) g) ; (h;i=j) k=l", "a/b|c=d|k=l"},
    {"parentheses of a value", "a; b=photo (1).jpg; c=(1)", "a|b=photo (1).jpg|c=(1)"},
    {"quotes within a value", "a; b=c \"d;e\" f; g=h", "a|b=c \"d;e\" f|g=h"},
    {"quoted value never closed", "a; b=\"c; d=e", "a|b=c; d=e"},
    {"escaped quote", "a; b=\"c \\\"d\\\"; e\"; f=g", "a|b=c \"d\"; e|f=g"},
    {"backslashes stand", "a; b=\"C:\\temp\\new\\\\x\"; c=C:\\temp",
     "a|b=C:\\temp\\new\\\\x|c=C:\\temp"},
    {"backslash at the end, then quotes", "a; b=\"C:\\\"; c=\"d\"", "a|b=C:\\|c=d"},
    {"backslash at the very end", "a; b=\"C:\\\"", "a|b=C:\\"},
};

TEST(HeaderParams, Walk) { expectRows(kRows, outline); }

TEST(HeaderParams, Find) {
    const TextRow rows[] = {
        {"longer and shorter names", "a; names=x; nam=y", "(unchanged)"},
        {"plain wins", "a; name*=utf-8''x; name*0=y; name=z", "z"},
        {"the first of each number", "a; name*0=a; name*1=b; name*0=c", "ab"},
        {"extended wins over pieces", "a; name*0=y; name*=''x", "x"},
        {"pieces in any order", "a; name*2=c; name*0=a; name*1=b", "abc"},
        {"pieces up to a gap", "a; name*0=a; name*2=c", "a"},
        {"mixed pieces", "a; name*0*=iso-8859-1''%E4'; name*1=\"%E4'\"; name*2*=%E4'",
         "\xC3\xA4'%E4'\xC3\xA4'"},
        {"plain first piece", "a; name*0=\"x'y'%41\"; name*1*=%41", "x'y'%41A"},
        {"character cut in two", "a; name*0*=utf-8''%C3; name*1*=%A4", "\xC3\xA4"},
        {"no number", "a; name*x=a; name*0x=b; name**=c", "(unchanged)"},
    };
    expectRows(rows, [](const std::string& in) { return find(in, "name"); });
}

TEST(HeaderParams, Append) {
    const TextRow rows[] = {
        {"quote", "a\"b", "; name*=utf-8''a%22b"},
        {"characters of the extended form", "a'*%", "; name=\"a'*%\""},
        {"beyond ASCII, and no UTF-8", "\xC3\xA4 '*%\xFC",
         "; name*=utf-8''%C3%A4%20%27%2A%25%C3%BC"},
        {"line breaks", "a\r\nb", "; name=\"a  b\""},
        {"encoded word", "=?utf-8?q?a?=", "; name*=utf-8''%3D%3Futf-8%3Fq%3Fa%3F%3D"},
        {"too long for a line, pieces without cut characters",
         "\xE3\x81\x84\xE3\x82\x8D\xE3\x81\xAF\xE3\x81\xAB\xE3\x81\xBB\xE3\x81\xB8\xE3\x81\xA8x",
         "; name*0*=utf-8''%E3%81%84%E3%82%8D%E3%81%AF%E3%81%AB%E3%81%BB%E3%81%B8"
         "; name*1*=%E3%81%A8x"},
    };
    expectRows(rows, [](const std::string& in) {
        StringBuffer out;
        appendHeaderParam("name", sb(in), out);
        return str(out);
    });
}

// Limit: the numbers are looked up, not searched for.
TEST(HeaderParams, PiecesInAnyOrderTakeLinearTime) {
    std::string pieces;
    for (int i = 99999; i >= 0; --i) pieces += ";name*" + std::to_string(i) + "=a";
    EXPECT_EQ(find(pieces, "name"), std::string(100000, 'a'));
}

}  // namespace
