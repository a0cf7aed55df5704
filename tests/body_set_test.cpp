// SPDX-License-Identifier: Apache-2.0

// Setting a body: which setter decodes and converts what, when a label is believed, and what
// else of the node changes.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

constexpr char kCafe[] = "caf\xC3\xA9";

_zqCharset charsetOf(int codePage) {
    _zqCharset charset;
    charset.setByCodePage(codePage);
    return charset;
}

enum class By { Encoding, Utf8Encoding, Careful, Base64, QP, Raw, Unencoded };

void set(MimeMessage2& n, By by, const char* encoding, std::string_view data, int codePage,
         bool isText, LogBase& log) {
    const Exact exact(data);
    const _zqCharset cs = charsetOf(codePage);
    switch (by) {
        case By::Encoding:
            return n.setMimeBodyByEncoding(encoding, exact.data(), exact.size(), cs, isText, false,
                                           log);
        case By::Utf8Encoding:
            return n.setMimeBodyByEncoding(encoding, exact.data(), exact.size(), cs, isText, true,
                                           log);
        case By::Careful:
            return n.setMimeBodyByEncoding_Careful(encoding, sb(data), cs, isText, log);
        case By::Base64: return n.setMimeBodyBase64(exact.data(), exact.size(), cs, isText, log);
        case By::QP: return n.setMimeBodyQP(exact.data(), exact.size(), cs, isText, log);
        case By::Raw: return n.setMimeBody8Bit_2(exact.data(), exact.size(), cs, isText, log);
        case By::Unencoded: return n.setMimeBodyString_Unencoded(sb(data), cs, isText, log);
    }
}

struct Row {
    const char* what;
    By by;
    const char* encoding;
    std::string_view data;
    int codePage;
    bool isText;
    std::string_view out;
    const char* charset = "";
};

const std::string kLate = "utf-8" + std::string(7999, 'a') + "\xC3\xA9";  // the byte beyond 8000
const std::string kLateName = std::string(7996, 'a') + "utf-8\xC3\xA9";
const std::string kLateCafe = std::string(8192, 'a') + kCafe;

const Row kRows[] = {
    // By the name of the coding.
    {"null", By::Encoding, nullptr, "caf\xE9", 1252, true, kCafe},
    {"null, UTF-8", By::Utf8Encoding, nullptr, kCafe, 1252, true, kCafe},
    {"BASE64", By::Encoding, "BASE64", "Y2Fm6Q==", 1252, true, kCafe},
    {"base64, UTF-8 not looked at", By::Utf8Encoding, "base64", "Y2Fm6Q==", 1252, true, kCafe},
    {"Quoted-Printable", By::Encoding, "Quoted-Printable", "caf=E9", 1252, true, kCafe},
    {"QP, UTF-8 not looked at", By::Utf8Encoding, "quoted-printable", "caf=E9", 1252, true, kCafe},
    {"base64 and more is another name", By::Encoding, "base64x", "Y2E=", 0, true, "Y2E="},
    {"8bit", By::Encoding, "8bit", "caf\xE9", 1252, true, kCafe},
    {"7bit, UTF-8", By::Utf8Encoding, "7bit", kCafe, 1252, true, kCafe},
    {"binary data stays", By::Encoding, "binary", "caf\xE9\0"sv, 1252, false, "caf\xE9\0"sv},
    {"uuencode", By::Encoding, "UUencode", "begin 644 a\n$8V%FZ0``\n`\nend\n", 1252, true, kCafe},
    {"uuencode, UTF-8 not looked at", By::Utf8Encoding, "uuencode",
     "begin 644 a\n$8V%FZ0``\n`\nend\n", 1252, true, kCafe},
    {"nothing", By::Encoding, "base64", "", 1252, true, ""},
    {"careful base64", By::Careful, "Base64", "Y2Fm6Q==", 1252, true, kCafe},
    {"careful QP, no text", By::Careful, "quoted-PRINTABLE", "caf=E9", 1252, false, "caf\xE9"},
    {"careful converts what is no text", By::Careful, "8bit", "caf\xE9", 1252, false, kCafe},
    {"careful, null", By::Careful, nullptr, "caf\xE9", 1252, true, kCafe},
    {"careful knows no uuencode", By::Careful, "uuencode", "begin", 1252, true, "begin"},
    {"careful, first letter alone", By::Careful, "b", "Y2E=", 1252, true, "Y2E="},
    {"careful, no charset", By::Careful, "", kCafe, 0, true, kCafe},
    {"unencoded", By::Unencoded, nullptr, "caf\xE9", 28591, true, kCafe},
    {"unencoded UTF-8", By::Unencoded, nullptr, "\xE9", 65001, true, "\xE9"},
    // base64
    {"base64, no text", By::Base64, nullptr, "6Q==", 1252, false, "\xE9"},
    {"base64, no charset", By::Base64, nullptr, "6Q==", 0, true, "\xE9"},
    {"base64, UTF-8", By::Base64, nullptr, "6Q==", 65001, true, "\xE9"},
    {"base64, not really UTF-16", By::Base64, nullptr, "YWI=", 1200, true, "ab"},
    {"base64, UTF-16", By::Base64, nullptr, "YQBiAA==", 1200, true, "ab"},
    {"base64, UTF-16 without ASCII", By::Base64, nullptr, "rCA=", 1200, true, "\xE2\x82\xAC"},
    {"base64, UTF-16BE always", By::Base64, nullptr, "YWI=", 1201, true, "\xE6\x85\xA2"},
    // quoted-printable
    {"QP, no text", By::QP, nullptr, "=E9", 28591, false, "\xE9"},
    {"QP, UTF-16LE mark", By::QP, nullptr, "=FF=FE=E9", 1252, true, "\xFF\xFE\xE9"},
    {"QP, UTF-16BE mark", By::QP, nullptr, "=FE=FF=E9", 1252, true, "\xFE\xFF\xE9"},
    {"QP, mark of two bytes is none", By::QP, nullptr, "=FF=FE", 1252, true, "\xC3\xBF\xC3\xBE"},
    {"QP, UTF-8 mark", By::QP, nullptr, "=EF=BB=BF=E9", 1252, true, "\xEF\xBB\xBF\xE9"},
    {"QP, UTF-32LE mark", By::QP, nullptr, "=FF=FE=00=00", 1252, true, "\xFF\xFE\0\0"sv},
    {"QP, UTF-32BE mark", By::QP, nullptr, "=00=00=FE=FF", 1252, true, "\0\0\xFE\xFF"sv},
    {"QP, mark before a double-byte page", By::QP, nullptr, "=EF=BB=BF=82=A0", 932, true,
     "\xEF\xBB\xBF\x82\xA0"},
    {"QP, UTF-16 is not converted", By::QP, nullptr, "a=00", 1200, true, "a\0"sv},
    {"QP, nor UTF-32", By::QP, nullptr, "a=00=00=00", 12000, true, "a\0\0\0"sv},
    {"QP, nor without charset", By::QP, nullptr, "=E9", 0, true, "\xE9"},
    {"QP, valid UTF-8 that says so", By::QP, nullptr, "utf-8 caf=C3=A9", 1252, true,
     "utf-8 caf\xC3\xA9"},
    {"QP, the word in capitals is not it", By::QP, nullptr, "UTF-8 =C3=A9", 1252, true,
     "UTF-8 \xC3\x83\xC2\xA9"},
    {"QP, invalid UTF-8 that says so", By::QP, nullptr, "utf-8 caf=E9", 1252, true,
     "utf-8 caf\xC3\xA9"},
    {"QP, says so too late", By::QP, nullptr, kLateName, 1252, true, {}},
    {"QP, a double-byte page that says so", By::QP, nullptr, "utf-8 =82=A0", 932, true,
     "utf-8 \xE3\x81\x82"},
    {"QP, 936 that is valid UTF-8", By::QP, nullptr, "utf-8 =C3=A9=C3=A9", 936, true, {}},
    {"QP, 28595 that is valid UTF-8", By::QP, nullptr, "utf-8 =D0=B0", 28595, true,
     "utf-8 \xD0\xB0\xD0\x90"},
    {"QP, one byte", By::QP, nullptr, "=E9", 1252, true, "\xC3\xA9"},
    {"QP, 0x93 in the middle", By::QP, nullptr, "A=93B", 28591, true,
     "A\xE2\x80\x9C"
     "B"},
    {"QP, 0x93 at the end", By::QP, nullptr, "AB=93", 28591, true, "AB\xC2\x93"},
    {"QP, 0x80 and 0x81", By::QP, nullptr, "=80=81B", 28591, true,
     "\xC2\x80\xC2\x81"
     "B"},
    {"QP, 0x82", By::QP, nullptr, "=82B", 28591, true,
     "\xE2\x80\x9A"
     "B"},
    {"QP, 0x9F", By::QP, nullptr, "=9FB", 28591, true,
     "\xC5\xB8"
     "B"},
    {"QP, 0xA0", By::QP, nullptr, "=A0B", 28591, true,
     "\xC2\xA0"
     "B"},
    {"QP, another page", By::QP, nullptr, "=93B", 28592, true,
     "\xC2\x93"
     "B"},
    // 8bit
    {"raw, no text", By::Raw, nullptr, kCafe, 0, false, kCafe},
    {"raw UTF-8", By::Raw, nullptr, "caf\xE9", 65001, true, "caf\xE9"},
    {"raw ASCII without charset", By::Raw, nullptr, "cafe", 0, true, "cafe"},
    {"raw valid UTF-8 without charset", By::Raw, nullptr, kCafe, 0, true, kCafe, "utf-8"},
    {"raw 8-bit without charset", By::Raw, nullptr, "caf\xE9", 0, true, kCafe},
    {"without charset it is Latin-1", By::Raw, nullptr, "\x93", 0, true, "\xC2\x93"},
    {"8-bit too late without charset", By::Raw, nullptr, std::string_view(kLateCafe), 0, true,
     kLateCafe},
    {"ASCII that is UTF-8", By::Raw, nullptr, kCafe, 20127, true, kCafe, "utf-8"},
    {"Latin-1 that is UTF-8", By::Raw, nullptr, kCafe, 28591, true, kCafe, "utf-8"},
    {"8859-15 that is UTF-8", By::Raw, nullptr, kCafe, 28605, true, kCafe, "utf-8"},
    {"1258 that is UTF-8", By::Raw, nullptr, kCafe, 1258, true, kCafe, "utf-8"},
    {"KOI8 is believed", By::Raw, nullptr, "\xC1\xC1", 20866, true, "\xD0\xB0\xD0\xB0"},
    {"so is a double-byte page", By::Raw, nullptr, "\xE3\x81\x82", 949, true, {}},
    {"raw UTF-16", By::Raw, nullptr, "a\0"sv, 1200, true, "a"},
};

TEST(BodySet, Conversions) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf("A: 1", "old");
        set(*node, row.by, row.encoding, row.data, row.codePage, row.isText, noLog);
        if (row.out.data()) EXPECT_EQ(bodyOf(*node), row.out);
        else
            EXPECT_TRUE(bodyOf(*node).find(kCafe) == std::string::npos &&
                        !node->m_mimeBody.equals(db(row.data)));
        EXPECT_STREQ(node->getCharset(), row.charset);
        EXPECT_TRUE(node->m_modified);
    }
}

// Text that says it is UTF-8 and is: believed against some labels, not against others.
TEST(BodySet, LabelsThatAreAlwaysBelieved) {
    for (int codePage : {932, 936, 949, 950, 28595, 28597, 51932, 51949, 52936, 0, 1200, 1201,
                         12000, 12001, 65001, 1252, 20866}) {
        const NodePtr node = leaf("A: 1");
        set(*node, By::QP, nullptr, "utf-8 =C3=A9=C3=A9", codePage, true, noLog);
        const bool isConverted = bodyOf(*node) != "utf-8 \xC3\xA9\xC3\xA9";
        EXPECT_EQ(isConverted, codePage / 100 == 9 || codePage / 10 == 2859 ||
                                   codePage / 1000 == 51 || codePage == 52936)
            << codePage;
    }
}

TEST(BodySet, AsLateAsItMay) {
    const NodePtr node = leaf("A: 1");
    set(*node, By::QP, nullptr, kLate, 1252, true, noLog);
    EXPECT_EQ(bodyOf(*node), kLate);
    set(*node, By::Raw, nullptr, kLateCafe, 1252, true, noLog);
    EXPECT_EQ(bodyOf(*node), std::string(8192, 'a') + "caf\xC3\x83\xC2\xA9");
}

TEST(BodySet, LogLines) {
    struct {
        const char* what;
        By by;
        std::string_view data;
        int codePage;
        bool isText;
        const char* lines;
    } const rows[] = {
        {"entry", By::Utf8Encoding, "ab", 1252, true,
         "encoding: 8bit|isText: 1|bIsUtf8: 1|charset: windows-1252|dataLen: 2|"},
        {"QP", By::QP, "ab", 1252, true, "cp: 1252|"},
        {"QP, no text", By::QP, "ab", 1252, false,
         "cp: 1252|Set quoted-printable non-text MIME body.|"},
        {"UTF-16LE", By::QP, "=FF=FEa", 0, true, "cp: 0|MIME body is UTF16LE.|"},
        {"UTF-16BE", By::QP, "=FE=FFa", 0, true, "cp: 0|MIME body is UTF16BE.|"},
        {"UTF-8 mark", By::QP, "=EF=BB=BFa", 0, true, "cp: 0|"},
        {"UTF-32LE reads as UTF-16LE", By::QP, "=FF=FE=00=00", 0, true,
         "cp: 0|MIME body is UTF16LE.|"},
        {"UTF-32BE", By::QP, "=00=00=FE=FF", 0, true, "cp: 0|MIME body is UTF32BE.|"},
        {"1252", By::QP, "=93a", 28591, true, "cp: 28591|ERROR: Has invalid iso-8859-1 bytes..|"},
        {"raw", By::Raw, "\xE9", 0, true, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        LogText log, quiet;
        log.m_verbose = true;
        const NodePtr node = leaf("A: 1");
        set(*node, row.by, "8bit", row.data, row.codePage, row.isText, log);
        EXPECT_EQ(linesOf(log), row.lines);
        set(*node, row.by, "8bit", row.data, row.codePage, row.isText, quiet);
        const size_t error = std::string(row.lines).find("ERROR");
        EXPECT_EQ(linesOf(quiet), error == std::string::npos ? "" : row.lines + error);
    }
}

TEST(BodySet, TheFlagIsSetAndNeverReset) {
    const NodePtr node = leaf("A: 1");
    b_WasReally1252 = false;
    set(*node, By::QP, nullptr, "AB=93", 28591, true, noLog);
    EXPECT_FALSE(b_WasReally1252);
    set(*node, By::QP, nullptr, "=93B", 28591, true, noLog);
    EXPECT_TRUE(b_WasReally1252);
    set(*node, By::QP, nullptr, "B", 28591, true, noLog);
    set(*node, By::Raw, nullptr, "B", 28591, true, noLog);
    EXPECT_TRUE(b_WasReally1252);
}

// "coding in the cache;the header" after the call.
struct CodingRow {
    const char *what, *header;
    void (*change)(MimeMessage2&);
    const char *coding, *out;
};

void put(MimeMessage2& n, const char* encoding, const char* data = "YWI=") {
    set(n, By::Encoding, encoding, data, 0, false, noLog);
}

constexpr CodingRow kCodingRows[] = {
    {"base64 leaves it", "Content-Transfer-Encoding: 8bit",
     [](MimeMessage2& n) { put(n, "base64"); }, "8bit", "Content-Transfer-Encoding: 8bit"},
    {"uuencode becomes base64", "content-transfer-encoding: uuencode\r\nB: 2",
     [](MimeMessage2& n) { put(n, "uuencode", "begin 644 a\n`\nend\n"); }, "base64",
     "Content-Transfer-Encoding: base64\r\nB: 2"},
    {"binary message", "Content-Type: Message/RFC822", [](MimeMessage2& n) { put(n, "BINARY"); },
     "8bit", "Content-Type: Message/RFC822\r\nContent-Transfer-Encoding: 8bit"},
    {"binary, other type", "Content-Type: message/x\r\nContent-Transfer-Encoding: binary",
     [](MimeMessage2& n) { put(n, "binary"); }, "binary",
     "Content-Type: message/x\r\nContent-Transfer-Encoding: binary"},
    {"7bit message", "Content-Type: message/rfc822", [](MimeMessage2& n) { put(n, "7bit"); }, "",
     "Content-Type: message/rfc822"},
    {"set", "A: 1", [](MimeMessage2& n) { n.setContentEncoding("Base64;x", noLog); }, "Base64",
     "A: 1\r\nContent-Transfer-Encoding: Base64;x"},
    {"set from itself", "Content-Transfer-Encoding: xxxxxxxxxxxxxxxxxxxxxx-base64",
     [](MimeMessage2& n) { n.setContentEncoding(n.getContentEncoding() + 23, noLog); }, "base64",
     "Content-Transfer-Encoding: base64"},
};

TEST(BodySet, Codings) {
    for (const CodingRow& row : kCodingRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf(row.header);
        row.change(*node);
        EXPECT_STREQ(node->getContentEncoding(), row.coding);
        EXPECT_EQ(headerOf(*node), row.out);
        EXPECT_TRUE(node->m_modified);
    }
}

TEST(BodySet, PlainText) {
    struct {
        const char *what, *header, *text, *out;
    } const rows[] = {
        {"ASCII", "A: 1", "ab",
         "A: 1\r\nContent-Type: text/plain\r\nContent-Transfer-Encoding: 7bit"},
        {"8-bit", "A: 1", kCafe,
         "A: 1\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit"},
        {"8-bit with a charset",
         "Content-Type: text/html; charset=koi8-r\r\nContent-Transfer-Encoding: quoted-printable",
         kCafe,
         "Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: quoted-printable"},
        {"already plain", "content-type: TEXT/plain", "ab",
         "content-type: TEXT/plain\r\nContent-Transfer-Encoding: 7bit"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf(row.header, "old");
        XString text;
        text.setFromUtf8(row.text);
        EXPECT_TRUE(node->setBodyFromPlainText(text, noLog));
        EXPECT_EQ(bodyOf(*node), row.text);
        EXPECT_EQ(headerOf(*node), row.out);
        EXPECT_TRUE(node->m_modified);
    }
    MimeMessage2 node;
    XString text;
    LogText log;
    node.setCharset("koi8-r", log);
    node.setBodyFromPlainText(text, log);
    EXPECT_EQ(linesOf(log), "existingCharset: koi8-r|");
    text.setFromUtf8(kCafe);
    node.setMimeBodyString(text, log);
    EXPECT_EQ(bodyOf(node), kCafe);
    node.m_modified = false;
    node.clearMimeBody();
    EXPECT_EQ(bodyOf(node), "");
    EXPECT_FALSE(node.m_modified);
    node.setMimeBodyString_UnencodedX(text, log);
    EXPECT_EQ(bodyOf(node), kCafe);
    node.setMimeBodyBinary2(nullptr, 7, log);
    EXPECT_EQ(bodyOf(node), "");
    EXPECT_TRUE(node.m_modified);
}

// Each setter with bytes of the body that it replaces.
TEST(BodySet, FromItsOwnBody) {
    const std::string b64 = "xxY2Fm6WNhZulj", qp = "xxcaf=E9caf=E9c",
                      raw =
                          "xxcaf\xE9"
                          "caf\xE9"
                          "c";
    const _zqCharset cs = charsetOf(1252);
    const auto check = [&](const std::string& own, const char* out, auto apply) {
        const NodePtr node = leaf("A: 1", own);
        const auto* data = node->m_mimeBody.getData2() + 2;
        apply(*node, data, static_cast<unsigned>(own.size() - 2));
        EXPECT_EQ(bodyOf(*node), out);
    };
    constexpr char kThree[] =
        "caf\xC3\xA9"
        "caf\xC3\xA9"
        "c";
    check(b64,
          "caf\xC3\xA9"
          "caf\xC3\xA9",
          [&](auto& n, auto* p, unsigned s) { n.setMimeBodyBase64(p, s - 1, cs, true, noLog); });
    check(qp, kThree,
          [&](auto& n, auto* p, unsigned s) { n.setMimeBodyQP(p, s, cs, true, noLog); });
    check(raw, kThree,
          [&](auto& n, auto* p, unsigned s) { n.setMimeBody8Bit_2(p, s, cs, true, noLog); });
    check(raw, raw.c_str() + 2,
          [&](auto& n, auto* p, unsigned s) { n.setMimeBodyBinary2(p, s, noLog); });
    for (const char* encoding : {static_cast<const char*>(nullptr), "8bit", "binary"})
        check(raw, kThree, [&](auto& n, auto* p, unsigned s) {
            n.setMimeBodyByEncoding(encoding, p, s, cs, true, false, noLog);
        });
    check("xxbegin 644 a\n$8V%FZ0``\n`\nend\n", kCafe, [&](auto& n, auto* p, unsigned s) {
        n.setMimeBodyByEncoding("uuencode", p, s, cs, true, false, noLog);
    });
    // The charset, too, may be the node's own: here it changes while it is used.
    NodePtr node = leaf("Content-Type: text/plain; charset=iso-8859-1");
    node->setMimeBody8Bit_2(kCafe, 5, node->m_charset, true, noLog);
    EXPECT_EQ(bodyOf(*node), kCafe);
    EXPECT_STREQ(node->getCharset(), "utf-8");
    node = leaf("Content-Transfer-Encoding: uuencode");
    node->setMimeBodyByEncoding(node->getContentEncoding(), "begin 644 a\n$8V%FZ0``\n`\nend\n", 29,
                                cs, true, false, noLog);
    EXPECT_EQ(bodyOf(*node), kCafe);
    EXPECT_STREQ(node->getContentEncoding(), "base64");
}

}  // namespace
