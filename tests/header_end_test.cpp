// SPDX-License-Identifier: Apache-2.0

// Loading and the search for the end of the header: every repair, the order in which they are
// tried, what the log is told, and the entry points.

#include <gtest/gtest.h>

#include "tests/node_support.h"

namespace {

struct Found {
    std::string_view in;
    std::string text;  // what the search goes on in
    long end = -1;     // where its header ends
    std::string terminator, log;
};

Found search(std::string_view in, bool lenient, bool verbose = true) {
    const std::string copy(in);  // with a NUL behind
    MimeMessage2 node;
    LogText log;
    log.m_verbose = verbose;
    StringBuffer repairBuf, convertBuf;
    const char *data = copy.c_str(), *end = nullptr, *terminator = "\r\n\r\n";
    unsigned size = static_cast<unsigned>(in.size());
    node.findEndOfHeader2(&data, size, lenient, log, false, repairBuf, convertBuf, size, &end,
                          &terminator);
    return {in, std::string(data, size), end ? end - data : -1L, terminator, linesOf(log)};
}

constexpr char kStart[] = "MIME is missing initial header because it begins with CRLF|";
constexpr char kCrCr[] =
    "Using double CR for end of MIME header|Converting all line endings to CRLF.|";
constexpr char kMixed[] =
    "Double CRLF not found, but found double-LF|"
    "Also found CRLF.  The MIME contains a mixture of bare-LF's and CRLF's|Converting all line "
    "endings to CRLF.|";
constexpr char kAll[] = "Converting all line endings to CRLF.|";

// `text` is null where the text must stay as it came.
struct SearchRow {
    const char* what;
    bool lenient;
    std::string_view in;
    const char* text;
    long end;
    const char *terminator, *log;
};

constexpr SearchRow kSearchRows[] = {
    {"plain", false, "A: 1\r\n\r\nb\r\n\r\n", nullptr, 4, "\r\n\r\n", ""},
    {"plain, text", true, "A: 1\r\n\r\nb", nullptr, 4, "\r\n\r\n", ""},
    {"nothing", false, "", nullptr, -1, "\r\n\r\n", ""},
    {"no end", false, "A: 1\r\nB: 2", nullptr, -1, "\r\n\r\n", ""},
    {"begins with CRLF", false, "\r\nb\n\nc\r\n\r\nd", nullptr, 0, "\r\n\r\n", kStart},
    {"begins with CRLF, text", true, "\r\nb\r\n\r\nc", nullptr, 0, "\r\n\r\n", kStart},
    {"begins with CRLF, text with LFLF", true, "\r\nA: 1\n\nc", "\r\nA: 1\r\n\r\nc", 6, "\r\n\r\n",
     "MIME is missing initial header because it begins with CRLF|Converting all line endings to "
     "CRLF.|"},
    {"LFLF in front, bytes", false, "A: 1\n\nb\r\n\r\n", nullptr, 4, "\n\n",
     "Found LFLF prior to first double CRLF!|"},
    {"LFLF behind, bytes", false, "A: 1\r\n\r\nb\n\n", nullptr, 4, "\r\n\r\n", ""},
    {"LFLF behind, text", true, "A: 1\r\n\r\nb\n\n", "A: 1\r\n\r\nb\r\n\r\n", 4, "\r\n\r\n", kAll},
    {"CRCR in front, text", true, "A: 1\r\rb\r\n\r\nc", "A: 1\r\n\r\nb\r\n\r\nc", 4, "\r\n\r\n",
     kCrCr},
    {"CRCR behind, text", true, "A: 1\r\n\r\nb\r\rc", nullptr, 4, "\r\n\r\n", ""},
    {"CRCR alone, text", true, "A: 1\rB: 2\r\rb\nc", "A: 1\r\nB: 2\r\n\r\nb\r\nc", 10, "\r\n\r\n",
     kCrCr},
    {"begins with CRLF, CRCR behind, text", true, "\r\nA\r\rb", "\r\nA\r\n\r\nb", 3, "\r\n\r\n",
     "MIME is missing initial header because it begins with CRLF|Using double CR for end of MIME "
     "header|"
     "Converting all line endings to CRLF.|"},
    {"mixture, text", true, "A: 1\r\nB: 2\n\nb", "A: 1\r\nB: 2\r\n\r\nb", 10, "\r\n\r\n", kMixed},
    {"mixture, bytes", false, "A: 1\r\nB: 2\n\nb", "A: 1\r\nB: 2\r\n\r\nb", 10, "\r\n\r\n",
     "Found LFLF, converting to CRLF|"},
    {"LF, text", true, "A: 1\nB: 2\n\nb", "A: 1\r\nB: 2\r\n\r\nb", 10, "\r\n\r\n",
     "Double CRLF not found, but found double-LF|Found LFLF, converting to CRLF|"},
    {"LF, bytes", false, "A: 1\nB: 2\n\nb\rc", "A: 1\r\nB: 2\r\n\r\nb\rc", 10, "\r\n\r\n",
     "Found LFLF, converting to CRLF|"},
    {"CRLFCRCRLF", false, "A: 1\r\n\r\r\nb", nullptr, 4, "\r\n\r\r\n", "Found CRLFCRCRLF.|"},
    {"CRLFCRCRLF goes before an earlier CRLFCR", false, "A\r\n\rb\r\n\r\r\nb", nullptr, 5,
     "\r\n\r\r\n", "Found CRLFCRCRLF.|"},
    {"CRLFCR", false, "A: 1\r\n\rb\n\r\n", nullptr, 4, "\r\n\r", "Found CRLFCR.|"},
    {"LFCRLF", false, "A: 1\n\r\nb\n\n", nullptr, 4, "\n\r\n", "Found LFCRLF.|"},
    {"LFLF in front of LFCRLF", false, "A: 1\n\nb\n\r\n", nullptr, 4, "\n\n",
     "Found LFCRLF.|Using LFLF instead..|"},
    {"LFCRLF, text with LFLF", true, "A\n\r\nb\n\n", "A\r\n\r\nb\r\n\r\n", 1, "\r\n\r\n", kMixed},
    {"CRCRLF", false, "A: 1\r\r\nB: 2\r\r\n\r\r\nb\rc", nullptr, 12, "\r\n\r\r\n",
     "Found CRLFCRCRLF.|"},
    {"CRCRCRLF", false, "A: 1\r\r\r\nB: 2\r\r\nb\rc", "A: 1\r\n\r\n\r\n\nB: 2\r\n\r\n\nb\r\nc", 4,
     "\r\n\r\n", "Found CRCRLF. Fixing..|Found CRCR.|"},
    {"CR, bytes", false, "A: 1\rB: 2\r\rb", "A: 1\r\nB: 2\r\n\r\nb", 10, "\r\n\r\n", ""},
    {"NUL in front", false, "A: \0\r\n\r\nb"sv, nullptr, 4, "\r\n\r\n", ""},
};

TEST(HeaderEnd, Search) {
    for (const SearchRow& row : kSearchRows) {
        SCOPED_TRACE(row.what);
        const Found found = search(row.in, row.lenient);
        EXPECT_EQ(found.end, row.end);
        EXPECT_EQ(found.terminator, row.terminator);
        EXPECT_EQ(found.log, row.log);
        if (row.end >= 0) {
            EXPECT_EQ(found.text, row.text ? std::string_view(row.text) : row.in);
        }
        const bool isToldAlways = std::string_view(row.log).ends_with("instead..|");
        EXPECT_EQ(search(row.in, row.lenient, false).log,
                  isToldAlways ? "Using LFLF instead..|" : "");
    }
}

TEST(HeaderEnd, LastRepairs) {
    // CRCRLF in the body and bare CRs in the header: the first repair finds no end, the second
    // starts from the text as it came.
    const Found found = search("A: 1\rB: 2\r\rb\r\r\nc"sv, false);
    EXPECT_EQ(found.text, "A: 1\r\nB: 2\r\n\r\nb\r\n\r\n\nc");
    EXPECT_EQ(found.end, 10);
    EXPECT_EQ(found.log, "Found CRCRLF. Fixing..|Found CRCR.|");
    const Found crlfs = search("A\r\r\r\n\r\r\nb"sv, false);
    EXPECT_EQ(crlfs.end, 3);  // "\r\n\r\r\n" as it stands
    EXPECT_EQ(crlfs.text, "A\r\r\r\n\r\r\nb");
}

TEST(HeaderEnd, OfACString) {
    MimeMessage2 node;
    struct {
        const char *text, *end;
    } const rows[] = {
        {"A\r\rB\n\nC\r\n\r\nD", "\r\n\r\nD"}, {"A\r\rB\n\nC", "\n\nC"}, {"A\r\rB", "\r\rB"}};
    for (const auto& row : rows) EXPECT_STREQ(node.findEndOfHeader(row.text), row.end);
    EXPECT_EQ(node.findEndOfHeader("A\r\n\rB"), nullptr);
    EXPECT_EQ(node.findEndOfHeader(nullptr), nullptr);
}

struct LoadRow {
    const char* what;
    std::string_view in;
    const char *header, *body;
    bool isText = false;
};

constexpr LoadRow kLoadRows[] = {
    {"header alone", "A: 1\r\n\r\n", "A: 1", ""},
    {"no blank line", "A: 1\r\nB: 2", "A: 1\r\nB: 2", ""},
    {"no blank line, LF", "A: 1\nB: 2\n", "A: 1\r\nB: 2", ""},
    {"nothing", "", "", ""},
    {"begins with CRLF", "\r\nbody\r\n\r\nmore", "", "body\r\n\r\nmore"},
    {"begins with two", "\r\n\r\nbody", "", "body"},
    {"begins with CRLF and LF", "\r\n\nbody", "", "body"},
    {"begins with CRLF, text", "\r\nbody\r\n\r\nmore", "", "body\r\n\r\nmore", true},
    {"LFLF in a text moves the end", "\r\nA: 1\r\n\r\nb\n\nc", "A: 1", "b\r\n\r\nc", true},
    {"LFLF of bytes does not", "\r\nA: 1\r\n\r\nb\n\nc", "", "A: 1\r\n\r\nb\n\nc"},
    {"LFLF, bytes", "A: 1\n\nb\r\n\r\nc", "A: 1", "b\r\n\r\nc"},
    {"LF, text", "A: 1\nB: 2\n\nb\nc", "A: 1\r\nB: 2", "b\r\nc", true},
    {"body with LFLF, text", "A: 1\r\n\r\nb\n\nc", "A: 1", "b\r\n\r\nc", true},
    {"body begins at the CR", "A: 1\r\n\rb", "A: 1", "\rb"},
    {"CRCR", "A: 1\rB: 2\r\rb", "A: 1\r\nB: 2", "b"},
    {"CRCRLF", "A: 1\r\r\nB: 2\r\r\n\r\r\nb", "A: 1\r\nB: 2", "\r\r\nb"},
    {"LFCRLF", "A: 1\n\r\nb", "A: 1", "b"},
    {"bytes keep bare breaks in the body", "A: 1\r\n\r\nb\nc\rd", "A: 1", "b\nc\rd"},
    {"mbox line", "From a Mon\r\n\r\n\nA: 1\r\n\r\nb", "A: 1", "b"},
    {"mbox line, LF", "From a\nA: 1\n\nb", "A: 1", "b"},
    {"mbox line, CR", "From a\rA: 1\r\n\r\nb", "A: 1", "b"},
    {"mbox line alone stays", "From a\r\n", "From a", ""},
    {"lower case is no mbox line", "from a\r\nA: 1\r\n\r\nb", "from a\r\nA: 1", "b"},
    {"no blank behind From", "From: a\r\nA: 1\r\n\r\nb", "From: a\r\nA: 1", "b"},
    {"mbox line, then the blank line", "From a\r\n\r\nbody", "body", ""},
};

TEST(Load, HeaderAndBody) {
    for (const LoadRow& row : kLoadRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = row.isText ? fromText(row.in) : fromBytes(row.in);
        EXPECT_EQ(headerOf(*node), row.header);
        EXPECT_EQ(bodyOf(*node), row.body);
    }
}

TEST(Load, LogLines) {
    const auto told = [](std::string_view in) {
        LogText log;
        log.m_verbose = true;
        fromBytes(in, log);
        return linesOf(log);
    };
    EXPECT_EQ(told("From x\nA: 1\r\n\r\n"),
              "Skipping MBOX leading From line...|Found end-of-header.|");
    EXPECT_EQ(
        told("A: 1"),
        "End-of-header not found.|Assuming the entire MIME message is a header with no body.|");
    EXPECT_NE(told("A: 1\r\n\r\nb").find("Found end-of-header.|contentType: |"), std::string::npos);
    LogText quiet;
    fromBytes("From x\nA: 1", quiet);
    fromBytes("A: 1\r\n\r\nb", quiet);
    EXPECT_EQ(linesOf(quiet), "");
}

TEST(Load, EntryPoints) {
    NodePtr node = fromBytes("Old: 1\r\n\r\nold");
    StringBuffer clue;
    EXPECT_FALSE(node->loadMimeComplete2(nullptr, 5, false, clue, noLog, false));
    EXPECT_EQ(written(*node), "\r\n\r\n");
    LogText log;
    const std::string limit(20000000, 'a');
    StringBuffer large = sb(limit);
    EXPECT_TRUE(node->loadMimeComplete(large, log, false));
    EXPECT_EQ(node->getNumHeaderFields(), 1);
    EXPECT_EQ(linesOf(log), "");
    large.appendChar('a');
    EXPECT_FALSE(node->loadMimeComplete(large, log, false));
    EXPECT_EQ(node->getNumHeaderFields(), 0);
    EXPECT_EQ(linesOf(log), "ERROR: Header larger than 20MB?  This cannot be MIME...|");
    // Text from the node's own body.
    node = leaf("A: 1", "B: 2\r\n\r\nbody");
    EXPECT_TRUE(node->loadMimeCompleteDb(node->m_mimeBody, noLog));
    EXPECT_EQ(written(*node), "B: 2\r\n\r\nbody");
}

TEST(Load, Utf8FlagAndClueReachTheHeaders) {
    NodePtr node(MimeMessage2::createNewObject());
    const auto subject = [&node](int part) {
        StringBuffer out;
        (part < 0 ? node.get() : node->getPart(part))->getHeaderFieldUtf8("Subject", out, noLog);
        return str(out);
    };
    const StringBuffer text =
        sb("Content-Type: multipart/mixed; boundary=b\r\nSubject: \xB1\r\n\r\n"
           "--b\r\nSubject: \xB1\r\nContent-Type: text/plain; charset=us-ascii\r\n\r\none\r\n"
           "--b\r\nContent-Type: text/plain; charset=iso-8859-2\r\n\r\none\r\n"
           "--b\r\nSubject: \xB1\r\nContent-Type: text/plain; charset=koi8-r\r\n\r\ntwo\r\n"
           "--b\r\nSubject: \xB1\r\n\r\nthree\r\n--b--");
    node->loadMimeComplete(text, noLog, false);
    EXPECT_EQ(subject(-1), "\xC2\xB1");
    EXPECT_EQ(subject(0), "\xC2\xB1");
    EXPECT_EQ(subject(2), "\xC4\x85");
    EXPECT_EQ(subject(3), "\xC4\x85");
    node->loadMimeComplete(sb("Subject: \xC3\xA9\r\n\r\n\xC3\xA9"), noLog, true);
    EXPECT_EQ(subject(-1), "\xC3\xA9");
    EXPECT_EQ(node->getHeaderDetectedCP(), 65001);
    EXPECT_EQ(bodyOf(*node), "\xC3\xA9");
}

struct PiecesRow {
    const char *what, *header;
    std::string_view body;
    bool isUtf8;
    const char* charset;
    std::string_view out;
};

constexpr PiecesRow kPiecesRows[] = {
    {"text", "Content-Type: text/plain; charset=iso-8859-1", "caf\xE9", false, "iso-8859-1",
     "caf\xC3\xA9"},
    {"UTF-8 whatever the label says", "Content-Type: text/plain; charset=koi8-r", "caf\xC3\xA9",
     true, "koi8-r", "caf\xC3\xA9"},
    {"media lose their charset", "Content-Type: image/x; charset=koi8-r", "\xE9", false, "",
     "\xE9"},
    {"so does XML", "Content-Type: Application/XML; charset=koi8-r", "caf\xE9", false, "",
     "caf\xC3\xA9"},
    {"message keeps it", "Content-Type: message/x; charset=koi8-r", "\xE9", false, "koi8-r",
     "\xE9"},
    {"coding", "Content-Transfer-Encoding: base64\r\nContent-Type: text/plain", "YWI=", false, "",
     "ab"},
    {"real UTF-16",
     "Content-Type: text/plain; charset=utf-16le\r\nContent-Transfer-Encoding: quoted-printable",
     "a=00", true, "utf-16le", "a\0"sv},
};

TEST(Load, FromPieces) {
    for (const PiecesRow& row : kPiecesRows) {
        SCOPED_TRACE(row.what);
        const NodePtr node = leaf("Old: 1", "old");
        ExtPtrArray parts;
        EXPECT_TRUE(
            node->loadMime(row.header, reinterpret_cast<const unsigned char*>(row.body.data()),
                           static_cast<unsigned>(row.body.size()), parts, row.isUtf8, noLog));
        EXPECT_EQ(bodyOf(*node), row.out);
        EXPECT_STREQ(node->getCharset(), row.charset);
        EXPECT_EQ(headerOf(*node).find("charset=") != std::string::npos, *row.charset != '\0');
    }
    const NodePtr node = leaf("Old: 1", "old");
    ExtPtrArray parts;
    MimeMessage2 *const a = leaf("A: 1").release(), *const b = leaf("B: 1").release();
    for (MimeMessage2* part : {a, static_cast<MimeMessage2*>(nullptr), b}) parts.appendPtr(part);
    EXPECT_TRUE(
        node->loadMime("Content-Type: multipart/x; boundary=b", nullptr, 5, parts, false, noLog));
    EXPECT_EQ(bodyOf(*node), "");
    ASSERT_EQ(node->getNumParts(), 2);
    EXPECT_EQ(node->getPart(1), b);
    EXPECT_EQ(parts.getSize(), 3);
    EXPECT_EQ(parts.elementAt(0), nullptr);
    EXPECT_EQ(parts.elementAt(2), nullptr);
    // Body and header text from the node itself.
    const NodePtr own =
        leaf("X: 1\r\nContent-ID: Y: a long text for an id, that lies on the heap", "body");
    EXPECT_TRUE(own->loadMime(own->m_contentId.getString(), own->m_mimeBody.getData2(), 4, parts,
                              false, noLog));
    EXPECT_EQ(written(*own), "Y: a long text for an id, that lies on the heap\r\n\r\nbody");
    EXPECT_TRUE(own->loadMime(nullptr, nullptr, 0, parts, false, noLog));
    EXPECT_EQ(written(*own), "\r\n\r\n");
}

// The same mail in every dress gives the same tree.
TEST(Load, Dresses) {
    const std::string lf =
        "A: 1\nContent-Type: multipart/mixed; boundary=b\n\n--b\nB: 2\n C\n\none\ntwo\n"
        "--b\nContent-Type: text/html\n\nthree!\n--b--\n";
    for (const char* lineEnd : {"\r\n", "\n", "\r"}) {
        SCOPED_TRACE(testing::PrintToString(lineEnd));
        StringBuffer text = sb(lf);
        text.replaceAllOccurances("\n", lineEnd);
        const NodePtr node = fromText(str(text));
        EXPECT_EQ(outline(*node), "[one\r\ntwo|three!]");
        ASSERT_EQ(node->getNumParts(), 2);
        EXPECT_EQ(headerOf(*node->getPart(0)), "B: 2\r\n C");
    }
}

}  // namespace
