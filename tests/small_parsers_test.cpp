// SPDX-License-Identifier: Apache-2.0

// ParamString, ParseEngine and the table of content types and extensions.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "foundation/ParamString.h"
#include "foundation/ParseEngine.h"
#include "foundation/zqMimeTypes.h"
#include "tests/support.h"

namespace {

struct QuotedRow {
    const char *what, *in, *text, *first, *second;
};

constexpr QuotedRow kQuotedRows[] = {
    {"two parts", R"(a; b="x; y"; c="z")", "a; b=<[[0]]>; c=<[[1]]>", "x; y", "z"},
    {"none", "a; b=c", "a; b=c", "", ""},
    {"empty part", R"(b="";c)", "b=<[[0]]>;c", "", ""},
    {"never closed", R"(b="x; c=d)", "b=<[[0]]>", "x; c=d", ""},
    {"opened at the end", R"(b=")", "b=<[[0]]>", "", ""},
    {"quoted quote", R"(b="x \"y\" z"; c)", "b=<[[0]]>; c", R"(x "y" z)", ""},
    {"backslash stands for itself", R"(b="C:\new\x.doc")", "b=<[[0]]>", R"(C:\new\x.doc)", ""},
    {"backslash in front of the last quote", R"(b="C:\new\"; c)", "b=<[[0]]>; c", R"(C:\new\)", ""},
    {"backslash and quote at the end", R"(b="C:\new\")", "b=<[[0]]>", R"(C:\new\)", ""},
    {"the same in front of another value", R"(b="C:\new\" ; c = "x")", "b=<[[0]]> ; c = <[[1]]>",
     R"(C:\new\)", "x"},
    {"quoted quote in front of a semicolon", R"(b="x\"; y")", "b=<[[0]]>", R"(x"; y)", ""},
    {"part right behind a part", R"("a""b")", "<[[0]]><[[1]]>", "a", "b"},
    {"token in the text", R"(<[[7]]>; b="x")", "<[[7]]>; b=<[[0]]>", "x", ""},
};

TEST(ParamString, Rows) {
    for (const QuotedRow& row : kQuotedRows) {
        SCOPED_TRACE(row.what);
        ParamString params;
        params.setString("\"left\" over \"from before\" \"this\"", true);
        params.setString(row.in, true);
        EXPECT_STREQ(params.getString(), row.text);
        EXPECT_STREQ(params.getParam(0), row.first);
        EXPECT_STREQ(params.getParam(1), row.second);
        EXPECT_STREQ(params.getParam(2), "");
        EXPECT_STREQ(params.getParam(-1), "");
    }
}

TEST(ParamString, ManyParts) {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += "\"\\\" ;" + std::to_string(i) + "\";";
    ParamString params;
    params.setString(text.c_str(), true);
    EXPECT_STREQ(params.getParam(99999), "\" ;99999");

    ParseEngine engine;
    engine.setString(params.getString());
    engine.eliminateChar('<');
    StringBuffer all;
    while (!engine.atEnd()) {
        engine.captureToNextChar(';', all);
        engine.skipChars(";");
    }
    EXPECT_TRUE(all.endsWith("[[99998]]>[[99999]]>"));
}

// Would take minutes if each part looked for its end in the rest of the text.
TEST(ParamString, HostileQuotes) {
    for (const char* end : {"", "=\""}) {
        std::string text = "\"";
        for (int i = 0; i < 200000; ++i) text += "\\\";";
        ParamString params;
        params.setString((text + end).c_str(), true);
        EXPECT_STREQ(params.getParam(99999), ";\\");
    }
}

TEST(ParseEngine, TakesAListApart) {
    ParseEngine engine;
    StringBuffer out;
    engine.setString("a b;;;\tc = d");
    engine.captureToNextChar('=', out);
    EXPECT_EQ(str(out), "a b;;;\tc ");
    engine.eliminateChar(' ');  // and back to the start
    engine.eliminateChar('\t');
    engine.captureToNextChar(';', out);
    EXPECT_EQ(str(out), "a b;;;\tc ab");
    engine.captureToNextChar(';', out);  // the cursor stands on one already
    EXPECT_EQ(str(out), "a b;;;\tc ab");
    engine.skipChars("=;");
    out.clear();
    engine.captureToNextChar('?', out);
    EXPECT_EQ(str(out), "c=d");
    EXPECT_TRUE(engine.atEnd());
    engine.skipChars(";");
    engine.captureToNextChar(';', out);
    EXPECT_EQ(str(out), "c=d");
}

TEST(MimeTypes, BothDirectionsAgree) {
    std::map<std::string, std::string> preferred;
    std::set<std::string> extensions;
    int i = 0;
    for (; *zqMimeContentType(i + 1); i += 2) {
        const std::string type = zqMimeContentType(i), extension = zqMimeContentType(i + 1);
        EXPECT_EQ(zqExtensionToContentType(extension.c_str()), type);
        EXPECT_NE(type, "application/octet-stream");
        EXPECT_TRUE(extensions.insert(extension).second) << extension;
        preferred.emplace(type, extension);
    }
    EXPECT_STREQ(zqMimeContentType(i), "");
    for (int beyond : {i + 2, i + 3, 2147483647, -1, -2147483647})
        EXPECT_STREQ(zqMimeContentType(beyond), "") << beyond;
    EXPECT_EQ(preferred["text/plain"], "txt");
    EXPECT_EQ(preferred["image/jpeg"], "jpg");
    EXPECT_EQ(preferred["message/rfc822"], "eml");
}

TEST(MimeTypes, ByExtension) {
    EXPECT_STREQ(zqExtensionToContentType("PDF"), "application/pdf");
    EXPECT_STREQ(zqExtensionToContentType(".Jpeg"), "image/jpeg");
    EXPECT_STREQ(zqExtensionToContentType("p7s"), "application/pkcs7-signature");
    for (const char* unknown : {"pd", "pdff", "", ".", "..pdf", "bin"})
        EXPECT_STREQ(zqExtensionToContentType(unknown), "application/octet-stream") << unknown;
    EXPECT_STREQ(zqExtensionToContentType(nullptr), "application/octet-stream");
}

}  // namespace
