// SPDX-License-Identifier: Apache-2.0

// Writing trees: the frame of delimiters and blank lines, preamble, signed parts and slots
// without a node; and that what was read is written back.

#include <algorithm>

#include "tests/node_support.h"

namespace {

std::string hexOf(const std::string& text) {
    std::string out;
    for (const char c : text) out += {'=', "0123456789ABCDEF"[c >> 4], "0123456789ABCDEF"[c & 15]};
    return out;
}

// `tree` says, in order, what is done to a root without parts: "B" sets a boundary, "1" and
// "2" add a part, "0" a slot without a node, "i" puts a part into the first, "s" and "p" make
// the root signed, by S/MIME and by OpenPGP, "x" takes the marker from the first part and "h"
// its header; "P" asks for preambles everywhere.
void build(MimeMessage2& n, char step) {
    switch (step) {
        case 'B': n.m_contentType.m_boundary.setString("b"); return;
        case '0': n.addPart(nullptr); return;
        case '1': n.addPart(leaf("A: 1", "one").release()); return;
        case '2': n.addPart(leaf("B: 2", "two\r\n").release()); return;
        case 'i':
            n.getPart(0)->addPart(leaf("C: 3", "c").release());
            n.getPart(0)->m_contentType.m_boundary.setString("i");
            return;
        case 'p':
            n.m_mimeHeader.addMimeField("Content-Type", "x; protocol=\"application/PGP-signature\"",
                                        false, noLog);
            [[fallthrough]];
        case 's':
            n.m_contentType.m_type.setString("Multipart/Signed");
            if (n.getPart(0)) n.getPart(0)->setSignedData(raw("raw\n\0"), 5);
            return;
        case 'x': n.getPart(0)->m_magic = 0; return;
        case 'h': return n.getPart(0)->m_mimeHeader.clear(5);
        case 'P': n.setUseMmMessage(true);
    }
    if (n.getPart(0)) n.getPart(0)->setUseMmMessage(true);
}

struct Row {
    const char* tree;
    std::string_view body;
} constexpr kRows[] = {
    {"B1i2P", "--b|A: 1||--i|C: 3||c|--i--||--b|B: 2||two||--b--|"},
    {"1", "--|A: 1||one|----|"},
    {"B12x", "--b||||--b|B: 2||two||--b--|"},
    {"B1h", "--b|||one|--b--|"},
    {"B122sP", "--b|raw\n\0|--b|B: 2||two||--b--|"sv},
    {"B1s", "--b|raw\n\0|--b|--b--|"sv},
    {"B1p", "--b|A: 1||one|--b--|"},
};

TEST(Serialize, Frames) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.tree);
        const NodePtr node = leaf("X: 0", "own");
        for (const char* step = row.tree; *step; ++step) build(*node, *step);
        const bool wasModified = node->m_modified, isPreamble = strchr(row.tree, 'P');
        const std::string head = headerOf(*node) + "\r\n\r\n", body = crlf(row.body);
        const std::string preamble = isPreamble && node->getNumParts()
                                         ? "This is a multi-part message in MIME format.\r\n\r\n"
                                         : "";
        DataBuffer all = db("<"), bodyOnly = db("<"), bodyAll = db("<"), assembled = db("<");
        node->getMimeTextDb(all, false, noLog);
        node->getMimeTextDb(bodyOnly, true, noLog);
        node->getMimeBodyAll(bodyAll, noLog);
        node->assemble2(assembled, noLog);
        EXPECT_EQ(str(all), "<" + head + preamble + body);
        EXPECT_EQ(str(bodyOnly), "<" + body);
        EXPECT_EQ(str(bodyAll), "<" + preamble + body);
        EXPECT_EQ(str(assembled), "<" + body);
        EXPECT_EQ(got([&](auto& out) { return node->getMimeTextSb(out, false, noLog); }),
                  "<" + head + preamble + body + ">");
        EXPECT_EQ(node->m_modified, wasModified);
        if (node->getPart(0)) node->getPart(0)->m_magic = 0xa4ee21fb;
    }
}

// RFC 2046 5.1.1: whatever a boundary holds, and however it got there, it makes no lines.
TEST(Serialize, NoBoundaryStartsALine) {
    std::mt19937 random(3);
    for (int i = 0; i < 300; ++i) {
        const std::string boundary = "b" + randomBytes(random, 1 + random() % 80, "\r\n x:=\0;'"sv);
        NodePtr node = leaf("Content-Type: multipart/x; boundary=\"" +
                            (i % 3 ? "q" : "=?utf-8?Q?" + hexOf(boundary) + "?=") + "\"");
        if (i % 3 == 1) node->setBoundary(boundary.c_str(), noLog);
        if (i % 3 == 2) node->m_contentType.m_boundary = sb(boundary);
        if (i % 3 == 2) node->refreshContentTypeHeader(noLog);
        node->addPart(leaf("A: 1", "\r\nbody").release());
        const std::string text = written(*node), body = text.substr(text.find("\r\n\r\n"));
        EXPECT_EQ(std::count(body.begin(), body.end(), '\n'), 8) << body;
        EXPECT_EQ(outline(*fromBytes(text)), "[\r\nbody]") << text;
    }
}

// Mail that is well formed is written back byte for byte.
TEST(Serialize, RoundTrips) {
    for (const char* row :
         {"Content-Type: text/plain||hi",
          "subject:  =?utf-8?q?a?=|\t=?utf-8?q?b?=|X : y|junk line||body\nwith LF",
          "Content-Type: text/plain; charset=\"Shift_JIS\"||\x82\xA0\x82\xA2",
          "Content-Type: a/b; charset=utf-16|Content-Transfer-Encoding: base64||YQBiAA==",
          "Content-Type: Multipart/Mixed;| boundary=\"a b\"||--a b|A: 1||one||--a b|"
          "Content-Type: multipart/x; boundary=c||--c|B: 2||two|--c--||--a b--|",
          "Content-Type: multipart/signed; boundary=b; protocol=\"x/y\"||--b|A:  1\nB: 2\n\n  x"
          " \n\n|--b|Content-Type: x/y||sig|--b--|"}) {
        const NodePtr node = fromBytes(crlf(row));
        EXPECT_EQ(barred(written(*node)), row);
    }
}

}  // namespace
