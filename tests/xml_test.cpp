// SPDX-License-Identifier: Apache-2.0

// XML: what the reader takes and refuses, how the writer spells content, and the law that
// what ClsXml prints TreeNode reads back, byte for byte.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/ClsXml.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/LogText.h"
#include "foundation/TreeNode.h"
#include "tests/support.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

struct Release {
    void operator()(ClsXml* xml) const { xml->deleteSelf(); }
    void operator()(TreeNode* root) const { VantrelObject::deleteObject(root->getDocument()); }
};
using Xml = std::unique_ptr<ClsXml, Release>;
using Tree = std::unique_ptr<TreeNode, Release>;

Tree parse(std::string_view xml, LogBase* log = nullptr) {
    return Tree(TreeNode::customParseString(sb(xml), log, true, false, false));
}

std::string print(const Xml& xml) {
    StringBuffer out;
    LogNull log;
    EXPECT_TRUE(xml->getXml(false, out, log));
    return str(out);
}

std::string content(const TreeNode& node) {
    StringBuffer out;
    EXPECT_TRUE(node.copyDecodeContent(out));
    return str(out);
}

std::string attribute(const TreeNode& node, int i) {
    StringBuffer name, value;
    EXPECT_TRUE(node.getAttributeName(i, name) && node.getAttributeValue(i, value));
    return str(name) + '=' + str(value);
}

// tag{attribute=value}[content](children)
std::string outline(const TreeNode& node) {
    std::string text = node.getTag();
    for (int i = 0; i < node.getNumAttributes(); ++i) text += '{' + attribute(node, i) + '}';
    if (const std::string own = content(node); !own.empty()) text += '[' + own + ']';
    if (node.getNumChildren()) text += '(';
    for (int i = 0; i < node.getNumChildren(); ++i)
        text += (i ? " " : "") + outline(*node.getChild(i));
    return node.getNumChildren() ? text + ')' : text;
}

struct ReadRow {
    const char* what;
    std::string_view xml, outline;
};
constexpr ReadRow kReadRows[] = {
    {"empty element", "<a/>", "a"},
    {"blanks in tags", "<a ><b\n/></a\t>", "a(b)"},
    {"byte order mark, declaration", "\xEF\xBB\xBF<?xml version='1.0' standalone='yes' ?><a/>",
     "a"},
    {"declaration of another encoding", "<?xml version=\"1.0\" encoding=\"latin1\"?>\n<a/>", "a"},
    {"comments and instructions", "<!-- - --><?x?><a>1<!--<b>-->2<?y <b> ?>3</a><!----><?z ?>",
     "a[123]"},
    {"doctype with internal subset",
     "<!DOCTYPE a PUBLIC 'p]>' \"s\" [<!ENTITY e ']>'> %pe; <!-- ' ]> --> <?q ' ]> ?>"
     "<!ATTLIST a b CDATA \">\">] ><a/>",
     "a"},
    {"five entities", "<a b='&lt;&apos;&quot;'>&lt;&gt;&amp;&apos;&quot;&amp;lt;</a>",
     "a{b=<'\"}[<>&'\"&lt;]"},
    {"character references", "<a>&#65;&#x42;&#x00000e9;&#x20AC;&#x1F600;&#13;</a>",
     "a[AB\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\r]"},
    {"CDATA", "<a>1<![CDATA[<b>&lt;]]]]><![CDATA[>]]>2</a>", "a[1<b>&lt;]]>2]"},
    {"text around children", "<a>1<b>x<c>y</c>z</b >2<d e='>'/>3</a >",
     "a[123](b[xz](c[y]) d{e=>})"},
    {"line ends in text", "<a>1\r\n2\r3\n4<![CDATA[\r\n\r]]></a>", "a[1\n2\n3\n4\n\n]"},
    {"white space in values", "<a b='1\r\n2\t3\r4\n5&#10;&#9;&#13;'/>", "a{b=1 2 3 4 5\n\t\r}"},
    {"quotes in values", "<a b='\"' c=\"'\"/>", "a{b=\"}{c='}"},
    {"names beyond ASCII", "<\xC3\xA9:\xF0\x90\x80\x80-1.\xC2\xB7/>",
     "\xC3\xA9:\xF0\x90\x80\x80-1.\xC2\xB7"},
    {"white space only", "<a> <b>\t</b>\n</a>", "a[ \n](b[\t])"},
    {"spelled bytes",
     "<a b='\xE2\x90\x9B"
     "00\xE2\x90\x9B"
     "fF\xE2\x90\x9B"
     "0'>1<?mimetree-bytes 00fF?>2</a>",
     "a{b=\0\xFF\xE2\x90\x9B"
     "0}[1\0\xFF"
     "2]"sv},
    {"closing brackets in text", "<a>]] > ]></a>", "a[]] > ]>]"},
};

TEST(XmlReader, TakesWellFormedDocuments) {
    for (const ReadRow& row : kReadRows) {
        SCOPED_TRACE(row.what);
        const Tree root = parse(row.xml);
        ASSERT_TRUE(root);
        EXPECT_EQ(outline(*root), row.outline);
    }
}

struct FaultRow {
    std::string_view xml;
    const char* fault;  // as the log tells it
};
constexpr FaultRow kFaultRows[] = {
    {"", "line 1, column 1: there is no element."},
    {" \n<!---->", "line 2, column 8: there is no element."},
    {"<a>\r\n<b>\r\xC3\xA9</a>", "line 3, column 2: an end tag that does not match its start tag."},
    {"<a></ab>", "line 1, column 4: an end tag that does not match its start tag."},
    {"<ab></a>", "line 1, column 5: an end tag that does not match its start tag."},
    {"<a><b></a></b>", "line 1, column 7: an end tag that does not match its start tag."},
    {"<a/>\n<b/>", "line 2, column 1: more than the root element."},
    {"<a/>x", "line 1, column 5: more than the root element."},
    {"x<a/>", "line 1, column 1: text outside the root element."},
    {"<a>1\n", "line 2, column 1: the text ends inside an element."},
    {"<a b='<'/>", "line 1, column 7: \"<\" in an attribute value."},
    {"<a b=1/>", "line 1, column 6: a quoted value is expected."},
    {"<a b/>", "line 1, column 5: \"=\" is expected."},
    {"<a b='1'c='2'/>", "line 1, column 9: a blank or \">\" is expected."},
    {"<a b='1' c='' b='2'/>", "line 1, column 15: an attribute that stands there twice."},
    {"<a b='1", "line 1, column 6: a quote that is not closed."},
    {"<a / >", "line 1, column 4: a name is expected."},
    {"<a><1/></a>", "line 1, column 5: a name is expected."},
    {"<a>< b/></a>", "line 1, column 5: a name is expected."},
    {"<\xC2\xB7/>", "line 1, column 2: a name is expected."},
    {"</a>", "line 1, column 2: a name is expected."},
    {"<a></a", "line 1, column 7: \">\" is expected."},
    {"<a>&e;</a>", "line 1, column 4: a reference that stands for no character."},
    {"<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>", "line 1, column 34: a reference that"},
    {"<a>&lt</a>", "line 1, column 4: a reference that stands for no character."},
    {"<a>&#0;</a>", "line 1, column 4: a reference that stands for no character."},
    {"<a>&#xD800;</a>", "line 1, column 4: a reference that stands for no character."},
    {"<a>&#4294967361;</a>", "line 1, column 4: a reference that stands for no character."},
    {"<a>&#x;</a>", "line 1, column 4: a reference that stands for no character."},
    {"<a b='&#A;'/>", "line 1, column 7: a reference that stands for no character."},
    {"<a>]]></a>", "line 1, column 4: \"]]>\" in text."},
    {"<a><!-- -- --></a>", "line 1, column 9: \"--\" in a comment."},
    {"<a><!-- </a>", "line 1, column 4: a comment that is not closed."},
    {"<a><![CDATA[]]</a>", "line 1, column 13: a CDATA section that is not closed."},
    {"<a/><![CDATA[]]>", "line 1, column 5: more than the root element."},
    {"<a><?x", "line 1, column 7: a blank or \"?>\" is expected."},
    {"<a><?x 1</a>", "line 1, column 8: an instruction that is not closed."},
    {" <?xml version='1.0'?><a/>",
     "line 1, column 4: an XML declaration that is not at the start."},
    {"<?xml encoding='utf-8'?><a/>", "line 1, column 7: an XML declaration without version."},
    {"<?xml version='1.0' encoding=''?><a/>",
     "line 1, column 31: a value that an XML declaration cannot have."},
    {"<?xml version='1.0' standalone='no' encoding='x'?><a/>", "column 37: \"?>\" is expected."},
    {"<!DOCTYPE a><!DOCTYPE a><a/>", "line 1, column 14: a name is expected."},
    {"<!DOCTYPE a SYSTEM><a/>", "line 1, column 19: a blank is expected."},
    {"<!DOCTYPE a [<!ENTITY e 'x><a/>", "line 1, column 25: a quote that is not closed."},
    {"<!DOCTYPE a [<a/>", "line 1, column 14: a declaration or \"]\" is expected."},
    {"<a>\0</a>"sv, "line 1, column 4: a byte that is no character of XML in UTF-8."},
    {"<a>\x1B</a>", "line 1, column 4: a byte that is no character"},
    {"<a>\xC3</a>", "line 1, column 4: a byte that is no character"},
    {"<a>\xC0\x80</a>", "line 1, column 4: a byte that is no character"},
    {"<a>\xE0\x9F\xBF</a>", "line 1, column 4: a byte that is no character"},
    {"<a>\xED\xA0\x80</a>", "line 1, column 4: a byte that is no character"},
    {"<a>\xEF\xBF\xBE</a>", "line 1, column 4: a byte that is no character"},
    {"<a>\xF4\x90\x80\x80</a>", "line 1, column 4: a byte that is no character"},
    {"\xFF\xFE<\0a\0/\0\0\xD8>\0"sv, "line 1, column 4: a byte that is no character"},
    {"\xFE\xFF\0<\0a\0/\0>\0"sv, "line 1, column 5: a byte that is no character"},
};

TEST(XmlReader, NamesTheFault) {
    for (const FaultRow& row : kFaultRows) {
        SCOPED_TRACE(row.xml);
        LogText log;
        EXPECT_FALSE(parse(row.xml, &log));
        EXPECT_NE(str(log.text()).find(row.fault), std::string::npos) << str(log.text());
        EXPECT_FALSE(parse(row.xml));
    }
}

TEST(XmlReader, ReadsUtf16) {
    const std::string_view text = "<a b='\xC3\xA9'>\xE2\x82\xAC\xF0\x9F\x98\x80</a>";
    for (const int codePage : {1200, 1201}) {
        LogNull log;
        DataBuffer utf16 = db(codePage == 1200 ? "\xFF\xFE" : "\xFE\xFF");
        const DataBuffer utf8 = db(text);
        ASSERT_TRUE(EncodingConvert::EncConvert(65001, codePage, utf8.getData2(), utf8.getSize(),
                                                utf16, log));
        const Tree root = parse(str(utf16));
        ASSERT_TRUE(root);
        EXPECT_EQ(outline(*root), "a{b=\xC3\xA9}[\xE2\x82\xAC\xF0\x9F\x98\x80]");
    }
}

TEST(XmlReader, EveryPrefixIsRefused) {
    const std::string_view xml =
        "<?xml version='1.0' ?><!DOCTYPE a SYSTEM 's' [<!ENTITY b 'c'>%d;<!--e-->]><?f g?>"
        "<a b='&#x41;&lt;'><!--c--><![CDATA[d]]>&amp;\xF0\x9F\x98\x80<?e f?><g\xC3\xA9/></a>";
    for (size_t n = 0; n < xml.size(); ++n) EXPECT_FALSE(parse(xml.substr(0, n))) << n;
    EXPECT_TRUE(parse(xml));
}

TEST(TreeNode, FindsElements) {
    const Tree root = parse("<r><a/><b x='1'><a y='&amp;'/><c/></b><b x='2'><a/></b></r>");
    ASSERT_TRUE(root);
    TreeNode* const b = root->getChild("b", nullptr);
    StringPair pair;
    pair.m_name.setString("x");
    pair.m_value.setString("2");
    EXPECT_EQ(root->getChild("b", &pair), root->getChild(2));
    pair.m_value.setString("3");
    EXPECT_FALSE(root->getChild("b", &pair));
    EXPECT_FALSE(root->getChild("c", nullptr));
    EXPECT_FALSE(root->getChild(3));
    EXPECT_FALSE(root->getChild(-1));

    TreeNode* const first = root->searchForTag(nullptr, "a");
    EXPECT_EQ(first, root->getChild(0));
    TreeNode* const second = root->searchForTag(first, "a");
    EXPECT_EQ(second, b->getChild(0));
    EXPECT_EQ(root->searchForTag(second, "a"), root->getChild(2)->getChild(0));
    EXPECT_EQ(root->getChild(2)->searchForTag(first, "a"),
              root->getChild(2)->getChild(0));   // from before its subtree
    EXPECT_FALSE(b->searchForTag(second, "a"));  // and never past its end
    EXPECT_FALSE(root->searchForTag(nullptr, "r"));
}

// -- Writing

struct WriteRow {
    const char* what;
    bool cdata;
    std::string_view content, printed;
};
constexpr WriteRow kWriteRows[] = {
    {"nothing", true, "", "<t/>"},
    {"markup", false, "<a> & \"b\"\n", "<t>&lt;a&gt; &amp; \"b\"\n</t>"},
    {"CR", false, "a\r\nb\r", "<t>a&#13;\nb&#13;</t>"},
    {"odd bytes", false,
     "a\0\xFF"
     "b\x1F"sv,
     "<t>a<?mimetree-bytes 00FF?>b<?mimetree-bytes 1F?></t>"},
    {"CDATA", true, "<a> & b\n", "<t><![CDATA[<a> & b\n]]></t>"},
    {"end of CDATA", true, "a]]>]]>b", "<t><![CDATA[a]]]]><![CDATA[>]]]]><![CDATA[>b]]></t>"},
    {"CR in CDATA", true, "a\r\nb\r\r\n", "<t><![CDATA[a]]>&#13;\n<![CDATA[b]]>&#13;&#13;\n</t>"},
    {"odd bytes in CDATA", true, "]]\x01>\xEF\xBF\xBF",
     "<t><![CDATA[]]]]><?mimetree-bytes 01?><![CDATA[>]]><?mimetree-bytes EFBFBF?></t>"},
};

TEST(ClsXml, SpellsContent) {
    for (const WriteRow& row : kWriteRows) {
        SCOPED_TRACE(row.what);
        const Xml xml(ClsXml::createNewCls());
        xml->put_TagUtf8("t");
        xml->put_Cdata(row.cdata);
        ASSERT_TRUE(xml->setContent(row.content.data(), unsigned(row.content.size())));
        const std::string printed = print(xml);
        EXPECT_EQ(printed,
                  "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + std::string(row.printed) + "\n");
        EXPECT_EQ(content(*parse(printed)), row.content);
    }
}

TEST(ClsXml, PrintsTheWholeDocumentFromAnyHandle) {
    ClsXml* const root = ClsXml::createNewCls();
    root->put_TagUtf8("r");
    const Xml child(root->newChild("a b", "x", nullptr));
    const Xml grandchild(child->newChild("c", nullptr, nullptr));
    const Xml sibling(root->newChild("d", "", nullptr));
    EXPECT_TRUE(sibling->addAttributeUtf8("e", "<\"'\t\r\n\x01>"));
    EXPECT_FALSE(sibling->addAttributeUtf8("e", "2"));
    EXPECT_TRUE(sibling->addAttributeUtf8("f", nullptr));
    root->deleteSelf();
    EXPECT_EQ(print(grandchild),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<r>\n<a_x20_b>x<c/></a_x20_b>\n"
              "<d e=\"&lt;&quot;&apos;&#9;&#13;&#10;\xE2\x90\x9B"
              "01&gt;\" f=\"\"/>\n</r>\n");
}

struct NameRow {
    std::string_view bytes, name;
};
constexpr NameRow kNameRows[] = {
    {"X-Mailer", "X-Mailer"},
    {"", "_x_"},
    {"1st", "_x31_st"},
    {"-a:b c", "_x2D_a_x3A_b_x20_c"},
    {"filename__ASTERISK__", "filename__ASTERISK__"},
    {"_x41", "_x41"},
    {"_xyz_", "_xyz_"},
    {"_x41_", "_x5F_x41_"},
    {"_x41 ", "_x5F_x41_x20_"},
    {"_x", "_x"},
    {"_x_", "_x5F_x_"},
    {"\xC3\xA9\xE9", "\xC3\xA9_xE9_"},
    {"\0"sv, "_x00_"},
};

std::string nameOf(std::string_view text) {
    StringBuffer name;
    ClsXml::xmlNameFromBytes(text.data(), unsigned(text.size()), name);
    return str(name);
}

std::string bytesOf(std::string_view name) {
    StringBuffer text;
    ClsXml::bytesFromXmlName(name.data(), unsigned(name.size()), text);
    return str(text);
}

TEST(ClsXml, SpellsNames) {
    for (const NameRow& row : kNameRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(nameOf(row.bytes), row.name);
        EXPECT_EQ(bytesOf(row.name), row.bytes);
    }
}

// Random texts from pieces that matter to XML.
class Pieces {
public:
    std::string text(unsigned maxPieces) {
        static const std::string kPieces[] = {"]]>",
                                              "]",
                                              ">",
                                              "<",
                                              "&",
                                              "&lt;",
                                              "&#65;",
                                              "\r",
                                              "\n",
                                              "\r\n",
                                              "\t",
                                              " ",
                                              "\""s,
                                              "'",
                                              "\0"s,
                                              "\x1F",
                                              "\xFF",
                                              "\xE2",
                                              "\x90",
                                              "\xE2\x90\x9B",
                                              "\xC3\xA9",
                                              "\xEF\xBF\xBE",
                                              "\xF0\x9F\x98\x80",
                                              "<?mimetree-bytes 41?>",
                                              "<!--",
                                              "_x",
                                              "_",
                                              "41",
                                              "x",
                                              ":",
                                              "plain"};
        std::string text;
        for (int n = below(maxPieces + 1); n > 0; --n)
            text +=
                below(8) ? kPieces[below(std::size(kPieces))] : std::string(1, char(below(256)));
        return text;
    }
    int below(size_t n) { return int(m_random() % n); }

private:
    std::mt19937 m_random{20240229};
};

TEST(XmlLaw, WhatIsPrintedIsReadBack) {
    Pieces pieces;
    for (int round = 0; round < 3000; ++round) {
        const std::string tag = pieces.text(6), name = pieces.text(6);
        const std::string value = pieces.text(12), text = pieces.text(12), inner = pieces.text(3);
        const Xml xml(ClsXml::createNewCls());
        xml->put_TagUtf8(nameOf(tag).c_str());
        xml->put_Cdata(round % 2 == 0);
        ASSERT_TRUE(xml->addAttribute(nameOf(name).c_str(), value.data(), unsigned(value.size())));
        ASSERT_TRUE(xml->setContent(text.data(), unsigned(text.size())));
        const Xml child(round % 3 ? nullptr : xml->newChild("c", nullptr, nullptr));
        if (child) child->setContent(inner.data(), unsigned(inner.size()));

        const std::string printed = print(xml);
        SCOPED_TRACE(printed);
        LogText log;
        const Tree root = parse(printed, &log);
        ASSERT_TRUE(root) << str(log.text());
        EXPECT_EQ(bytesOf(root->getTag()), tag);
        const std::string pair = attribute(*root, 0);
        EXPECT_EQ(pair, nameOf(name) + '=' + value);
        EXPECT_EQ(bytesOf(pair.substr(0, pair.find('='))), name);
        EXPECT_EQ(content(*root), child && text.empty() ? "\n\n" : text);
        EXPECT_EQ(child ? content(*root->getChild(0)) : inner, inner);
    }
}

// -- Size

TEST(XmlSize, DeepDocument) {
    constexpr int kDepth = 100000;
    Xml inner(ClsXml::createNewCls());
    for (int i = 1; i < kDepth; ++i) inner.reset(inner->newChild("unnamed", nullptr, nullptr));
    const Tree root = parse(print(inner));
    ASSERT_TRUE(root);
    int depth = 0;
    for (const TreeNode* node = root.get(); node; node = node->getChild(0)) ++depth;
    EXPECT_EQ(depth, kDepth);
}

TEST(XmlSize, WideDocument) {
    constexpr int kWidth = 200000;
    std::string xml = "<a>";
    for (int i = 0; i < kWidth; ++i) xml += "<b>" + std::to_string(i) + "</b> ";
    const Tree root = parse(xml + "</a>");
    ASSERT_TRUE(root);
    ASSERT_EQ(root->getNumChildren(), kWidth);
    for (int i = kWidth; i-- > 0;) ASSERT_EQ(content(*root->getChild(i)), std::to_string(i));
    EXPECT_EQ(content(*root), std::string(kWidth, ' '));
}

TEST(XmlSize, ManyAttributes) {
    constexpr int kCount = 100000;
    const Xml xml(ClsXml::createNewCls());
    for (int i = 0; i < kCount; ++i) {
        const std::string name = "a" + std::to_string(i * 7919LL % kCount);
        ASSERT_TRUE(xml->addAttributeUtf8(name.c_str(), "v"));
        ASSERT_FALSE(xml->addAttributeUtf8(name.c_str(), "v"));
    }
    std::string printed = print(xml);
    const Tree root = parse(printed);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->getNumAttributes(), kCount);
    EXPECT_FALSE(parse(printed.insert(printed.find("/>"), " a0=''")));
}

}  // namespace
