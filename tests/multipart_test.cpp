// SPDX-License-Identifier: Apache-2.0

// Multipart bodies: each form of delimiter that is tried and their order, how parts are cut,
// strict mode, signed parts; and how a leaf is judged: text or binary, in which charset.

#include "foundation/bytes/bytes.h"
#include "mime/parse/delimiter_search.h"
#include "tests/node_support.h"

namespace {

std::string mail(const std::string& boundary, std::string_view body, const char* type = "mixed") {
    return std::string("Content-Type: multipart/") + type + "; boundary=\"" + boundary +
           "\"\r\n\r\n" + std::string(body);
}

// Parts begin with their blank line: they have no header.  Bars stand for CRLF.  Each form alone,
// and what the log is told of the search, is in samples/multipart.
struct CutRow {
    const char* boundary;
    std::string_view body, outline;
};

constexpr CutRow kCutRows[] = {
    // Order: the first form wins, wherever it stands.
    {"b", "--b\n|zero|--b||one|--b--", "[one]"},
    {"b", "--b ||zero|--b\r-||one\r--b--", "[one]"},
    {"=_alternative1", "--=_alternative 1||zero|--=_alternative1 ||one|--=_alternative1--",
     "[one]"},
    {"b", "--b||one|--b\n|two|--b--", "[one|--b\n|two]"},
    {"b", "x--b||none!--b--", "[non]"},
    {"b", "--b  ||one|--b--", "--b  ||one|--b--"},
    // Cutting.
    {"b", "--b||12|--b||123|--b|--b||", "[123]"},
    {"b", "--b|--b--", ""},
    {"b", "--b|Content-Type: multipart/x; boundary=b||one|--b||two|--b--", "[one,two]"},
};

TEST(Multipart, Cutting) {
    for (const CutRow& row : kCutRows) {
        const NodePtr node = fromBytes(mail(row.boundary, crlf(row.body)));
        StringBuffer found = sb(outline(*node));
        found.replaceAllOccurances("|", ",");
        EXPECT_EQ(barred(str(found)), row.outline) << row.body;
        EXPECT_EQ(node->m_modified, !row.outline.empty()) << row.body;
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
    {"text/x; charset=koi8-r; name=\"audio/x\"", "\xE9", "\xC3\xA9", "", "text/x"},
    {"application/json; charset=koi8-r", "\xE9", "\xE9", "koi8-r", "application/json"},
    {"application/xml; charset=koi8-r", "\xC1", "\xD0\xB0", "koi8-r", "application/xml"},
    {"text/x; charset=koi8-r|Content-Disposition: ATTACHMENT", "\xC1", "\xC1", "", "text/x"},
    {"text/x; charset=koi8-r", "\xC1\0"sv, "\xC1\0"sv, "koi8-r", "text/x"},
    {"", "\xE9", "\xC3\xA9", "", ""},
    {"text/x; charset=latin1", "=93x", "\xE2\x80\x9Cx", "windows-1252", "text/x",
     "quoted-printable"},
    {"text/html; charset=latin1", "<meta charset=koi8-r>\xC1", "<meta charset=koi8-r>\xC3\x81",
     "latin1", "text/html"},
    {"text/html", "<meta charset=x>\xE9", "<meta charset=x>\xC3\xA9", "", "text/html"},
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

}  // namespace
