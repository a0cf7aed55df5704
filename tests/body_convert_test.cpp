// SPDX-License-Identifier: Apache-2.0
// Changing how stored bodies will be written.

#include "tests/node_support.h"

namespace {

const std::string kHigh = "\x89PNG";

// The coding field, the state and whether the node is changed.
std::string stateOf(const MimeMessage2& node) {
    StringBuffer coding = sb("none");
    node.getHeaderFieldUtf8("Content-Transfer-Encoding", coding, noLog);
    return str(coding.isEmpty() ? sb("none") : coding) + " " +
           std::to_string(node.m_binarySafeState) + (node.m_modified ? " changed;" : ";");
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

TEST(BinarySafe, LeavesOfATree) {
    const std::string kRows[][5] = {
        // type, coding, body, state while safe, state restored
        {"image/png", "", kHigh, "base64 2;", "none 2;"},
        {"image/png", "BINARY", kHigh, "base64 1;", "binary 1;"},
        {"image/png", "8bit", kHigh, "8bit 0;", "8bit 0;"},
        {"TEXT/plain", "", kHigh, "none 0;", "none 0;"},
        {"application/XML", "", kHigh, "none 0;", "none 0;"},
        {"application/atom+xml", "", kHigh, "base64 2;", "none 2;"},
        {"multipart/mixed", "", kHigh, "none 0;", "none 0;"},
        {"image/png", "", repeated("a", 10000) + "\x80", "none 0;", "none 0;"},
        {"image/png", "", repeated("a", 9999) + "\x80", "base64 2;", "none 2;"},
    };
    NodePtr root = leaf("Content-Type: a/b", kHigh);
    for (const auto& row : kRows) {
        root->addPart(part(row[0], row[1], row[2]).release());
        root->getPart(root->getNumParts() - 1)->m_binarySafeState = 3;
    }
    const auto expectStates = [&](int column) {
        for (int i = 0; i < root->getNumParts(); ++i)
            EXPECT_EQ(stateOf(*root->getPart(i)), kRows[i][column]) << i;
        EXPECT_EQ(stateOf(*root), "none 0 changed;") << "a node with parts";
    };
    const StringBuffer before = sb(contentOf(*root));
    root->makeBinarySafeForString();
    expectStates(3);
    for (int i = 0; i < 2; ++i) {  // the state stays
        root->restoreBinarySafeForString();
        expectStates(4);
    }
    EXPECT_TRUE(before.equalsIgnoreCase(contentOf(*root).c_str()));
}

TEST(BinarySafe, NothingBelowText) {
    const NodePtr root = above(above(part("", "", kHigh), "Content-Type: text/plain"), "X: y");
    root->getPart(0)->makeBinarySafeForString();
    root->makeBinarySafeForString();
    EXPECT_EQ(stateOf(*root->getPart(0)->getPart(0)), "none 0;");
}

TEST(Convert8Bit, EachLeaf) {
    const std::string kRows[][5] = {
        // disposition, type, coding, body, coding then
        {"inline; filename=a.HTM.gz", "", "8bit", kHigh, "quoted-printable"},
        {"inline; filename=a.txt.gz", "", "8bit", kHigh, "base64"},
        {"", "text/css", "8bit", kHigh, "quoted-printable"},
        {"ATTACHMENT", "", "", kHigh, "base64"},
        {"attachment", "", "", repeated("a", 4096) + "\x80", "quoted-printable"},
        {"attachment", "", "", repeated("a", 4095) + "\x80", "base64"},
        {"inline", "", "", kHigh, ""},
    };
    for (const auto& [kind, type, coding, body, becomes] : kRows) {
        SCOPED_TRACE(kind);
        NodePtr root = above(part(type, coding, body, kind), "X: y");
        MimeMessage2& leaf = *root->getPart(0);
        const std::string before = stateOf(leaf);
        root->m_contentTransferEncoding.setString("8bit");
        root->convert8Bit(noLog);
        EXPECT_EQ(leaf.getContentEncoding(), becomes);
        EXPECT_EQ(stateOf(leaf), before) << "the field stays";
        EXPECT_STREQ(root->getContentEncoding(), "8bit") << "a node with parts stays";
    }
}

// Kept on purpose: the text stays in front of its percent-encoded form.
TEST(UrlEncodeBody, TextAndItsEncodedForm) {
    static constexpr const char* kRows[][3] = {
        // charset, body, body then
        {"utf-8", "\xC3\xA4", "\xC3\xA4%C3%A4"},
        {"iso-8859-1", "\xC3\xA4", "\xE4%E4"},
        {"unknown", "\xC3\xA4", "\xC3\xA4%C3%A4"},
    };
    for (const auto& [charset, in, out] : kRows) {
        NodePtr node = leaf("Content-Transfer-Encoding: 8bit", in);
        node->urlEncodeBody(charset, noLog);
        EXPECT_EQ(stateOf(*node) + bodyOf(*node), std::string("8bit 0 changed;") + out);
    }
}

}  // namespace
