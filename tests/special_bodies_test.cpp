// SPDX-License-Identifier: Apache-2.0
// The HTML body of a message, AppleDouble pairs, uuencoded bodies and types from file names.

#include "tests/node_support.h"

namespace {

// A tree from "type(part part)" or "type" or "-type" (an attachment) or "!type" (a node without
// marker) or "0" (an empty slot); "alt", "mix", "html" and "txt" are short for whole types.  A
// node's body is its number in the text, from 1.
NodePtr tree(const char*& at, int& count) {
    std::string type(at, std::strcspn(at, "() "));
    at += type.size();
    if (type == "0") return nullptr;
    NodePtr node = leaf("X: y", std::to_string(++count));
    const char mark = type[0];
    if (mark == '-' || mark == '!') type.erase(0, 1);
    for (const char* known : {"text/html", "text/txt", "multipart/mixed", "multipart/alternative"})
        if (std::strstr(known, ("/" + type).c_str())) type = known;
    node->m_contentType.m_type.setString(type.c_str());
    node->m_disposition.setString(mark == '-' ? "ATTACHMENT" : "");
    if (*at == '(') {
        while (*at != ')') node->m_subParts.appendPtr(tree(++at, count).release());
        ++at;
    }
    if (mark == '!') node->m_magic = 0;
    return node;
}

NodePtr tree(const char* text) {
    int count = 0;
    return tree(text, count);
}

TEST(HtmlBody, Found) {
    static constexpr const char* kRows[][3] = {
        // The body of getHtmlBodyObject's node, and what getHtmlBody appends; "" for none.
        {"TEXT/Html", "1", "1"},
        {"!html", "", ""},
        {"mix(txt -x-text/HTML-y)", "3", ""},
        {"mix(!alt html)", "3", ""},
        {"Multipart/ALTERNATIVE(txt html html)", "3", "1"},
        {"alt(0 -html x-text/html mix(html) html)", "6", "1"},
        {"alt(txt multipart/related(html))", "", ""},
        {"mix(alt(txt html) txt)", "4", "2"},
        {"mix(alt(txt) html)", "", ""},
        {"mix(mix(html) html)", "4", "3"},
        {"mix(mix(mix(txt alt(txt html))))", "7", ""},
    };
    for (const auto& [text, body, appended] : kRows) {
        SCOPED_TRACE(text);
        const NodePtr root = tree(text);
        const MimeMessage2* const object = root->getHtmlBodyObject(noLog);
        EXPECT_EQ(object ? bodyOf(*object) : "", body);
        DataBuffer out = db("before ");
        EXPECT_EQ(root->getHtmlBody(out, noLog), *appended != '\0');
        EXPECT_EQ(str(out), std::string("before ") + appended);
    }
}

TEST(AppleDouble, SecondPartIsDetached) {
    static constexpr const char* kRows[][2] = {
        {"Multipart/AppleDouble(a/b c/d e/f)", "3 of [2|4]"},
        {"multipart/appledouble(a/b)", " of [2]"},
    };
    for (const auto& [text, result] : kRows) {
        const NodePtr root = tree(text), part(root->getAppleDoubleAttachment(noLog));
        EXPECT_EQ((part ? bodyOf(*part) : "") + " of " + outline(*root), result);
        EXPECT_FALSE(root->m_modified);
    }
    const NodePtr root = tree("multipart/appledouble(a/b)");
    root->addPart(nullptr);
    EXPECT_EQ(root->getAppleDoubleAttachment(noLog), nullptr);
    EXPECT_EQ(root->getNumParts(), 2) << "an empty slot stays";
}

TEST(UuDecodeAttachment, OnlyOfThatCoding) {
    static constexpr const char* kRows[][4] = {
        // Coding, body; coding and body then.
        {"x-uuencode", "begin 644 cat.txt\r\n#0V%T\r\n`\r\nend\r\n", "base64", "Cat"},
        {"X-UUencode", "no begin line", "base64", "no begin line"},
        {"uuencode", "begin", "uuencode", "begin"},
    };
    for (const auto& [coding, body, newCoding, newBody] : kRows) {
        const std::string field = "Content-Transfer-Encoding: ";
        NodePtr node = leaf(field + coding, body);
        node->uuDecodeAttachment(noLog);
        EXPECT_EQ(headerOf(*node), field + newCoding);
        EXPECT_EQ(node->getContentEncoding() + bodyOf(*node), std::string(newCoding) + newBody);
        EXPECT_FALSE(node->m_modified);
    }
}

TEST(TypeFromFilename, Found) {
    static constexpr const char* kRows[][2] = {
        {"a.pDF", "application/pdf"},
        {"archive.tar.gz", "application/gzip"},
        {"a.unknown-extension", ""},
        {nullptr, ""},
    };
    for (const auto& [filename, type] : kRows) {
        SCOPED_TRACE(filename ? filename : "null");
        StringBuffer out;
        out.setString(filename);
        MimeMessage2().getTypeFromFilename(filename ? out.getString() : nullptr, out, noLog);
        EXPECT_EQ(str(out), type);
    }
}

}  // namespace
