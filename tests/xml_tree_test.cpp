// SPDX-License-Identifier: Apache-2.0

// A message as XML and back: every sample gives an equal tree, hostile headers and bodies too,
// and the reader makes of hand-written elements the header text and the nodes that it should.

#include <pthread.h>

#include "foundation/ClsXml.h"
#include "foundation/header/HeaderParams.h"
#include "foundation/LogText.h"
#include "foundation/TreeNode.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/header/header_fields.h"
#include "tests/node_support.h"
#include "tests/outline.h"

using namespace mimetree::inner;

using namespace std::string_literals;

namespace {

std::string toXml(MimeMessage2& node) {
    StringBuffer out;
    EXPECT_TRUE(node.getMimeXml(out, noLog));
    return str(out);
}

NodePtr fromXml(std::string_view xml, bool addPreamble = false, LogBase& log = noLog) {
    return NodePtr(MimeMessage2::createMimeFromXml(sb(xml), "mime_message", addPreamble, log));
}

// An element, for the operations that take one; it goes with its document.
struct Release {
    void operator()(TreeNode* root) const { VantrelObject::deleteObject(root->getDocument()); }
};
std::unique_ptr<TreeNode, Release> element(std::string_view xml) {
    return {TreeNode::customParseString(sb(xml), &noLog, true, false, false), Release()};
}

// What a field says, whatever its spelling.
std::string meaningOf(const std::string& name, const std::string& value) {
    std::string text;
    if (isXmlAddressField(name.c_str())) {
        ExtPtrArray list;
        _zqEmailAddress::parseAndLoadList(value.c_str(), list, 0, noLog);
        for (int i = 0; i < list.getSize(); ++i) {
            auto* one = static_cast<_zqEmailAddress*>(list.elementAt(i));
            one->m_displayName.getUtf8Sb_rw().qbDecode(noLog);
            text += "{" + str(one->m_displayName.getUtf8Sb()) + "}" + one->m_address.getUtf8();
        }
    } else if (sb(name).beginsWithIgnoreCase("content-") &&
               !sb(name).beginsWithIgnoreCase("content-desc")) {
        HeaderParams params(value.data(), static_cast<unsigned>(value.size()));
        StringBuffer main;
        params.getMainValue(main);
        text = str(main);
        while (params.next()) text += ";{" + str(params.name()) + "}" + str(params.value());
    }
    return text.empty() ? value : text;
}

// All that must survive, a line each.
std::string factsOf(MimeMessage2& root) {
    std::string out;
    for (MimeMessage2* node : nodesOf(root)) {
        out += escaped(std::string(node->getContentType()) + "|" + node->getCharset() + "|" +
                       std::to_string(node->getCharsetCodePage()) + node->getContentEncoding() +
                       "|" + node->getDisposition() + "|" + str(node->m_filename) + "|" +
                       str(node->m_contentType.m_name) + std::to_string(node->getNumParts()) +
                       bodyOf(*node));
        for (int i = 0; i < node->getNumHeaderFields(); ++i) {
            StringBuffer name, value;
            node->getHeaderFieldName(i, name, noLog);
            node->getHeaderFieldValue(i, /*decode*/ false, value, noLog);
            out += "\n" + escaped(str(name) + ": " + meaningOf(str(name), str(value)));
        }
        out += "\n";
    }
    return out;
}

void expectRoundTrip(MimeMessage2& node) {
    const std::string xml = toXml(node);
    LogText log;
    const NodePtr back = fromXml(xml, false, log);
    ASSERT_TRUE(back) << str(log.text()) << xml;
    EXPECT_EQ(factsOf(*back), factsOf(node)) << xml;
}

std::string child(const std::string& tag, const std::string& content) {
    return "<" + tag + ">" + content + "</" + tag + ">";
}

std::string messageXml(const std::string& header, const std::string& body) {
    return child("mime_message", child("header", header) + child("body", body));
}

// Multiparts in each other, and a text in the last.
std::string nested(const std::string& type, int levels) {
    std::string mail;
    for (int i = 0; i < levels; ++i) {
        const std::string boundary = "b" + std::to_string(i);
        mail += "Content-Type: multipart/" + type + "; boundary=" + boundary + "\r\n\r\n--" +
                boundary + "\r\n";
    }
    return mail + "Content-Type: text/plain\r\n\r\nbottom";
}

// -- There and back

TEST(XmlTree, EverySampleComesBack) {
    // Kept on purpose: a body with a zero byte becomes base64 that nothing declares, and types
    // that are no text lose their charset when a node is made from pieces.
    const std::string kLost = "coding/nul_bytes charset/binary_charset charset/json_latin1";
    for (const Sample& sample : loadSamples()) {
        SCOPED_TRACE(sample.name);
        MimeMessage2 node;
        load(node, sample.bytes, As::Bytes);
        if (kLost.find(sample.name) == kLost.npos) expectRoundTrip(node);
        else EXPECT_NE(factsOf(*fromXml(toXml(node))), factsOf(node));
    }
}

TEST(XmlTree, HostileFieldsComeBack) {
    const std::string kFields[] = {
        "Subject: ]]> <!-- & \" ' <x> &amp; &#65;",
        "Subject: \x01\x02\x7f \xe2\x80\xae \xef\xbf\xbe control"s + '\0' + "characters",
        "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe_=3C=00=3E?=", "Subject:",
        "Subject: a\r\nsubject: b\r\nSUBJECT: c", "A: 1\r\nstray line <x>\r\nB: 2",
        " From: stray@first.line\r\nA: 1",
        "1-digit: x\r\n-dash: y\r\n_x41_: z\r\nxml: w\r\n!#$%&'*+^`{|}~: v",
        // addresses
        "To: a@b, \"Name, C.\" <c@d>, =?utf-8?B?w6k=?= <e@f>, g@h (comment)",
        "tO: <a&b@c>, \"<\" <d@e>", "To: \"quo\\\"te \\\\ slash\" <a@b>",
        "To:\r\nCc: ,,\r\nBcc: not an address",
        "From: <>\r\nReturn-Path: <>\r\nX-Rcpt-To: a@b\r\nZQX-Bounce-Address: c@d",
        "Resent-To: Group: a@b;",
        // parameters
        "Content-Type: text/plain; charset=\"utf-8\"; format = flowed; x-a=\"a;b <>&'\"",
        "Content-Type: text/plain; charset=utf-8; charset=koi8-r",
        "Content-Type: text/plain (comment); charset=utf-8 (c)",
        "Content-Type: text/plain; name=\"a \\\"b\\\" c\"; charset=utf-8",
        "Content-Type: ; charset=utf-8",
        "Content-Type: text/plain; charset=utf-8; 1bad=x; xmlns=y; xml:lang=z; a\x01=b",
        "Content-Disposition: attachment; filename*0*=utf-8''%41%3C; filename*1=\"b c\"",
        "Content-Disposition: attachment; filename=unquoted with blanks.txt",
        "Content-Disposition: attachment; filename==?utf-8?Q?a_b=3Bc.txt?=",
        "Content-Disposition: attachment; novalue; filename=x.txt",
        "Content-Description: a; b=\"c\"; d"};
    for (const std::string& fields : kFields) {
        SCOPED_TRACE(escaped(fields));
        expectRoundTrip(*fromBytes(fields + "\r\n\r\nbody\r\n"));
    }
}

TEST(XmlTree, HostileBodiesComeBack) {
    const std::string_view kBodies[] = {"", "hi", "]]>", "]]]]>>", "<![CDATA[ x ]]>",
                                        "a\nb\rc\r\nd\r\r\ne", " \t lead and trail \t",
                                        // and what we write ourselves
                                        "\x01\x0b\x1f\x7f\xc2\x9b\xef\xbf\xbf",
                                        "<?mimetree-bytes 41?>", "\u5c71 \U0001F600",
                                        "<subpart><mime_message/></subpart>"};
    const std::string type =
        "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: ";
    for (const char* coding : {"8bit", "base64", "Quoted-Printable", ""})
        for (const std::string_view body : kBodies) {
            SCOPED_TRACE(coding + (": " + escaped(body)));
            expectRoundTrip(*leaf(type + coding, body));
        }
    expectRoundTrip(*leaf("Content-Type: image/png\r\nContent-Transfer-Encoding: binary",
                          "\xff\xfe\x80]]>\xc0\xaf\r\r\n"));
}

// -- The XML

TEST(XmlTree, FormOfFieldAndBody) {
    const std::pair<std::string, const char*> rows[] = {
        {"X-A:  <&> ", "\n<X-A>&lt;&amp;&gt;</X-A>\n"},
        {"to: Group: a@b;", "\n<_x74_o>Group: a@b;</_x74_o>\n"},
        {"Content-Type: a/b ; X=1;y = \"2\" ;",
         "\n<Content-Type X=\"1\" y=\"2\">a/b</Content-Type>\n"},
        {"Content-Type: a/b; z*=a'",
         "\n<Content-Type z__ASTERISK__=\"a&apos;\">a/b</Content-Type>\n"},
        {"Content-Type: a/b; x=1 (c)", "\n<Content-Type>a/b; x=1 (c)</Content-Type>\n"},
        {"Content-Type: a/b; x=1; novalue", "\n<Content-Type>a/b; x=1; novalue</Content-Type>\n"},
        {"Content-Type: a/b; x=1; x=2", "\n<Content-Type>a/b; x=1; x=2</Content-Type>\n"},
        {"Content-Description: a; b=c", "\n<Content-Description>a; b=c</Content-Description>\n"},
        {"A: 1", "<body><![CDATA[aGk=]]></body>"},
        {"Content-Transfer-Encoding: BASE64", "<body>aGk="},
        {"Content-Transfer-Encoding: quoted-printable", "<body>aGk=3D"},
    };
    for (const auto& [field, part] : rows) {
        const std::string xml = toXml(*leaf(field, field.ends_with("64") ? "hi" : "aGk="));
        EXPECT_NE(xml.find(part), std::string::npos) << xml;
    }
    const NodePtr back =
        fromXml(toXml(*fromBytes("Subject:" + repeated(" word", 40) + "\r\n\r\nx")));
    EXPECT_LE(headerOf(*back).find('\r'), 78u);
}

TEST(XmlTree, Structure) {
    const NodePtr node = fromBytes(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: a/b/c\r\n\r\nx\r\n"
        "--b\r\nContent-Type: x/y\r\n\r\nx\r\n--b--\r\n");
    const auto structure = [&](int format, int indent) {
        StringBuffer out;
        node->getMimeStructure(format, indent, out, noLog);
        return str(out);
    };
    EXPECT_EQ(structure(1, 0),
              "<multipart-mixed>\r\n    <a-b-c />\r\n    <x-y />\r\n</multipart-mixed>\r\n");
    EXPECT_EQ(structure(0, 2), "  multipart/mixed\r\n      a/b/c\r\n      x/y\r\n");
    EXPECT_EQ(structure(7, 0), "multipart/mixed\r\n    a/b/c\r\n    x/y\r\n");
    // A null slot counts as a child, and is not shown.
    node->removePart(0, noLog);
    const NodePtr taken(node->getPart(0));
    node->m_subParts.setAt(0, nullptr);
    EXPECT_EQ(structure(1, 0), "<multipart-mixed>\r\n</multipart-mixed>\r\n");
    EXPECT_EQ(toXml(*node).find("subpart"), std::string::npos);
}

TEST(XmlTree, NeedsCData) {
    const MimeMessage2 node;
    for (const char* yes : {"a&b", "<", ">", "\n", "\t", "<![CDATA[<", "]]>"})
        EXPECT_TRUE(node.needsCData(yes)) << yes;
    for (const char* no : {"", "plain \r\"'", "<![CDATA[ & ]]>", "]]> & <![CDATA["})
        EXPECT_FALSE(node.needsCData(no)) << no;
}

// -- Elements to header text

const TextRow kElementRows[] = {
    {"two addresses", "<to><e><addr>A</addr><name>N</name></e><e><addr>B</addr><name/></e></to>",
     "to: \"N\" <A>,\n\t<B>\n"},
    {"an entry without a name element is skipped, whatever the entry's tag",
     "<CC>text<x><addr>A</addr></x><y><name>N</name><addr>B&amp;</addr></y></CC>",
     "CC: \"N\" <B&>\n"},
    {"no entries", "<Reply-To>a@b</Reply-To>", "Reply-To: \n"},
    {"names are trimmed, and 8-bit words decoded in small letters only",
     "<bcc><e><addr>A</addr><name> =?8bit?Q?=C3=A9?= </name></e>"
     "<e><addr>B</addr><name>=?8BIT?Q?x?=</name></e></bcc>",
     "bcc: \"\xc3\xa9\" <A>,\n\t\"=?8BIT?Q?x?=\" <B>\n"},
    {"an address field spelled to be taken whole", "<_x54_o>a; b</_x54_o>", "To: a; b\n"},
    {"an empty attribute goes", "<T a=\"1\" b=\"\">x/y</T>", "T: x/y; a=\"1\"\n"},
    {"a star", "<T f__ASTERISK__0__ASTERISK__=\"&lt;\"> x </T>", "T:  x; f*0*=\"<\"\n"},
    {"8-bit words, any case", "<T>a =?8BIT?Q?=C3=A9?=</T>", "T: a \xc3\xa9\n"},
    {"words in other charsets stay", "<T>=?utf-8?Q?x?=</T>", "T: =?utf-8?Q?x?=\n"},
    {"nothing", "<T/>", "T:\n"},
    {"a line without name", "<_x_>stray</_x_>", "stray\n"},
};

TEST(XmlTree, HeaderTextOfElements) {
    expectRows(kElementRows, [](const std::string& xml) {
        StringBuffer text = sb(" \n A: 1\n");
        EXPECT_TRUE(MimeMessage2::addNodeToHeader(*element(xml), text, noLog));
        const std::string all = str(text);
        return all.substr(all.find("A: 1\n") + 5);
    });
    StringBuffer text = sb(" \n A: 1\n");
    EXPECT_TRUE(MimeMessage2::addNodeToHeader(*element("<B>2 </B>"), text, noLog));
    EXPECT_EQ(str(text), "A: 1\nB: 2\n");
}

TEST(XmlTree, SignedPartsAreWritten) {
    // Limit: beyond sixteen signatures in each other, the bytes would be the square of them.
    for (const int levels : {1, 16, 17, 20000}) {
        LogText log;
        const NodePtr back = fromXml(toXml(*fromBytes(nested("signed", levels))), false, log);
        const std::string text = written(*back);
        EXPECT_EQ(str(log.text()).find("too deep") == std::string::npos, levels <= 16);
        EXPECT_EQ(text.find("bottom") != std::string::npos, levels <= 16) << levels;
        EXPECT_TRUE(levels > 16 || written(*fromBytes(text)) == text);
    }
}

// -- Documents to nodes

TEST(XmlTree, WhichElementsMakeMessages) {
    const std::string inner = messageXml("<A>2</A>", "x");
    const std::string outer = messageXml(
        "<A>1</A>", child("subpart", inner) + "text<other/>" + child("subpart", "<bad/>"));
    const std::pair<std::string, int> rows[] = {
        {outer, 1},
        {child("r", child("s", outer) + inner), 2},
        {"<r><Mime_Message/></r>", 0},
        {child("r", "<mime_message><header/></mime_message>" + inner), 1},
        {repeated("<a>", 100000) + inner + repeated("</a>", 100000), 1},
    };
    for (const auto& [xml, outermost] : rows) {
        ExtPtrArray made;
        EXPECT_TRUE(MimeMessage2::createMultipleFromXml(sb(xml), nullptr, made, false, noLog));
        EXPECT_EQ(made.getSize(), outermost) << xml.substr(0, 300);
    }
    ExtPtrArray none;
    EXPECT_FALSE(MimeMessage2::createMultipleFromXml(sb("<r>"), nullptr, none, false, noLog));
    EXPECT_FALSE(fromXml("<r>") || fromXml("<mime_message><body/></mime_message>"));
    const std::string preamble = "This is a multi-part message in MIME format.";
    EXPECT_EQ(contentOf(*fromXml(child("r", outer + inner))), "A: 1|;;;;;;;||(A: 2|;;;;;;;|x|)");
    EXPECT_EQ(bodyOf(*fromXml(outer, /*addPreamble*/ true)), preamble);
    EXPECT_EQ(bodyOf(*fromXml(inner, /*addPreamble*/ true)), "x");
    EXPECT_EQ(bodyOf(*fromXml(messageXml("", ""), /*addPreamble*/ true)), "");
}

TEST(XmlTree, BodyOfElement) {
    const std::string part = child("subpart", messageXml("<A>1</A>", "x") + messageXml("", ""));
    StringBuffer text;
    ExtPtrArray parts;
    for (const std::string& content : {"a" + part + "b<other/>" + part, "a &lt;<![CDATA[<b>]]>"s}) {
        const auto body = element(child("body", content));
        EXPECT_TRUE(MimeMessage2::buildBodyFromXml(*body, text, parts, false, noLog));
        EXPECT_EQ(parts.getSize(), 2);
    }
    EXPECT_EQ(str(text), "a <<b>");
}

// -- Depth

void* depthCostsNoStack(void*) {
    constexpr int kDepth = 100000;
    const NodePtr node = fromBytes(nested("mixed", kDepth));
    const std::string xml = toXml(*node);
    const NodePtr back = fromXml(xml);
    const std::vector<MimeMessage2*> nodes = nodesOf(*back);
    EXPECT_EQ(nodes.size(), kDepth + 1u);
    EXPECT_EQ(bodyOf(*nodes.back()), "bottom");
    EXPECT_TRUE(toXml(*back) == xml);
    return nullptr;
}

TEST(XmlTree, DepthCostsNoStack) {
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, depthCostsNoStack, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace
