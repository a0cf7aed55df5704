// SPDX-License-Identifier: Apache-2.0

// Header fields through the node: which getters clear, decode and append, which changes mark
// the node and read cached properties anew, and what is cached from damaged values.

#include "tests/node_support.h"

namespace {

// "type;charset;id;disposition;filename;coding", without the semicolons behind the last.
std::string cached(const MimeMessage2& n) {
    std::string text = str(n.m_contentType.m_type) + ";" + n.getCharset() + ";" +
                       str(n.m_contentId) + ";" + str(n.m_disposition) + ";" + str(n.m_filename) +
                       ";" + str(n.m_contentTransferEncoding);
    text.erase(text.find_last_not_of(';') + 1);
    return text;
}

TEST(Fields, GettersClearOrAppend) {
    const NodePtr node = leaf("Subject: =?utf-8?Q?=C3=A9?=\r\nX: 1; a=b");
    const auto by = [&](const char* name) {
        return got([&](auto& o) { return node->getHeaderFieldUtf8(name, o, noLog); });
    };
    const auto value = [&](int index, bool decode) {
        return got([&](auto& o) { return node->getHeaderFieldValue(index, decode, o, noLog); });
    };
    const auto name = [&](int index) {
        return got([&](auto& o) { return node->getHeaderFieldName(index, o, noLog); });
    };
    const MimeHeader& header = node->m_mimeHeader;
    const auto part = [&](const char* of, unsigned size) {
        return got([&](auto& o) { return header.getMimeFieldUtf8_2(of, size, o, noLog); });
    };
    const auto param = [&](const char* of, const char* which) {
        return got([&](auto& o) { return header.getSubFieldUtf8(of, which, o, noLog); });
    };
    EXPECT_EQ(part("X-Mailer", 1) + part("X", 0), "<1; a=b><!");
    EXPECT_EQ(param("x", "A") + param("x", nullptr) + param("Y", "a"), "<b><!<!");
    EXPECT_EQ(by("subject") + by("Y") + by(nullptr), "\xC3\xA9>!!");
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldUtf8_2("Subject", false, o, noLog); }),
              "=?utf-8?Q?=C3=A9?=>");
    EXPECT_EQ(name(1) + name(2), "<X><!");
    EXPECT_EQ(value(0, true) + value(0, false) + value(-1, true),
              "<\xC3\xA9><=?utf-8?Q?=C3=A9?=><!");
    // What `out` held is no part of an encoded word.
    StringBuffer out = sb("=?utf-8?Q?a?=");
    node->getHeaderFieldValue(1, true, out, noLog);
    EXPECT_EQ(str(out), "=?utf-8?Q?a?=1; a=b");
    // The result may go where the name came from.
    out.setString("Subject");
    EXPECT_TRUE(node->getHeaderFieldUtf8(out.getString(), out, noLog));
    EXPECT_EQ(str(out), "\xC3\xA9");
}

enum class Do { Put, Add, AddEmpty };

struct ChangeRow {
    const char* header;
    Do change;
    const char *name, *value, *out, *cached = "";
    bool isModified = true;
};

constexpr ChangeRow kChangeRows[] = {
    {"A: 1", Do::Put, "\t B ", " 2\r\n", "A: 1|B: 2"},
    {"Content-type: text/html; charset=utf-8", Do::Put, " CONTENT-TYPE ", "Text/X; charset=KOI8-r",
     "CONTENT-TYPE: Text/X; charset=KOI8-r", "Text/X;KOI8-r"},
    {"A: 1|Content-Type: text/html|content-type: x/y", Do::Put, "content-type", " ", "A: 1"},
    {"A: 1", Do::Put, "A", "1\r\nContent-Type: x/y", "A: 1 Content-Type: x/y"},
    {"A: 1", Do::Put, "content-TRANSFER-encoding", "BASE64; x",
     "A: 1|content-TRANSFER-encoding: BASE64; x", ";;;;;BASE64"},
    {"A: 1", Do::Add, "A", " 2 ", "A: 1|A: 2"},
    {"A: 1", Do::Add, "Content-ID", "<a>; x", "A: 1|Content-ID: <a>; x", ";;<a>"},
    {"A: 1", Do::AddEmpty, "B", nullptr, "A: 1|B: "},
    {"A: 1", Do::AddEmpty, nullptr, "1", "A: 1", "", false},
};

TEST(Fields, Changes) {
    for (const ChangeRow& row : kChangeRows) {
        SCOPED_TRACE(row.out);
        const NodePtr node = leaf(crlf(row.header));
        if (row.change == Do::Put) node->addReplaceHeaderFieldUtf8(row.name, row.value, noLog);
        else node->addHeaderFieldUtf8(row.name, row.value, row.change == Do::AddEmpty, noLog);
        EXPECT_EQ(barred(headerOf(*node)), row.out);
        EXPECT_EQ(cached(*node), row.cached);
        EXPECT_EQ(node->m_modified, row.isModified);
    }
    // The others neither mark the node nor read the cache anew.
    NodePtr node = leaf(crlf("Content-ID: <a>|A: 1|A: 2|A: 3|DKIM-Signature: x|B: 2"));
    node->removeHeaderFieldsAfterSig(noLog);
    node->moveHeaderToBottom("content-id", noLog);
    node->removeHeaderField("a", false, noLog);
    node->collapseMultiple("A", noLog);
    EXPECT_EQ(barred(headerOf(*node)), "A: 2|DKIM-Signature: x|Content-ID: <a>");
    node->removeHeaderField("Content-ID", true, noLog);
    EXPECT_EQ(cached(*node), ";;<a>");
    EXPECT_FALSE(node->m_modified);
    node = leaf("A: 1");
    node->addReplaceHeaderFieldUtf8("Content-Type", "Text/HTML", noLog);
    EXPECT_EQ(cached(*node), "Text/HTML");
    node->addReplaceHeaderFieldUtf8("Content-Disposition", "Inline", noLog);
    EXPECT_EQ(cached(*node), "text/html;;;Inline");  // the disposition lower-cases the type
}

constexpr const char* kCacheRows[][2] = {
    {"Content-Type: TEXT/Plain; charset=Koi8-R|Content-Transfer-Encoding: Base64 ; x|"
     "Content-ID: <x@y>; z|Content-Disposition: Attachment; FILENAME=a.b",
     "text/plain;Koi8-R;<x@y>;Attachment;a.b;Base64 "},
    {"Content-Type: =?us-ascii?Q?text/plain?=|Content-ID: =?utf-8?Q?<=C3=A9>?=|"
     "Content-Disposition: attachment; filename=\"=?utf-8?B?w6k=?=.txt\"",
     "text/plain;;<\xC3\xA9>;attachment;\xC3\xA9.txt"},
    {"Content-Disposition: a b\t; filename = a b.txt ", ";;;ab;ab.txt"},
    {"Content-Disposition: a; filename=b.txt; x=\"\\", ";;;a;b.txt"},
    {"Content-Disposition: a; filename=\"b =\"; filename=c", ";;;a;b ="},
    {"Content-Disposition: a; filename = \"a  b; c.txt\"", ";;;a;a  b; c.txt"},
    {"Content-Disposition: a; filename*0*=utf-8''a%20b; filename*1*=%C3%A9.t; filename*2=xt",
     ";;;a;a b\xC3\xA9.txt"},
    {"Content-Disposition: a; FileName*=iso-8859-1'en'%E9", ";;;a;\xC3\xA9"},
    {"Content-Disposition: a; x; filename=y", ";;;a"},
    {"Content-Disposition: ; filename=\"x\"", ";;;;x"},
    {"Content-ID: =?utf-8?Q?_<a>_?=", ";;<a>"},
    {"Content-ID: ;x", ""},
};

TEST(Fields, Caching) {
    for (const auto& [header, out] : kCacheRows) {
        NodePtr node = leaf(
            "Content-Type: a/b; charset=utf-8\r\nContent-ID: <o>\r\n"
            "Content-Disposition: o; filename=o\r\nContent-Transfer-Encoding: o");
        StringBuffer clue;
        node->m_mimeHeader.loadMimeHeaderText(crlf(header).c_str(), nullptr, 65001, clue, noLog);
        node->cacheAll(noLog);
        EXPECT_EQ(cached(*node), out) << header;
        EXPECT_FALSE(node->m_modified);
    }
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
    EXPECT_EQ(mailboxesIn(list), "-=?utf-8?q?o?=<>");
    node->getEmailAddresses("to", list, noLog);
    EXPECT_EQ(mailboxesIn(list), "-o<>\xC3\xA9<a@x>B?<b@x>");
    node->getEmailAddresses("From", list, noLog);
    EXPECT_EQ(mailboxesIn(list), "-o<>\xC3\xA9<a@x>B?<b@x>\xC3\xA9<c@x>");
}

TEST(Fields, BccAddressesLeaveTheHeader) {
    const NodePtr node = leaf("bcc: a@x,\r\n =?utf-8?Q?b=40x?=\r\nTo: c@x\r\nBcc: d@x");
    ExtPtrArray list;
    node->getAndRemoveBccAddresses(list, noLog);
    EXPECT_EQ(mailboxesIn(list), "<a@x><b@x>");
    EXPECT_EQ(headerOf(*node), "To: c@x");
    EXPECT_TRUE(node->m_modified);
    node->m_modified = false;
    node->getAndRemoveBccAddresses(list, noLog);
    EXPECT_EQ(list.getSize(), 2);
    EXPECT_FALSE(node->m_modified);
}

}  // namespace
