// SPDX-License-Identifier: Apache-2.0

// What a node is told to be by its type, its parameters and its first bytes.

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
constexpr char kAttached[] = "\r\nContent-Disposition: ATTACHMENT; filename=x";

constexpr Row kRows[] = {
    {"", ""},
    {"MultiPart/Mixed", "mx"},
    {"multipart/RELATED", "mr"},
    {"multipart/alternative", "ma"},
    {"multipart/voice-message", "mv"},
    {"Multipart/Signed", "ms"},
    {"multipart/signed; protocol=application/PGP-Signature", "m"},
    {"multipart/signed; protocol=\"application/pgp-signature2\"", "ms"},
    {"text/plain", "A", kAttached},
    {"application/x-pkcs7-signature", "S"},
    {"application/X-PKCS7-mime", "eE"},
    {"application/pkcs7-mime; smime-type=Signed-Data", "d"},
    {"application/pkcs7-mime; protocol=\"application/pkcs7-signature\"", "Ed"},
    {"application/pkcs7-mime; protocol=\"application/pkcs7-SIGNATURE\"", "eE"},
    {"application/pkcs7-mime; smime-type=signed-data; protocol=\"x-signature\"", "d"},
    {"application/pkcs7-mime; smime-type=enveloped-data", "d", kGroupWise, "ab2d"},
    {"application/pkcs7-mime", "d", kGroupWise, "ab2d"},
    {"application/pkcs7-mime", "eE", kGroupWise, "ab2"},
    {"application/pkcs7-mime", "eE", "\r\nX-Mailer: Group Wise", "ab2d"},
    {"application/pkcs7-mime", "eE", "", "ab2d"},
    {"application/pkcs7-mime; protocol=\"x-signature\"", "Ed", "", "ab2d"},
    {"text/plain; smime-type=signed-data; protocol=\"x-signature\"", "", kGroupWise, "ab2d"},
};

// A node without its marker is nothing.
TEST(Classify, Nodes) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(std::string(row.type) + row.more);
        const std::string type = row.type;
        const NodePtr node = leaf("Content-Type: " + type + row.more, row.body);
        node->m_contentType.m_type.setString(type.substr(0, type.find(';')).c_str());
        EXPECT_EQ(traitsOf(*node), row.traits);
        node->m_magic = 0;
        EXPECT_EQ(traitsOf(*node), "");
        node->m_magic = 0xa4ee21fb;
    }
}

TEST(Classify, WhereTheProtocolIsRead) {
    NodePtr node = leaf("Content-Type: multipart/signed; protocol=\"application/pgp-signature\"");
    node->m_contentType.m_protocol.setString("x");
    EXPECT_EQ(traitsOf(*node), "m");
    node = leaf("Content-Type: application/pkcs7-mime; protocol=x");
    node->m_contentType.m_protocol.setString("x-signature");
    EXPECT_EQ(traitsOf(*node), "Ed");
}

// root(null, leaf, second(third)): any type may have children.
TEST(Classify, Trees) {
    struct {
        const char *root, *second, *third;
        bool isSigned, isEncrypted;
    } const rows[] = {{"multipart/mixed", "multipart/signed", "a/b", true, false},
                      {"multipart/mixed", "a/b", "application/pkcs7-mime", false, true},
                      {"multipart/signed", "text/plain", "a/b", true, false},
                      {"application/pkcs7-mime", "text/plain", "a/b", false, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.second);
        const NodePtr root = leaf(std::string("Content-Type: ") + row.root);
        root->addPart(nullptr);
        root->addPart(leaf("Content-Type: text/plain").release());
        root->addPart(leaf(std::string("Content-Type: ") + row.second).release());
        root->getPart(2)->addPart(leaf(std::string("Content-Type: ") + row.third).release());
        EXPECT_EQ(root->containsSignedParts(noLog), row.isSigned);
        EXPECT_EQ(root->containsEncryptedParts(noLog), row.isEncrypted);
    }
}

// Of a leaf alone, and of a tree that has the leaf and another one behind it.
TEST(Classify, EightBitCharset) {
    const std::string late = std::string(5000, 'a') + "\xC3\xA9";
    struct {
        const char *type, *coding;
        std::string_view body = "\xC3\xA9";
        bool isFound = false;
    } const rows[] = {
        {"text/plain; charset=koi8-r", "8BIT", "\xC3\xA9", true},
        {"application/json; charset=koi8-r", "8bit", "\xC3\xA9", true},
        {"application/soap+xml; charset=koi8-r", "8bit"},
        {"text/plain", "8bit"},
        {"text/plain; charset=koi8-r", "quoted-printable"},
        {"text/plain; charset=koi8-r", "8bit", late},
        {"text/plain; charset=koi8-r", "8bit", std::string_view(late).substr(1), true},
    };
    const auto leafOf = [](std::string type, const char* coding, std::string_view body) {
        return leaf("Content-Type: " + type + "\r\nContent-Transfer-Encoding: " + coding, body);
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type + (", " + std::string(row.coding)));
        const NodePtr root = leaf("Content-Type: multipart/mixed"),
                      top = leafOf(row.type, row.coding, row.body);
        root->addPart(nullptr);
        root->addPart(leaf("A: 1").release());
        root->getPart(1)->addPart(leafOf(row.type, row.coding, row.body).release());
        root->addPart(leafOf("text/plain; charset=iso-8859-2", "8bit", "\xC3\xA9").release());
        StringBuffer charset = sb("before");
        EXPECT_TRUE(root->find8bitInfo(charset));
        EXPECT_EQ(str(charset), row.isFound ? "koi8-r" : "iso-8859-2");
        charset.setString("before");
        EXPECT_EQ(top->find8bitInfo(charset), row.isFound);
        EXPECT_EQ(str(charset), row.isFound ? "koi8-r" : "before");
    }
}

}  // namespace
