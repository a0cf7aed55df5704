// SPDX-License-Identifier: Apache-2.0

// Reading a body in wire form: each of the six has its own idea of what text is, where the
// code page comes from, and what the log is told.

#include "tests/node_support.h"

namespace {

constexpr char kCafe[] = "caf\xC3\xA9", kLatin[] = "caf\xE9";

NodePtr cafe(const std::string& type, const std::string& coding = "", const char* body = kCafe) {
    const std::string field = coding.empty() ? "" : "\r\nContent-Transfer-Encoding: " + coding;
    return leaf("Content-Type: " + type + field, body);
}

std::string encoded2(const MimeMessage2& node) {
    StringBuffer out = sb("<");
    node.getMimeBodyEncoded2(out, noLog);
    return str(out).substr(1);
}

std::string encodedDb(const MimeMessage2& node) {
    DataBuffer out = db("<");
    node.getMimeBodyEncodedDb(out, noLog);
    return str(out).substr(1);
}

// What the two that follow the node's charset and coding give; and what the first remembers.
struct WireRow {
    const char *type, *coding, *string, *bytes;
    int codePage = -1;
};

constexpr WireRow kWireRows[] = {
    {"text/plain; charset=windows-1252", "", kLatin, kLatin, 1252},
    {"text/plain; charset=utf-8", "", kCafe, kCafe},
    {"application/JSON; charset=windows-1252", "", kCafe, kLatin},
    {"application/xml-dtd; charset=windows-1252", "", kLatin, kLatin, 1252},
    {"application/soap+XML; charset=windows-1252", "", kCafe, kLatin},
    {"text/plain; charset=us-ascii", "8bit", kLatin, kLatin, 20127},
    {"text/plain; charset=windows-1252", "BASE64", "Y2Fm6Q==", "Y2Fm6Q=="},
    {"application/json; charset=windows-1252", "base64", "Y2Fmw6k=", "Y2Fm6Q=="},
    {"text/plain; charset=UTF-16", "base64", "//5jAGEAZgDpAA==", "//5jAGEAZgDpAA=="},
};

TEST(BodyGet, WireForm) {
    for (const WireRow& row : kWireRows) {
        SCOPED_TRACE(row.type + (", " + std::string(row.coding)));
        const NodePtr node = cafe(row.type, row.coding);
        MimeMessage2::m_binaryCodePage = -1;
        EXPECT_EQ(encodedDb(*node), row.bytes);
        EXPECT_EQ(MimeMessage2::m_binaryCodePage, -1);
        EXPECT_EQ(encoded2(*node), row.string);
        EXPECT_EQ(MimeMessage2::m_binaryCodePage, row.codePage);
        EXPECT_FALSE(node->m_modified);
        EXPECT_EQ(bodyOf(*node), kCafe);
    }
    // Case-sensitive for this prefix alone.
    const NodePtr node = cafe("text/plain; charset=windows-1252");
    node->m_contentType.m_type.setString("Text/plain");
    EXPECT_EQ(encoded2(*node) + encodedDb(*node), std::string(kCafe) + kCafe);
    node->m_contentType.m_type.setString("Text/xml");
    EXPECT_EQ(encodedDb(*node), kLatin);
}

TEST(BodyGet, StaysUtf8) {
    struct {
        const char* coding;
        std::string_view body, out;
    } const rows[] = {{"Base64", kCafe, "Y2Fmw6k="}, {"QUOTED-printable", kCafe, "caf=C3=A9"},
                      {"8bit", kCafe, kCafe},        {"", kCafe, kCafe},
                      {"binary", "a\0b"sv, "YQBi"},  {"7bit", "", ""}};
    for (const auto& row : rows) {
        const NodePtr node = cafe("text/plain; charset=windows-1252", row.coding, "");
        node->m_mimeBody.append(row.body.data(), static_cast<unsigned>(row.body.size()));
        StringBuffer out = sb("<");
        node->getMimeBodyEncoded2aUtf8(out, noLog);
        EXPECT_EQ(str(out), "<" + std::string(row.out)) << row.coding;
    }
}

// Whatever the node's own charset, type and coding are.
TEST(BodyGet, AsTheCallerWants) {
    struct {
        int codePage;
        const char *qp, *base64;
        std::string_view raw;
    } const rows[] = {{1252, "<caf=E9", "<Y2Fm6Q==", "<caf\xE9"},
                      {65001, "<caf=C3=A9", "<Y2Fmw6k=", "<caf\xC3\xA9"},
                      {0, "<caf=C3=A9", "<Y2Fmw6k=", "<caf\xC3\xA9"},
                      {20127, "<caf?", "<Y2FmPw==", "<caf?"},
                      {1200, "<c=00a=00f=00=E9=00", "<YwBhAGYA6QA=", "<c\0a\0f\0\xE9\0"sv}};
    const NodePtr node = cafe("a/b; charset=koi8-r", "7bit");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.codePage);
        StringBuffer qp = sb("<"), base64 = sb("<");
        DataBuffer plain = db("<");
        node->getMimeBodyQP(qp, row.codePage, noLog);
        node->getMimeBodyBase64(base64, row.codePage, noLog);
        node->getMimeBody8Bit(plain, row.codePage, noLog);
        EXPECT_EQ(str(qp), row.qp);
        EXPECT_EQ(str(base64), row.base64);
        EXPECT_EQ(str(plain), row.raw);
    }
    // Into the very body that is read.
    node->getMimeBody8Bit(node->m_mimeBody, 1252, noLog);
    EXPECT_EQ(bodyOf(*node), std::string(kCafe) + kLatin);
}

// What was only read goes out as it came; what was set, or is given another charset, does not.
TEST(BodyGet, OnlyWhatWasReadGoesOutAsItCame) {
    const NodePtr node = fromBytes("Content-Type: text/plain; charset=shift_jis\r\n\r\na\x81");
    EXPECT_EQ(encodedDb(*node), "a\x81");
    node->setMimeBody8Bit_2("a\x81", 2, node->m_charset, true, noLog);
    EXPECT_EQ(encodedDb(*node) + encoded2(*node), "a?a?");
    const NodePtr utf8 =
        fromBytes("Content-Type: text/plain; charset=utf-8\r\n\r\n\xC3\xA9\xD0\x9F");
    utf8->setCharset("windows-1252", noLog);
    EXPECT_EQ(encodedDb(*utf8), "\xE9?");
}

}  // namespace
