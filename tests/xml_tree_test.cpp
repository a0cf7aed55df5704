// SPDX-License-Identifier: Apache-2.0

// A message as XML and back: every sample gives an equal tree, hostile headers and bodies too,
// and the reader makes of hand-written elements the header text and the nodes that it should.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <functional>

#include "foundation/ClsXml.h"
#include "foundation/HeaderParams.h"
#include "foundation/LogText.h"
#include "foundation/TreeNode.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/header_fields.h"
#include "tests/node_support.h"
#include "tests/outline.h"

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

// The document of one element, for the operations that take elements.
class Element {
public:
    explicit Element(std::string_view xml)
        : m_root(TreeNode::customParseString(sb(xml), &noLog, true, false, false)) {}
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    ~Element() { VantrelObject::deleteObject(m_root->getDocument()); }
    TreeNode& operator*() const { return *m_root; }

private:
    TreeNode* m_root;
};

bool startsWith(const std::string& name, const char* prefix) {
    return sb(name).beginsWithIgnoreCase(prefix);
}

std::string addressesIn(const std::string& value) {
    ExtPtrArray list;
    std::string text;
    _zqEmailAddress::parseAndLoadList(value.c_str(), list, 0, noLog);
    for (int i = 0; i < list.getSize(); ++i) {
        auto* one = static_cast<_zqEmailAddress*>(list.elementAt(i));
        one->m_displayName.getUtf8Sb_rw().qbDecode(noLog);
        text += "{" + str(one->m_displayName.getUtf8Sb()) + "}" + str(one->m_address.getUtf8Sb());
    }
    return text.empty() ? value : text;
}

std::string paramsIn(const std::string& value) {
    HeaderParams params(value.data(), static_cast<unsigned>(value.size()));
    StringBuffer main;
    params.getMainValue(main);
    std::string text = str(main);
    while (params.next()) text += ";{" + str(params.name()) + "}" + str(params.value());
    return text;
}

// What a field says, whatever its spelling.
std::string meaningOf(const std::string& name, const std::string& value) {
    if (isXmlAddressField(name.c_str())) return addressesIn(value);
    if (startsWith(name, "content-") && !startsWith(name, "content-desc")) return paramsIn(value);
    return value;
}

// All that must survive, a line each.
std::string factsOf(MimeMessage2& root) {
    std::string out;
    for (MimeMessage2* node : nodesOf(root)) {
        out += std::string("NODE ") + node->getContentType() + " " + node->getCharset() + " " +
               std::to_string(node->getCharsetCodePage()) + " " + node->getContentEncoding() + " " +
               node->getDisposition() + " file=" + escaped(str(node->m_filename)) +
               " name=" + escaped(str(node->m_contentType.m_name)) +
               " parts=" + std::to_string(node->getNumParts()) + " body=" + escaped(bodyOf(*node)) +
               "\n";
        for (int i = 0; i < node->getNumHeaderFields(); ++i) {
            StringBuffer name, value;
            node->getHeaderFieldName(i, name, noLog);
            node->getHeaderFieldValue(i, /*decode*/ false, value, noLog);
            out += escaped(str(name) + ": " + meaningOf(str(name), str(value))) + "\n";
        }
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

}  // namespace

// -- There and back

TEST(XmlTree, EverySampleComesBack) {
    // Kept on purpose: a body with a zero byte becomes base64 that nothing declares, and types
    // that are no text lose their charset when a node is made from pieces.
    const std::string kLost[] = {"coding/nul_bytes", "charset/binary_charset",
                                 "charset/json_latin1"};
    const std::vector<Sample> samples = loadSamples();
    EXPECT_GT(samples.size(), 20u);
    for (const Sample& sample : samples) {
        SCOPED_TRACE(sample.name);
        MimeMessage2 node;
        load(node, sample.bytes, As::Bytes);
        if (std::find(std::begin(kLost), std::end(kLost), sample.name) != std::end(kLost)) {
            EXPECT_NE(factsOf(*fromXml(toXml(node))), factsOf(node));
            continue;
        }
        expectRoundTrip(node);
    }
}

TEST(XmlTree, HostileFieldsComeBack) {
    const std::string kFields[] = {
        "Subject: ]]> <!-- & \" ' <x> &amp; &#65;",
        "Subject: \x01\x02\x7f \xe2\x80\xae \xef\xbf\xbe control"s + '\0' + "characters",
        "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe_=3C=00=3E?=",
        "Subject:",
        "Subject: a\r\nsubject: b\r\nSUBJECT: c",
        "no field at all",
        "A: 1\r\nstray line <x>\r\nB: 2",
        " From: stray@first.line\r\nA: 1",
        "1-digit: x\r\n-dash: y\r\n_x41_: z\r\nxml: w\r\n!#$%&'*+^`{|}~: v",
        "To: a@b, \"Name, C.\" <c@d>, =?utf-8?B?w6k=?= <e@f>, g@h (comment)",
        "tO: <a&b@c>, \"<\" <d@e>",
        "To: Group: a@b, c@d;, e@f",
        "To: undisclosed-recipients:;",
        "To: \"quo\\\"te \\\\ slash\" <a@b>",
        "To: =?utf-8?Q?=22quoted=22?= <a@b>",
        "To:\r\nCc: ,,\r\nBcc: not an address",
        "From: <>\r\nReturn-Path: <>\r\nX-Rcpt-To: a@b\r\nZQX-Bounce-Address: c@d",
        "Resent-To: Group: a@b;",
        "Content-Type: text/plain; charset=\"utf-8\"; format = flowed; x-a=\"a;b <>&'\"",
        "Content-Type: text/plain; charset=utf-8; charset=koi8-r",
        "Content-Type: text/plain (comment); charset=utf-8 (c)",
        "Content-Type: text/plain; name=\"a \\\"b\\\" c\"; charset=utf-8",
        "Content-Type: text/plain; novalue; charset=utf-8;;",
        "Content-Type: ; charset=utf-8",
        "Content-Type: text/plain; charset=utf-8; 1bad=x; xmlns=y; xml:lang=z; a\x01=b",
        "Content-Disposition: attachment; filename*0*=utf-8''%41%3C; filename*1=\"b c\"",
        "Content-Disposition: attachment; filename=unquoted with blanks.txt",
        "Content-Disposition: attachment; filename==?utf-8?Q?a_b=3Bc.txt?=",
        "Content-Disposition: attachment; novalue; filename=x.txt",
        "Content-Description: a; b=\"c\"; d",
        "Content-ID: <a&b@c>",
    };
    for (const std::string& fields : kFields) {
        SCOPED_TRACE(escaped(fields));
        expectRoundTrip(*fromBytes(fields + "\r\n\r\nbody\r\n"));
    }
}

TEST(XmlTree, HostileBodiesComeBack) {
    const std::string kBodies[] = {
        "",
        "hi",
        "]]>",
        "]]]]>>",
        "<![CDATA[ x ]]>",
        "a\nb\rc\r\nd\r\r\ne",
        " \t lead and trail \t",
        "\x01\x0b\x1f\x7f\xc2\x9b\xef\xbf\xbf",
        "<?mimetree-bytes 41?>",
        "\xe5\xb1\xb1 \xf0\x9f\x98\x80",
        "<subpart><mime_message/></subpart>",
    };
    for (const char* coding : {"8bit", "base64", "Quoted-Printable", ""})
        for (const std::string& body : kBodies) {
            SCOPED_TRACE(coding + (": " + escaped(body)));
            const NodePtr node = leaf(std::string("Content-Type: text/plain; charset=utf-8\r\n") +
                                          "Content-Transfer-Encoding: " + coding,
                                      body);
            expectRoundTrip(*node);
        }
    const NodePtr binary = leaf("Content-Type: image/png\r\nContent-Transfer-Encoding: binary",
                                "\xff\xfe\x80]]>\xc0\xaf\r\r\n");
    expectRoundTrip(*binary);
}

// -- The XML

TEST(XmlTree, LeafAndMultipart) {
    const NodePtr plain = fromBytes("Content-Type: text/plain; name*=utf-8''a\r\n\r\nhi");
    EXPECT_NE(
        toXml(*plain).find("<Content-Type name__ASTERISK__=\"utf-8&apos;&apos;a\">text/plain<"),
        std::string::npos);
    EXPECT_NE(toXml(*plain).find("<body><![CDATA[hi]]></body>"), std::string::npos);
    const NodePtr coded = fromBytes("Content-Transfer-Encoding: BASE64\r\n\r\naGk=\r\n");
    EXPECT_EQ(toXml(*coded).find("CDATA"), std::string::npos);
    EXPECT_NE(toXml(*coded).find("<body>aGk="), std::string::npos);

    // With parts and bytes of its own, a node writes both, and parts alone are read.
    NodePtr both = fromBytes(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nA: 1\r\n\r\nfirst\r\n--b\r\nA: 2\r\n\r\nsecond\r\n--b--\r\n");
    const auto* own = reinterpret_cast<const unsigned char*>("own");
    both->setMimeBodyBinary2(own, 3, noLog);
    EXPECT_NE(toXml(*both).find("own"), std::string::npos);
    const NodePtr back = fromXml(toXml(*both));
    EXPECT_EQ(outline(static_cast<const MimeMessage2&>(*back)),
              outline(*fromBytes(written(*back))));
    EXPECT_EQ(back->getNumParts(), 2);
    EXPECT_EQ(bodyOf(*back), "");
}

TEST(XmlTree, FormOfField) {
    struct Row {
        const char* field;
        const char* element;
    };
    const Row rows[] = {
        {"X-A:  <&> ", "<X-A>&lt;&amp;&gt;</X-A>"},
        {"to: Group: a@b;", "<_x74_o>Group: a@b;</_x74_o>"},
        {"Content-Type: a/b ; X=1;y = \"2\" ;", "<Content-Type X=\"1\" y=\"2\">a/b</Content-Type>"},
        {"Content-Type: a/b; x=1 (c)", "<Content-Type>a/b; x=1 (c)</Content-Type>"},
        {"Content-Type: a/b; x=1; novalue", "<Content-Type>a/b; x=1; novalue</Content-Type>"},
        {"Content-Type: a/b; x=1; x=2", "<Content-Type>a/b; x=1; x=2</Content-Type>"},
        {"Content-Description: a; b=c", "<Content-Description>a; b=c</Content-Description>"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.field);
        const std::string xml = toXml(*fromBytes(std::string(row.field) + "\r\n\r\nx"));
        EXPECT_NE(xml.find("\n" + std::string(row.element) + "\n"), std::string::npos) << xml;
    }
}

TEST(XmlTree, LongFieldsAreFolded) {
    std::string subject = "Subject:";
    for (int i = 0; i < 40; ++i) subject += " word";
    const NodePtr back = fromXml(toXml(*fromBytes(subject + "\r\n\r\nx")));
    EXPECT_LE(headerOf(*back).find('\r'), 78u);
}

TEST(XmlTree, Structure) {
    const NodePtr node = fromBytes(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\nx\r\n"
        "--b\r\nContent-Type: a/b/c\r\n\r\nx\r\n--b--\r\n");
    struct Row {
        int format, indent;
        const char* out;
    };
    const Row rows[] = {
        {1, 0,
         "<multipart-mixed>\r\n    <text-plain />\r\n    <a-b-c />\r\n</multipart-mixed>\r\n"},
        {0, 2, "  multipart/mixed\r\n      text/plain\r\n      a/b/c\r\n"},
        {7, 0, "multipart/mixed\r\n    text/plain\r\n    a/b/c\r\n"},
    };
    for (const Row& row : rows) {
        StringBuffer out;
        node->getMimeStructure(row.format, row.indent, out, noLog);
        EXPECT_EQ(str(out), row.out);
    }
    // A null slot counts as a child, and is not shown.
    ExtPtrArray slots;
    const NodePtr hollow = fromBytes("Content-Type: x/y\r\n\r\n");
    hollow->addPart(MimeMessage2::createNewObject());
    const NodePtr taken(hollow->getPart(0));
    hollow->m_subParts.setAt(0, nullptr);
    StringBuffer out;
    hollow->getMimeStructure(1, 0, out, noLog);
    EXPECT_EQ(str(out), "<x-y>\r\n</x-y>\r\n");
    EXPECT_EQ(toXml(*hollow).find("subpart"), std::string::npos);
}

TEST(XmlTree, NeedsCData) {
    const MimeMessage2 node;
    for (const char* yes : {"a&b", "<", ">", "\n", "\t", "<![CDATA[<", "]]>"})
        EXPECT_TRUE(node.needsCData(yes)) << yes;
    for (const char* no : {"", "plain \r\"'", "<![CDATA[ & ]]>", "]]> & <![CDATA["})
        EXPECT_FALSE(node.needsCData(no)) << no;
    EXPECT_FALSE(node.needsCData(nullptr));
}

// -- Elements to header text

TEST(XmlTree, HeaderTextOfElements) {
    struct Row {
        const char* what;
        const char* element;
        const char* text;
    };
    const Row rows[] = {
        {"two addresses",
         "<to><e><addr>A</addr><name>N</name></e><e><addr>B</addr><name/></e></to>",
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
        {"a star", "<T filename__ASTERISK__0__ASTERISK__=\"&lt;\"> x </T>",
         "T:  x; filename*0*=\"<\"\n"},
        {"8-bit words, any case", "<T>a =?8BIT?Q?=C3=A9?=</T>", "T: a \xc3\xa9\n"},
        {"words in other charsets stay", "<T>=?utf-8?Q?x?=</T>", "T: =?utf-8?Q?x?=\n"},
        {"nothing", "<T/>", "T:\n"},
        {"a line without name", "<_x_>stray</_x_>", "stray\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Element element(row.element);
        StringBuffer text = sb("A: 1\n");
        EXPECT_TRUE(MimeMessage2::addNodeToHeader(*element, text, noLog));
        EXPECT_EQ(str(text), std::string("A: 1\n") + row.text);
    }
    StringBuffer text = sb(" \n A: 1\n");
    EXPECT_TRUE(MimeMessage2::addNodeToHeader(*Element("<B>2 </B>"), text, noLog));
    EXPECT_EQ(str(text), "A: 1\nB: 2\n");
}

TEST(XmlTree, SignedPartsAreWritten) {
    // Limit: beyond sixteen signatures in each other, the bytes would be the square of them.
    for (const int levels : {1, 16, 17, 20000}) {
        SCOPED_TRACE(levels);
        std::string mail;
        for (int i = 0; i < levels; ++i) {
            const std::string boundary = "b" + std::to_string(i);
            mail += "Content-Type: multipart/signed; boundary=\"" + boundary + "\"\r\n\r\n--" +
                    boundary + "\r\n";
        }
        mail += "Content-Type: text/plain\r\n\r\nbottom\r\n";
        const NodePtr node = fromBytes(mail);
        LogText log;
        const NodePtr back = fromXml(toXml(*node), false, log);
        const bool isKept = levels <= 16;
        EXPECT_EQ(str(log.text()).find("too deep") == std::string::npos, isKept);
        EXPECT_EQ(written(*back).find("bottom") != std::string::npos, isKept);
        if (!isKept) continue;
        EXPECT_EQ(written(*fromBytes(written(*back))), written(*back));
    }
}

// -- Documents to nodes

TEST(XmlTree, WhichElementsMakeMessages) {
    const std::string inner = messageXml("<A>2</A>", "x");
    const std::string outer = messageXml(
        "<A>1</A>", child("subpart", inner) + "text<other/>" + child("subpart", "<bad/>"));
    struct Row {
        const char* what;
        std::string xml;
        int outermost;
    };
    const Row rows[] = {
        {"the root", outer, 1},
        {"two beside each other", child("r", child("s", outer) + inner), 2},
        {"none", "<r/>", 0},
        {"the tag in other letters", "<r><Mime_Message/></r>", 0},
        {"one without a body", child("r", "<mime_message><header/></mime_message>" + inner), 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ExtPtrArray made;
        EXPECT_TRUE(MimeMessage2::createMultipleFromXml(sb(row.xml), nullptr, made, false, noLog));
        EXPECT_EQ(made.getSize(), row.outermost);
    }
    ExtPtrArray none;
    EXPECT_FALSE(MimeMessage2::createMultipleFromXml(sb("<r>"), nullptr, none, false, noLog));
    EXPECT_FALSE(fromXml("<r>"));
    EXPECT_FALSE(fromXml("<mime_message><body/></mime_message>"));

    const NodePtr first = fromXml(child("r", outer + inner));
    ASSERT_TRUE(first);
    EXPECT_EQ(headerOf(*first), "A: 1");
    EXPECT_EQ(first->getNumParts(), 1);
    EXPECT_EQ(bodyOf(*first), "");
    EXPECT_EQ(bodyOf(*first->getPart(0)), "x");
    EXPECT_EQ(bodyOf(*fromXml(outer, /*addPreamble*/ true)),
              "This is a multi-part message in MIME format.");
    EXPECT_EQ(bodyOf(*fromXml(inner, /*addPreamble*/ true)), "x");
}

TEST(XmlTree, BodyOfElement) {
    const std::string part = child("subpart", messageXml("<A>1</A>", "x") + messageXml("", ""));
    StringBuffer text;
    ExtPtrArray parts;
    const Element mixed(child("body", "a" + part + "b<other/>" + part));
    EXPECT_TRUE(MimeMessage2::buildBodyFromXml(*mixed, text, parts, false, noLog));
    EXPECT_EQ(str(text), "");
    EXPECT_EQ(parts.getSize(), 2);
    const Element plain("<body>a &lt;<![CDATA[<b>]]></body>");
    EXPECT_TRUE(MimeMessage2::buildBodyFromXml(*plain, text, parts, false, noLog));
    EXPECT_EQ(str(text), "a <<b>");
    EXPECT_EQ(parts.getSize(), 2);
}

// -- Depth

namespace {

void* runAndReturn(void* work) {
    (*static_cast<std::function<void()>*>(work))();
    return nullptr;
}

void onSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, runAndReturn, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace

TEST(XmlTree, DepthCostsNoStack) {
    constexpr int kDepth = 100000;
    std::string mail;
    for (int i = 0; i < kDepth; ++i)
        mail += "Content-Type: multipart/mixed; boundary=b" + std::to_string(i) + "\r\n\r\n--b" +
                std::to_string(i) + "\r\n";
    mail += "Content-Type: text/plain\r\n\r\nbottom";
    onSmallStack([&] {
        const NodePtr node = fromBytes(mail);
        const std::string xml = toXml(*node);
        const NodePtr back = fromXml(xml);
        ASSERT_TRUE(back);
        const std::vector<MimeMessage2*> nodes = nodesOf(*back);
        EXPECT_EQ(nodes.size(), kDepth + 1u);
        EXPECT_EQ(bodyOf(*nodes.back()), "bottom");
        EXPECT_TRUE(toXml(*back) == xml);
        ExtPtrArray made;
        const std::string deep = [&] {
            std::string text;
            for (int i = 0; i < kDepth; ++i) text += "<a>";
            text += messageXml("<A>1</A>", "x");
            for (int i = 0; i < kDepth; ++i) text += "</a>";
            return text;
        }();
        EXPECT_TRUE(MimeMessage2::createMultipleFromXml(sb(deep), nullptr, made, false, noLog));
        EXPECT_EQ(made.getSize(), 1);
    });
}
