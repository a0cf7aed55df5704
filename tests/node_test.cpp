// SPDX-License-Identifier: Apache-2.0

// The node as an object: its marker, the child list and who owns what, searches, and the two
// ways to copy a node.

#include <gtest/gtest.h>

#include <new>

#include "foundation/Psdk.h"
#include "tests/node_support.h"

namespace {

MimeMessage2* typed(const char* type) {
    return leaf(std::string("Content-Type: ") + type).release();
}

TEST(Node, WithoutMarkerNothingHappens) {
    alignas(MimeMessage2) unsigned char place[sizeof(MimeMessage2)];
    auto* node = new (place) MimeMessage2;
    node->addPart(typed("a/b"));
    node->~MimeMessage2();
    EXPECT_EQ(node->m_magic, 0u);

    NodePtr doomed = leaf("A: 1", "body");
    NodePtr part(typed("a/b"));
    doomed->addPart(typed("c/d"));
    doomed->m_magic = 0;
    MimeMessage2& n = *doomed;
    const auto count = Psdk::numCorruptObjects();
    EXPECT_EQ(bodyOf(n), "body");
    EXPECT_EQ(Psdk::numCorruptObjects(), count + 1);
    n.m_modified = false;
    n.clear();
    n.addPart(part.get());
    n.addPartInFront(part.get());
    n.replacePart(0, part.get(), noLog);
    n.removePart(0, noLog);
    n.setSignedData(reinterpret_cast<const unsigned char*>("x"), 1);
    n.setUseMmMessage(true);
    n.setBoundary("b", noLog);
    n.setFilenameUtf8("x", noLog);
    n.addReplaceHeaderFieldUtf8("B", "2", noLog);
    n.setMimeBodyBinary2(nullptr, 0, noLog);
    n.clearMimeBody();
    StringBuffer text, clue;
    DataBuffer data = db("A: 1\r\n\r\nb");
    EXPECT_FALSE(n.getMimeTextSb(text, false, noLog));
    EXPECT_FALSE(n.getHeaderFieldUtf8("A", text, noLog));
    EXPECT_FALSE(n.loadMimeComplete(text, noLog, false));
    EXPECT_FALSE(n.loadMimeCompleteDb(data, noLog));
    EXPECT_FALSE(n.parseMimeBody("", "x", 1, false, clue, noLog, false));
    n.getMimeBodyEncoded2(text, noLog);
    n.assemble2(data, noLog);
    n.copyMimeBody(data, noLog);
    EXPECT_EQ(n.extractPart(0), nullptr);
    EXPECT_EQ(n.getPart(0), nullptr);
    EXPECT_EQ(n.getNumParts(), 0);
    EXPECT_EQ(n.getNumHeaderFields(), 0);
    EXPECT_EQ(n.getContentType(), nullptr);
    EXPECT_EQ(n.cloneMimeMessage(nullptr), nullptr);
    EXPECT_EQ(n.findByVantrelObjectId(n.m_objectId), nullptr);
    EXPECT_EQ(n.findContentType(nullptr, "c/d"), nullptr);
    EXPECT_FALSE(n.m_modified);
    EXPECT_FALSE(n.getUseMmMessage());
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(str(data), "A: 1\r\n\r\nb");
    n.m_magic = 0xa4ee21fb;
    EXPECT_EQ(written(n).substr(0, 8), "A: 1\r\n\r\n");
    EXPECT_EQ(n.getNumParts(), 1);
    EXPECT_TRUE(n.getSignedData().isEmpty());
}

TEST(Node, ClearKeepsWhatIsNoContent) {
    const NodePtr node = fromBytes(
        "Content-Type: text/plain; charset=koi8-r; format=flowed\r\n"
        "Content-ID: i\r\nContent-Disposition: d; filename=f\r\n"
        "Content-Transfer-Encoding: 8bit\r\n\r\nbody");
    node->addPart(typed("a/b"));
    node->setSignedData(reinterpret_cast<const unsigned char*>("x"), 1);
    node->setUseMmMessage(true);
    node->m_auxFlag = true;
    node->m_auxFlag2 = false;
    node->m_binarySafeState = 2;
    node->clear();
    EXPECT_EQ(written(*node), "\r\n\r\n");
    EXPECT_EQ(node->getCharsetCodePage(), 20866);
    EXPECT_TRUE(node->m_contentType.m_type.isEmpty() && node->m_contentId.isEmpty() &&
                node->m_disposition.isEmpty() && node->m_filename.isEmpty() &&
                node->m_contentTransferEncoding.isEmpty() && node->m_signedData.isEmpty());
    EXPECT_FALSE(node->m_modified || node->m_auxFlag || node->m_auxFlag2 ||
                 node->getFormatFlowed());
    EXPECT_TRUE(node->m_useMmMessage);
    EXPECT_EQ(node->m_binarySafeState, 2);
    EXPECT_EQ(node->getNumParts(), 0);
}

TEST(Node, Children) {
    NodePtr node(MimeMessage2::createNewObject());
    EXPECT_TRUE(node->m_auxFlag2);
    MimeMessage2 *const a = typed("x/a"), *const b = typed("x/b"), *const c = typed("x/c");
    node->addPart(a);
    EXPECT_TRUE(node->m_modified);
    node->m_modified = false;
    node->addPartInFront(b);
    EXPECT_TRUE(node->m_modified);
    node->m_modified = false;
    EXPECT_EQ(node->getPart(0), b);
    EXPECT_EQ(node->getPart(1), a);
    EXPECT_EQ(node->getPart(-1), nullptr);
    node->replacePart(-1, c, noLog);
    node->replacePart(2, c, noLog);
    EXPECT_EQ(node->getNumParts(), 2);
    node->replacePart(0, c, noLog);
    EXPECT_EQ(node->getPart(0), c);
    EXPECT_STREQ(b->getContentType(), "x/b");  // the caller's again
    delete b;
    node->removePart(0, noLog);
    node->removePart(7, noLog);
    node->removePart(-1, noLog);
    EXPECT_EQ(node->getNumParts(), 1);
    EXPECT_FALSE(node->m_modified);
    EXPECT_EQ(node->extractPart(99), nullptr);
    EXPECT_TRUE(node->m_modified);
    EXPECT_EQ(node->extractPart(0), a);
    node->addPart(a);
    node->replacePart(0, nullptr, noLog);
    EXPECT_EQ(node->getNumParts(), 1);
    delete a;
    node->m_modified = false;
    node->removeSubparts();
    EXPECT_EQ(node->getNumParts(), 0);
    EXPECT_FALSE(node->m_modified);
}

// mixed(null, related(html), Alternative(plain, HTML, related), message(html))
struct Tree {
    NodePtr root{typed("multipart/mixed")};
    MimeMessage2 *related = typed("Multipart/Related"), *html = typed("text/html"),
                 *alternative = typed("multipart-x"), *other = typed("text/x-other"),
                 *message = typed("message/rfc822"), *inner = typed("text/inner");
    Tree() {
        root->addPart(nullptr);
        root->addPart(message);
        message->addPart(inner);
        root->addPart(alternative);
        alternative->addPart(other);
        alternative->addPart(related);
        related->addPart(html);
    }
};

TEST(Node, Searches) {
    const Tree t;
    MimeMessage2* parent = nullptr;
    EXPECT_EQ(t.root->findContentType(&parent, "TEXT/html"), t.html);
    EXPECT_EQ(parent, t.related);
    EXPECT_EQ(t.root->findContentType(nullptr, "text/x-OTHER"), t.other);
    EXPECT_EQ(t.root->findContentType(&parent, "multipart/mixed"), nullptr);
    EXPECT_EQ(parent, t.related);
    EXPECT_EQ(t.root->findContentType(&parent, "text/inner"), nullptr);
    EXPECT_EQ(t.root->findContentType(&parent, "message/rfc822"), t.message);
    EXPECT_EQ(parent, t.root.get());
    EXPECT_EQ(t.root->findMultipartRelated(), t.related);
    EXPECT_EQ(t.related->findMultipartRelated(), nullptr);
    for (MimeMessage2* node : {t.root.get(), t.inner, t.html, t.other})
        EXPECT_EQ(t.root->findByVantrelObjectId(node->m_objectId), node);
    EXPECT_EQ(t.message->findByVantrelObjectId(t.html->m_objectId), nullptr);

    // Without its marker a node is found by its id, and its children are not.
    t.related->m_magic = 0;
    EXPECT_EQ(t.root->findByVantrelObjectId(t.related->m_objectId), t.related);
    EXPECT_EQ(t.root->findByVantrelObjectId(t.html->m_objectId), nullptr);
    EXPECT_EQ(t.root->findMultipartRelated(), nullptr);
    EXPECT_EQ(t.root->findContentType(nullptr, "text/html"), nullptr);
    t.related->m_magic = 0xa4ee21fb;
}

TEST(Node, TheFirstHitInDocumentOrder) {
    const Tree t;
    t.root->addPart(typed("text/html"));
    EXPECT_EQ(t.root->findContentType(nullptr, "text/html"), t.html);
    EXPECT_EQ(t.root->findContentType(nullptr, nullptr), nullptr);
}

TEST(Node, Take) {
    const NodePtr source = fromBytes(
        "Content-Type: multipart/signed; smime-type=s; boundary=b; charset=utf-8\r\n"
        "Content-ID: <i>\r\nContent-Disposition: d; filename=f\r\n"
        "Content-Transfer-Encoding: 8bit\r\n\r\n--b\r\nA: 1\r\n\r\none\r\n--b--");
    source->addPart(nullptr);
    source->setMimeBodyBinary2(reinterpret_cast<const unsigned char*>("body"), 4, noLog);
    source->setSignedData(reinterpret_cast<const unsigned char*>("x"), 1);
    source->m_auxFlag = source->m_useMmMessage = true;
    source->m_binarySafeState = 1;
    const std::string before = headerOf(*source);
    const NodePtr node = leaf("Content-Type: text/plain; charset=koi8-r", "old");
    node->addPart(typed("a/b"));
    node->setSignedData(reinterpret_cast<const unsigned char*>("y"), 1);
    node->takeMimeMessage(*source, noLog);
    EXPECT_EQ(headerOf(*node), before);
    EXPECT_EQ(bodyOf(*node), "body");
    EXPECT_EQ(bodyOf(*source), "body");
    EXPECT_EQ(str(node->m_contentType.m_smimeType) + str(node->m_contentType.m_boundary), "sb");
    EXPECT_EQ(str(node->m_contentId) + str(node->m_disposition) + str(node->m_filename) +
                  str(node->m_contentTransferEncoding),
              "<i>df8bit");
    ASSERT_EQ(node->getNumParts(), 1);
    EXPECT_EQ(bodyOf(*node->getPart(0)), "one");
    EXPECT_EQ(source->getNumParts(), 2);
    EXPECT_EQ(source->getPart(0), nullptr);
    EXPECT_TRUE(node->m_modified && node->m_auxFlag);
    EXPECT_EQ(node->getCharsetCodePage(), 20866);
    EXPECT_TRUE(node->m_signedData.isEmpty());
    EXPECT_FALSE(node->m_useMmMessage);
    EXPECT_EQ(node->m_binarySafeState, 0);
    EXPECT_EQ(headerOf(*source), before);

    node->takeMimeMessage(*node, noLog);
    EXPECT_EQ(bodyOf(*node), "body");
    EXPECT_EQ(node->getNumParts(), 1);
}

TEST(Node, Clone) {
    const std::string text =
        "Content-Type: multipart/mixed; boundary=b\r\nSubject: s\r\n\r\n"
        "--b\r\nContent-Type: text/plain; charset=iso-8859-1\r\nContent-Transfer-Encoding: "
        "8bit\r\n\r\ncaf\xE9\r\n"
        "--b\r\nContent-Type: image/x\r\nContent-Transfer-Encoding: "
        "base64\r\n\r\nAAECAw==\r\n--b--\r\n";
    const NodePtr node = fromBytes(text);
    node->m_useMmMessage = true;
    node->m_binarySafeState = 2;
    const NodePtr copy(node->cloneMimeMessage(nullptr));
    ASSERT_TRUE(copy);
    EXPECT_EQ(outline(*copy), outline(*node));
    EXPECT_FALSE(copy->m_useMmMessage);
    EXPECT_EQ(copy->m_binarySafeState, 0);
    EXPECT_EQ(written(*copy), text);
    copy->getPart(0)->clearMimeBody();
    EXPECT_EQ(bodyOf(*node->getPart(0)), "caf\xC3\xA9");
}

TEST(Node, CharsetsForTextAndMessageOnly) {
    struct {
        const char *type, *one;
    } const rows[] = {{"Text/plain", "<koi8-r"},     {"textual", "<koi8-r"},
                      {"MESSAGE/rfc822", "<koi8-r"}, {"messag/x", "<"},
                      {"application/xml", "<"},      {"xtext/plain", "<"}};
    for (const auto& row : rows) {
        const NodePtr node = leaf(std::string("Content-Type: ") + row.type + "; charset=koi8-r");
        StringBuffer out = sb("<");
        node->getCharset(out);
        EXPECT_EQ(str(out), row.one) << row.type;
        node->getCharset2(out);
        EXPECT_EQ(str(out), "koi8-r");
    }
}

TEST(Node, BodiesAndSignedDataFromTheNodeItself) {
    const NodePtr node = leaf("A: 1", "0123456789");
    DataBuffer out = db("old");
    node->copyMimeBody(out, noLog);
    EXPECT_EQ(str(out), "0123456789");
    node->setSignedData(out.getData2(), 10);
    node->setSignedData(node->m_signedData.getData2() + 5, 5);
    EXPECT_EQ(str(node->getSignedData()), "56789");
    node->copyMimeBody(node->m_mimeBody, noLog);
    EXPECT_EQ(bodyOf(*node), "0123456789");
    node->extractMimeBody(out, noLog);
    EXPECT_EQ(str(out), "0123456789");
    EXPECT_EQ(bodyOf(*node), "");
}

// Nesting must not cost machine stack, neither to make nor to walk nor to destroy.
TEST(Node, DeepTrees) {
    NodePtr root = leaf("Content-Type: multipart/mixed; boundary=b");
    MimeMessage2* at = root.get();
    for (int i = 0; i < 300000; ++i) {
        MimeMessage2* child = MimeMessage2::createNewObject();
        child->m_contentType.m_type.setString("multipart/x");
        at->addPart(child);
        at = child;
    }
    at->m_contentType.m_type.setString("text/plain");
    EXPECT_EQ(root->findByVantrelObjectId(at->m_objectId), at);
    EXPECT_EQ(root->findContentType(nullptr, "text/plain"), at);
    EXPECT_EQ(root->findMultipartRelated(), nullptr);
    EXPECT_FALSE(root->containsSignedParts(noLog));
    EXPECT_FALSE(root->containsEncryptedParts(noLog));
    StringBuffer charset;
    EXPECT_FALSE(root->find8bitInfo(charset));
    DataBuffer out;
    root->getMimeTextDb(out, false, noLog);
    EXPECT_GT(out.getSize(), 300000u);
}

}  // namespace
