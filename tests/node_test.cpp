// SPDX-License-Identifier: Apache-2.0

// The node as an object: its marker, the child list and who owns what, searches, and the two
// ways to copy a node.

#include <new>

#include "foundation/Psdk.h"
#include "tests/node_support.h"

namespace {

MimeMessage2* typed(const char* type) {
    return leaf(std::string("Content-Type: ") + type).release();
}

std::string flagsOf(const MimeMessage2& n) {
    return std::string(n.m_modified ? "modified " : "") + (n.m_auxFlag ? "aux " : "") +
           (n.m_auxFlag2 ? "aux2 " : "") + (n.m_useMmMessage ? "mm " : "") +
           (n.m_contentType.m_formatFlowed ? "flowed " : "") + std::to_string(n.m_binarySafeState);
}

TEST(Node, WithoutMarkerNothingHappens) {
    alignas(MimeMessage2) unsigned char place[sizeof(MimeMessage2)];
    auto* node = new (place) MimeMessage2;
    node->addPart(typed("a/b"));
    node->~MimeMessage2();
    EXPECT_EQ(node->m_magic, 0u);

    NodePtr doomed = leaf("A: 1", "body"), part(typed("a/b"));
    MimeMessage2& n = *doomed;
    for (const char* type : {"c/d", "e/f"}) n.addPart(typed(type));
    n.m_contentType.m_type.setString("multipart/appledouble");
    n.m_disposition.setString("attachment");
    n.m_contentTransferEncoding.setString("x-uuencode");
    n.m_binarySafeState = 1;
    n.m_modified = false;
    const std::string before = contentOf(n);
    n.m_magic = 0;
    const auto count = Psdk::numCorruptObjects();
    EXPECT_EQ(bodyOf(n), "body");
    EXPECT_EQ(Psdk::numCorruptObjects(), count + 1);
    n.clear();
    n.addPart(part.get());
    n.addPartInFront(part.get());
    n.replacePart(0, part.get(), noLog);
    n.removePart(0, noLog);
    n.setSignedData(raw("x"), 1);
    n.setUseMmMessage(true);
    n.setBoundary("b", noLog);
    n.setFilenameUtf8("x", noLog);
    n.addReplaceHeaderFieldUtf8("B", "2", noLog);
    n.setMimeBodyBinary2(nullptr, 0, noLog);
    n.clearMimeBody();
    n.restoreBinarySafeForString();
    n.makeBinarySafeForString();
    n.convert8Bit(noLog);
    n.urlEncodeBody("utf-8", noLog);
    n.uuDecodeAttachment(noLog);
    StringBuffer text, clue;
    DataBuffer data = db("A: 1\r\n\r\nb");
    EXPECT_FALSE(n.getMimeTextSb(text, false, noLog) || n.getHeaderFieldUtf8("A", text, noLog) ||
                 n.loadMimeComplete(text, noLog, false) || n.loadMimeCompleteDb(data, noLog) ||
                 n.parseMimeBody("", "x", 1, false, clue, noLog, false));
    n.getMimeBodyEncoded2(text, noLog);
    n.getTypeFromFilename("a.pdf", text, noLog);
    n.getTypeFromExtension("pdf", text, noLog);
    n.assemble2(data, noLog);
    n.copyMimeBody(data, noLog);
    EXPECT_FALSE(n.extractPart(0) || n.getPart(0) || n.getNumParts() || n.getNumHeaderFields() ||
                 n.getContentType() || n.getAppleDoubleAttachment(noLog) ||
                 n.cloneMimeMessage(nullptr) || n.getUseMmMessage() ||
                 n.findByVantrelObjectId(n.m_objectId) || n.findContentType(nullptr, "c/d"));
    EXPECT_EQ(str(text) + str(data), "A: 1\r\n\r\nb");
    n.m_magic = 0xa4ee21fb;
    EXPECT_EQ(contentOf(n), before);
    EXPECT_EQ(flagsOf(n), "aux2 1");
    n.m_magic = 0;
    n.setContentType("x/y", "n", "p", "m", "b", "s", "t", noLog);
    n.m_magic = 0xa4ee21fb;
    EXPECT_EQ(barred(headerOf(n)), "A: 1|Content-Type: multipart/appledouble");
}

NodePtr fullNode() {
    NodePtr node = fromBytes(
        "Content-Type: multipart/signed; smime-type=s; boundary=b; charset=koi8-r; "
        "format=flowed\r\n"
        "Content-ID: <i>\r\nContent-Disposition: d; filename=f\r\n"
        "Content-Transfer-Encoding: 8bit\r\n\r\n--b\r\nA: 1\r\n\r\none\r\n--b--");
    node->addPart(nullptr);
    node->setMimeBodyBinary2(raw("body"), 4, noLog);
    node->setSignedData(raw("x"), 1);
    node->m_auxFlag = node->m_useMmMessage = true;
    node->m_auxFlag2 = false;
    node->m_binarySafeState = 2;
    return node;
}

TEST(Node, ClearKeepsWhatIsNoContent) {
    const NodePtr node = fullNode();
    node->clear();
    EXPECT_EQ(contentOf(*node), "|;koi8-r;;;;;;||");
    EXPECT_EQ(flagsOf(*node), "mm 2");
}

TEST(Node, Take) {
    const NodePtr source = fullNode(),
                  node = leaf("Content-Type: text/plain; charset=utf-8", "old");
    const std::string header = headerOf(*source);
    node->addPart(typed("a/b"));
    node->setSignedData(raw("y"), 1);
    node->takeMimeMessage(*source, noLog);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(
            contentOf(*node),
            header +
                "|multipart/signed;utf-8;b;;d;f;<i>;8bit|body|(A: 1|;;;;;;;|one|A: 1\r\n\r\none)");
        EXPECT_EQ(flagsOf(*node) + str(node->m_contentType.m_smimeType),
                  "modified aux aux2 flowed 0s");
        node->takeMimeMessage(*node, noLog);
    }
    EXPECT_EQ(contentOf(*source), header + "|multipart/signed;koi8-r;b;;d;f;<i>;8bit|body|x()()");
}

TEST(Node, Children) {
    NodePtr node(MimeMessage2::createNewObject());
    std::string log;  // the children, "!" behind a step that marked the node modified
    const auto step = [&](const auto& change) {
        change();
        for (int i = 0; i < node->getNumParts(); ++i) log += node->getPart(i)->getContentType();
        log += node->m_modified ? "! " : " ";
        node->m_modified = false;
    };
    NodePtr a(typed("a")), b(typed("b")), c(typed("c"));
    step([&] { node->addPart(a.release()); });
    step([&] { node->addPartInFront(b.get()); });
    for (int i : {-1, 2, 0}) step([&] { node->replacePart(i, c.get(), noLog); });
    c.release();
    for (int i : {-1, 7, 0}) step([&] { node->removePart(i, noLog); });
    step([&] { EXPECT_EQ(node->extractPart(99), nullptr); });
    step([&] { a.reset(node->extractPart(0)); });
    step([&] { node->addPart(a.release()); });
    step([&] { node->removeSubparts(); });
    EXPECT_EQ(log, "a! ba! ba ba ca ca ca a a! ! a!  ");
    EXPECT_STREQ(b->getContentType(), "b");  // the caller's again
    EXPECT_FALSE(node->getPart(-1) || node->getPart(0));
}

// mixed(null, message(inner), x(other, related(html)), html)
TEST(Node, Searches) {
    const NodePtr root(typed("multipart/mixed"));
    MimeMessage2 *related = typed("Multipart/Related"), *html = typed("text/html"),
                 *alternative = typed("multipart-x"), *other = typed("text/x-other"),
                 *message = typed("message/rfc822"), *inner = typed("text/inner"),
                 *parent = nullptr;
    for (MimeMessage2* part :
         {static_cast<MimeMessage2*>(nullptr), message, alternative, typed("text/html")})
        root->addPart(part);
    message->addPart(inner);
    alternative->addPart(other);
    alternative->addPart(related);
    related->addPart(html);
    EXPECT_EQ(root->findContentType(&parent, "TEXT/html"), html);
    EXPECT_EQ(parent, related);
    EXPECT_FALSE(root->findContentType(&parent, "multipart/mixed") ||
                 root->findContentType(&parent, "text/inner") || related->findMultipartRelated());
    EXPECT_EQ(parent, related);
    EXPECT_EQ(root->findContentType(&parent, "message/rfc822"), message);
    EXPECT_EQ(parent, root.get());
    EXPECT_EQ(root->findMultipartRelated(), related);
    for (MimeMessage2* node : {root.get(), inner, html, other})
        EXPECT_EQ(root->findByVantrelObjectId(node->m_objectId), node);
    EXPECT_EQ(message->findByVantrelObjectId(html->m_objectId), nullptr);

    // Without its marker a node is found by its id and type, and its children are not.
    related->m_magic = 0;
    EXPECT_EQ(root->findByVantrelObjectId(related->m_objectId), related);
    EXPECT_EQ(root->findContentType(&parent, "multipart/related"), related);
    EXPECT_FALSE(root->findByVantrelObjectId(html->m_objectId) || root->findMultipartRelated());
    EXPECT_EQ(root->findContentType(nullptr, "text/html"), root->getPart(3));
    related->m_magic = 0xa4ee21fb;
}

TEST(Node, CharsetsForTextAndMessageOnly) {
    StringBuffer out;
    for (const char* type :
         {"Text/plain", "textual", "MESSAGE/rfc822", "messag/x", "a/xml", "xtext/x"}) {
        leaf(std::string("Content-Type: ") + type + "; charset=koi8-r")->getCharset(out);
        out.appendChar('|');
    }
    EXPECT_EQ(str(out), "koi8-r|koi8-r|koi8-r||||");
    leaf("Content-Type: a/xml; charset=koi8-r")->getCharset2(out);
    EXPECT_EQ(str(out), "koi8-r");
}

TEST(Node, BodiesAndSignedDataFromTheNodeItself) {
    _zqContentType type;
    _zqCharset charset;
    type.m_name.setString("a/b; charset=koi8-r; boundary=\"a text that lies on the heap\"");
    type.loadFromMimeHeaderValue(type.m_name.getString(), charset, noLog);
    EXPECT_EQ(str(type.m_type) + charset.getName() + str(type.m_boundary),
              "a/bkoi8-ra text that lies on the heap");
    const NodePtr node = leaf("A: 1", "0123456789");
    DataBuffer out = db("old");
    node->copyMimeBody(out, noLog);
    node->setSignedData(out.getData2(), 10);
    node->setSignedData(node->m_signedData.getData2() + 5, 5);
    node->copyMimeBody(node->m_mimeBody, noLog);
    EXPECT_EQ(contentOf(*node), "A: 1|;;;;;;;|0123456789|56789");
    node->extractMimeBody(out, noLog);
    EXPECT_EQ(str(out) + bodyOf(*node), "0123456789");
}

}  // namespace
