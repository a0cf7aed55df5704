// SPDX-License-Identifier: Apache-2.0

// Setters of content type, charset and disposition: what each changes in the record and in
// the header, when nothing is written, and texts that come from the node itself.

#include <map>
#include <sstream>

#include "tests/node_support.h"

namespace {

using Node = MimeMessage2;

const std::map<std::string, void (Node::*)(const char*, LogBase&)> kSetters = {
    {"boundary", &Node::setBoundary},       {"name", &Node::setNameUtf8},
    {"protocol", &Node::setProtocol},       {"micalg", &Node::setMicalg},
    {"smime-type", &Node::setSMimeType},    {"sub", &Node::setSubType},
    {"disposition", &Node::setDisposition}, {"filename", &Node::setFilenameUtf8}};

// The texts between semicolons, null behind the last.
struct Texts {
    explicit Texts(const char* list) {
        std::istringstream in(list ? list : "");
        for (std::string& text : texts) isGiven[&text - texts] = bool(std::getline(in, text, ';'));
    }
    const char* operator[](int i) const { return isGiven[i] ? texts[i].c_str() : nullptr; }
    std::string texts[7];
    bool isGiven[7];
};

void setSeven(Node& n, const Texts& t) {
    n.setContentType(t[0], t[1], t[2], t[3], t[4], t[5], t[6], noLog);
}

// "boundary=b|name" sets a boundary and, to null, a name.
void apply(Node& n, const std::string& steps) {
    std::istringstream in(steps);
    for (std::string step; std::getline(in, step, '|');) {
        const std::string name = step.substr(0, step.find('='));
        const char* value = name == step ? nullptr : step.c_str() + name.size() + 1;
        if (name == "type") n.setContentType(value, true, noLog);
        else if (name == "stale") n.setContentType(value, false, noLog);
        else if (name == "seven") setSeven(n, Texts(value));
        else if (name == "two") n.setContentDisposition(Texts(value)[0], Texts(value)[1], noLog);
        else if (name == "charset") n.setCharset(value, noLog);
        else if (name == "no charset") n.clearCharset(noLog);
        else if (name == "refresh") n.refreshContentTypeHeader(noLog);
        else if (name == "defer") n.m_deferContentTypeRefresh = value != nullptr;
        else (n.*kSetters.at(name))(value, noLog);
    }
}

constexpr char kPkcs7[] =
    "content-type: application/pkcs7-mime; name=n; protocol=\"p/q\"; "
    "micalg=m; boundary=b; smime-type=s; type=t/u";

// A header that was not written keeps its spelling: "content-type: x/y;boundary=B".
struct Row {
    const char *header, *steps, *out;
} constexpr kRows[] = {
    {"A: 1", "defer=1|refresh|boundary=b|defer", "A: 1"},
    {"content-type: a/b;boundary=Xy", "boundary=xY", "content-type: a/b;boundary=Xy"},
    {"content-type: a/b;boundary=Xy", "boundary= z\r\n", "Content-Type: a/b; boundary=z"},
    {"A: 1|Content-Type: a/b", "name=n|protocol=p|micalg=m|smime-type=s|sub=t",
     "A: 1|Content-Type: a/b; name=n protocol=p micalg=m smime-type=s type=t"},
    {"content-type:A/b", "type=a/B", "content-type:A/b"},
    {"A: 1", "type= Image/PNG\r\n", "A: 1|Content-Type: image/png"},
    {"content-type: a/b", "stale=c/d", "content-type: a/b"},
    {kPkcs7, "type=text/plain", "Content-Type: text/plain; name=n boundary=b type=t/u"},
    {"content-type: MultiPart/x;boundary=b", "seven", "Content-Type: multipart/x; boundary=b"},
    {kPkcs7, "seven=text/html;N;P;M;B;S; ",
     "Content-Type: text/html; name=n protocol=P micalg=M boundary=b smime-type=S"},
    {"content-type: a/b;charset=latin1", "charset=iso-8859-1", "content-type: a/b;charset=latin1"},
    {"content-type: a/b;charset=latin1", "charset=x|charset", "content-type: a/b;charset=latin1"},
    {"A: 1", "two=inline; a b ",
     "A: 1|Content-Disposition: inline; filename=\" a b \"|*inline; a b "},
    {"A: 1|Content-Disposition: a; filename=b", "two", "A: 1"},
    {"A: 1", "filename=x y",
     "A: 1|Content-Disposition: attachment; filename=\"x y\"|*attachment;x y"},
    {"Content-Disposition: inline; filename=a", "filename=b",
     "Content-Disposition: inline; filename=\"b\"|*inline;b"},
    {"A: 1|Content-Disposition: ; filename=a", "filename=", "A: 1"},
    {"Content-Disposition: inline; filename=a", "disposition=attachment",
     "Content-Disposition: attachment; filename=\"a\"|*attachment;a"},
    {"A: 1", "two=inline; a |disposition=c", "A: 1|Content-Disposition: c; filename=\"a\"|*c;a"},
};

// The header with its lines unfolded; of the type's parameters neither quotes nor semicolons.
// Then "|*" and the disposition with its name, where the node was marked.
std::string outcome(const Node& n) {
    StringBuffer header = sb(headerOf(n));
    header.replaceAllOccurances("\r\n ", " ");
    std::string text = barred(str(header));
    if (const size_t type = text.find("Content-Type: "); type != text.npos) {
        std::erase(text, '"');
        for (size_t at = text.find(';', type); (at = text.find(';', at + 1)) != text.npos;)
            text.erase(at, 1);
    }
    if (n.m_modified && n.m_disposition.getSize() + n.m_filename.getSize())
        text += "|*" + str(n.m_disposition) + ";" + str(n.m_filename);
    return text;
}

TEST(Properties, Setters) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.steps);
        const NodePtr node = leaf(crlf(row.header));
        apply(*node, row.steps);
        EXPECT_EQ(outcome(*node), row.out);
        EXPECT_FALSE(node->m_deferContentTypeRefresh);
    }
    const NodePtr node = leaf("A: 1");
    apply(*node, "two=inline\r\nB: 2;x\r\nC: 3|type=a/b\r\nD: 4");
    EXPECT_EQ(fromBytes(headerOf(*node))->getNumHeaderFields(), 3) << headerOf(*node);
}

// Each from a text that it changes.
TEST(Properties, TextsOfTheNodeItself) {
    const std::string ten(10, 'x');
    const NodePtr node = leaf("Content-Type: application/octet-octet; boundary=" + ten + ten +
                              "b\r\nContent-Disposition: inline; filename=" + ten + ten + "f");
    node->setBoundary(node->m_contentType.m_boundary.getString() + 10, noLog);
    node->setFilenameUtf8(node->m_filename.getString() + 10, noLog);
    node->setContentType(node->getContentType() + 5, true, noLog);
    EXPECT_EQ(outcome(*node), "Content-Type: cation/octet-octet; boundary=" + ten +
                                  "b|Content-Disposition: inline filename=" + ten + "f|*inline;" +
                                  ten + "f");
    node->setContentDisposition(node->m_filename.getString() + 10, node->getDisposition(), noLog);
    EXPECT_EQ(str(node->m_disposition) + "," + str(node->m_filename), "f,inline");
    const NodePtr smime = leaf(kPkcs7);
    const _zqContentType& t = smime->m_contentType;
    smime->setContentType("text/plain", t.m_boundary.getString(), t.m_smimeType.getString(),
                          t.m_protocol.getString(), nullptr, nullptr, t.m_name.getString(), noLog);
    EXPECT_EQ(outcome(*smime), "Content-Type: text/plain; name=b protocol=s micalg=p/q type=n");
}

TEST(Properties, PlainTypesDropSmimeParameters) {
    const auto left = [](const char* type) {
        const NodePtr node = leaf(kPkcs7);
        node->setContentType(type, true, noLog);
        const _zqContentType& t = node->m_contentType;
        return str(t.m_protocol) + str(t.m_micalg) + str(t.m_smimeType);
    };
    for (const char* type : {"image/x", "Text/x", "application/octet-stream", "multipart/mixed",
                             "multipart/alternative", "multipart/related", "message/rfc822"})
        EXPECT_EQ(left(type), "") << type;
    for (const char* type : {"images/x", "text", "message/x", "multipart/signed", "application/x"})
        EXPECT_EQ(left(type), "p/qms") << type;
}

TEST(Properties, OnlyDispositionsMark) {
    const NodePtr node = leaf("Content-Disposition: inline");
    apply(*node, "seven=text/plain;n;p;m;b;s;t|charset=utf-8|no charset|two|disposition");
    EXPECT_FALSE(node->m_modified);
    EXPECT_TRUE(node->m_disposition.isEmpty());
    apply(*node, "disposition=inline");
    EXPECT_TRUE(node->m_modified);
}

}  // namespace
