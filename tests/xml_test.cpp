// SPDX-License-Identifier: Apache-2.0

// XML: what the reader takes and refuses, how the writer spells content, and the law that
// what ClsXml prints TreeNode reads back, byte for byte.

#include "foundation/ClsXml.h"
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
    std::string text = node.getTag(), children;
    for (int i = 0; i < node.getNumAttributes(); ++i) text += '{' + attribute(node, i) + '}';
    if (const std::string own = content(node); !own.empty()) text += '[' + own + ']';
    for (int i = 0; i < node.getNumChildren(); ++i)
        children += (i ? " " : "") + outline(*node.getChild(i));
    return children.empty() ? text : text + '(' + children + ')';
}

// The outline of a document.
std::string read(std::string_view xml) {
    const Tree root = parse(xml);
    return root ? outline(*root) : "refused";
}

const TextRow kReadRows[] = {
    {"byte order mark", "\xEF\xBB\xBF<?xml version='1.0' standalone='yes' ?><a/>", "a"},
    {"doctype with internal subset",
     "<!DOCTYPE a PUBLIC 'p]>' \"s\" [<!ENTITY e ']>'> %pe; <!-- ' ]> --> <?q ' ]> ?>"
     "<!ATTLIST a b CDATA \">\">] ><a/>",
     "a"},
    {"entities", "<a b='&lt;&apos;&quot;'>&gt;&amp;&quot;&amp;lt;</a>", "a{b=<'\"}[>&\"&lt;]"},
    {"references", "<a>&#65;&#x00000e9;&#x20AC;&#x1F600;&#13;</a>", "a[A\u00E9\u20AC\U0001F600\r]"},
    {"CDATA", "<a>1<![CDATA[<b>&lt;]]]]><![CDATA[>]]>2</a>", "a[1<b>&lt;]]>2]"},
    {"mixed", "<a>1<b>x<c>y</c>z</b >2<d e='>'/>3</a >", "a[123](b[xz](c[y]) d{e=>})"},
    {"line ends in text", "<a>1\r\n2\r3\n4<![CDATA[\r\n\r]]></a>", "a[1\n2\n3\n4\n\n]"},
    {"in values", "<a b='1\r\n2\t3\r4\n5&#10;&#9;&#13;'/>", "a{b=1 2 3 4 5\n\t\r}"},
    {"spelled bytes", "<a b='\u241B00\u241BfF\u241B0'>1<?mimetree-bytes 00fF?>2</a>",
     "a{b=\0\xFF\u241B0}[1\0\xFF"
     "2]"s},
};

TEST(XmlReader, TakesWellFormedDocuments) { expectRows(kReadRows, read); }

// Each document has a "^" where the fault is.
const std::pair<const char*, std::vector<std::string>> kFaults[] = {
    // the prolog and what follows the root
    {"text outside the root element", {"^x<a/>"}},
    {"more than the root element", {"<a/>\n^<b/>", "<a/>^x", "<a/>^<![CDATA[]]>"}},
    {"an XML declaration that is not at the start", {" <?^xml version='1.0'?><a/>"}},
    {"an XML declaration without version", {"<?xml ^encoding='utf-8'?><a/>"}},
    {"a value that an XML declaration cannot have",
     {"<?xml version='1.0' encoding='^'?><a/>", "<?xml version='^2.0'?><a/>",
      "<?xml version='1.0' standalone='^yesno'?><a/>"}},
    {"\"?>\" is expected", {"<?xml version='1.0' standalone='no' ^encoding='x'?><a/>"}},
    {"a blank is expected", {"<!DOCTYPE a SYSTEM^><a/>"}},
    {"a declaration or \"]\" is expected", {"<!DOCTYPE a [^<a/>"}},
    // tags
    {"an end tag that does not match its start tag",
     {"<a>\r\n<b>\r\u00E9^</a>", "<a>^</ab>", "<ab>^</a>", "<a><b>^</a></b>"}},
    {"a name is expected",
     {"<a ^/ >", "<a><^ b/></a>", "<^\u00B7/>", "<!DOCTYPE a><^!DOCTYPE a><a/>"}},
    {"\"<\" in an attribute value", {"<a b='^<'/>"}},
    {"a quoted value is expected", {"<a b=^1/>"}},
    {"\"=\" is expected", {"<a b^/>"}},
    {"a blank or \">\" is expected", {"<a b='1'^c='2'/>"}},
    {"an attribute that stands there twice", {"<a b='1' c='' ^b='2'/>"}},
    {"a quote that is not closed", {"<a b=^'1", "<!DOCTYPE a [<!ENTITY e ^'x><a/>"}},
    // content
    {"the text ends inside an element", {"<a>1\n^"}},
    {"\"]]>\" in text", {"<a>^]]></a>"}},
    {"\"--\" in a comment", {"<a><!-- ^-- --></a>"}},
    {"a comment that is not closed", {"<a>^<!-- </a>"}},
    {"a CDATA section that is not closed", {"<a><![CDATA[^]]</a>"}},
    {"an instruction that is not closed", {"<a><?x ^1</a>"}},
    {"a blank or \"?>\" is expected", {"<a><?x^"}},
    {"a reference that stands for no character",
     {"<a>^&e;</a>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>^&e;</a>", "<a>^&lt</a>", "<a>^&#0;</a>",
      "<a>^&#xD800;</a>", "<a>^&#4294967361;</a>", "<a>^&#x;</a>", "<a b='^&#A;'/>"}},
    {"a byte that is no character of XML in UTF-8",
     {"<a>^\0</a>"s, "<a>^\x1B</a>", "<a>^\xC3</a>", "<a>^\xC0\x80</a>", "<a>^\xE0\x9F\xBF</a>",
      "<a>^\xED\xA0\x80</a>", "<a>^\xEF\xBF\xBE</a>", "<a>^\xF4\x90\x80\x80</a>"}}};

TEST(XmlReader, NamesTheFault) {
    for (const auto& [fault, documents] : kFaults)
        for (std::string xml : documents) {
            SCOPED_TRACE(xml);
            int line = 1, column = 1;
            const size_t at = xml.find('^');
            for (size_t i = 0; i < at; ++i) {
                const bool isBreak = xml[i] == '\n' || (xml[i] == '\r' && xml[i + 1] != '\n');
                line += isBreak;
                column = isBreak ? 1 : column + ((xml[i] & 0xC0) != 0x80);
            }
            LogText log;
            EXPECT_FALSE(parse(xml.erase(at, 1), &log) || parse(xml));
            StringBuffer place = sb("line " + std::to_string(line) + ", column ");
            place.append(column);
            place.append3(": ", fault, ".");
            EXPECT_TRUE(log.text().containsSubstring(place.getString())) << str(log.text());
        }
}

TEST(XmlReader, ReadsUtf16) {
    const std::string_view text = "<a b='\u00E9'>\u20AC\U0001F600</a>";
    for (const int codePage : {1200, 1201}) {
        LogNull log;
        DataBuffer utf16 = db(codePage == 1200 ? "\xFF\xFE" : "\xFE\xFF");
        EncodingConvert::EncConvert(65001, codePage, raw(text), unsigned(text.size()), utf16, log);
        EXPECT_EQ(read(str(utf16)), "a{b=\u00E9}[\u20AC\U0001F600]");
        utf16.append("\0\xD8>\xD8\0", 4);
        EXPECT_EQ(read(str(utf16)), "refused");
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
    TreeNode *const b = root->getChild("b", nullptr), *const second = root->getChild(2);
    StringPair pair;
    pair.m_name.setString("x");
    pair.m_value.setString("2");
    EXPECT_EQ(root->getChild("b", &pair), second);
    pair.m_value.setString("3");
    EXPECT_FALSE(root->getChild("b", &pair) || root->getChild("c", nullptr) || root->getChild(3) ||
                 root->getChild(-1) || root->searchForTag(nullptr, "r"));
    TreeNode* const first = root->searchForTag(nullptr, "a");
    EXPECT_EQ(first, root->getChild(0));
    EXPECT_EQ(root->searchForTag(first, "a"), b->getChild(0));
    EXPECT_EQ(second->searchForTag(first, "a"), second->getChild(0));  // from before its subtree
    EXPECT_FALSE(b->searchForTag(b->getChild(0), "a"));                // and never past its end
}

// -- Writing

std::string printedAsCdata(std::string_view text) {
    const Xml xml(ClsXml::createNewCls());
    xml->put_TagUtf8("t");
    xml->put_Cdata(true);
    EXPECT_TRUE(xml->setContent(text.data(), unsigned(text.size())));
    const std::string document = print(xml);
    EXPECT_EQ(content(*parse(document)), text);
    return document.substr(document.find('\n') + 1);
}

const TextRow kCdataRows[] = {
    {"end", "a]]>]]>b", "<t><![CDATA[a]]]]><![CDATA[>]]]]><![CDATA[>b]]></t>\n"},
    {"CR", "a\r\nb\r\r\n", "<t><![CDATA[a]]>&#13;\n<![CDATA[b]]>&#13;&#13;\n</t>\n"},
    {"odd bytes", "]]\x01>", "<t><![CDATA[]]]]><?mimetree-bytes 01?><![CDATA[>]]></t>\n"},
};

TEST(ClsXml, SpellsContent) { expectRows(kCdataRows, printedAsCdata); }

TEST(ClsXml, PrintsTheWholeDocumentFromAnyHandle) {
    ClsXml* const root = ClsXml::createNewCls();
    root->put_TagUtf8("r");
    const Xml child(root->newChild("a b", "x", nullptr));
    const Xml grandchild(child->newChild("c", nullptr, nullptr));
    const Xml sibling(root->newChild("d", "", nullptr));
    EXPECT_TRUE(sibling->addAttributeUtf8("e", "<\"'\t\r\n\x01>"));
    EXPECT_FALSE(sibling->addAttributeUtf8("e", "2"));
    root->deleteSelf();
    EXPECT_EQ(print(grandchild),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<r>\n<a_x20_b>x<c/></a_x20_b>\n"
              "<d e=\"&lt;&quot;&apos;&#9;&#13;&#10;\u241B01&gt;\"/>\n</r>\n");
}

std::string spelled(decltype(&ClsXml::xmlNameFromBytes) spell, std::string_view text) {
    StringBuffer out;
    spell(text.data(), unsigned(text.size()), out);
    return str(out);
}

std::string nameOf(std::string_view text) { return spelled(ClsXml::xmlNameFromBytes, text); }
std::string bytesOf(std::string_view name) { return spelled(ClsXml::bytesFromXmlName, name); }

TEST(ClsXml, SpellsNames) {
    std::string names;
    for (const std::string_view text :
         {"X-Mailer"sv, ""sv, "1st"sv, "-a:b"sv, "f__ASTERISK__"sv, "\xC3\xA9\xE9"sv, "\0"sv,
          "_x41"sv, "_xyz_"sv, "_x"sv, "_x41_"sv, "_x41 "sv, "_x_"sv}) {
        names += nameOf(text) + "|";
        EXPECT_EQ(bytesOf(nameOf(text)), text);
    }
    EXPECT_EQ(names,
              "X-Mailer|_x_|_x31_st|_x2D_a_x3A_b|f__ASTERISK__|\xC3\xA9_xE9_|_x00_|_x41|_xyz_|_x|"
              "_x5F_x41_|_x5F_x41_x20_|_x5F_x_|");
}

// Random texts from pieces that matter to XML.
std::string pieces(std::mt19937& random, unsigned most) {
    static const std::string_view kPieces[] = {
        "]]>", "]", ">", "<", "&", "&lt;", "&#65;", "\r", "\n", "\r\n", "\t", " ", "\"", "'",
        "\0"sv, "\x1F", "\xFF", "\xE2", "\x90", "\u241B", "\u00E9", "\xEF\xBF\xBE", "\U0001F600",
        // and what we write ourselves
        "<?mimetree-bytes 41?>", "<!--", "_x", "_", "41", "x", ":", "plain"};
    std::string text;
    for (auto n = random() % (most + 1); n > 0; --n)
        text += random() % 8 ? kPieces[random() % std::size(kPieces)] : randomBytes(random, 1);
    return text;
}

TEST(XmlLaw, WhatIsPrintedIsReadBack) {
    std::mt19937 random(20240229);
    for (int round = 0; round < 3000; ++round) {
        const std::string tag = pieces(random, 6), name = nameOf(pieces(random, 6)),
                          value = pieces(random, 12), text = pieces(random, 12);
        const Xml xml(ClsXml::createNewCls());
        xml->put_TagUtf8(nameOf(tag).c_str());
        xml->put_Cdata(round % 2 == 0);
        ASSERT_TRUE(xml->addAttribute(name.c_str(), value.data(), unsigned(value.size())));
        ASSERT_TRUE(xml->setContent(text.data(), unsigned(text.size())));
        const Xml child(round % 3 ? nullptr : xml->newChild("c", text.c_str(), nullptr));

        const std::string document = print(xml);
        SCOPED_TRACE(document);
        const Tree root = parse(document);
        ASSERT_TRUE(root);
        EXPECT_EQ(bytesOf(root->getTag()), tag);
        EXPECT_EQ(attribute(*root, 0), name + '=' + value);
        EXPECT_EQ(nameOf(bytesOf(name)), name);
        EXPECT_EQ(content(*root), child && text.empty() ? "\n\n" : text);
        EXPECT_EQ(child ? content(*root->getChild(0)) : text.c_str(), std::string(text.c_str()));
    }
}

// -- Size

TEST(XmlSize, ManyAttributes) {
    constexpr int kCount = 100000;
    const Xml xml(ClsXml::createNewCls());
    for (int i = 0; i < kCount; ++i) {
        const std::string name = "a" + std::to_string(i * 7919LL % kCount);
        ASSERT_TRUE(xml->addAttributeUtf8(name.c_str(), "v"));
        ASSERT_FALSE(xml->addAttributeUtf8(name.c_str(), "v"));
    }
    std::string document = print(xml);
    EXPECT_EQ(parse(document)->getNumAttributes(), kCount);
    EXPECT_FALSE(parse(document.insert(document.find("/>"), " a0=''")));
}

}  // namespace
