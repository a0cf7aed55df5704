// SPDX-License-Identifier: Apache-2.0

// Setting a body: which setter decodes and converts what, when a label is believed, and what
// else of the node changes.

#include "tests/node_support.h"

namespace {

constexpr char kCafe[] = "caf\xC3\xA9", kLatin[] = "caf\xE9";
constexpr char kUu[] = "begin 644 a\n$8V%FZ0``\n`\nend\n";  // kLatin

_zqCharset charsetOf(int codePage) {
    _zqCharset charset;
    charset.setByCodePage(codePage);
    return charset;
}

// `how` is a setter ("Base64", "QP", "Raw", "Text") or "by CODING", "utf8 CODING" or
// "careful CODING"; the coding "-" is null.
void set(MimeMessage2& n, const std::string& how, std::string_view data, int codePage,
         bool isText) {
    const Exact in(data);
    const _zqCharset cs = charsetOf(codePage);
    const std::string name = how.substr(how.find(' ') + 1);
    const char* coding = name == "-" ? nullptr : name.c_str();
    if (how == "Base64") n.setMimeBodyBase64(in.data(), in.size(), cs, isText, noLog);
    else if (how == "QP") n.setMimeBodyQP(in.data(), in.size(), cs, isText, noLog);
    else if (how == "Raw") n.setMimeBody8Bit_2(in.data(), in.size(), cs, isText, noLog);
    else if (how == "Text") n.setMimeBodyString_Unencoded(sb(data), cs, isText, noLog);
    else if (how[0] == 'c') n.setMimeBodyByEncoding_Careful(coding, sb(data), cs, isText, noLog);
    else n.setMimeBodyByEncoding(coding, in.data(), in.size(), cs, isText, how[0] == 'u', noLog);
}

struct Row {
    const char *what, *how;
    std::string_view data;
    int codePage;
    std::string_view out;
    bool isText = true;
    const char* charset = "";
};

// The last byte that is looked at, and the one behind.
const std::string kInTime = "utf-8" + std::string(7999, 'a') + "\xC3\xA9";
const std::string kLate = std::string(7996, 'a') + "utf-8\xC3\xA9";
const std::string kLateOut = std::string(7996, 'a') + "utf-8\xC3\x83\xC2\xA9";
const std::string kLateCafe = std::string(8192, 'a') + kCafe;
const std::string kLateTwice = std::string(8192, 'a') + "caf\xC3\x83\xC2\xA9";

const Row kRows[] = {
    {"null", "by -", kLatin, 1252, kCafe},
    {"7bit, UTF-8", "utf8 7bit", kCafe, 1252, kCafe},
    {"base64, UTF-8 is not looked at", "utf8 BASE64", "Y2Fm6Q==", 1252, kCafe},
    {"QP, UTF-8 is not looked at", "utf8 Quoted-Printable", "caf=E9", 1252, kCafe},
    {"uuencode, UTF-8 is not looked at", "utf8 UUencode", kUu, 1252, kCafe},
    {"binary data", "by binary", "caf\xE9\0"sv, 1252, "caf\xE9\0"sv, false},
    {"careful base64", "careful Base64", "Y2Fm6Q==", 1252, kCafe},
    {"text", "Text", kLatin, 28591, kCafe},
    {"no text", "Base64", "6Q==", 1252, "\xE9", false},
    {"not really UTF-16", "Base64", "YWI=", 1200, "ab"},
    {"UTF-16 without ASCII", "Base64", "rCA=", 1200, "\xE2\x82\xAC"},
    {"no text", "QP", "=E9", 28591, "\xE9", false},
    {"UTF-16BE mark", "QP", "=FE=FF=E9", 1252, "\xFE\xFF\xE9"},
    {"UTF-8 mark, double-byte page", "QP", "=EF=BB=BF=82=A0", 932, "\xEF\xBB\xBF\x82\xA0"},
    {"UTF-16 is not converted", "QP", "a=00", 1200, "a\0"sv},
    {"valid UTF-8 that says so", "QP", "utf-8 caf=C3=A9", 1252, "utf-8 caf\xC3\xA9"},
    {"invalid UTF-8 that says so", "QP", "utf-8 caf=E9", 1252, "utf-8 caf\xC3\xA9"},
    {"says so just in time", "QP", kInTime, 1252, kInTime},
    {"says so too late", "QP", kLate, 1252, kLateOut},
    {"one byte", "QP", "=E9", 1252, "\xC3\xA9"},
    {"0x80 and 0x81", "QP", "=80=81Z", 28591, "\xC2\x80\xC2\x81Z"},
    {"no text", "Raw", kCafe, 0, kCafe, false},
    {"UTF-8", "Raw", kLatin, 65001, kLatin},
    {"UTF-8 without charset", "Raw", kCafe, 0, kCafe, true, "utf-8"},
    {"8-bit without charset is Latin-1", "Raw", "\x93", 0, "\xC2\x93"},
    {"8-bit too late without charset", "Raw", kLateCafe, 0, kLateCafe},
    {"8-bit too late with one", "Raw", kLateCafe, 1252, kLateTwice},
    {"Latin-1 that is UTF-8", "Raw", kCafe, 28591, kCafe, true, "utf-8"},
    {"UTF-16", "Raw", "a\0"sv, 1200, "a"},
};

TEST(BodySet, Conversions) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.how + (": " + std::string(row.what)));
        const NodePtr node = leaf("A: 1", "old");
        set(*node, row.how, row.data, row.codePage, row.isText);
        EXPECT_EQ(bodyOf(*node), row.out);
        EXPECT_STREQ(node->getCharset(), row.charset);
        EXPECT_TRUE(node->m_modified);
    }
}

// Text that says it is UTF-8 and is: believed against some labels, not against others.
TEST(BodySet, LabelsThatAreAlwaysBelieved) {
    for (int codePage : {932, 936, 949, 950, 28595, 28597, 51932, 51949, 52936, 0, 1200, 1201,
                         12000, 12001, 65001, 1252, 20866}) {
        const NodePtr node = leaf("A: 1");
        set(*node, "QP", "utf-8 =C3=A9=C3=A9", codePage, true);
        const bool isBelieved = codePage / 100 == 9 || codePage / 10 == 2859 ||
                                codePage / 1000 == 51 || codePage == 52936;
        EXPECT_EQ(bodyOf(*node) != "utf-8 \xC3\xA9\xC3\xA9", isBelieved) << codePage;
    }
}

TEST(BodySet, TheFlagIsSetAndNeverReset) {
    b_WasReally1252 = false;
    set(*leaf("A: 1"), "QP", "AB=93", 28591, true);
    EXPECT_FALSE(b_WasReally1252);
    for (const char* data : {"=93B", "B"}) {
        set(*leaf("A: 1"), "QP", data, 28591, true);
        EXPECT_TRUE(b_WasReally1252);
    }
}

// A body is set in a coding; where `how` is null, the coding alone is set.
TEST(BodySet, Codings) {
    struct {
        const char *header, *how, *data, *coding, *out;
    } const rows[] = {
        {"Content-Transfer-Encoding: 8bit", "by base64", "YWI=", "8bit",
         "Content-Transfer-Encoding: 8bit"},
        {"content-transfer-encoding: uuencode|B: 2", "by uuencode", kUu, "base64",
         "Content-Transfer-Encoding: base64|B: 2"},
        {"Content-Type: Message/RFC822", "by BINARY", "a", "8bit",
         "Content-Type: Message/RFC822|Content-Transfer-Encoding: 8bit"},
        {"Content-Type: message/x", "by binary", "a", "", "Content-Type: message/x"},
        {"Content-Type: message/rfc822", "by 7bit", "a", "", "Content-Type: message/rfc822"},
        {"A: 1", nullptr, "Base64;x", "Base64", "A: 1|Content-Transfer-Encoding: Base64;x"},
        {"Content-Transfer-Encoding: 8bit|B: 2", nullptr, nullptr, "", "B: 2"},
    };
    for (const auto& row : rows) {
        const NodePtr node = leaf(crlf(row.header));
        if (row.how) set(*node, row.how, row.data, 0, false);
        else node->setContentEncoding(row.data, noLog);
        EXPECT_STREQ(node->getContentEncoding(), row.coding);
        EXPECT_EQ(barred(headerOf(*node)), row.out);
        EXPECT_TRUE(node->m_modified);
    }
}

TEST(BodySet, PlainText) {
    struct {
        const char *header, *text, *out;
    } const rows[] = {
        {"A: 1", "ab", "A: 1|Content-Type: text/plain|Content-Transfer-Encoding: 7bit"},
        {"A: 1", kCafe,
         "A: 1|Content-Type: text/plain; charset=utf-8|Content-Transfer-Encoding: 8bit"},
        {"Content-Type: text/html; charset=koi8-r|Content-Transfer-Encoding: base64", kCafe,
         "Content-Type: text/plain; charset=koi8-r|Content-Transfer-Encoding: base64"},
        {"content-type: TEXT/plain", "ab",
         "content-type: TEXT/plain|Content-Transfer-Encoding: 7bit"},
    };
    XString text;
    for (const auto& row : rows) {
        const NodePtr node = leaf(crlf(row.header), "old");
        text.setFromUtf8(row.text);
        EXPECT_TRUE(node->setBodyFromPlainText(text, noLog));
        EXPECT_EQ(barred(headerOf(*node)) + "||" + bodyOf(*node),
                  row.out + ("||" + str(text.getUtf8Sb())));
        EXPECT_TRUE(node->m_modified);
    }
    MimeMessage2 node;
    node.setCharset("koi8-r", noLog);
    node.setBodyFromPlainText(text, noLog);
    node.m_modified = false;
    node.clearMimeBody();
    EXPECT_EQ(bodyOf(node), "");
    EXPECT_FALSE(node.m_modified);
    node.setMimeBodyString_UnencodedX(text, noLog);
    EXPECT_EQ(bodyOf(node), "ab");
    node.setMimeBodyBinary2(nullptr, 7, noLog);
    EXPECT_EQ(bodyOf(node), "");
    EXPECT_TRUE(node.m_modified);
}

// Bytes of the body that is replaced, and the charset and coding that change meanwhile.
TEST(BodySet, FromItsOwn) {
    struct {
        const char *own, *coding, *out;
    } const rows[] = {{"xxY2Fm6Q==", "base64", kCafe},
                      {"xxcaf=E9", "quoted-printable", kCafe},
                      {"xxcaf\xE9", "8bit", kCafe},
                      {"xxcaf\xE9", nullptr, kLatin}};
    for (const auto& row : rows) {
        const NodePtr node = leaf("A: 1", row.own);
        const auto* data = node->m_mimeBody.getData2() + 2;
        const unsigned size = node->m_mimeBody.getSize() - 2;
        if (!row.coding) node->setMimeBodyBinary2(data, size, noLog);
        else
            node->setMimeBodyByEncoding(row.coding, data, size, charsetOf(1252), true, false,
                                        noLog);
        EXPECT_EQ(bodyOf(*node), row.out);
    }
    const NodePtr node = leaf("Content-Transfer-Encoding: base64");
    node->setContentEncoding(node->getContentEncoding() + 4, noLog);
    EXPECT_STREQ(node->getContentEncoding(), "64");
}

}  // namespace
