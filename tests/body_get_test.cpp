// SPDX-License-Identifier: Apache-2.0

// Reading a body in wire form: each of the six has its own idea of what text is, where the
// code page comes from, and what the log is told.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

constexpr char kCafe[] = "caf\xC3\xA9", kLatin[] = "caf\xE9";

// What the two that follow the node's charset and coding give for "café".
struct WireRow {
    const char *what, *header, *string, *bytes;
};

constexpr WireRow kWireRows[] = {
    {"text", "Content-Type: text/plain; charset=windows-1252", kLatin, kLatin},
    {"no charset", "Content-Type: text/html", kCafe, kCafe},
    {"UTF-8", "Content-Type: text/plain; charset=utf-8", kCafe, kCafe},
    {"no text", "Content-Type: a/b; charset=windows-1252", kCafe, kCafe},
    {"no type", "A: 1", kCafe, kCafe},
    {"JSON", "Content-Type: application/JSON; charset=windows-1252", kCafe, kLatin},
    {"text/xml", "Content-Type: text/xml; charset=windows-1252", kLatin, kLatin},
    {"application/xml", "Content-Type: Application/XML; charset=windows-1252", kLatin, kLatin},
    {"application/xml-dtd", "Content-Type: application/xml-dtd; charset=windows-1252", kLatin,
     kLatin},
    {"SOAP", "Content-Type: application/soap+XML; charset=windows-1252", kCafe, kLatin},
    {"ASCII by way of Latin-1", "Content-Type: text/plain; charset=us-ascii", kLatin, kLatin},
    {"BASE64",
     "Content-Type: text/plain; charset=windows-1252\r\nContent-Transfer-Encoding: BASE64",
     "Y2Fm6Q==", "Y2Fm6Q=="},
    {"Quoted-Printable",
     "Content-Type: text/plain; charset=windows-1252\r\nContent-Transfer-Encoding: "
     "Quoted-Printable",
     "caf=E9", "caf=E9"},
    {"base64 of JSON",
     "Content-Type: application/json; charset=windows-1252\r\nContent-Transfer-Encoding: base64",
     "Y2Fmw6k=", "Y2Fm6Q=="},
    {"unknown coding",
     "Content-Type: text/plain; charset=windows-1252\r\nContent-Transfer-Encoding: x-base64",
     kLatin, kLatin},
};

TEST(BodyGet, WireForm) {
    for (const WireRow& row : kWireRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf(row.header, kCafe);
        StringBuffer string = sb("<");
        node->getMimeBodyEncoded2(string, noLog);
        EXPECT_EQ(str(string), std::string("<") + row.string);
        DataBuffer bytes = db("<");
        node->getMimeBodyEncodedDb(bytes, noLog);
        EXPECT_EQ(str(bytes), std::string("<") + row.bytes);
        EXPECT_FALSE(node->m_modified);
        EXPECT_EQ(bodyOf(*node), kCafe);
    }
    // Case-sensitive for this prefix alone.
    const NodePtr node = leaf("Content-Type: text/plain; charset=windows-1252", kCafe);
    node->m_contentType.m_type.setString("Text/plain");
    StringBuffer string;
    node->getMimeBodyEncoded2(string, noLog);
    EXPECT_EQ(str(string), kCafe);
    DataBuffer bytes;
    node->getMimeBodyEncodedDb(bytes, noLog);
    EXPECT_EQ(str(bytes), kCafe);
    node->m_contentType.m_type.setString("Text/xml");
    node->getMimeBodyEncodedDb(bytes, noLog);
    EXPECT_EQ(str(bytes), std::string(kCafe) + kLatin);
}

TEST(BodyGet, TheStaticCodePage) {
    struct {
        const char* header;
        int codePage;
    } const rows[] = {
        {"Content-Type: text/plain; charset=us-ascii\r\nContent-Transfer-Encoding: 8bit", 20127},
        {"Content-Type: text/plain; charset=windows-1252", 1252},
        {"Content-Type: text/plain; charset=utf-8", -1},
        {"Content-Type: text/plain", -1},
        {"Content-Type: a/b; charset=windows-1252", -1},
        {"Content-Type: text/plain; charset=windows-1252\r\nContent-Transfer-Encoding: base64",
         -1}};
    for (const auto& row : rows) {
        MimeMessage2::m_binaryCodePage = -1;
        const NodePtr node = leaf(row.header, kCafe);
        DataBuffer bytes;
        node->getMimeBodyEncodedDb(bytes, noLog);
        EXPECT_EQ(MimeMessage2::m_binaryCodePage, -1);
        StringBuffer string;
        node->getMimeBodyEncoded2(string, noLog);
        EXPECT_EQ(MimeMessage2::m_binaryCodePage, row.codePage) << row.header;
    }
}

TEST(BodyGet, StaysUtf8) {
    struct {
        const char* coding;
        std::string_view body, out;
    } const rows[] = {{"Base64", kCafe, "Y2Fmw6k="}, {"QUOTED-printable", kCafe, "caf=C3=A9"},
                      {"8bit", kCafe, kCafe},        {"", kCafe, kCafe},
                      {"binary", "a\0b"sv, "YQBi"},  {"7bit", "", ""}};
    for (const auto& row : rows) {
        const NodePtr node = leaf(std::string("Content-Type: text/plain; charset=windows-1252\r\n"
                                              "Content-Transfer-Encoding: ") +
                                      row.coding,
                                  row.body);
        StringBuffer out = sb("<");
        node->getMimeBodyEncoded2aUtf8(out, noLog);
        EXPECT_EQ(str(out), "<" + std::string(row.out)) << row.coding;
    }
}

// Whatever the node's own charset, type and coding are.
TEST(BodyGet, AsTheCallerWants) {
    struct {
        int codePage;
        const char *qp, *base64, *raw;
    } const rows[] = {{1252, "<caf=E9", "<Y2Fm6Q==", "<caf\xE9"},
                      {65001, "<caf=C3=A9", "<Y2Fmw6k=", "<caf\xC3\xA9"},
                      {0, "<caf=C3=A9", "<Y2Fmw6k=", "<caf\xC3\xA9"},
                      {20127, "<caf?", "<Y2FmPw==", "<caf?"},
                      {1200, "<c=00a=00f=00=E9=00", "<YwBhAGYA6QA=", nullptr}};
    const NodePtr node =
        leaf("Content-Type: a/b; charset=koi8-r\r\nContent-Transfer-Encoding: 7bit", kCafe);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.codePage);
        StringBuffer qp = sb("<"), base64 = sb("<");
        DataBuffer raw = db("<");
        node->getMimeBodyQP(qp, row.codePage, noLog);
        node->getMimeBodyBase64(base64, row.codePage, noLog);
        node->getMimeBody8Bit(raw, row.codePage, noLog);
        EXPECT_EQ(str(qp), row.qp);
        EXPECT_EQ(str(base64), row.base64);
        EXPECT_EQ(str(raw), row.raw ? row.raw : "<c\0a\0f\0\xE9\0"sv);
    }
    // Into the very body that is read.
    node->getMimeBody8Bit(node->m_mimeBody, 1252, noLog);
    EXPECT_EQ(bodyOf(*node),
              "caf\xC3\xA9"
              "caf\xE9");
}

TEST(BodyGet, LogLines) {
    struct {
        const char *header, *string, *bytes;
    } const rows[] = {
        {"Content-Type: text/plain; charset=windows-1252",
         "charsetCodePage: 1252|contentType: text/plain|Converting MIME body from utf-8..|"
         "Appending from 8bit, 7bit, or binary encoding...|",
         "charsetCodePage: 1252|contentType: text/plain|Converting text from stored utf-8 to "
         "target code page.|"
         "Appending body with no encoding..|"},
        {"Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64",
         "charsetCodePage: 65001|contentType: text/plain|",
         "charsetCodePage: 65001|contentType: text/plain|Appending base64 encoded body..|"},
        {"Content-Transfer-Encoding: quoted-printable", "charsetCodePage: 0|contentType: |",
         "charsetCodePage: 0|contentType: |Appending quoted-printable encoded body..|"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.header);
        const NodePtr node = leaf(row.header, kCafe);
        LogText log, quiet;
        log.m_verbose = true;
        StringBuffer string;
        DataBuffer bytes;
        node->getMimeBodyEncoded2(string, log);
        EXPECT_EQ(linesOf(log), row.string);
        log.clear();
        node->getMimeBodyEncodedDb(bytes, log);
        EXPECT_EQ(linesOf(log), row.bytes);
        node->getMimeBodyEncoded2(string, quiet);
        node->getMimeBodyEncodedDb(bytes, quiet);
        EXPECT_EQ(linesOf(quiet), "");
    }
    LogText log;
    log.m_verbose = true;
    DataBuffer bytes;
    leaf("A: 1")->getMimeBody8Bit(bytes, 7, log);
    EXPECT_EQ(str(log.text()), "getMimeBody8Bit:\n  codePage: 7\n");
}

}  // namespace
