// SPDX-License-Identifier: Apache-2.0

// Multipart bodies: each form of delimiter that is tried and their order, how parts are cut,
// strict mode, signed parts; and how a leaf is judged: text or binary, in which charset.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

std::string mail(const std::string& boundary, std::string_view body, const char* type = "mixed") {
    return std::string("Content-Type: multipart/") + type + "; boundary=\"" + boundary +
           "\"\r\n\r\n" + std::string(body);
}

constexpr char kNoCrlf[] = "Did not find boundary ending in CRLF, re-checking for bare-LF...";
constexpr char kNoLf[] = "Did not find boundary ending in CRLF or LF, re-checking for bare-CR...";
constexpr char kNoCr[] =
    "Still did not find boundary.  Checking for boundary with trailing SPACE chars..";
constexpr char kStill[] = "ERROR: Still did not find boundary...";
constexpr char kAnsi[] = "Still looking for the boundary: Searching using ANSI instead...";
constexpr char kFound[] = "The boundary string was found, continuing to parse MIME...";
constexpr char kNone[] = "No boundary found -- loading the body with all that follows.";

// Parts begin with their blank line: they have no header.  `steps` is how many of the lines
// above the log has in front of the last, kFound or kNone.
struct CutRow {
    const char *what, *boundary;
    std::string_view body, outline;
    int steps;
};

constexpr CutRow kCutRows[] = {
    {"CRLF", "b", "pre\r\n--b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--\r\npost", "[one|two]", 0},
    {"LF", "b", "--b\n\r\none\n--b\n\r\ntwo\n--b--", "[one|two]", 1},
    {"CR", "b", "--b\r\r\n\r\none\r--b\r\r\n\r\ntwo\r--b--", "[one|two]", 2},
    {"blank", "b", "--b \r\n\r\none\r\n--b \r\n\r\ntwo\r\n--b--", "[one|two]", 3},
    {"two blanks are none of the forms", "b", "--b  \r\n\r\none\r\n--b--",
     "--b  \r\n\r\none\r\n--b--", 4},
    {"ANSI", "b\xC3\xA9", "--b\xE9\r\n\r\none\r\n--b\xE9\r\n\r\ntwo\r\n--b\xE9--", "[one|two]", 5},
    {"none", "b", "\r\nbody", "\r\nbody", 4},
    // Order: the first form wins, wherever it stands.
    {"CRLF before an earlier LF", "b", "--b\n\r\nzero\r\n--b\r\n\r\none\r\n--b--", "[one]", 0},
    {"LF before an earlier CR", "b", "--b\r\r\nzero\n--b\n\r\none\n--b--", "[one]", 1},
    {"CR before an earlier blank", "b", "--b \r\n\r\nzero\r\n--b\r-\r\n\r\none\r--b--", "[one]", 2},
    {"blank before a respaced one", "=_alternative1",
     "--=_alternative 1\r\n\r\nzero\r\n--=_alternative1 \r\n\r\none\r\n--=_alternative1--", "[one]",
     3},
    {"later delimiters keep the first form", "b", "--b\r\n\r\none\r\n--b\n\r\ntwo\r\n--b--",
     "[one\r\n--b\n\r\ntwo]", 0},
    {"the line break dropped is that of the form", "b", "--b\n\r\none\r\n--b\n\r\ntwo\r\n--b--",
     "[one\r|two\r]", 1},
    {"not at the start of a line", "b", "x--b\r\n\r\nnone!--b--", "[non]", 0},
    {"a longer boundary is not cut at its start", "b", "--bb\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--",
     "[two]", 0},
    // Cutting.
    {"no closing delimiter", "b", "--b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n", "[one|two\r\n]", 0},
    {"short parts", "b", "--b\r\n\r\n12\r\n--b\r\n\r\n123\r\n--b\r\n--b\r\n\r\n", "[123]", 0},
    {"nothing between two delimiters", "b", "--b\r\n--b\r\n\r\none\r\n--b--", "[one]", 0},
    {"closing delimiter alone", "b", "--b\r\n--b--", "", 0},
    {"delimiter behind the closing one", "b", "--b\r\n\r\none\r\n--b--\r\n--b\r\n\r\ntwo\r\n",
     "[one\r\n--b--|two\r\n]", 0},
    {"NUL in a part", "b", "--b\r\n\r\no\0e\r\n--b--"sv, "[o\0e]"sv, 0},
    {"nested", "b",
     "--b\r\nContent-Type: multipart/x; boundary=c\r\n\r\n--c\r\n\r\none\r\n--c--\r\n"
     "--b\r\n\r\ntwo\r\n--b--",
     "[[one]|two]", 0},
    {"nested, same boundary", "b",
     "--b\r\nContent-Type: multipart/x; boundary=b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--",
     "[one|two]", 0},
};

TEST(Multipart, Cutting) {
    const std::string steps[] = {kNoCrlf, kNoLf, kNoCr, kStill, kAnsi};
    for (const CutRow& row : kCutRows) {
        SCOPED_TRACE(row.what);
        LogText log;
        log.m_verbose = true;
        const NodePtr node = fromBytes(mail(row.boundary, row.body), log);
        EXPECT_EQ(outline(*node), row.outline);
        EXPECT_EQ(node->m_modified, !row.outline.empty());
        std::string lines = "|findBoundary: --" + std::string(row.boundary) + "\r|";
        for (int i = 0; i < row.steps; ++i) lines += steps[i] + "|";
        lines += row.outline.empty() || row.outline[0] == '[' ? kFound : kNone;
        EXPECT_NE(linesOf(log).find(lines), std::string::npos) << linesOf(log);
        LogText quiet;
        fromBytes(mail(row.boundary, row.body), quiet);
        EXPECT_EQ(linesOf(quiet), "");
    }
}

TEST(Multipart, RespacedAlternative) {
    const std::string body =
        "--=_alternative 1\r\n\r\none\r\n--=_alternative 1\r\n\r\ntwo\r\n--=_alternative 1--\r\n";
    NodePtr node = fromBytes(mail("=_alternative1", body));
    EXPECT_EQ(str(node->m_contentType.m_boundary), "=_alternative 1");
    // Each part begins with the line break of its delimiter line, and so has no header; it
    // ends in front of the "--", less two bytes.
    EXPECT_EQ(outline(*node), "[one\r\n|two\r\n]");
    node = fromBytes(mail("x=_ALTERNATIVE1", "--x=_ALTERNATIVE 1\r\n\r\none"));
    EXPECT_EQ(node->getNumParts(), 0);
}

TEST(Multipart, AnsiBoundaryIsFolded) {
    // 0xC3 ^ 0x80 = 'C', 0xA9 ^ 0x80 = ')' raised to '0', 0xBF ^ 0x80 = '?', 0xC2 'B', 0x80 stays
    // below 0x81, 0xFE would become '~', lowered to 'z'.
    NodePtr node = fromBytes(mail("b\xC3\xA9\xC3\xBF", "--b\xE9\xFF\r\n\r\none\r\n--b\xE9\xFF--"));
    EXPECT_EQ(outline(*node), "[one]");
    EXPECT_EQ(str(node->m_contentType.m_boundary), "bC0C?");
    EXPECT_NE(headerOf(*node).find("bC0C?"), std::string::npos);
}

TEST(Multipart, Strict) {
    struct {
        const char *what, *body;
        bool ok;
        int parts;
        const char* error;
    } const rows[] = {
        {"complete", "--b\r\n\r\none\r\n--b--", true, 1, ""},
        {"none", "body", false, 0, "First boundary string not found."},
        {"not closed", "--b\r\n\r\none\r\n--b\r\n\r\ntwo", false, 1,
         "Next boundary string not found."},
        {"empty", "", true, 0, ""},
        {"inner one not closed",
         "--b\r\nContent-Type: multipart/x; boundary=c\r\n\r\nx\r\n--b\r\n\r\ntwo\r\n--b--", true,
         2, "First boundary string not found."}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        LogText log;
        log.m_options.setString("a, strictMIMEparsing;b");
        NodePtr node(MimeMessage2::createNewObject());
        DataBuffer data = db(mail("b", row.body));
        EXPECT_EQ(node->loadMimeCompleteDb(data, log), row.ok);
        EXPECT_EQ(node->getNumParts(), row.parts);
        std::string lines =
            *row.error ? std::string("ERROR: ") + row.error + "|ERROR: MIME has errors.|" : "";
        EXPECT_EQ(linesOf(log), lines);
        EXPECT_EQ(bodyOf(*node), "");
        log.m_options.setString("StrictMime");
        EXPECT_TRUE(node->loadMimeCompleteDb(data, log));
    }
}

TEST(Multipart, SignedPartIsKeptAsItCame) {
    const std::string part = "A:  1\nB: 2\r\n\r\none \n\r\n";
    const std::string body =
        "--b\r\n1234\r\n--b\r\n" + part + "\r\n--b\r\nContent-Type: a/b\r\n\r\nsig\r\n--b--\r\n";
    NodePtr node = fromBytes(mail("b", body, "signed"));
    ASSERT_EQ(node->getNumParts(), 2);  // the short one used nothing up
    EXPECT_EQ(str(node->getPart(0)->getSignedData()), part);
    EXPECT_TRUE(node->getPart(1)->getSignedData().isEmpty());
    node = fromBytes(mail("b", body));
    EXPECT_TRUE(node->getPart(0)->getSignedData().isEmpty());
    node = fromBytes(mail("b\"; protocol=\"Application/PGP-signature", body, "signed"));
    EXPECT_TRUE(node->getPart(0)->getSignedData().isEmpty());
}

TEST(Multipart, ParseBodyAlone) {
    const NodePtr node = leaf("Content-Type: multipart/mixed; boundary=b", "old");
    StringBuffer clue;
    EXPECT_TRUE(node->parseMimeBody("", nullptr, 9, false, clue, noLog, false));
    EXPECT_EQ(bodyOf(*node), "");
    const StringBuffer body = sb("--b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--");
    EXPECT_TRUE(
        node->parseMimeBody("", body.getString(), body.getSize(), false, clue, noLog, false));
    EXPECT_EQ(outline(*node), "[one|two]");
}

// -- Leaves

struct LeafRow {
    const char *what, *header;
    std::string_view body, out;
    const char *charset, *type;
    bool wasReally1252 = false;
};

constexpr LeafRow kLeafRows[] = {
    {"text", "Content-Type: text/plain; charset=iso-8859-1", "\xE9", "\xC3\xA9", "iso-8859-1",
     "text/plain"},
    {"multipart without boundary", "Content-Type: multipart/mixed; charset=koi8-r", "--\r\n\xE9",
     "--\r\n\xE9", "koi8-r", "multipart/mixed"},
    {"message is no text and not parsed", "Content-Type: message/rfc822; charset=koi8-r",
     "A: 1\r\n\r\n\xE9", "A: 1\r\n\r\n\xE9", "koi8-r", "message/rfc822"},
    {"media", "Content-Type: Image/x; charset=koi8-r", "\xE9", "\xE9", "", "image/x"},
    {"binary by the field, not the type",
     "Content-Type: text/plain; charset=koi8-r; name=\"audio/x\"", "\xE9", "\xC3\xA9", "",
     "text/plain"},
    {"PDF", "Content-Type: application/pdf; charset=koi8-r", "\xE9", "\xE9", "", "application/pdf"},
    {"JSON keeps its charset", "Content-Type: application/json; charset=koi8-r", "\xE9", "\xE9",
     "koi8-r", "application/json"},
    {"XHTML as well", "Content-Type: application/xhtml+xml; charset=koi8-r", "\xE9", "\xE9",
     "koi8-r", "application/xhtml+xml"},
    {"XML is text", "Content-Type: application/xml; charset=koi8-r", "\xC1", "\xD0\xB0", "koi8-r",
     "application/xml"},
    {"attachment", "Content-Type: text/plain; charset=koi8-r\r\nContent-Disposition: ATTACHMENT",
     "\xC1", "\xC1", "", "text/plain"},
    {"inline", "Content-Type: text/plain; charset=koi8-r\r\nContent-Disposition: inline", "\xC1",
     "\xD0\xB0", "koi8-r", "text/plain"},
    {"zero byte", "Content-Type: text/plain; charset=koi8-r", "\xC1\0"sv, "\xC1\0"sv, "koi8-r",
     "text/plain"},
    {"zero byte of UTF-16", "Content-Type: text/plain; charset=utf-16le", "a\0"sv, "a", "utf-16le",
     "text/plain"},
    {"no type", "A: 1", "\xE9", "\xC3\xA9", "", ""},
    {"no type, zero byte", "A: 1", "\xE9\0"sv, "\xE9\0"sv, "", ""},
    {"no type, UTF-8", "A: 1", "\xC3\xA9", "\xC3\xA9", "utf-8", ""},
    {"ASCII that is none",
     "Content-Type: text/plain; charset=us-ascii\r\nContent-Transfer-Encoding: 8bit", "\xE9",
     "\xC3\xA9", "us-ascii", "text/plain"},
    {"really windows-1252",
     "Content-Type: text/plain; charset=iso-8859-1\r\nContent-Transfer-Encoding: quoted-printable",
     "=93a",
     "\xE2\x80\x9C"
     "a",
     "windows-1252", "text/plain", true},
    {"META", "Content-Type: text/html", "<meta charset=koi8-r>\xC1",
     "<meta charset=koi8-r>\xD0\xB0", "koi8-r", "text/html"},
    {"META, base64", "Content-Type: text/html\r\nContent-Transfer-Encoding: base64",
     "PG1ldGEgY2hhcnNldD1rb2k4LXI+wQ==", "<meta charset=koi8-r>\xD0\xB0", "koi8-r", "text/html"},
    {"META against a label", "Content-Type: text/html; charset=iso-8859-1",
     "<meta charset=koi8-r>\xC1", "<meta charset=koi8-r>\xC3\x81", "iso-8859-1", "text/html"},
    {"META of an attachment", "Content-Type: text/html\r\nContent-Disposition: attachment",
     "<meta charset=koi8-r>\xC1", "<meta charset=koi8-r>\xC1", "", "text/html"},
    {"META not known", "Content-Type: text/html", "<meta charset=x-none>\xE9",
     "<meta charset=x-none>\xC3\xA9", "", "text/html"},
    {"META UTF-16 without zeros", "Content-Type: text/html",
     "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=UTF-16\">\x93",
     "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=UTF-16\">\xE2\x80\x9C",
     "windows-1252", "text/html"},
    {"X-HTML", "Content-Type: text/plain", "\t\r\n <X-HTML>a", "\t\r\n <X-HTML>a", "", "text/html"},
    {"X-HTML alone", "Content-Type: text/plain", "<x-html>", "<x-html>", "", "text/html"},
    {"X-HTML cut short", "Content-Type: text/plain", " <x-html", " <x-html", "", "text/plain"},
    {"X-HTML later", "Content-Type: text/plain", "a <x-html>", "a <x-html>", "", "text/plain"},
};

TEST(Leaf, Judged) {
    for (const LeafRow& row : kLeafRows) {
        SCOPED_TRACE(row.what);
        b_WasReally1252 = true;
        const NodePtr node =
            fromBytes(std::string(row.header) + "\r\n\r\n" + std::string(row.body));
        EXPECT_EQ(bodyOf(*node), row.out);
        EXPECT_STREQ(node->getCharset(), row.charset);
        EXPECT_STREQ(node->getContentType(), row.type);
        EXPECT_EQ(b_WasReally1252, row.wasReally1252);
    }
}

TEST(Leaf, ZeroBytesThatMakeUtf16) {
    for (size_t at : {999u, 1000u}) {
        std::string html = "<meta charset=utf-16>" + std::string(2000, 'a');
        html[at] = '\0';
        const NodePtr node = fromBytes("Content-Type: text/html\r\n\r\n" + html);
        EXPECT_STREQ(node->getCharset(), at < 1000 ? "utf-16" : "windows-1252");
        EXPECT_EQ(bodyOf(*node), html);
    }
}

TEST(Leaf, LogLines) {
    const auto told = [](const char* text) {
        LogText log;
        log.m_verbose = true;
        fromBytes(text, log);
        return linesOf(log);
    };
    struct {
        const char *text, *lines;
    } const rows[] = {
        {"Content-Type: text/plain; charset=koi8-r\r\n\r\nab",
         "contentType: text/plain; charset=koi8-r|contentType: text/plain; charset=koi8-r|charset: "
         "koi8-r|"
         "charsetClue: koi8-r|bIsAttachment: 0|encoding: |entireBodyLen: 2|charset: "
         "koi8-r|m_charset_cp: 20866|isText: 1|"},
        {"Content-Type: image/x; charset=koi8-r\r\n\r\nab",
         "charsetClue: koi8-r|clearing charset based on content-type.|"
         "treating body as binary (non-character) data.|bIsAttachment: 0|"},
        {"Content-Disposition: attachment\r\n\r\nab",
         "treating body as binary data because of attachment status.|bIsAttachment: 1|"},
        {"Content-Type: text/html\r\n\r\n<meta charset=utf-16>",
         "bIsAttachment: 0|No charset specified.  Trying to get HTML charset via META tag..|"},
        {"Content-Type: text/html\r\n\r\n<meta charset=unicode>",
         "charsetFromMetaTag: unicode|Must not really be unicode HTML, no zero bytes found...|"
         "encoding: |entireBodyLen: 22|charset: windows-1252|m_charset_cp: 1252|isText: 1|"},
        {"A: 1\r\n\r\nab", "wasReally1252: 0|"},
    };
    for (const auto& row : rows) {
        const std::string lines = told(row.text);
        EXPECT_NE(lines.find(row.lines), std::string::npos) << lines;
    }
}

// Nesting ends because each part is shorter than its parent, and costs no machine stack.
TEST(Multipart, DeepNesting) {
    std::string text;
    constexpr int kLevels = 20000;
    for (int i = 0; i < kLevels; ++i) {
        const std::string b = "b" + std::to_string(i);
        text += "Content-Type: multipart/mixed; boundary=" + b + "\r\n\r\n--" + b + "\r\n";
    }
    const NodePtr node = fromBytes(text + "\r\nthe end");
    const MimeMessage2* at = node.get();
    int levels = 0;
    for (; at->getNumParts() == 1; at = at->getPart(0)) ++levels;
    EXPECT_EQ(levels, kLevels);
    EXPECT_EQ(bodyOf(*at), "the end");
}

}  // namespace
