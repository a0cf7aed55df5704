// SPDX-License-Identifier: Apache-2.0

// The header field list: what is read from damaged and 8-bit headers, what the changes do,
// and that nothing a caller gives can begin a new header line.

#include <gtest/gtest.h>

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

struct LoadRow {
    const char* what;
    std::string_view in;
    const char* fields;
    std::string_view out;
};

constexpr LoadRow kLoadRows[] = {
    {"nothing", "", "", ""},
    {"order, spelling and doubles", "b: 1\r\nA: 2\r\nB:3", "b=1|A=2|B=3", "b: 1\r\nA: 2\r\nB:3"},
    {"last line break", "A: 1\r\n", "A=1", "A: 1"},
    {"LF", "A: 1\nB: 2\n", "A=1|B=2", "A: 1\r\nB: 2"},
    {"CRCRLF", "A: 1\r\r\n x\r\r\nB: 2\r\r\n", "A=1 x|B=2", "A: 1\r\n x\r\nB: 2"},
    {"CR at the end", "A: 1\r\nB: 2\r", "A=1|B=2", "A: 1\r\nB: 2"},
    {"CR inside", "A: 1\rB: 2", "A=1 B: 2", "A: 1\rB: 2"},
    {"empty lines", "\r\nA: 1\n\nB: 2", "A=1|B=2", "A: 1\r\nB: 2"},
    {"folds, by blank and tab", "A: 1\r\n\t2\r\n  3\r\nB:\r\n 4", "A=1\t2  3|B=4",
     "A: 1\r\n\t2\r\n  3\r\nB:\r\n 4"},
    {"fold of blanks alone", "A: 1\r\n \r\nB: 2", "A=1|B=2", "A: 1\r\n \r\nB: 2"},
    {"blanks before the colon", "A \t: 1\r\nB : 2", "A=1|B=2", "A \t: 1\r\nB : 2"},
    {"no value", "A:\r\nB: \t", "A=|B=", "A:\r\nB: \t"},
    {"colons in the value", "A: b: c", "A=b: c", "A: b: c"},
    {"a line that is no field", "A: 1\r\nno field\r\n more\r\nB: 2", "A=1|=no field more|B=2",
     "A: 1\r\nno field\r\n more\r\nB: 2"},
    {"begins with a fold", " x\r\nA: 1", "=x|A=1", " x\r\nA: 1"},
    {"blank in the name", "A b: 1\r\n: 2", "=A b: 1|=: 2", "A b: 1\r\n: 2"},
    {"long lines stay", "Subject: =?utf-8?Q?a?=  =?utf-8?Q?b?=",
     "Subject==?utf-8?Q?a?=  =?utf-8?Q?b?=", "Subject: =?utf-8?Q?a?=  =?utf-8?Q?b?="},
};

TEST(MimeHeader, ReadsAndWritesBack) {
    for (const LoadRow& row : kLoadRows) {
        SCOPED_TRACE(row.what);
        const Exact in(row.in);
        MimeHeader header;
        header.addMimeField("Old", "1", false, noLog);
        EXPECT_TRUE(header.loadMimeHeaderBytes(in.data(), in.size(), 0, StringBuffer(), noLog));
        EXPECT_EQ(listed(header), row.fields);
        EXPECT_EQ(textOf(header), row.out);
        // A field added behind leaves the others byte for byte as they were.
        header.addMimeField("New", "1", false, noLog);
        EXPECT_EQ(textOf(header),
                  std::string(row.out) + (row.out.empty() ? "" : "\r\n") + "New: 1");
    }
}

TEST(MimeHeader, ReadsUpToTheTerminator) {
    MimeHeader header;
    StringBuffer clue;
    header.loadMimeHeaderText("A: 1\n\nB: 2\r\n\r\nC: 3", "\r\n\r\n", 0, clue, noLog);
    EXPECT_EQ(listed(header), "A=1|B=2");
    header.loadMimeHeaderText("A: 1\n\nB: 2", "\r\n\r\n", 0, clue, noLog);
    EXPECT_EQ(listed(header), "A=1|B=2");
    header.loadMimeHeaderText(nullptr, nullptr, 0, clue, noLog);
    EXPECT_EQ(listed(header), "");
    header.loadMimeHeaderBytes("A: x\0y\r\nB: 2", 12, 0, clue, noLog);
    EXPECT_EQ(listed(header), "A=x\0y|B=2"sv);
}

struct HighByteRow {
    const char *what, *in, *clue, *fields;
    int detected;
};

constexpr HighByteRow kHighByteRows[] = {
    {"none", "A: 1", "iso-8859-2", "A=1", 0},
    {"UTF-8", "A: \xC3\xA9", "", "A=\xC3\xA9", 65001},
    {"UTF-8 goes before the clue", "A: \xC3\xA9", "iso-8859-2", "A=\xC3\xA9", 65001},
    {"clue", "A: \xB1", "ISO-8859-2", "A=\xC4\x85", 28592},
    {"double-byte clue", "A: \x82\xA0", "shift_jis", "A=\xE3\x81\x82", 932},
    {"no clue", "A: \x93x\x94", "", "A=\xE2\x80\x9Cx\xE2\x80\x9D", 1252},
    {"unknown clue", "A: \x93", "x-nonsense", "A=\xE2\x80\x9C", 1252},
    {"each field by itself", "A: \xC3\xA9\r\nB: \xE9\r\nC: 1", "", "A=\xC3\xA9|B=\xC3\xA9|C=1",
     1252},
};

TEST(MimeHeader, ReadsHighBytes) {
    for (const HighByteRow& row : kHighByteRows) {
        SCOPED_TRACE(row.what);
        MimeHeader header;
        StringBuffer clue = sb(row.clue);
        header.loadMimeHeaderText(row.in, nullptr, 0, clue, noLog);
        EXPECT_EQ(listed(header), row.fields);
        EXPECT_EQ(header.getDetectedCP(), row.detected);
        EXPECT_EQ(str(clue), row.clue);
        MimeHeader copy;
        copy.copyMimeHeaderFrom(header, noLog);
        EXPECT_EQ(listed(copy), row.fields);
        EXPECT_EQ(copy.getDetectedCP(), row.detected);
        EXPECT_EQ(textOf(copy), textOf(header));
    }
}

struct ChangeRow {
    const char *what, *in;
    void (*change)(MimeHeader&);
    const char* fields;
};

constexpr ChangeRow kChangeRows[] = {
    {"add", "A: 1", [](MimeHeader& h) { h.addMimeField("a", "2", false, noLog); }, "A=1|a=2"},
    {"add nothing", "A: 1", [](MimeHeader& h) { h.addMimeField("B", "", false, noLog); }, "A=1"},
    {"add null", "A: 1", [](MimeHeader& h) { h.addMimeField("B", nullptr, false, noLog); }, "A=1"},
    {"add an empty one", "A: 1", [](MimeHeader& h) { h.addMimeFieldAllowEmpty("B", "", noLog); },
     "A=1|B="},
    {"no name", "A: 1", [](MimeHeader& h) { h.addMimeField("", "1", false, noLog); }, "A=1"},
    {"name of colons", "A: 1", [](MimeHeader& h) { h.addMimeField(" :\r\n", "1", false, noLog); },
     "A=1"},
    {"replace in place", "A: 1\r\ncontent-type: x\r\nB: 2",
     [](MimeHeader& h) { h.replaceMimeFieldUtf8("Content-Type", "y", noLog); },
     "A=1|Content-Type=y|B=2"},
    {"replace the first of several", "A: 1\r\nB: 2\r\nA: 3",
     [](MimeHeader& h) { h.replaceMimeFieldUtf8("A", "9", noLog); }, "A=9|B=2|A=3"},
    {"replace what is not there", "A: 1",
     [](MimeHeader& h) { h.replaceMimeFieldUtf8("B", "2", noLog); }, "A=1|B=2"},
    {"replace by null", "A: 1\r\nB: 2\r\nA: 3",
     [](MimeHeader& h) { h.replaceMimeFieldUtf8("a", nullptr, noLog); }, "B=2"},
    {"remove all", "A: 1\r\nB: 2\r\na: 3", [](MimeHeader& h) { h.removeMimeField("A", true); },
     "B=2"},
    {"remove the first", "A: 1\r\nB: 2\r\na: 3",
     [](MimeHeader& h) { h.removeMimeField("A", false); }, "B=2|a=3"},
    {"a prefix is another name", "Content-Type: 1\r\nContent: 2",
     [](MimeHeader& h) { h.removeMimeField("Content", true); }, "Content-Type=1"},
    {"no name removes no line", "junk\r\nA: 1", [](MimeHeader& h) { h.removeMimeField("", true); },
     "=junk|A=1"},
    {"move to the bottom", "A: 1\r\nB: 2\r\na: 3\r\nC: 4",
     [](MimeHeader& h) { h.moveToBottom("a", noLog); }, "B=2|C=4|A=1|a=3"},
    {"collapse", "B: 0\r\nA: 1\r\nB: 2\r\na: 3",
     [](MimeHeader& h) { h.collapseMultiple("a", noLog); }, "B=0|A=1|B=2"},
    {"collapse what is not there", "A: 1\r\nA: 2",
     [](MimeHeader& h) { h.collapseMultiple("B", noLog); }, "A=1|A=2"},
    {"behind the last DKIM",
     "A: 1\r\nDomainKey-Signature: x\r\nDKIM-Signature: y\r\nB: 2\r\ndkim-signature: z\r\nC: 3",
     [](MimeHeader& h) { h.removeHeaderFieldsAfterSig(noLog); },
     "A=1|DomainKey-Signature=x|DKIM-Signature=y|B=2|dkim-signature=z"},
    {"behind DomainKey", "A: 1\r\nDomainKey-Signature: x\r\nB: 2",
     [](MimeHeader& h) { h.removeHeaderFieldsAfterSig(noLog); }, "A=1|DomainKey-Signature=x"},
    {"no signature", "A: 1\r\nB: 2", [](MimeHeader& h) { h.removeHeaderFieldsAfterSig(noLog); },
     "A=1|B=2"},
    {"set again and again", "A: 1\r\nB: 2",
     [](MimeHeader& h) {
         for (int i = 0; i < 300; ++i)
             h.replaceMimeFieldUtf8("A", std::string(static_cast<size_t>(i % 97 + 1), 'x').c_str(),
                                    noLog);
         h.replaceMimeFieldUtf8("A", "9", noLog);
     },
     "A=9|B=2"},
    {"copy of itself", "A: 1\r\nB: 2", [](MimeHeader& h) { h.copyMimeHeaderFrom(h, noLog); },
     "A=1|B=2"},
    {"clear", "A: 1",
     [](MimeHeader& h) {
         h.clear(5);
         h.addMimeField("B", "2", false, noLog);
     },
     "B=2"},
    // Nothing given by a caller begins a line of its own.
    {"CRLF in a value", "A: 1",
     [](MimeHeader& h) { h.addMimeField("B", "2\r\nEvil: 3", false, noLog); }, "A=1|B=2 Evil: 3"},
    {"LF in a value", "A: 1",
     [](MimeHeader& h) { h.replaceMimeFieldUtf8("A", "2\nEvil: 3", noLog); }, "A=2 Evil: 3"},
    {"CR in a value", "A: 1",
     [](MimeHeader& h) { h.addMimeFieldAllowEmpty("B", "2\rEvil: 3", noLog); }, "A=1|B=2 Evil: 3"},
    {"end of header in a value", "A: 1",
     [](MimeHeader& h) { h.addMimeField("B", "2\r\n\r\nbody", false, noLog); }, "A=1|B=2 body"},
    {"a fold in a value", "A: 1",
     [](MimeHeader& h) { h.addMimeField("B", "2\r\n 3", false, noLog); }, "A=1|B=2 3"},
    {"line break in a name", "A: 1",
     [](MimeHeader& h) { h.addMimeField("B\r\nEvil", "2", false, noLog); }, "A=1|BEvil=2"},
    {"colon in a name", "A: 1", [](MimeHeader& h) { h.replaceMimeFieldUtf8("B: x", "2", noLog); },
     "A=1|Bx=2"},
};

TEST(MimeHeader, Changes) {
    for (const ChangeRow& row : kChangeRows) {
        SCOPED_TRACE(row.what);
        MimeHeader header;
        StringBuffer clue;
        header.loadMimeHeaderText(row.in, nullptr, 0, clue, noLog);
        row.change(header);
        EXPECT_EQ(listed(header), row.fields);
        MimeHeader again;
        again.loadMimeHeaderText(textOf(header).c_str(), nullptr, 0, clue, noLog);
        EXPECT_EQ(listed(again), row.fields);
    }
}

TEST(MimeHeader, TouchedFieldsAreFoldedAndAscii) {
    struct {
        const char *name, *value, *must, *mustNot;
    } const rows[] = {
        {"Subject",
         "gr\xC3\xBC\xC3\x9F"
         "e",
         "=?utf-8?", "\xC3"},
        {"To", "J\xC3\xBCrgen <j@x.org>", "<j@x.org>", "\xC3"},
        {"Content-Disposition", "attachment; filename=\"\xC3\xBC.txt\"", "filename*=", "=?"},
        {"X-Long",
         "word word word word word word word word word word word word word word word word"
         " word word word word word word word word",
         "\r\n ", "=?"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MimeHeader header;
        header.addMimeField(row.name, row.value, false, noLog);
        std::string text = textOf(header);
        EXPECT_TRUE(sb(text).containsSubstringNoCase(row.must)) << text;
        EXPECT_EQ(text.find(row.mustNot), std::string::npos) << text;
        for (size_t at = 0, end; at != std::string::npos; at = end == text.npos ? end : end + 2) {
            end = text.find("\r\n", at);
            EXPECT_LE(std::min(end, text.size()) - at, 78u);
        }
    }
}

TEST(MimeHeader, GettersAppendOrLeaveAlone) {
    MimeHeader header;
    StringBuffer clue;
    header.loadMimeHeaderText(
        "Content-Type: multipart/signed; protocol=\"a/b\"; x*=utf-8''%C3%A9\r\nX: 1", nullptr, 0,
        clue, noLog);
    const auto got = [](auto ask) {
        StringBuffer out = sb("<");
        out.append(ask(out) ? ">" : "!");
        return str(out);
    };
    EXPECT_EQ(got([&](auto& o) { return header.getMimeFieldUtf8("x", o, noLog); }), "<1>");
    EXPECT_EQ(got([&](auto& o) { return header.getMimeFieldUtf8("Y", o, noLog); }), "<!");
    EXPECT_EQ(got([&](auto& o) { return header.getMimeFieldUtf8(nullptr, o, noLog); }), "<!");
    EXPECT_EQ(got([&](auto& o) { return header.getMimeFieldUtf8_2("X-Mailer", 1, o, noLog); }),
              "<1>");
    EXPECT_EQ(got([&](auto& o) { return header.getMimeFieldUtf8_2("X", 0, o, noLog); }), "<!");
    EXPECT_EQ(got([&](auto& o) { return header.getFieldNameUtf8(1, o, noLog); }), "<X>");
    EXPECT_EQ(got([&](auto& o) { return header.getFieldNameUtf8(2, o, noLog); }), "<!");
    EXPECT_EQ(got([&](auto& o) { return header.getFieldValueUtf8(2, o, noLog); }), "<!");
    EXPECT_EQ(got([&](auto& o) { return header.getFieldValueUtf8(-1, o, noLog); }), "<!");
    const auto param = [&](const char* field, const char* name) {
        return got([&](auto& o) { return header.getSubFieldUtf8(field, name, o, noLog); });
    };
    EXPECT_EQ(param("content-type", "PROTOCOL"), "<a/b>");
    EXPECT_EQ(param("content-type", "x"), "<\xC3\xA9>");
    EXPECT_EQ(param("content-type", "proto"), "<!");
    EXPECT_EQ(param("content-type", nullptr), "<!");
    EXPECT_EQ(param("Y", "protocol"), "<!");
}

}  // namespace
