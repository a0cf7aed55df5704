// SPDX-License-Identifier: Apache-2.0

// Multipart bodies: each form of delimiter that is tried and their order, how parts are cut,
// strict mode, signed parts; and how a leaf is judged: text or binary, in which charset.

#include <gtest/gtest.h>

#include <random>

#include "foundation/bytes/bytes.h"
#include "mime/parse/delimiter_search.h"
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
// above the log has in front of the last, kFound or kNone.  Bars stand for CRLF.
struct CutRow {
    const char* boundary;
    std::string_view body, outline;
    int steps;
};

constexpr CutRow kCutRows[] = {
    {"b", "pre|--b||one|--b||two|--b--|post", "[one,two]", 0},
    {"b", "--b\n|one\n--b\n|two\n--b--", "[one,two]", 1},
    {"b", "--b\r||one\r--b\r||two\r--b--", "[one,two]", 2},
    {"b", "--b ||one|--b ||two|--b--", "[one,two]", 3},
    {"b", "--b  ||one|--b--", "--b  ||one|--b--", 4},
    {"b\xC3\xA9", "--b\xE9||one|--b\xE9||two|--b\xE9--", "[one,two]", 5},
    {"b", "|body", "|body", 4},
    // Order: the first form wins, wherever it stands.
    {"b", "--b\n|zero|--b||one|--b--", "[one]", 0},
    {"b", "--b\r|zero\n--b\n|one\n--b--", "[one]", 1},
    {"b", "--b ||zero|--b\r-||one\r--b--", "[one]", 2},
    {"=_alternative1", "--=_alternative 1||zero|--=_alternative1 ||one|--=_alternative1--", "[one]",
     3},
    {"b", "--b||one|--b\n|two|--b--", "[one|--b\n|two]", 0},
    {"b", "--b\n|one|--b\n|two|--b--", "[one\r,two\r]", 1},
    {"b", "x--b||none!--b--", "[non]", 0},
    {"b", "--bb||one|--b||two|--b--", "[two]", 0},
    // Cutting.
    {"b", "--b||one|--b||two|", "[one,two|]", 0},
    {"b", "--b||12|--b||123|--b|--b||", "[123]", 0},
    {"b", "--b|--b--", "", 0},
    {"b", "--b||one|--b--|--b||two|", "[one|--b--,two|]", 0},
    {"b", "--b||o\0e|--b--"sv, "[o\0e]"sv, 0},
    {"b", "--b|Content-Type: multipart/x; boundary=c||--c||one|--c--|--b||two|--b--", "[[one],two]",
     0},
    {"b", "--b|Content-Type: multipart/x; boundary=b||one|--b||two|--b--", "[one,two]", 0},
};

TEST(Multipart, Cutting) {
    const std::string steps[] = {kNoCrlf, kNoLf, kNoCr, kStill, kAnsi};
    for (const CutRow& row : kCutRows) {
        SCOPED_TRACE(row.body);
        NodePtr node;
        const auto load = [&](LogBase& log) {
            node = fromBytes(mail(row.boundary, crlf(row.body)), log);
        };
        const std::string log = told(load);
        StringBuffer found = sb(outline(*node));
        found.replaceAllOccurances("|", ",");
        EXPECT_EQ(barred(str(found)), row.outline);
        EXPECT_EQ(node->m_modified, !row.outline.empty());
        std::string lines = "|findBoundary: --" + std::string(row.boundary) + "\\x0D\\x0A|";
        for (int i = 0; i < row.steps; ++i) lines += steps[i] + "|";
        lines += row.outline.empty() || row.outline[0] == '[' ? kFound : kNone;
        EXPECT_NE(log.find(lines), std::string::npos) << log;
        EXPECT_EQ(told(load, false), "");
    }
}

std::string joined(std::minstd_rand& random, unsigned long most,
                   std::initializer_list<const char*> units) {
    std::string text;
    for (auto n = random() % most; n > 0; --n) text += units.begin()[random() % units.size()];
    return text;
}

// So many searches go through the list, the plain search and the index in turn.
TEST(Multipart, EachWayToSearchForDelimitersFindsTheSame) {
    std::minstd_rand random(7);
    for (int round = 0; round < 40; ++round) {
        const std::string text = joined(
            random, 9000,
            {"-", "-", "x", "y", "\r\n", "\n", "x--y", " ", "=_alternative x", "------", "\r"});
        const char* const end = text.data() + text.size();
        mimetree::inner::DelimiterSearch search(text.data(), end);
        const char* from = text.data();
        for (int i = 0; i < 1000; ++i) {
            std::string sought = joined(random, 6, {"-", "x", "y", "--", " "});
            sought.insert(0, random() % 3 ? "--" : joined(random, 12, {"x", "y"}));
            if (random() % 3 == 0) sought += "=_alternative " + joined(random, 3, {"x", "-"});
            sought += joined(random, 2, {"\r", " \r"}) + (random() % 2 ? "\n" : "--");
            const char* const to = random() % 2 ? end : from + random() % size_t(end - from + 1);
            ASSERT_EQ(
                search.find(sought, from, to),
                mimetree::inner::bytes::find(from, size_t(to - from), sought.data(), sought.size()))
                << sought;
            if (random() % 8 == 0) from += random() % size_t(end - from + 1) / 32;
        }
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
        const char* body;
        bool ok;
        int parts;
        const char* error;
    } const rows[] = {
        {"--b||one|--b--", true, 1, ""},
        {"body", false, 0, "ERROR: First boundary string not found.|ERROR: MIME has errors.|"},
        {"--b||one|--b||two", false, 1,
         "ERROR: Next boundary string not found.|ERROR: MIME has errors.|"},
        {"", true, 0, ""},
        {"--b|Content-Type: multipart/x; boundary=c||x|--b||two|--b--", true, 2,
         "ERROR: First boundary string not found.|ERROR: MIME has errors.|"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        LogText log;
        log.m_options.setString("a, strictMIMEparsing;b");
        NodePtr node(MimeMessage2::createNewObject());
        DataBuffer data = db(mail("b", crlf(row.body)));
        EXPECT_EQ(node->loadMimeCompleteDb(data, log), row.ok);
        EXPECT_EQ(node->getNumParts(), row.parts);
        EXPECT_EQ(linesOf(log), row.error);
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

// The header begins with "Content-Type: " and ends with a coding where `coding` says so.
struct LeafRow {
    const char* type;
    std::string_view body, out;
    const char *charset, *shortType, *coding = "";
};

constexpr LeafRow kLeafRows[] = {
    {"message/rfc822; charset=koi8-r", "A: 1\xE9", "A: 1\xE9", "koi8-r", "message/rfc822"},
    {"Image/x; charset=koi8-r", "\xE9", "\xE9", "", "image/x"},
    {"text/x; charset=koi8-r; name=\"audio/x\"", "\xE9", "\xC3\xA9", "", "text/x"},
    {"application/json; charset=koi8-r", "\xE9", "\xE9", "koi8-r", "application/json"},
    {"application/xml; charset=koi8-r", "\xC1", "\xD0\xB0", "koi8-r", "application/xml"},
    {"text/x; charset=koi8-r|Content-Disposition: ATTACHMENT", "\xC1", "\xC1", "", "text/x"},
    {"text/x; charset=koi8-r|Content-Disposition: inline", "\xC1", "\xD0\xB0", "koi8-r", "text/x"},
    {"text/x; charset=koi8-r", "\xC1\0"sv, "\xC1\0"sv, "koi8-r", "text/x"},
    {"text/x; charset=utf-16le", "a\0"sv, "a", "utf-16le", "text/x"},
    {"", "\xE9", "\xC3\xA9", "", ""},
    {"", "\xE9\0"sv, "\xE9\0"sv, "", ""},
    {"", "\xC3\xA9", "\xC3\xA9", "utf-8", ""},
    {"text/x; charset=latin1", "=93x", "\xE2\x80\x9Cx", "windows-1252", "text/x",
     "quoted-printable"},
    {"text/html; charset=latin1", "<meta charset=koi8-r>\xC1", "<meta charset=koi8-r>\xC3\x81",
     "latin1", "text/html"},
    {"text/html|Content-Disposition: attachment", "<meta charset=koi8-r>\xC1",
     "<meta charset=koi8-r>\xC1", "", "text/html"},
    {"text/html", "<meta charset=x>\xE9", "<meta charset=x>\xC3\xA9", "", "text/html"},
    {"text/plain", "\t\r\n <X-HTML>a", "\t\r\n <X-HTML>a", "", "text/html"},
    {"text/plain", " <x-html", " <x-html", "", "text/plain"},
    {"text/plain", "a <x-html>", "a <x-html>", "", "text/plain"},
};

TEST(Leaf, Judged) {
    for (const LeafRow& row : kLeafRows) {
        SCOPED_TRACE(row.type);
        b_WasReally1252 = true;
        std::string header = "Content-Type: " + crlf(row.type);
        if (*row.coding) header += std::string("\r\nContent-Transfer-Encoding: ") + row.coding;
        const NodePtr node = fromBytes(header + "\r\n\r\n" + std::string(row.body));
        EXPECT_EQ(bodyOf(*node), row.out);
        EXPECT_STREQ(node->getCharset(), row.charset);
        EXPECT_STREQ(node->getContentType(), row.shortType);
        EXPECT_EQ(b_WasReally1252, row.coding[0] == 'q');
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
    constexpr const char* kRows[][2] = {
        {"Content-Type: text/x; charset=koi8-r||ab",
         "bIsAttachment: 0|encoding: |entireBodyLen: 2|charset: koi8-r|m_charset_cp: 20866|"},
        {"Content-Type: image/x; charset=koi8-r||ab",
         "clearing charset based on content-type.|treating body as binary (non-character) data.|"},
        {"Content-Disposition: attachment||ab",
         "treating body as binary data because of attachment status.|bIsAttachment: 1|"},
        {"Content-Type: text/html||<meta charset=utf-16>",
         "bIsAttachment: 0|No charset specified.  Trying to get HTML charset via META tag..|"},
        {"Content-Type: text/html||<meta charset=unicode>",
         "charsetFromMetaTag: unicode|Must not really be unicode HTML, no zero bytes found...|"},
        {"A: 1||ab", "wasReally1252: 0|"},
    };
    for (const auto& row : kRows) {
        const std::string log = told([&](LogBase& to) { fromBytes(crlf(row[0]), to); });
        EXPECT_NE(log.find(row[1]), std::string::npos) << log;
    }
}

}  // namespace
