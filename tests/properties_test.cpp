// SPDX-License-Identifier: Apache-2.0

// Setters of content type, charset and disposition: what each changes in the record and in
// the header, when nothing is written, and texts that come from the node itself.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

struct Row {
    const char *what, *header;
    void (*set)(MimeMessage2&);
    const char* out;
};

void setType(MimeMessage2& n, const char* type) { n.setContentType(type, true, noLog); }

void setAll(MimeMessage2& n, const char* type, const char* name, const char* protocol,
            const char* micalg, const char* boundary, const char* smime, const char* sub) {
    n.setContentType(type, name, protocol, micalg, boundary, smime, sub, noLog);
}

constexpr char kPkcs7[] =
    "content-type: application/pkcs7-mime; name=n; protocol=\"p/q\"; "
    "micalg=m; boundary=b; smime-type=s; type=t/u";

// A header that was not written keeps its spelling: "content-type: x/y;boundary=B".
constexpr Row kRows[] = {
    {"refresh appends", "A: 1", [](MimeMessage2& n) { n.refreshContentTypeHeader(noLog); },
     "A: 1|Content-Type: text/plain"},
    {"refresh held back", "A: 1",
     [](MimeMessage2& n) {
         n.m_deferContentTypeRefresh = true;
         n.refreshContentTypeHeader(noLog);
         n.setBoundary("b", noLog);
         n.m_deferContentTypeRefresh = false;
     },
     "A: 1"},
    {"boundary, other case", "content-type: a/b;boundary=Xy",
     [](MimeMessage2& n) { n.setBoundary("xY", noLog); }, "content-type: a/b;boundary=Xy"},
    {"boundary", "content-type: a/b;boundary=Xy",
     [](MimeMessage2& n) { n.setBoundary(" z\r\n", noLog); }, "Content-Type: a/b; boundary=z"},
    {"no boundary", "content-type: a/b;boundary=Xy",
     [](MimeMessage2& n) { n.setBoundary(nullptr, noLog); }, "Content-Type: a/b"},
    {"null is the empty text that is there", "content-type:a/b",
     [](MimeMessage2& n) { n.setMicalg(nullptr, noLog); }, "content-type:a/b"},
    {"each its own parameter", "A: 1\r\nContent-Type: a/b",
     [](MimeMessage2& n) {
         n.setNameUtf8("n", noLog);
         n.setProtocol("p", noLog);
         n.setMicalg("m", noLog);
         n.setSMimeType("s", noLog);
         n.setSubType("t", noLog);
     },
     "A: 1|Content-Type: a/b; name=n protocol=p micalg=m smime-type=s type=t"},
    {"type, other case", "content-type:A/b", [](MimeMessage2& n) { setType(n, "a/B"); },
     "content-type:A/b"},
    {"type is lowered and trimmed", "A: 1", [](MimeMessage2& n) { setType(n, " Image/PNG\r\n"); },
     "A: 1|Content-Type: image/png"},
    {"no type", "content-type: a/b", [](MimeMessage2& n) { setType(n, nullptr); },
     "Content-Type: text/plain"},
    {"header stays stale", "content-type: a/b",
     [](MimeMessage2& n) { n.setContentType("c/d", false, noLog); }, "content-type: a/b"},
    {"plain types take S/MIME parameters away", kPkcs7,
     [](MimeMessage2& n) { setType(n, "text/plain"); },
     "Content-Type: text/plain; name=n boundary=b type=t/u"},
    {"seven, all null", "content-type: text/html;boundary=b;name=n",
     [](MimeMessage2& n) {
         setAll(n, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "Content-Type: text/html; name=n"},
    {"seven, null boundary of a multipart", "content-type: MultiPart/x;boundary=b",
     [](MimeMessage2& n) {
         setAll(n, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "Content-Type: multipart/x; boundary=b"},
    {"seven, becoming a multipart", "content-type: text/html;boundary=b",
     [](MimeMessage2& n) {
         setAll(n, "Multipart/x", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "Content-Type: multipart/x; boundary=b"},
    {"seven, in order", kPkcs7,
     [](MimeMessage2& n) { setAll(n, "text/html", "N", "P", "M", "B", "S", ""); },
     "Content-Type: text/html; name=n protocol=P micalg=M boundary=b smime-type=S"},
    {"seven end the holding back", "A: 1",
     [](MimeMessage2& n) {
         setAll(n, "a/b", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
         n.setNameUtf8("x", noLog);
     },
     "A: 1|Content-Type: a/b; name=x"},
    {"charset", "content-type: text/plain",
     [](MimeMessage2& n) { EXPECT_TRUE(n.setCharset("Koi8-R", noLog)); },
     "Content-Type: text/plain; charset=Koi8-R"},
    {"charset, same code page", "content-type: text/plain;charset=latin1",
     [](MimeMessage2& n) { EXPECT_TRUE(n.setCharset("iso-8859-1", noLog)); },
     "content-type: text/plain;charset=latin1"},
    {"charset not known", "content-type: text/plain;charset=latin1",
     [](MimeMessage2& n) {
         EXPECT_FALSE(n.setCharset("x-none", noLog));
         EXPECT_FALSE(n.setCharset(static_cast<const char*>(nullptr), noLog));
     },
     "content-type: text/plain;charset=latin1"},
    {"no charset to clear", "content-type: text/plain",
     [](MimeMessage2& n) { n.clearCharset(noLog); }, "content-type: text/plain"},
    {"charset cleared", "content-type: text/plain;charset=latin1",
     [](MimeMessage2& n) { n.clearCharset(noLog); }, "Content-Type: text/plain"},
    {"charset record", "content-type: text/plain;charset=latin1",
     [](MimeMessage2& n) {
         _zqCharset cs;
         n.setCharset(cs, noLog);
         n.setCharset(n.m_charset, noLog);
     },
     "Content-Type: text/plain"},
    {"disposition", "A: 1",
     [](MimeMessage2& n) { n.setContentDisposition("inline", nullptr, noLog); },
     "A: 1|Content-Disposition: inline|*inline;"},
    {"name is neither trimmed nor escaped", "A: 1",
     [](MimeMessage2& n) { n.setContentDisposition("inline", " a b ", noLog); },
     "A: 1|Content-Disposition: inline; filename=\" a b \"|*inline; a b "},
    {"name alone", "A: 1", [](MimeMessage2& n) { n.setContentDisposition("", "x", noLog); },
     "A: 1|Content-Disposition: ; filename=\"x\"|*;x"},
    {"neither", "A: 1\r\nContent-Disposition: a; filename=b",
     [](MimeMessage2& n) { n.setContentDisposition(nullptr, "", noLog); }, "A: 1"},
    {"name makes an attachment", "A: 1", [](MimeMessage2& n) { n.setFilenameUtf8("x y", noLog); },
     "A: 1|Content-Disposition: attachment; filename=\"x y\"|*attachment;x y"},
    {"name keeps the disposition", "Content-Disposition: inline; filename=a",
     [](MimeMessage2& n) { n.setFilenameUtf8("b", noLog); },
     "Content-Disposition: inline; filename=\"b\"|*inline;b"},
    {"no name keeps the disposition", "Content-Disposition: inline; filename=a",
     [](MimeMessage2& n) { n.setFilenameUtf8(nullptr, noLog); },
     "Content-Disposition: inline|*inline;"},
    {"no name, no disposition", "A: 1\r\nContent-Disposition: ; filename=a",
     [](MimeMessage2& n) { n.setFilenameUtf8("", noLog); }, "A: 1"},
    {"disposition keeps the name", "Content-Disposition: inline; filename=a",
     [](MimeMessage2& n) { n.setDisposition("attachment", noLog); },
     "Content-Disposition: attachment; filename=\"a\"|*attachment;a"},
    {"and trims it", "A: 1",
     [](MimeMessage2& n) {
         n.setContentDisposition("inline", " a ", noLog);
         n.setDisposition("attachment", noLog);
     },
     "A: 1|Content-Disposition: attachment; filename=\"a\"|*attachment;a"},
    {"no disposition drops the name", "A: 1\r\nContent-Disposition: inline; filename=a",
     [](MimeMessage2& n) { n.setDisposition("", noLog); }, "A: 1"},
    // Texts that are the node's own.
    {"boundary from the boundary", "Content-Type: a/b; boundary=0123456789abcdefghijklmnop",
     [](MimeMessage2& n) { n.setBoundary(n.m_contentType.m_boundary.getString() + 10, noLog); },
     "Content-Type: a/b; boundary=abcdefghijklmnop"},
    {"type from the type", "Content-Type: application/application/octet",
     [](MimeMessage2& n) { setType(n, n.getContentType() + 12); },
     "Content-Type: application/octet"},
    {"parameters from those that the type clears", kPkcs7,
     [](MimeMessage2& n) {
         setAll(n, "text/plain", n.m_contentType.m_boundary.getString(),
                n.m_contentType.m_smimeType.getString(), n.m_contentType.m_protocol.getString(),
                nullptr, nullptr, n.m_contentType.m_name.getString());
     },
     "Content-Type: text/plain; name=b protocol=s micalg=p/q type=n"},
    {"charset from the charset", "Content-Type: a/b; charset=xxkoi8-r",
     [](MimeMessage2& n) {
         n.setCharset("koi8-r", noLog);
         n.setCharset(n.getCharset(), noLog);
     },
     "Content-Type: a/b; charset=koi8-r"},
    {"disposition and name swapped",
     "Content-Disposition: inline-inline-inline-inline; filename=attachment-attachment",
     [](MimeMessage2& n) {
         n.setContentDisposition(n.m_filename.getString() + 11, n.m_disposition.getString() + 7,
                                 noLog);
     },
     "Content-Disposition: attachment; "
     "filename=\"inline-inline-inline\"|*attachment;inline-inline-inline"},
    {"name from the name", "Content-Disposition: inline; filename=0123456789-0123456789",
     [](MimeMessage2& n) { n.setFilenameUtf8(n.m_filename.getString() + 11, noLog); },
     "Content-Disposition: inline; filename=\"0123456789\"|*inline;0123456789"},
    {"no new header line", "A: 1",
     [](MimeMessage2& n) {
         n.setContentDisposition("inline\r\nB: 2", "x\r\nC: 3", noLog);
         setType(n, "a/b\r\nD: 4");
     },
     nullptr},
};

// The header with its lines unfolded; of the type's parameters neither quotes nor semicolons.
// Then "|*" and the disposition with its name, where the node was marked.
std::string outcome(const MimeMessage2& n) {
    StringBuffer header = sb(headerOf(n));
    header.replaceAllOccurances("\r\n ", " ");
    header.replaceAllOccurances("\r\n", "|");
    std::string text = str(header);
    const size_t type = text.find("Content-Type: ");
    if (type != text.npos) {
        std::string field = text.substr(type);
        std::erase(field, '"');
        for (size_t at = field.find(';'); (at = field.find(';', at + 1)) != field.npos;)
            field.erase(at, 1);
        text.replace(type, text.npos, field);
    }
    if (n.m_modified && n.m_disposition.getSize() + n.m_filename.getSize())
        text += "|*" + str(n.m_disposition) + ";" + str(n.m_filename);
    return text;
}

TEST(Properties, Setters) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf(row.header);
        row.set(*node);
        if (row.out) EXPECT_EQ(outcome(*node), row.out);
        else EXPECT_EQ(fromBytes(headerOf(*node))->getNumHeaderFields(), 3) << headerOf(*node);
        EXPECT_FALSE(node->m_deferContentTypeRefresh);
    }
}

TEST(Properties, PlainTypesDropSmimeParameters) {
    struct {
        const char* type;
        bool isPlain;
    } const rows[] = {{"image/x", true},
                      {"Text/x", true},
                      {"application/octet-stream", true},
                      {"multipart/mixed", true},
                      {"multipart/alternative", true},
                      {"multipart/related", true},
                      {"message/rfc822", true},
                      {"images/x", false},
                      {"text", false},
                      {"message/x", false},
                      {"multipart/signed", false},
                      {"multipart/report", false},
                      {"application/x", false}};
    for (const auto& row : rows) {
        const NodePtr node = leaf(kPkcs7);
        setType(*node, row.type);
        const _zqContentType& type = node->m_contentType;
        const std::string left = str(type.m_protocol) + str(type.m_micalg) + str(type.m_smimeType);
        EXPECT_EQ(left, row.isPlain ? "" : "p/qms") << row.type;
    }
}

TEST(Properties, OnlyDispositionsMark) {
    const NodePtr node = leaf("Content-Disposition: inline");
    setAll(*node, "text/plain", "n", "p", "m", "b", "s", "t");
    node->setCharset("utf-8", noLog);
    node->clearCharset(noLog);
    node->setContentDisposition("", nullptr, noLog);
    node->setDisposition(nullptr, noLog);
    EXPECT_FALSE(node->m_modified);
    EXPECT_TRUE(node->m_disposition.isEmpty());
    node->setDisposition("inline", noLog);
    EXPECT_TRUE(node->m_modified);
}

// What a caller sets reads back after writing, non-ASCII and quotes included.
TEST(Properties, ReadBack) {
    for (const char* text :
         {"caf\xC3\xA9 \xE2\x82\xAC.txt", "a;b=c.txt", "a \"b\" c", "C:\\temp\\", "it's 100%"}) {
        SCOPED_TRACE(text);
        const NodePtr node = leaf("A: 1");
        setAll(*node, "multipart/x", text, text, text, text, text, text);
        const NodePtr copy = fromBytes(headerOf(*node));
        for (StringBuffer _zqContentType::*field :
             {&_zqContentType::m_name, &_zqContentType::m_protocol, &_zqContentType::m_micalg,
              &_zqContentType::m_boundary, &_zqContentType::m_smimeType,
              &_zqContentType::m_subType})
            EXPECT_EQ(str(copy->m_contentType.*field), text);
    }
    const NodePtr node = leaf("A: 1");
    node->setFilenameUtf8("caf\xC3\xA9 \xE2\x82\xAC.txt", noLog);
    EXPECT_TRUE(sb(headerOf(*node)).is7bit(0));
    EXPECT_EQ(str(fromBytes(headerOf(*node))->m_filename), "caf\xC3\xA9 \xE2\x82\xAC.txt");
}

}  // namespace
