// SPDX-License-Identifier: Apache-2.0

// Writing trees: the frame of delimiters and blank lines, preamble, signed parts and slots
// without a node; and that what was read is written back.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

constexpr char kPreamble[] = "This is a multi-part message in MIME format.\r\n\r\n";

struct Row {
    const char* what;
    void (*change)(MimeMessage2&);
    const char *head, *preamble, *body;
};

// The node is a multipart with the boundary "b" and the parts "one" and "two".
constexpr Row kRows[] = {
    {"two parts", [](MimeMessage2&) {}, "X: 0\r\n\r\n", "",
     "--b\r\nA: 1\r\n\r\none\r\n--b\r\nB: 2\r\n\r\ntwo\r\n--b--\r\n"},
    {"preamble", [](MimeMessage2& n) { n.setUseMmMessage(true); }, "X: 0\r\n\r\n", kPreamble,
     "--b\r\nA: 1\r\n\r\none\r\n--b\r\nB: 2\r\n\r\ntwo\r\n--b--\r\n"},
    {"preamble of a part",
     [](MimeMessage2& n) {
         n.getPart(0)->setUseMmMessage(true);
         n.getPart(0)->addPart(leaf("C: 3", "c").release());
         n.getPart(0)->m_contentType.m_boundary.setString("i");
     },
     "X: 0\r\n\r\n", "",
     "--b\r\nA: 1\r\n\r\n--i\r\nC: 3\r\n\r\nc\r\n--i--\r\n\r\n--b\r\nB: 2\r\n\r\ntwo\r\n--b--\r\n"},
    {"no parts",
     [](MimeMessage2& n) {
         n.removeSubparts();
         n.setUseMmMessage(true);
     },
     "X: 0\r\n\r\n", "", "own"},
    {"slot without a node",
     [](MimeMessage2& n) {
         delete n.getPart(0);
         n.replacePart(0, nullptr, noLog);
         n.removePart(1, noLog);
         n.setUseMmMessage(true);
     },
     "X: 0\r\n\r\n", kPreamble, "--b\r\n\r\n\r\n\r\n--b--\r\n"},
    {"no boundary",
     [](MimeMessage2& n) {
         n.m_contentType.m_boundary.clear();
         n.removePart(1, noLog);
     },
     "X: 0\r\n\r\n", "", "--\r\nA: 1\r\n\r\none\r\n----\r\n"},
    {"body that ends with a line break",
     [](MimeMessage2& n) {
         n.getPart(0)->m_mimeBody.appendStr("\r\n");
         n.removePart(1, noLog);
     },
     "X: 0\r\n\r\n", "", "--b\r\nA: 1\r\n\r\none\r\n\r\n--b--\r\n"},
    {"part whose marker is gone", [](MimeMessage2& n) { n.getPart(0)->m_magic = 0; },
     "X: 0\r\n\r\n", "", "--b\r\n\r\n\r\n\r\n--b\r\nB: 2\r\n\r\ntwo\r\n--b--\r\n"},
    {"part without a header",
     [](MimeMessage2& n) {
         n.getPart(0)->m_mimeHeader.clear(5);
         n.removePart(1, noLog);
     },
     "X: 0\r\n\r\n", "", "--b\r\n\r\n\r\none\r\n--b--\r\n"},
    {"signed, three parts",
     [](MimeMessage2& n) {
         n.m_contentType.m_type.setString("Multipart/Signed");
         n.getPart(0)->setSignedData(reinterpret_cast<const unsigned char*>("raw\n\0"), 5);
         n.addPart(leaf("C: 3", "three").release());
         n.setUseMmMessage(true);
     },
     "X: 0\r\n\r\n", kPreamble, "--b\r\nraw\n~\r\n--b\r\nB: 2\r\n\r\ntwo\r\n--b--\r\n"},
    {"signed, one part",
     [](MimeMessage2& n) {
         n.m_contentType.m_type.setString("multipart/signed");
         n.removePart(1, noLog);
     },
     "X: 0\r\n\r\n", "", "--b\r\n\r\n--b\r\n--b--\r\n"},
    {"signed, no parts",
     [](MimeMessage2& n) {
         n.m_contentType.m_type.setString("multipart/signed");
         n.removeSubparts();
     },
     "X: 0\r\n\r\n", "", "--b\r\n\r\n--b\r\n--b--\r\n"},
    {"OpenPGP is written as any other",
     [](MimeMessage2& n) {
         n.m_contentType.m_type.setString("multipart/signed");
         n.removePart(1, noLog);
         n.m_mimeHeader.addMimeField("Content-Type", "x; protocol=\"application/PGP-signature\"",
                                     false, noLog);
     },
     "X: 0\r\nContent-Type: x; protocol=\"application/PGP-signature\"\r\n\r\n", "",
     "--b\r\nA: 1\r\n\r\none\r\n--b--\r\n"},
};

TEST(Serialize, Frames) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf("X: 0", "own");
        node->m_contentType.m_boundary.setString("b");
        node->addPart(leaf("A: 1", "one").release());
        node->addPart(leaf("B: 2", "two").release());
        row.change(*node);
        const bool wasModified = node->m_modified;
        const std::string head = row.head, preamble = row.preamble;
        std::string body = row.body;
        std::replace(body.begin(), body.end(), '~', '\0');
        DataBuffer all = db("<"), bodyOnly = db("<"), bodyAll = db("<"), assembled = db("<");
        node->getMimeTextDb(all, false, noLog);
        node->getMimeTextDb(bodyOnly, true, noLog);
        node->getMimeBodyAll(bodyAll, noLog);
        node->assemble2(assembled, noLog);
        EXPECT_EQ(str(all), "<" + head + preamble + body);
        EXPECT_EQ(str(bodyOnly), "<" + body);
        EXPECT_EQ(str(bodyAll), "<" + preamble + body);
        EXPECT_EQ(str(assembled), "<" + body);
        StringBuffer text = sb("<");
        EXPECT_TRUE(node->getMimeTextSb(text, false, noLog));
        EXPECT_EQ(str(text), "<" + head + preamble + body);
        EXPECT_EQ(node->m_modified, wasModified);
        for (int i = 0; i < node->getNumParts(); ++i)
            if (MimeMessage2* part = node->getPart(i)) part->m_magic = 0xa4ee21fb;
    }
}

// Mail that is well formed is written back byte for byte.
TEST(Serialize, RoundTrips) {
    for (const char* text : {
             "Content-Type: text/plain\r\n\r\nhi",
             "subject:  =?utf-8?q?a?=\r\n\t=?utf-8?q?b?=\r\nX : y\r\njunk line\r\n\r\nbody\nwith "
             "LF",
             "Content-Type: text/plain; charset=\"Shift_JIS\"\r\n\r\n\x82\xA0\x82\xA2",
             "Content-Type: text/plain; charset=utf-16\r\nContent-Transfer-Encoding: "
             "base64\r\n\r\nYQBiAA==",
             "Content-Type: application/x\r\nContent-Transfer-Encoding: base64\r\n\r\nAAECAw==",
             "Content-Type: Multipart/Mixed;\r\n boundary=\"a b\"\r\n\r\n--a b\r\nA: "
             "1\r\n\r\none\r\n\r\n--a b\r\n"
             "Content-Type: multipart/x; boundary=c\r\n\r\n--c\r\nB: "
             "2\r\n\r\ntwo\r\n--c--\r\n\r\n--a b--\r\n",
             "Content-Type: multipart/signed; boundary=b; protocol=\"x/y\"\r\n\r\n--b\r\nA:  1\nB: "
             "2\n\n  x \n\n\r\n"
             "--b\r\nContent-Type: x/y\r\n\r\nsig\r\n--b--\r\n",
         }) {
        const NodePtr node = fromBytes(text);
        EXPECT_EQ(written(*node), text);
        StringBuffer again;
        EXPECT_TRUE(node->getMimeTextSb(again, false, noLog));
        EXPECT_EQ(str(again), text);
    }
}

TEST(Serialize, LogContext) {
    LogText log;
    log.m_verbose = true;
    DataBuffer out;
    leaf("A: 1")->getMimeTextDb(out, false, log);
    EXPECT_TRUE(log.text().beginsWith("getMimeTextDb:\n  "));
    log.clear();
    log.logInfo("after");
    EXPECT_EQ(str(log.text()), "after\n");
    log.clear();
    const NodePtr dead = leaf("A: 1");
    dead->m_magic = 0;
    out.clear();
    dead->getMimeTextDb(out, false, log);
    EXPECT_TRUE(out.isEmpty());
    EXPECT_EQ(str(log.text()), "getMimeTextDb:\n");
    dead->m_magic = 0xa4ee21fb;
}

}  // namespace
