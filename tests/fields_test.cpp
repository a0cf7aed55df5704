// SPDX-License-Identifier: Apache-2.0

// Header fields through the node: which getters clear, decode and append, which changes mark
// the node and read cached properties anew, and what is cached from damaged values.

#include <gtest/gtest.h>

#include "foundation/_zqEmailAddress.h"
#include "tests/node_support.h"

namespace {

// "type;charset;id;disposition;filename;coding"
std::string cached(const MimeMessage2& n) {
    return str(n.m_contentType.m_type) + ";" + n.getCharset() + ";" + str(n.m_contentId) + ";" +
           str(n.m_disposition) + ";" + str(n.m_filename) + ";" + str(n.m_contentTransferEncoding);
}

TEST(Fields, GettersClearOrAppend) {
    const NodePtr node = leaf("Subject: =?utf-8?Q?=C3=A9?=\r\nX: 1");
    const auto got = [](auto ask) {
        StringBuffer out = sb("<");
        out.append(ask(out) ? ">" : "!");
        return str(out);
    };
    const auto by = [&](const char* name) {
        return got([&](auto& o) { return node->getHeaderFieldUtf8(name, o, noLog); });
    };
    EXPECT_EQ(by("subject"), "\xC3\xA9>");
    EXPECT_EQ(by("Y"), "!");
    EXPECT_EQ(by(nullptr), "!");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldUtf8_2("Subject", false, o, noLog); }),
              "=?utf-8?Q?=C3=A9?=>");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldName(1, o, noLog); }), "<X>");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldName(2, o, noLog); }), "<!");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldValue(0, true, o, noLog); }),
              "<\xC3\xA9>");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldValue(0, false, o, noLog); }),
              "<=?utf-8?Q?=C3=A9?=>");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldValue(-1, true, o, noLog); }), "<!");
    // What `out` held is no part of an encoded word.
    StringBuffer out = sb("=?utf-8?Q?a?=");
    node->getHeaderFieldValue(1, true, out, noLog);
    EXPECT_EQ(str(out), "=?utf-8?Q?a?=1");
    // The result may go where the name came from.
    out.setString("Subject");
    EXPECT_TRUE(node->getHeaderFieldUtf8(out.getString(), out, noLog));
    EXPECT_EQ(str(out), "\xC3\xA9");
}

struct ChangeRow {
    const char *what, *header;
    void (*change)(MimeMessage2&);
    const char *out, *cached;
    bool isModified;
};

void put(MimeMessage2& n, const char* name, const char* value) {
    n.addReplaceHeaderFieldUtf8(name, value, noLog);
}

constexpr ChangeRow kChangeRows[] = {
    {"null name", "A: 1", [](MimeMessage2& n) { put(n, nullptr, "1"); }, "A: 1", ";;;;;", false},
    {"trimmed", "A: 1", [](MimeMessage2& n) { put(n, "\t B ", " 2\r\n"); }, "A: 1\r\nB: 2", ";;;;;",
     true},
    {"type, in other letter case, with its charset", "Content-type: text/html; charset=utf-8",
     [](MimeMessage2& n) { put(n, " CONTENT-TYPE ", "Text/X; charset=windows-1252"); },
     "CONTENT-TYPE: Text/X; charset=windows-1252", "Text/X;windows-1252;;;;", true},
    {"empty value removes all", "A: 1\r\nContent-Type: text/html\r\ncontent-type: x/y",
     [](MimeMessage2& n) { put(n, "content-type", " "); }, "A: 1", ";;;;;", true},
    {"null value removes", "A: 1\r\nB: 2", [](MimeMessage2& n) { put(n, "a", nullptr); }, "B: 2",
     ";;;;;", true},
    {"removing nothing marks as well", "A: 1", [](MimeMessage2& n) { put(n, "B", ""); }, "A: 1",
     ";;;;;", true},
    {"add does not replace", "A: 1",
     [](MimeMessage2& n) { n.addHeaderFieldUtf8("A", " 2 ", false, noLog); }, "A: 1\r\nA: 2",
     ";;;;;", true},
    {"add nothing marks", "A: 1",
     [](MimeMessage2& n) { n.addHeaderFieldUtf8("A", " ", false, noLog); }, "A: 1", ";;;;;", true},
    {"add an empty one", "A: 1",
     [](MimeMessage2& n) { n.addHeaderFieldUtf8("B", nullptr, true, noLog); },
     "A: 1\r\nB: ", ";;;;;", true},
    {"add null name", "A: 1",
     [](MimeMessage2& n) { n.addHeaderFieldUtf8(nullptr, "1", true, noLog); }, "A: 1", ";;;;;",
     false},
    {"added id", "A: 1",
     [](MimeMessage2& n) { n.addHeaderFieldUtf8("Content-ID", "<a>; x", false, noLog); },
     "A: 1\r\nContent-ID: <a>; x", ";;<a>;;;", true},
    {"coding", "A: 1", [](MimeMessage2& n) { put(n, "content-TRANSFER-encoding", "BASE64; x"); },
     "A: 1\r\ncontent-TRANSFER-encoding: BASE64; x", ";;;;;BASE64", true},
    {"disposition lower-cases the type", "Content-Type: Text/HTML",
     [](MimeMessage2& n) {
         put(n, "Content-Type", "Text/HTML");
         put(n, "Content-Disposition", "Inline");
     },
     "Content-Type: Text/HTML\r\nContent-Disposition: Inline", "text/html;;;Inline;;", true},
    {"remove leaves the cache and the mark", "Content-Disposition: attachment; filename=a.txt",
     [](MimeMessage2& n) { n.removeHeaderField("Content-Disposition", true, noLog); }, "",
     ";;;attachment;a.txt;", false},
    {"remove one", "A: 1\r\nA: 2", [](MimeMessage2& n) { n.removeHeaderField("a", false, noLog); },
     "A: 2", ";;;;;", false},
    {"move", "Content-ID: <a>\r\nB: 2",
     [](MimeMessage2& n) { n.moveHeaderToBottom("content-id", noLog); }, "B: 2\r\nContent-ID: <a>",
     ";;<a>;;;", false},
    {"collapse", "A: 1\r\nA: 2", [](MimeMessage2& n) { n.collapseMultiple("A", noLog); }, "A: 1",
     ";;;;;", false},
    {"after the signature", "A: 1\r\nDKIM-Signature: x\r\nB: 2",
     [](MimeMessage2& n) { n.removeHeaderFieldsAfterSig(noLog); }, "A: 1\r\nDKIM-Signature: x",
     ";;;;;", false},
    {"value from the node's own text", "Content-ID: <abcdefghijklmnopqrstuvwxyz>\r\nB: 2",
     [](MimeMessage2& n) { put(n, "Content-ID", n.m_contentId.getString() + 20); },
     "Content-ID: tuvwxyz>\r\nB: 2", ";;tuvwxyz>;;;", true},
    {"name and value from the cache that is read anew", "Content-Transfer-Encoding: 7bit",
     [](MimeMessage2& n) { put(n, "Content-Transfer-Encoding", n.getContentEncoding() + 1); },
     "Content-Transfer-Encoding: bit", ";;;;;bit", true},
    {"no new line from a value", "A: 1",
     [](MimeMessage2& n) { put(n, "A", "1\r\nContent-Type: x/y"); }, "A: 1 Content-Type: x/y",
     ";;;;;", true},
};

TEST(Fields, Changes) {
    for (const ChangeRow& row : kChangeRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf(row.header);
        row.change(*node);
        EXPECT_EQ(headerOf(*node), row.out);
        EXPECT_EQ(cached(*node), row.cached);
        EXPECT_EQ(node->m_modified, row.isModified);
    }
}

struct CacheRow {
    const char *what, *header, *cached;
};

constexpr CacheRow kCacheRows[] = {
    {"all of them",
     "Content-Type: TEXT/Plain; charset=Koi8-R\r\nContent-ID: <x@y>; z\r\n"
     "Content-Transfer-Encoding: Base64 ; x\r\nContent-Disposition: Attachment; FILENAME=a.b",
     "text/plain;Koi8-R;<x@y>;Attachment;a.b;Base64 "},
    {"encoded words",
     "Content-Type: =?us-ascii?Q?text/plain?=\r\nContent-ID: =?utf-8?Q?<=C3=A9>?=\r\n"
     "Content-Disposition: attachment; filename=\"=?utf-8?B?w6k=?=.txt\"",
     "text/plain;;<\xC3\xA9>;attachment;\xC3\xA9.txt;"},
    {"blanks vanish outside quotes", "Content-Disposition: attach ment\t; filename = a b.txt ",
     ";;;attachment;ab.txt;"},
    {"and stay inside", "Content-Disposition: attachment; filename = \"a  b; c.txt\"",
     ";;;attachment;a  b; c.txt;"},
    {"pieces",
     "Content-Disposition: attachment; filename*0*=utf-8''a%20b; filename*1*=%C3%A9.t; "
     "filename*2=xt",
     ";;;attachment;a b\xC3\xA9.txt;"},
    {"the first piece starts anew",
     "Content-Disposition: a; filename*1*=z'z'; filename*0*=utf-8''x; filename*1*=y", ";;;a;xy;"},
    {"one star", "Content-Disposition: a; FileName*=iso-8859-1'en'%E9", ";;;a;\xC3\xA9;"},
    {"plain name behind the pieces", "Content-Disposition: a; filename*=utf-8''x; filename=plain",
     ";;;a;plain;"},
    {"plain name in front", "Content-Disposition: a; filename=\"plain\"; filename*=utf-8''x",
     ";;;a;plain;"},
    {"the first plain name", "Content-Disposition: a; filename=x; filename=y", ";;;a;x;"},
    {"other parameters", "Content-Disposition: a; size=3; filenamex=1; name=2", ";;;a;;"},
    {"doubled separators", "Content-Disposition: a;;; filename==x;;", ";;;a;x;"},
    {"parameter without a value", "Content-Disposition: a; x; filename=y", ";;;a;;"},
    {"name alone", "Content-Disposition: ; filename=\"x\"", ";;;;x;"},
    {"unknown charset", "Content-Type: text/plain; charset=x-none", "text/plain;;;;;"},
    {"blanks in an encoded word", "Content-ID: =?utf-8?Q?_<a>_?=", ";;<a>;;;"},
    {"blank id", "Content-ID: ;x", ";;;;;"},
};

TEST(Fields, Caching) {
    for (const CacheRow& row : kCacheRows) {
        SCOPED_TRACE(row.what);
        NodePtr node = leaf(
            "Content-Type: a/b; charset=utf-8\r\nContent-ID: <o>\r\n"
            "Content-Disposition: o; filename=o\r\nContent-Transfer-Encoding: o");
        StringBuffer clue;
        node->m_mimeHeader.loadMimeHeaderText(row.header, nullptr, 65001, clue, noLog);
        node->cacheAll(noLog);
        EXPECT_EQ(cached(*node), row.cached);
        EXPECT_FALSE(node->m_modified);
    }
}

std::string addresses(const ExtPtrArray& list) {
    std::string text;
    for (int i = 0; i < list.getSize(); ++i) {
        const auto* a = static_cast<_zqEmailAddress*>(list.elementAt(i));
        text +=
            a ? std::string(a->m_displayName.getUtf8()) + "<" + a->m_address.getUtf8() + ">" : "-";
    }
    return text;
}

TEST(Fields, Addresses) {
    const NodePtr node =
        leaf("To: =?utf-8?Q?=C3=A9?= <a@x>, \"B?\" <b@x>\r\nCc:\r\nFrom: =?utf-8?b?w6k=?= <c@x>");
    ExtPtrArray list;
    auto* old = new _zqEmailAddress;
    old->m_displayName.setFromUtf8("=?utf-8?q?o?=");
    list.appendPtr(nullptr);
    list.appendPtr(old);
    for (const char* name : {"Cc", "Nobody", static_cast<const char*>(nullptr)})
        node->getEmailAddresses(name, list, noLog);
    EXPECT_EQ(addresses(list), "-=?utf-8?q?o?=<>");
    node->getEmailAddresses("to", list, noLog);
    EXPECT_EQ(addresses(list), "-o<>\xC3\xA9<a@x>B?<b@x>");
    node->getEmailAddresses("From", list, noLog);
    EXPECT_EQ(addresses(list), "-o<>\xC3\xA9<a@x>B?<b@x>\xC3\xA9<c@x>");
}

TEST(Fields, BccAddressesLeaveTheHeader) {
    const NodePtr node = leaf("bcc: a@x,\r\n =?utf-8?Q?b=40x?=\r\nTo: c@x\r\nBcc: d@x");
    ExtPtrArray list;
    node->getAndRemoveBccAddresses(list, noLog);
    EXPECT_EQ(addresses(list), "<a@x><b@x>");
    EXPECT_EQ(headerOf(*node), "To: c@x");
    EXPECT_TRUE(node->m_modified);
    node->m_modified = false;
    node->getAndRemoveBccAddresses(list, noLog);
    EXPECT_EQ(list.getSize(), 2);
    EXPECT_FALSE(node->m_modified);
}

}  // namespace
