// SPDX-License-Identifier: Apache-2.0

// The header field list: what is read from damaged and 8-bit headers, what the changes do,
// and that nothing a caller gives can begin a new header line.

#include "tests/node_support.h"

namespace {

std::string listed(const MimeHeader& header) {
    std::string text;
    for (int i = 0; i < header.getNumFields(); ++i) {
        StringBuffer name, value;
        EXPECT_TRUE(header.getFieldNameUtf8(i, name, noLog));
        EXPECT_TRUE(header.getFieldValueUtf8(i, value, noLog));
        EXPECT_FALSE(value.containsChar('\r') || value.containsChar('\n'));
        text += (i ? "|" : "") + str(name) + "=" + str(value);
    }
    return text;
}

std::string textOf(const MimeHeader& header, int codePage = 65001) {
    StringBuffer out = sb(">");
    EXPECT_TRUE(header.getMimeHeader(out, nullptr, codePage, false, noLog));
    return str(out).substr(1);
}

void load(MimeHeader& header, const std::string& text, const char* terminator = nullptr) {
    StringBuffer clue;
    header.loadMimeHeaderText(text.c_str(), terminator, 0, clue, noLog);
}

// `out` is null where what comes out is what went in.
struct LoadRow {
    const char *in, *fields, *out = nullptr;
};

constexpr LoadRow kLoadRows[] = {
    {"", ""},
    {"A: 1\nB: 2\n", "A=1|B=2", "A: 1\r\nB: 2"},
    {"A: 1\r\r\n x\r\r\nB: 2\r\r\n", "A=1 x|B=2", "A: 1\r\n x\r\nB: 2"},
    {"A: 1\rB: 2", "A=1 B: 2"},
    {"\r\nA: 1\n\nB: 2", "A=1|B=2", "A: 1\r\nB: 2"},
    {"A: 1\r\n\t2\r\n  3\r\nB:\r\n 4", "A=1\t2  3|B=4"},
    {"A: 1\r\n \r\nB: 2", "A=1|B=2"},
    {"A \t: 1\r\nB : 2", "A=1|B=2"},
    {"A:\r\nB: \t", "A=|B="},
    {"A: 1\r\nno field\r\n more\r\nB: 2", "A=1|=no field more|B=2"},
    {"A b: 1\r\n: 2", "=A b: 1|=: 2"},
    {"\xEF\xBB\xBF"
     "A: 1\r\nB: 2",
     "A=1|B=2"},
};

TEST(MimeHeader, ReadsAndWritesBack) {
    for (const LoadRow& row : kLoadRows) {
        SCOPED_TRACE(row.in);
        const Exact in(row.in);
        const std::string out = row.out ? row.out : row.in;
        MimeHeader header;
        header.addMimeField("Old", "1", false, noLog);
        EXPECT_TRUE(header.loadMimeHeaderBytes(in.data(), in.size(), 0, StringBuffer(), noLog));
        EXPECT_EQ(listed(header), row.fields);
        EXPECT_EQ(textOf(header), out);
        // A field added behind leaves the others byte for byte as they were.
        header.addMimeField("New", "1", false, noLog);
        EXPECT_EQ(textOf(header), out + (out.empty() ? "" : "\r\n") + "New: 1");
    }
}

TEST(MimeHeader, ReadsUpToTheTerminator) {
    MimeHeader header;
    for (const char* text : {"A: 1\n\nB: 2\r\n\r\nC: 3", "A: 1\n\nB: 2"}) {
        load(header, text, "\r\n\r\n");
        EXPECT_EQ(listed(header), "A=1|B=2");
    }
    StringBuffer clue;
    header.loadMimeHeaderText(nullptr, nullptr, 0, clue, noLog);
    EXPECT_EQ(listed(header), "");
    header.loadMimeHeaderBytes("A: x\0y\r\nB: 2", 12, 0, clue, noLog);
    EXPECT_EQ(listed(header), "A=x\0y|B=2"sv);
}

struct HighByteRow {
    const char *in, *clue, *fields;
    int detected;
    const char* out = nullptr;  // null where what comes out is what went in
};

constexpr HighByteRow kHighByteRows[] = {
    {"A: \xB1", "ISO-8859-2", "A=\xC4\x85", 28592, "A: =?utf-8?B?xIU=?="},
    {"A: \x82\xA0", "shift_jis", "A=\xE3\x81\x82", 932, "A: =?utf-8?B?44GC?="},
    {"A: \x82\xA0\x82", "shift_jis", "A=\xE2\x80\x9A\xC2\xA0\xE2\x80\x9A", 1252},
    {"A: \x93x\x94", "", "A=\xE2\x80\x9Cx\xE2\x80\x9D", 1252, "A: =?utf-8?B?4oCceOKAnQ==?="},
    // The charset of the header's own body comes before that of another one.
    {"A: \xC4\xE3\r\nContent-Type: a/b; charset=gb2312", "koi8-r",
     "A=\xE4\xBD\xA0|Content-Type=a/b; charset=gb2312", 936,
     "A: =?utf-8?B?5L2g?=\r\nContent-Type: a/b; charset=gb2312"},
    // What may have been misread stays.
    {"A: \xC4\xE3\xBA\xC3", "", "A=\xC3\x84\xC3\xA3\xC2\xBA\xC3\x83", 1252},
    {"A: Za\xBF\xF3\xB3", "", "A=Za\xC2\xBF\xC3\xB3\xC2\xB3", 1252},
    {"A: \xC3\xA9\xE4\xBD ...", "", "A=\xC3\xA9\xC3\xA4\xC2\xBD ...", 65001},
    // Bytes of an encoded word are in its charset.
    {"A: =?koi8-r?q?\xC1=C2?= b \xC3\xA9", "", "A==?koi8-r?q?=C1=C2?= b \xC3\xA9", 65001,
     "A: =?koi8-r?q?=C1=C2?= b =?utf-8?B?w6k=?="},
    {"A: \xE9 =?koi8-r?Q?\xC1?= \xE9", "", "A=\xC3\xA9 =?koi8-r?Q?=C1?= \xC3\xA9", 1252,
     "A: =?utf-8?B?w6kg?= =?koi8-r?Q?=C1?= =?utf-8?B?IMOp?="},
};

TEST(MimeHeader, ReadsHighBytes) {
    for (const HighByteRow& row : kHighByteRows) {
        SCOPED_TRACE(row.in);
        MimeHeader header, copy;
        StringBuffer clue = sb(row.clue);
        header.loadMimeHeaderText(row.in, nullptr, 0, clue, noLog);
        EXPECT_EQ(listed(header), row.fields);
        EXPECT_EQ(header.getDetectedCP(), row.detected);
        EXPECT_EQ(str(clue), row.clue);
        copy.copyMimeHeaderFrom(header, noLog);
        EXPECT_EQ(listed(copy), row.fields);
        EXPECT_EQ(copy.getDetectedCP(), row.detected);
        EXPECT_EQ(textOf(copy), row.out ? row.out : row.in);
    }
}

enum class Do { Add, AddEmpty, Replace, Remove, RemoveAll, Move, Collapse, CutBehindSignature };

void apply(MimeHeader& h, Do change, const char* name, const char* value) {
    switch (change) {
        case Do::Add: h.addMimeField(name, value, false, noLog); break;
        case Do::AddEmpty: h.addMimeFieldAllowEmpty(name, value, noLog); break;
        case Do::Replace: h.replaceMimeFieldUtf8(name, value, noLog); break;
        case Do::Remove: h.removeMimeField(name, false); break;
        case Do::RemoveAll: h.removeMimeField(name, true); break;
        case Do::Move: h.moveToBottom(name, noLog); break;
        case Do::Collapse: h.collapseMultiple(name, noLog); break;
        case Do::CutBehindSignature: h.removeHeaderFieldsAfterSig(noLog);
    }
}

struct ChangeRow {
    const char* in;
    Do change;
    const char *name, *value, *fields;
};

constexpr ChangeRow kChangeRows[] = {
    {"A: 1", Do::AddEmpty, "B", "", "A=1|B="},
    {"A: 1", Do::Add, " :\r\n", "1", "A=1"},
    {"A: 1|B: 2|A: 3", Do::Replace, "A", "9", "A=9|B=2|A=3"},
    {"A: 1|B: 2|a: 3", Do::Remove, "A", nullptr, "B=2|a=3"},
    {"Date-Sent: 1|Date: 2", Do::RemoveAll, "Date", nullptr, "Date-Sent=1"},
    {"junk|A: 1", Do::RemoveAll, "", nullptr, "=junk|A=1"},
    {"A: 1|B: 2|a: 3|C: 4", Do::Move, "a", nullptr, "B=2|C=4|A=1|a=3"},
    {"B: 0|A: 1|B: 2|a: 3", Do::Collapse, "a", nullptr, "B=0|A=1|B=2"},
    {"DKIM-Signature: y|B: 2|dkim-signature: z|C: 3", Do::CutBehindSignature, nullptr, nullptr,
     "DKIM-Signature=y|B=2|dkim-signature=z"},
    {"A: 1|DomainKey-Signature: x|B: 2", Do::CutBehindSignature, nullptr, nullptr,
     "A=1|DomainKey-Signature=x"},
    // Nothing given by a caller begins a line of its own.
    {"A: 1", Do::AddEmpty, "B", "2\rEvil: 3", "A=1|B=2 Evil: 3"},
    {"A: 1", Do::Add, "B\r\nEvil", "2", "A=1|BEvil=2"},
    {"A: 1", Do::Replace, "B: x", "2", "A=1|Bx=2"},
};

// Until it changes, the header of a mail stands in one block, and that of a part in its node.
NodePtr mailWithPart(const std::string& header) {
    return fromBytes(header + "\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n" +
                     header + "\r\n\r\nText\r\n--b--\r\n");
}

TEST(MimeHeader, Changes) {
    for (const ChangeRow& row : kChangeRows) {
        SCOPED_TRACE(row.fields);
        MimeHeader alone, again;
        load(alone, crlf(row.in));
        const NodePtr mail = mailWithPart(crlf(row.in));
        mail->m_mimeHeader.removeMimeField("Content-Type", false);
        for (MimeHeader* header : {&alone, &mail->m_mimeHeader, &mail->getPart(0)->m_mimeHeader}) {
            apply(*header, row.change, row.name, row.value);
            EXPECT_EQ(listed(*header), row.fields);
            load(again, textOf(*header));
            EXPECT_EQ(listed(again), row.fields);
        }
    }
    const NodePtr mail = mailWithPart("A: 1\r\nB: 2");
    MimeHeader& header = mail->m_mimeHeader;
    header.removeMimeField("Content-Type", false);
    for (unsigned i = 0; i < 300; ++i)
        header.replaceMimeFieldUtf8("A", std::string(i % 97 + 1, 'x').c_str(), noLog);
    header.replaceMimeFieldUtf8("A", "9", noLog);
    header.copyMimeHeaderFrom(header, noLog);
    EXPECT_EQ(listed(header), "A=9|B=2");
    header.clear(5);
    header.addMimeField("B", "2", false, noLog);
    EXPECT_EQ(listed(header), "B=2");
}

}  // namespace
