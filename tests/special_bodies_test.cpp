// SPDX-License-Identifier: Apache-2.0
// The HTML body of a message, AppleDouble pairs, uuencoded bodies and types from file names.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

// A tree from "type(part part)" or "type" or "-type" (an attachment) or "0" (an empty slot);
// "alt", "mix", "rel", "html" and "txt" are short for what they say.  A node's body is its
// number in the text, from 1.
class Tree {
public:
    explicit Tree(const char* text) : m_at(text), m_root(node()) {}
    MimeMessage2& root() { return *m_root; }

private:
    NodePtr node() {
        const char* const begin = m_at;
        while (*m_at && !std::strchr("() ", *m_at)) ++m_at;
        std::string type(begin, m_at);
        if (type == "0") return nullptr;
        const bool isAttachment = type.starts_with('-');
        if (isAttachment) type.erase(0, 1);
        for (const auto& [shortType, longType] : kShort)
            if (type == shortType) type = longType;
        const std::string body = std::to_string(++m_count);
        NodePtr made = leaf("X: y", body);
        made->m_contentType.m_type.setString(type.c_str());
        made->m_disposition.setString(isAttachment ? "ATTACHMENT" : "");
        if (*m_at != '(') return made;
        while (*m_at != ')') {
            ++m_at;
            made->m_subParts.appendPtr(node().release());
        }
        ++m_at;
        return made;
    }

    static constexpr std::pair<const char*, const char*> kShort[] = {
        {"alt", "multipart/alternative"},
        {"mix", "multipart/mixed"},
        {"rel", "multipart/related"},
        {"html", "text/html"},
        {"txt", "text/plain"}};

    const char* m_at;
    int m_count = 0;
    NodePtr m_root;
};

TEST(HtmlBody, Found) {
    struct Row {
        const char* tree;
        const char* object;  // body of getHtmlBodyObject's node, "" for none
        const char* body;    // what getHtmlBody appends, "" when it answers false
    };
    static constexpr Row kRows[] = {
        {"html", "1", "1"},
        {"TEXT/Html", "1", "1"},
        {"txt", "", ""},
        {"-html", "1", "1"},
        {"application/xhtml-text/html", "", ""},
        {"mix", "", ""},
        {"mix(0)", "", ""},
        {"mix(html txt)", "2", "2"},
        {"mix(txt html)", "3", ""},
        {"mix(txt -html)", "3", ""},
        {"mix(txt x-text/HTML-y)", "3", ""},
        {"mix(0 html)", "2", ""},
        {"alt(txt html)", "3", "1"},
        {"Multipart/ALTERNATIVE(txt html)", "3", "1"},
        {"alt(html html)", "2", "1"},
        {"alt(txt -html)", "", ""},
        {"alt(-html html)", "3", "1"},
        {"alt(txt x-text/html)", "", ""},
        {"alt(0 html)", "2", "1"},
        {"alt(txt rel(html))", "", ""},
        {"alt(mix(html) html)", "4", "1"},
        {"alt", "", ""},
        {"mix(alt(txt html) txt)", "4", "2"},
        {"mix(txt alt(txt html))", "5", ""},
        {"mix(html alt(txt html))", "2", "2"},
        {"mix(alt(txt) html)", "", ""},
        {"mix(rel(html) html)", "4", "3"},
        {"mix(txt rel(html))", "4", ""},
        {"mix(txt rel(txt) rel(html))", "", ""},
        {"mix(rel(mix(txt html)))", "5", ""},
        {"mix(rel(mix(alt(txt html))))", "6", "4"},
        {"html(txt)", "1", ""},
        {"html(html)", "2", "2"},
        {"multipartx(html)", "2", "2"},
        {"mix(multipart(html))", "3", "3"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.tree);
        Tree tree(row.tree);
        MimeMessage2* const object = tree.root().getHtmlBodyObject(noLog);
        EXPECT_EQ(object ? bodyOf(*object) : "", row.object);
        DataBuffer out = db("before ");
        EXPECT_EQ(tree.root().getHtmlBody(out, noLog), *row.body != '\0');
        EXPECT_EQ(str(out), std::string("before ") + row.body);
    }
}

TEST(HtmlBody, DeadNodesEndTheSearch) {
    Tree dead("html"), below("mix(alt(html) html)");
    dead.root().m_magic = below.root().getPart(0)->m_magic = 0;
    DataBuffer out;
    EXPECT_EQ(dead.root().getHtmlBodyObject(noLog), nullptr);
    EXPECT_FALSE(dead.root().getHtmlBody(out, noLog));
    EXPECT_EQ(below.root().getHtmlBodyObject(noLog), below.root().getPart(1));
    EXPECT_FALSE(below.root().getHtmlBody(out, noLog));
    dead.root().m_magic = below.root().getPart(0)->m_magic = 0xa4ee21fb;
}

TEST(AppleDouble, SecondPartIsDetached) {
    struct Row {
        const char* tree;
        const char* found;
        int left;
    };
    static constexpr Row kRows[] = {
        {"multipart/appledouble(a/b c/d)", "3", 1},
        {"Multipart/AppleDouble(a/b c/d e/f)", "3", 2},
        {"multipart/appledouble(a/b)", "", 1},
        {"multipart/appledouble", "", 0},
        {"mix(a/b c/d)", "", 2},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.tree);
        Tree tree(row.tree);
        const NodePtr part(tree.root().getAppleDoubleAttachment(noLog));
        EXPECT_EQ(part ? bodyOf(*part) : "", row.found);
        EXPECT_EQ(tree.root().getNumParts(), row.left);
        EXPECT_FALSE(tree.root().m_modified);
    }
}

TEST(UuDecodeAttachment, OnlyOfThatCoding) {
    constexpr std::string_view kText = "begin 644 cat.txt\r\n#0V%T\r\n`\r\nend\r\n";
    struct Row {
        const char* coding;
        bool isDecoded;
    };
    static constexpr Row kRows[] = {{"X-UUencode", true},
                                    {"x-uuencode", true},
                                    {"uuencode", false},
                                    {"7bit", false},
                                    {"", false}};
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.coding);
        NodePtr node = leaf("Content-Type: a/b", kText);
        if (*row.coding) node->setContentEncoding(row.coding, noLog);
        node->m_modified = false;
        node->uuDecodeAttachment(noLog);
        EXPECT_EQ(bodyOf(*node), row.isDecoded ? "Cat" : kText);
        EXPECT_STREQ(node->getContentEncoding(), row.isDecoded ? "base64" : row.coding);
        StringBuffer field;
        node->getHeaderFieldUtf8("Content-Transfer-Encoding", field, noLog);
        EXPECT_EQ(str(field), row.isDecoded ? "base64" : row.coding);
        EXPECT_FALSE(node->m_modified);
    }
}

TEST(UuDecodeAttachment, WithoutBeginLineNothingIsLeft) {
    NodePtr node = leaf("Content-Transfer-Encoding: x-uuencode", "no such thing");
    node->uuDecodeAttachment(noLog);
    EXPECT_EQ(bodyOf(*node), "");
    EXPECT_STREQ(node->getContentEncoding(), "base64");
}

TEST(TypeFromFilename, Found) {
    struct Row {
        const char* filename;
        const char* type;
    };
    static constexpr Row kRows[] = {
        {"a.pdf", "application/pdf"},
        {"a.pDF", "application/pdf"},
        {"archive.tar.gz", "application/gzip"},
        {"dir.pdf/name", ""},
        {"name", ""},
        {"name.", ""},
        {".png", "image/png"},
        {"a.unknown-extension", ""},
        {"a.html", "text/html"},
        {nullptr, ""},
        {"", ""},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.filename ? row.filename : "null");
        StringBuffer out = sb("old");
        MimeMessage2().getTypeFromFilename(row.filename, out, noLog);
        EXPECT_EQ(str(out), row.type);
    }
}

TEST(TypeFromFilename, ResultMayBeTheArgument) {
    StringBuffer name = sb("a.pdf");
    MimeMessage2().getTypeFromFilename(name.getString(), name, noLog);
    EXPECT_EQ(str(name), "application/pdf");
}

TEST(SpecialBodies, DeadNodesStayAsTheyAre) {
    Tree tree("multipart/appledouble(a/b c/d)");
    StringBuffer out = sb("old");
    tree.root().m_contentTransferEncoding.setString("x-uuencode");
    tree.root().m_magic = 0;
    EXPECT_EQ(tree.root().getAppleDoubleAttachment(noLog), nullptr);
    tree.root().uuDecodeAttachment(noLog);
    tree.root().getTypeFromFilename("a.pdf", out, noLog);
    tree.root().getTypeFromExtension("pdf", out, noLog);
    tree.root().m_magic = 0xa4ee21fb;
    EXPECT_EQ(str(out), "old");
    EXPECT_STREQ(tree.root().getContentEncoding(), "x-uuencode");
    EXPECT_EQ(tree.root().getNumParts(), 2);
}

}  // namespace
