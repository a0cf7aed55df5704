// SPDX-License-Identifier: Apache-2.0
// Changing how stored bodies will be written.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

const std::string kHigh = "\x89PNG";

std::string codingField(const MimeMessage2& node) {
    StringBuffer value;
    return node.getHeaderFieldUtf8("Content-Transfer-Encoding", value, noLog) ? str(value) : "none";
}

std::string codingAndState(const MimeMessage2& node) {
    return codingField(node) + " " + std::to_string(node.m_binarySafeState);
}

// A leaf with the fields that are not empty.
NodePtr part(std::string type, std::string coding, std::string_view body, std::string kind = "") {
    if (!type.empty()) type = "Content-Type: " + type + "\r\n";
    if (!coding.empty()) coding = "Content-Transfer-Encoding: " + coding + "\r\n";
    if (!kind.empty()) kind = "Content-Disposition: " + kind + "\r\n";
    return leaf(type + coding + kind + "X: y", body);
}

NodePtr above(NodePtr part, const std::string& header) {
    NodePtr root = leaf(header, kHigh);
    root->addPart(part.release());
    root->m_subParts.appendPtr(nullptr);
    return root;
}

struct SafeRow {
    const char *type, *coding;
    std::string body;
    const char *safe, *restored;  // the coding field and the state
};

const SafeRow kSafeRows[] = {
    {"image/png", "", kHigh, "base64 2", "none 2"},
    {"", "", kHigh, "base64 2", "none 2"},
    {"image/png", "BINARY", kHigh, "base64 1", "binary 1"},
    {"image/png", "8bit", kHigh, "8bit 0", "8bit 0"},
    {"image/png", "base64", kHigh, "base64 0", "base64 0"},
    {"TEXT/plain", "", kHigh, "none 0", "none 0"},
    {"Message/RFC822", "", kHigh, "none 0", "none 0"},
    {"application/XML", "", kHigh, "none 0", "none 0"},
    {"application/json", "", kHigh, "none 0", "none 0"},
    {"application/atom+xml", "", kHigh, "base64 2", "none 2"},
    {"multipart/mixed", "", kHigh, "none 0", "none 0"},
    {"image/png", "", "", "none 0", "none 0"},
    {"image/png", "", repeated("a", 10000) + "\x80", "none 0", "none 0"},
    {"image/png", "", repeated("a", 9999) + "\x80", "base64 2", "none 2"},
};

TEST(BinarySafe, EachLeaf) {
    for (const SafeRow& row : kSafeRows) {
        SCOPED_TRACE(std::string(row.type) + ";" + row.coding);
        NodePtr root = above(part(row.type, row.coding, row.body), "Content-Type: a/b");
        MimeMessage2& leaf = *root->getPart(0);
        leaf.m_binarySafeState = 3;
        root->makeBinarySafeForString();
        EXPECT_EQ(codingAndState(leaf), row.safe);
        EXPECT_EQ(bodyOf(leaf), row.body);
        for (int i = 0; i < 2; ++i) {  // the state stays
            root->restoreBinarySafeForString();
            EXPECT_EQ(codingAndState(leaf), row.restored);
        }
        EXPECT_FALSE(leaf.m_modified);
        EXPECT_EQ(codingAndState(*root), "none 0") << "a node with parts";
    }
}

TEST(BinarySafe, NothingBelowText) {
    const NodePtr root = above(above(part("", "", kHigh), "Content-Type: text/plain"), "X: y");
    root->getPart(0)->makeBinarySafeForString();
    root->makeBinarySafeForString();
    EXPECT_EQ(codingField(*root->getPart(0)->getPart(0)), "none");
}

NodePtr randomTree(std::mt19937& random, int depth) {
    const SafeRow& row = kSafeRows[random() % std::size(kSafeRows)];
    if (depth == 0 || random() % 3 == 0) return part(row.type, row.coding, row.body);
    NodePtr root = leaf("Content-Type: multipart/mixed; boundary=b" + std::to_string(depth));
    for (auto n = random() % 4; n; --n) root->addPart(randomTree(random, depth - 1).release());
    return root;
}

TEST(BinarySafe, LawOfRestoring) {
    std::mt19937 random(43);
    for (int i = 0; i < 300; ++i) {
        NodePtr root = randomTree(random, 4);
        const StringBuffer before = sb(written(*root));
        root->makeBinarySafeForString();
        root->restoreBinarySafeForString();
        ASSERT_TRUE(before.equalsIgnoreCase(written(*root).c_str()));
    }
}

TEST(Convert8Bit, EachLeaf) {
    struct Row {
        const char *kind, *type, *coding;
        std::string body;
        const char* becomes;
    };
    const Row kRows[] = {
        {"inline; filename=a.HTM.gz", "", "8bit", kHigh, "quoted-printable"},
        {"inline; filename=a.TXT", "", "Binary", kHigh, "quoted-printable"},
        {"inline; filename=a.xml", "", "8BIT", kHigh, "quoted-printable"},
        {"inline; filename=a.txt.gz", "", "8bit", kHigh, "base64"},
        {"inline; filename=a.xml.gz", "", "8bit", kHigh, "base64"},
        {"", "text/css", "8bit", kHigh, "quoted-printable"},
        {"ATTACHMENT", "", "", kHigh, "base64"},
        {"form-data; name=x", "", "", kHigh, "base64"},
        {"attachment", "", "", repeated("a", 4096) + "\x80", "quoted-printable"},
        {"attachment", "", "", repeated("a", 4095) + "\x80", "base64"},
        {"inline", "", "", kHigh, ""},
        {"attachment", "", "7bit", kHigh, "7bit"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.kind);
        NodePtr root = above(part(row.type, row.coding, row.body, row.kind), "X: y");
        MimeMessage2& leaf = *root->getPart(0);
        const std::string header = headerOf(leaf);
        root->m_contentTransferEncoding.setString("8bit");
        root->convert8Bit(noLog);
        EXPECT_STREQ(leaf.getContentEncoding(), row.becomes);
        EXPECT_EQ(headerOf(leaf), header) << "the field stays";
        EXPECT_FALSE(leaf.m_modified);
        EXPECT_STREQ(root->getContentEncoding(), "8bit") << "a node with parts stays";
    }
}

// Kept on purpose: the text stays in front of its percent-encoded form.
TEST(UrlEncodeBody, TextAndItsEncodedForm) {
    static constexpr const char* kRows[][3] = {  // charset, body, body then
        {"utf-8", "a b", "a ba%20b"},
        {"utf-8", "\xC3\xA4", "\xC3\xA4%C3%A4"},
        {"iso-8859-1", "\xC3\xA4", "\xE4%E4"},
        {"unknown", "\xC3\xA4", "\xC3\xA4%C3%A4"},
    };
    for (const auto& [charset, in, out] : kRows) {
        SCOPED_TRACE(charset);
        NodePtr node = leaf("Content-Transfer-Encoding: 8bit", in);
        node->urlEncodeBody(charset, noLog);
        EXPECT_EQ(codingField(*node) + " " + bodyOf(*node), std::string("8bit ") + out);
        EXPECT_TRUE(node->m_modified);
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
