// SPDX-License-Identifier: Apache-2.0

// What a node is told to be by its type, its parameters and its first bytes.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

// m multipart, x mixed, r related, a alternative, v voice message, s signed multipart,
// A attachment, S signature part, e encrypted, E enveloped data, d signed data.
std::string traitsOf(const MimeMessage2& n) {
    const bool answers[] = {n.isMultipart(),
                            n.isMultipartMixed(),
                            n.isMultipartRelated(),
                            n.isMultipartAlternative(),
                            n.isMultipartVoiceMessage(),
                            n.isMultipartSigned(noLog),
                            n.isAttachment(noLog),
                            n.isSignaturePart(noLog),
                            n.isSmimeEncrypted(noLog),
                            n.isEnvelopedData(noLog),
                            n.isSignedData(noLog)};
    std::string traits;
    for (size_t i = 0; i < sizeof answers; ++i)
        if (answers[i]) traits += "mxravsASeEd"[i];
    return traits;
}

struct Row {
    const char *type, *traits;
    const char* more = "";
    std::string_view body = "";
};

constexpr char kGroupWise[] = "\r\nX-Mailer: Novell groupwise 7";

constexpr Row kRows[] = {
    {"", ""},
    {"text/plain", ""},
    {"MultiPart/Mixed", "mx"},
    {"multipart/mixedx", "m"},
    {"multiparts", "m"},
    {"multipar/mixed", ""},
    {"x-multipart/mixed", ""},
    {"multipart/RELATED", "mr"},
    {"multipart/alternative", "ma"},
    {"multipart/voice-message", "mv"},
    {"Multipart/Signed", "ms"},
    {"multipart/signed; protocol=\"application/pkcs7-signature\"", "ms"},
    {"multipart/signed; protocol=application/PGP-Signature", "m"},
    {"multipart/signed; protocol=\"application/pgp-signature2\"", "ms"},
    {"text/plain", "A", "\r\nContent-Disposition: ATTACHMENT; filename=x"},
    {"text/plain", "", "\r\nContent-Disposition: attachments"},
    {"application/PKCS7-signature", "S"},
    {"application/x-pkcs7-signature", "S"},
    {"application/pkcs7-mime", "eE"},
    {"application/X-PKCS7-mime", "eE"},
    {"application/pkcs7-mimes", ""},
    {"application/pkcs7-mime; smime-type=enveloped-data", "eE"},
    {"application/pkcs7-mime; smime-type=Signed-Data", "d"},
    {"application/pkcs7-mime; protocol=\"application/pkcs7-signature\"", "Ed"},
    {"application/pkcs7-mime; protocol=\"application/pkcs7-SIGNATURE\"", "eE"},
    {"application/pkcs7-mime; smime-type=signed-data; protocol=\"application/pkcs7-signature\"",
     "d"},
    {"application/pkcs7-mime; smime-type=enveloped-data", "d", kGroupWise, "ab2d"},
    {"application/pkcs7-mime", "d", kGroupWise, "ab2d"},
    {"application/pkcs7-mime", "eE", kGroupWise, "ab2"},
    {"application/pkcs7-mime", "eE", kGroupWise, "abc2"},
    {"application/pkcs7-mime", "eE", "\r\nX-Mailer: Group Wise", "ab2d"},
    {"application/pkcs7-mime", "eE", "\r\nX-Mailer: =?utf-8?Q?GroupW=69se?=", "ab2d"},
    {"application/pkcs7-mime", "eE", "", "ab2d"},
    {"application/pkcs7-mime; protocol=\"x-signature\"", "Ed", "", "ab2d"},
    {"application/pkcs7-mime; smime-type=signed-data", "d", kGroupWise, "abcd"},
    {"text/plain; smime-type=signed-data; protocol=\"x-signature\"", "", kGroupWise, "ab2d"},
};

TEST(Classify, Nodes) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(std::string(row.type) + row.more);
        const NodePtr node = leaf(std::string("Content-Type: ") + row.type + row.more, row.body);
        node->m_contentType.m_type.setString(
            std::string(row.type).substr(0, std::string(row.type).find(';')).c_str());
        EXPECT_EQ(traitsOf(*node), row.traits);
        node->m_magic = 0;
        EXPECT_EQ(traitsOf(*node), "");
        node->m_magic = 0xa4ee21fb;
    }
}

// The header decides about the protocol of a multipart/signed, the record about the others.
TEST(Classify, WhereTheProtocolIsRead) {
    NodePtr node = leaf("Content-Type: multipart/signed; protocol=\"application/pgp-signature\"");
    node->m_contentType.m_protocol.setString("x");
    EXPECT_EQ(traitsOf(*node), "m");
    node = leaf("Content-Type: application/pkcs7-mime; protocol=x");
    node->m_contentType.m_protocol.setString("x-signature");
    EXPECT_EQ(traitsOf(*node), "Ed");
}

TEST(Classify, Trees) {
    struct {
        const char* types[4];
        bool isSigned, isEncrypted;
    } const rows[] = {
        {{"multipart/mixed", "text/plain", "multipart/signed", "text/html"}, true, false},
        {{"multipart/mixed", "text/plain", "application/pkcs7-mime; smime-type=signed-data", "a/b"},
         true,
         false},
        {{"multipart/mixed", "text/plain", "a/b", "application/pkcs7-mime"}, false, true},
        {{"multipart/mixed", "text/plain",
          "multipart/signed; protocol=\"application/pgp-signature\"", "a/b"},
         false,
         false},
        {{"multipart/signed", "text/plain", "a/b", "a/b"}, true, false},
        {{"application/pkcs7-mime", "text/plain", "a/b", "a/b"}, false, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.types[2]);
        // root(null, first, second(third)): any type may have children.
        const auto typed = [](const char* type) {
            return leaf(std::string("Content-Type: ") + type);
        };
        const NodePtr root = typed(row.types[0]);
        root->addPart(nullptr);
        root->addPart(typed(row.types[1]).release());
        root->addPart(typed(row.types[2]).release());
        root->getPart(2)->addPart(typed(row.types[3]).release());
        EXPECT_EQ(root->containsSignedParts(noLog), row.isSigned);
        EXPECT_EQ(root->containsEncryptedParts(noLog), row.isEncrypted);
    }
}

TEST(Classify, EightBitCharset) {
    const std::string late = std::string(5000, 'a') + "\xC3\xA9", inTime = late.substr(1);
    struct {
        const char *what, *header;
        std::string_view body;
        const char* charset;
    } const rows[] = {
        {"8bit", "Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: 8BIT",
         "\xC3\xA9", "koi8-r"},
        {"binary", "Content-Type: text/x; charset=koi8-r\r\nContent-Transfer-Encoding: Binary",
         "\xC3\xA9", "koi8-r"},
        {"XML", "Content-Type: application/xml; charset=koi8-r\r\nContent-Transfer-Encoding: 8bit",
         "\xC3\xA9", "koi8-r"},
        {"JSON",
         "Content-Type: application/json; charset=koi8-r\r\nContent-Transfer-Encoding: 8bit",
         "\xC3\xA9", "koi8-r"},
        {"SOAP",
         "Content-Type: application/soap+xml; charset=koi8-r\r\nContent-Transfer-Encoding: 8bit",
         "\xC3\xA9", nullptr},
        {"7bit", "Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: 8bit", "e",
         nullptr},
        {"no charset", "Content-Type: text/plain\r\nContent-Transfer-Encoding: 8bit", "\xC3\xA9",
         nullptr},
        {"QP",
         "Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: quoted-printable",
         "\xC3\xA9", nullptr},
        {"no coding", "Content-Type: text/plain; charset=koi8-r", "\xC3\xA9", nullptr},
        {"late", "Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: 8bit",
         late, nullptr},
        {"in time", "Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: 8bit",
         inTime, "koi8-r"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const NodePtr root = leaf("Content-Type: multipart/mixed"),
                      top = leaf(row.header, row.body);
        root->addPart(nullptr);
        root->addPart(leaf("A: 1").release());
        root->getPart(1)->addPart(leaf(row.header, row.body).release());
        root->addPart(
            leaf("Content-Type: text/plain; charset=iso-8859-2\r\nContent-Transfer-Encoding: 8bit",
                 "\xC3\xA9")
                .release());
        StringBuffer charset = sb("before");
        EXPECT_TRUE(root->find8bitInfo(charset));
        EXPECT_EQ(str(charset), row.charset ? row.charset : "iso-8859-2");
        charset.setString("before");
        EXPECT_EQ(top->find8bitInfo(charset), row.charset != nullptr);
        EXPECT_EQ(str(charset), row.charset ? row.charset : "before");
    }
}

}  // namespace
