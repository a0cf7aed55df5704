// SPDX-License-Identifier: Apache-2.0
// Changing how stored bodies will be written.

#include <gtest/gtest.h>

#include <random>

#include "tests/node_support.h"

namespace {

const std::string kHigh = "\x89PNG";
const std::string kLate = std::string(10000, 'a') + "\x80";

std::string codingField(const MimeMessage2& node) {
    StringBuffer value;
    return node.getHeaderFieldUtf8("Content-Transfer-Encoding", value, noLog) ? str(value) : "none";
}

std::string lowerCase(std::string s) {
    for (char& c : s) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return s;
}

NodePtr inMixed(NodePtr part) {
    NodePtr root = leaf("Content-Type: multipart/mixed; boundary=b");
    root->addPart(part.release());
    return root;
}

struct SafeRow {
    const char* what;
    const char* header;
    std::string body;
    const char* safe;  // the coding field while the tree is safe
    int state;
};

const SafeRow kSafeRows[] = {
    {"no coding", "Content-Type: image/png", kHigh, "base64", 2},
    {"no type", "X: y", kHigh, "base64", 2},
    {"binary", "Content-Type: image/png\r\nContent-Transfer-Encoding: BINARY", kHigh, "base64", 1},
    {"8bit", "Content-Type: image/png\r\nContent-Transfer-Encoding: 8bit", kHigh, "8bit", 0},
    {"base64", "Content-Type: image/png\r\nContent-Transfer-Encoding: base64", kHigh, "base64", 0},
    {"text", "Content-Type: text/plain", kHigh, "none", 0},
    {"TEXT", "Content-Type: TEXT/plain", kHigh, "none", 0},
    {"message", "Content-Type: Message/RFC822", kHigh, "none", 0},
    {"xml", "Content-Type: application/xml", kHigh, "none", 0},
    {"json", "Content-Type: application/json", kHigh, "none", 0},
    {"xml of another kind", "Content-Type: application/atom+xml", kHigh, "base64", 2},
    {"multipart without parts", "Content-Type: multipart/mixed", kHigh, "none", 0},
    {"empty", "Content-Type: image/png", "", "none", 0},
    {"7-bit", "Content-Type: image/png", "abc", "none", 0},
    {"8-bit behind 10000 bytes", "Content-Type: image/png", kLate, "none", 0},
    {"8-bit at byte 10000", "Content-Type: image/png", kLate.substr(1), "base64", 2},
};

TEST(BinarySafe, EachLeaf) {
    for (const SafeRow& row : kSafeRows) {
        SCOPED_TRACE(row.what);
        NodePtr root = inMixed(leaf(row.header, row.body));
        MimeMessage2& part = *root->getPart(0);
        part.m_binarySafeState = 3;
        const std::string before = codingField(part);
        root->makeBinarySafeForString();
        EXPECT_EQ(codingField(part), row.safe);
        EXPECT_EQ(part.m_binarySafeState, row.state);
        EXPECT_EQ(bodyOf(part), row.body);
        EXPECT_FALSE(part.m_modified);
        for (int i = 0; i < 2; ++i) {  // the state stays
            root->restoreBinarySafeForString();
            EXPECT_EQ(lowerCase(codingField(part)), lowerCase(before));
            EXPECT_EQ(part.m_binarySafeState, row.state);
        }
        EXPECT_FALSE(part.m_modified);
    }
}

TEST(BinarySafe, NothingBelowText) {
    NodePtr root = leaf("Content-Type: text/plain");
    root->addPart(leaf("Content-Type: image/png", kHigh).release());
    root->makeBinarySafeForString();
    EXPECT_EQ(codingField(*root->getPart(0)), "none");
}

TEST(BinarySafe, ParentWithPartsIsNoLeaf) {
    NodePtr root = leaf("Content-Type: application/x", kHigh);
    root->addPart(leaf("Content-Type: image/png", kHigh).release());
    root->m_subParts.appendPtr(nullptr);
    root->makeBinarySafeForString();
    EXPECT_EQ(codingField(*root), "none");
    EXPECT_EQ(codingField(*root->getPart(0)), "base64");
}

// A tree of random leaves, also nested.
NodePtr randomTree(std::mt19937& random, int depth) {
    if (depth == 0 || random() % 3 == 0) {
        const SafeRow& row = kSafeRows[random() % std::size(kSafeRows)];
        return leaf(row.header, row.body);
    }
    NodePtr root = leaf("Content-Type: multipart/mixed; boundary=b" + std::to_string(depth));
    for (auto n = random() % 4; n; --n) root->addPart(randomTree(random, depth - 1).release());
    return root;
}

TEST(BinarySafe, LawOfRestoring) {
    std::mt19937 random(43);
    for (int i = 0; i < 300; ++i) {
        NodePtr root = randomTree(random, 4);
        const std::string before = written(*root);
        root->makeBinarySafeForString();
        root->restoreBinarySafeForString();
        ASSERT_EQ(lowerCase(written(*root)), lowerCase(before));
    }
}

TEST(Convert8Bit, EachLeaf) {
    struct Row {
        const char* what;
        const char* header;
        std::string body;
        const char* coding;
    };
    const Row kRows[] = {
        {"name is lower-cased",
         "Content-Transfer-Encoding: 8bit\r\nContent-Disposition: attachment; filename=Report.HTML",
         kHigh, "quoted-printable"},
        {"name with .htm within",
         "Content-Transfer-Encoding: 8bit\r\nContent-Disposition: inline; filename=a.htm.gz", kHigh,
         "quoted-printable"},
        {"txt", "Content-Transfer-Encoding: Binary\r\nContent-Disposition: inline; filename=a.TXT",
         kHigh, "quoted-printable"},
        {"xml", "Content-Transfer-Encoding: 8BIT\r\nContent-Disposition: inline; filename=a.xml",
         kHigh, "quoted-printable"},
        {"txt not at the end",
         "Content-Transfer-Encoding: 8bit\r\nContent-Disposition: inline; filename=a.txt.gz", kHigh,
         "base64"},
        {"text", "Content-Type: text/css\r\nContent-Transfer-Encoding: 8bit", kHigh,
         "quoted-printable"},
        {"7-bit attachment without coding", "Content-Disposition: attachment", "abc",
         "quoted-printable"},
        {"8-bit attachment without coding", "Content-Disposition: ATTACHMENT", kHigh, "base64"},
        {"form data", "Content-Disposition: form-data; name=x", kHigh, "base64"},
        {"8-bit behind 4096 bytes", "Content-Disposition: attachment",
         std::string(4096, 'a') + "\x80", "quoted-printable"},
        {"8-bit at byte 4096", "Content-Disposition: attachment", std::string(4095, 'a') + "\x80",
         "base64"},
        {"inline without coding", "Content-Disposition: inline", kHigh, ""},
        {"7bit attachment", "Content-Disposition: attachment\r\nContent-Transfer-Encoding: 7bit",
         kHigh, "7bit"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        NodePtr root = inMixed(leaf(row.header, row.body));
        MimeMessage2& part = *root->getPart(0);
        const std::string field = codingField(part);
        root->m_contentTransferEncoding.setString("8bit");
        root->convert8Bit(noLog);
        EXPECT_STREQ(part.getContentEncoding(), row.coding);
        EXPECT_EQ(codingField(part), field) << "the field stays";
        EXPECT_FALSE(part.m_modified);
        EXPECT_STREQ(root->getContentEncoding(), "8bit") << "a node with parts stays";
    }
}

// Kept on purpose: the text stays in front of its percent-encoded form.
TEST(UrlEncodeBody, TextAndItsEncodedForm) {
    struct Row {
        const char* charset;
        const char* in;
        const char* out;
    };
    static constexpr Row kRows[] = {
        {"utf-8", "a b", "a ba%20b"},
        {"utf-8", "", ""},
        {"utf-8", "\xC3\xA4", "\xC3\xA4%C3%A4"},
        {"iso-8859-1", "\xC3\xA4", "\xE4%E4"},
        {"unknown", "\xC3\xA4", "\xC3\xA4%C3%A4"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.charset);
        NodePtr node = leaf("Content-Transfer-Encoding: 8bit", row.in);
        node->urlEncodeBody(row.charset, noLog);
        EXPECT_EQ(bodyOf(*node), row.out);
        EXPECT_TRUE(node->m_modified);
        EXPECT_EQ(codingField(*node), "8bit");
    }
}

TEST(BodyConvert, DeadNodesStayAsTheyAre) {
    NodePtr node = leaf("Content-Disposition: attachment", kHigh);
    node->m_magic = 0;
    node->m_binarySafeState = 1;
    node->makeBinarySafeForString();
    node->restoreBinarySafeForString();
    node->convert8Bit(noLog);
    node->urlEncodeBody("utf-8", noLog);
    node->m_magic = 0xa4ee21fb;
    EXPECT_EQ(written(*node), "Content-Disposition: attachment\r\n\r\n" + kHigh);
    EXPECT_EQ(node->m_binarySafeState, 1);
}

}  // namespace
