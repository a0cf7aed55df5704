// SPDX-License-Identifier: Apache-2.0

// ParamString, ParseEngine and the table of content types and extensions.

#include <map>

#include "foundation/ParamString.h"
#include "foundation/ParseEngine.h"
#include "foundation/zqMimeTypes.h"
#include "tests/support.h"

namespace {

// "text|first part|second part|..."
std::string quotedParts(const std::string& text) {
    ParamString params;
    params.setString("\"left\" over \"from before\" \"this\"", true);
    params.setString(text.c_str(), true);
    std::string all = params.getString();
    for (int i = -1; i < 3; ++i) all += std::string("|") + params.getParam(i);
    return all;
}

const TextRow kQuotedRows[] = {
    {"two parts", R"(a; b="x; y"; c="z")", "a; b=<[[0]]>; c=<[[1]]>||x; y|z|"},
    {"never closed", R"(b="x; c=d)", "b=<[[0]]>||x; c=d||"},
    {"backslash before the last quote", R"(b="C:\new\"; c)", R"(b=<[[0]]>; c||C:\new\||)"},
    {"backslash and quote at the end", R"(b="C:\new\")", R"(b=<[[0]]>||C:\new\||)"},
    {"another value behind", R"(b="C:\x\" ; c = "y")", R"(b=<[[0]]> ; c = <[[1]]>||C:\x\|y|)"},
    {"quoted quote before a semicolon", R"(b="x\"; y")", R"(b=<[[0]]>||x"; y||)"},
};

TEST(ParamString, Rows) { expectRows(kQuotedRows, quotedParts); }

TEST(ParseEngine, TakesAListApart) {
    ParseEngine engine;
    StringBuffer out;
    const auto capture = [&](char c) {
        engine.captureToNextChar(c, out);
        out.appendChar('|');
    };
    engine.setString("a b;;;\tc = d");
    capture('=');
    engine.eliminateChar(' ');  // and back to the start
    engine.eliminateChar('\t');
    capture(';');
    capture(';');  // the cursor stands on one already
    engine.skipChars("=;");
    capture('?');
    EXPECT_TRUE(engine.atEnd());
    engine.skipChars(";");
    capture(';');
    EXPECT_EQ(str(out), "a b;;;\tc |ab||c=d||");
}

TEST(MimeTypes, BothDirectionsAgree) {
    std::map<std::string, std::string> preferred;
    int i = 0;
    for (; *zqMimeContentType(i + 1); i += 2) {
        const std::string type = zqMimeContentType(i), extension = zqMimeContentType(i + 1);
        EXPECT_EQ(zqExtensionToContentType(extension.c_str()), type);
        preferred.emplace(type, extension);
    }
    for (int beyond : {i, i + 2, i + 3, 2147483647, -1, -2147483647})
        EXPECT_STREQ(zqMimeContentType(beyond), "") << beyond;
    EXPECT_EQ(preferred["text/plain"] + preferred["image/jpeg"], "txtjpg");
}

TEST(MimeTypes, ByExtension) {
    EXPECT_STREQ(zqExtensionToContentType("PDF"), "application/pdf");
    EXPECT_STREQ(zqExtensionToContentType(".Jpeg"), "image/jpeg");
    for (const char* unknown : {"pd", "pdff", "", "..pdf", "bin"})
        EXPECT_STREQ(zqExtensionToContentType(unknown), "application/octet-stream") << unknown;
}

}  // namespace
