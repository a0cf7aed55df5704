// SPDX-License-Identifier: Apache-2.0

// Loading and the search for the end of the header: every repair, the order in which they are
// tried, what the log is told, and the entry points.

#include "tests/node_support.h"

namespace {

// The steps that the log tells of, each by a letter.
const std::pair<char, const char*> kSteps[] = {
    {'s', "MIME is missing initial header because it begins with CRLF"},
    {'c', "Using double CR for end of MIME header"},
    {'d', "Double CRLF not found, but found double-LF"},
    {'m', "Also found CRLF.  The MIME contains a mixture of bare-LF's and CRLF's"},
    {'a', "Converting all line endings to CRLF."},
    {'p', "Found LFLF prior to first double CRLF!"},
    {'l', "Found LFLF, converting to CRLF"},
    {'1', "Found CRLFCRCRLF."},
    {'3', "Found LFCRLF."},
    {'!', "Using LFLF instead.."},
    {'f', "Found CRCRLF. Fixing.."},
    {'r', "Found CRCR."},
};

std::string toldOf(std::string_view steps) {
    std::string lines;
    for (char step : steps)
        for (const auto& [letter, line] : kSteps)
            if (letter == step) lines += std::string(line) + "|";
    return lines;
}

// `text`, with bars for CRLF, is null where the text must stay as it came.
struct SearchRow {
    bool lenient;
    std::string_view in;
    const char* text;
    long end;
    const char *steps, *terminator = "\r\n\r\n";
};

constexpr SearchRow kSearchRows[] = {
    {false, "A: 1\r\n\r\nb\r\n\r\n", nullptr, 4, ""},
    {false, "\r\nb\n\nc\r\n\r\nd", nullptr, 0, "s"},
    {true, "\r\nA: 1\n\nc", "|A: 1||c", 6, "sa"},
    {false, "A: 1\n\nb\r\n\r\n", nullptr, 4, "p", "\n\n"},
    {true, "A: 1\r\n\r\nb\n\n", "A: 1||b||", 4, "a"},
    {true, "A: 1\r\rb\r\n\r\nc", "A: 1||b||c", 4, "ca"},
    {true, "A: 1\r\nB: 2\n\nb", "A: 1|B: 2||b", 10, "dma"},
    {false, "A: 1\r\nB: 2\n\nb", "A: 1|B: 2||b", 10, "l"},
    {false, "A: 1\r\n\r\r\nb", nullptr, 4, "1", "\r\n\r\r\n"},
    {false, "A\r\n\rb\r\n\r\r\nb", nullptr, 5, "1", "\r\n\r\r\n"},
    {false, "A: 1\n\n\r\nb", nullptr, 4, "3!", "\n\n"},
    // Behind a repair the search ends at a zero byte.
    {false, "A: \0\nB: 2\n\nb"sv, nullptr, -1, "l"},
    {true, "A\n\r\nb\n\n", "A||b||", 1, "dma"},
    {false, "A\r\r\r\nB: 2\r\r\nb\rc", "A|||\nB: 2||\nb|c", 1, "fr"},
    // The first repair finds no end, the second starts from the text as it came.
    {false, "A: 1\rB: 2\r\rb\r\r\nc", "A: 1|B: 2||b||\nc", 10, "fr"},
};

TEST(HeaderEnd, Search) {
    for (const SearchRow& row : kSearchRows) {
        SCOPED_TRACE(barred(row.in));
        for (bool verbose : {true, false}) {
            const std::string copy(row.in);  // with a NUL behind
            MimeMessage2 node;
            StringBuffer repairBuf, convertBuf;
            const char *data = copy.c_str(), *end = nullptr, *terminator = "\r\n\r\n";
            unsigned size = static_cast<unsigned>(copy.size());
            const auto search = [&](LogBase& log) {
                node.findEndOfHeader2(&data, size, row.lenient, log, false, repairBuf, convertBuf,
                                      size, &end, &terminator);
            };
            // Kept on purpose: one step is told to every log.
            const bool isToldAlways = std::string_view(row.steps).ends_with('!');
            EXPECT_EQ(told(search, verbose), toldOf(verbose ? row.steps : isToldAlways ? "!" : ""));
            EXPECT_EQ(end ? end - data : -1, row.end);
            EXPECT_STREQ(terminator, row.terminator);
            const std::string text = row.text ? crlf(row.text) : copy;
            EXPECT_EQ(std::string(data, size), end ? text : std::string(data, size));
        }
    }
}

// The end that the caller knows stays, and with it the terminator; sizeInOut bounds all.
TEST(HeaderEnd, WhatTheCallerKnows) {
    MimeMessage2 node;
    StringBuffer buffers[2];
    const char text[] = "A: 1\r\n\r\nb", *data = text, *end = text + 2, *terminator = "x";
    for (unsigned size : {9u, 5u}) {
        node.findEndOfHeader2(&data, 9, false, noLog, false, buffers[0], buffers[1], size, &end,
                              &terminator);
        EXPECT_EQ(end ? end - text : -1, size == 9 ? 2 : -1);
        EXPECT_STREQ(terminator, size == 9 ? "x" : "\r\n\r\n");
        end = nullptr;
    }
}

TEST(HeaderEnd, OfACString) {
    MimeMessage2 node;
    EXPECT_STREQ(node.findEndOfHeader("A\r\rB\n\nC\r\n\r\nD"), "\r\n\r\nD");
    EXPECT_STREQ(node.findEndOfHeader("A\r\rB\n\nC"), "\n\nC");
    EXPECT_STREQ(node.findEndOfHeader("A\r\rB"), "\r\rB");
    EXPECT_EQ(node.findEndOfHeader("A\r\n\rB"), nullptr);
    EXPECT_EQ(node.findEndOfHeader(nullptr), nullptr);
}

struct LoadRow {
    std::string_view in, out;
    bool isText = false;
};

// Both with bars for CRLF; `out` is what is written again.
constexpr LoadRow kLoadRows[] = {
    {"", "||"},
    {"|body||more", "||body||more"},
    {"|body||more", "||body||more", true},
    {"|A: 1||b\n\nc", "A: 1||b||c", true},
    {"|A: 1||b\n\nc", "||A: 1||b\n\nc"},
    {"A: 1\r|B: 2\r|\r|b", "A: 1|B: 2||\r|b"},
    {"From a\rA: 1||b", "A: 1||b"},
    {"From a|From b|A: 1||b", "From -|From b|A: 1||b"},
    {"From a||From b||b", "From -|From b||b"},
    {"From \0|A: 1||b"sv, "From -|From \0|A: 1||b"sv},
    {"From a||body", "body||"},
};

TEST(Load, HeaderAndBody) {
    for (const LoadRow& row : kLoadRows) {
        const std::string in = crlf(row.in);
        EXPECT_EQ(barred(written(*(row.isText ? fromText(in) : fromBytes(in)))), row.out);
    }
}

TEST(Load, EntryPoints) {
    NodePtr node = fromBytes("Old: 1\r\n\r\nold");
    StringBuffer clue;
    EXPECT_FALSE(node->loadMimeComplete2(nullptr, 5, false, clue, noLog, false));
    EXPECT_EQ(written(*node), "\r\n\r\n");
    StringBuffer large = sb(std::string(20000000, 'a'));
    for (const char* error : {"", "ERROR: Header larger than 20MB?  This cannot be MIME...|"}) {
        LogText log;
        EXPECT_EQ(node->loadMimeComplete(large, log, false), !*error);
        EXPECT_EQ(node->getNumHeaderFields(), !*error);
        EXPECT_EQ(linesOf(log), error);
        large.appendChar('a');
    }
    // An empty text has no charset, but says so.
    node = fromBytes("Content-Type: text/plain; charset=koi8-r\r\n\r\n");
    StringBuffer nothing;
    EXPECT_TRUE(node->loadMimeComplete(nothing, noLog, false));
    EXPECT_STREQ(node->getCharset(), "");
}

// The clue is in samples/headers.
TEST(Load, Utf8FlagReachesTheHeaders) {
    NodePtr node(MimeMessage2::createNewObject());
    node->loadMimeComplete(sb("Subject: \xC3\xA9\r\n\r\n\xC3\xA9"), noLog, true);
    EXPECT_EQ(got([&](auto& o) { return node->getHeaderFieldUtf8("Subject", o, noLog); }),
              "\xC3\xA9>");
    EXPECT_EQ(bodyOf(*node), "\xC3\xA9");
    EXPECT_EQ(node->getHeaderDetectedCP(), 65001);
}

struct PiecesRow {
    const char* header;
    std::string_view body;
    bool isUtf8;
    const char* charset;
    std::string_view out;
};

constexpr PiecesRow kPiecesRows[] = {
    {"Content-Type: a/b; charset=iso-8859-1", "\xE9", false, "iso-8859-1", "\xE9"},
    {"Content-Type: text/x; charset=koi8-r", "\xC3\xA9", true, "koi8-r", "\xC3\xA9"},
    {"Content-Type: image/x; charset=koi8-r", "\xE9", false, "", "\xE9"},
    {"Content-Type: Application/XML; charset=koi8-r", "\xE9", false, "", "\xC3\xA9"},
    {"Content-Type: text/x; charset=utf-16le|Content-Transfer-Encoding: quoted-printable", "a=00",
     true, "utf-16le", "a\0"sv},
};

TEST(Load, FromPieces) {
    ExtPtrArray parts;
    for (const PiecesRow& row : kPiecesRows) {
        SCOPED_TRACE(row.header);
        const NodePtr node = leaf("Old: 1", "old");
        EXPECT_TRUE(node->loadMime(crlf(row.header).c_str(), raw(row.body),
                                   static_cast<unsigned>(row.body.size()), parts, row.isUtf8,
                                   noLog));
        EXPECT_EQ(bodyOf(*node), row.out);
        EXPECT_STREQ(node->getCharset(), row.charset);
        EXPECT_EQ(headerOf(*node).find("charset=") != std::string::npos, *row.charset != '\0');
    }
    const NodePtr node = leaf("Old: 1", "old");
    MimeMessage2 *const a = leaf("A: 1").release(), *const b = leaf("B: 1").release();
    for (MimeMessage2* part : {a, static_cast<MimeMessage2*>(nullptr), b}) parts.appendPtr(part);
    EXPECT_TRUE(
        node->loadMime("Content-Type: multipart/x; boundary=b", nullptr, 5, parts, false, noLog));
    EXPECT_EQ(bodyOf(*node), "");
    ASSERT_EQ(node->getNumParts(), 2);
    EXPECT_EQ(node->getPart(1), b);
    EXPECT_EQ(parts.getSize(), 3);
    EXPECT_TRUE(!parts.elementAt(0) && !parts.elementAt(2));
    // The parts that it has.
    EXPECT_TRUE(node->loadMime("A: 1", nullptr, 0, node->m_subParts, false, noLog));
    EXPECT_EQ(node->getPart(1), b);
    EXPECT_TRUE(node->loadMime(nullptr, nullptr, 0, parts, false, noLog));
    EXPECT_EQ(written(*node), "\r\n\r\n");
}

}  // namespace
