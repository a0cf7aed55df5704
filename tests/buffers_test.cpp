// SPDX-License-Identifier: Apache-2.0

// The buffers, arrays and string functions that everything else stands on: bytes of every
// value, arguments that lie in the buffer itself, the size limit, and the vectorised loops
// against their plain twins.

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

#include "foundation/ExtPtrArraySb.h"
#include "foundation/GrowArray.h"
#include "foundation/LogNull.h"
#include "foundation/XString.h"
#include "foundation/bytes.h"
#include "foundation/zqStrings.h"
#include "tests/support.h"

using namespace std::string_view_literals;

namespace {

LogNull noLog;

// The answers are letters: equal (e, ignoring case E), prefix (b, B), suffix (z), contained
// (c, C), equalsIgnoreCase2 with the needle's length (2).
struct CompareRow {
    std::string_view hay;
    const char *needle, *answers;
};

constexpr CompareRow kCompareRows[] = {
    {"7bit", "7bit", "eEbBzcC2"}, {"7BIT", "7bit", "EBC2"},  {"7bit", "7bit ", ""},
    {"xx7bit", "7BIT", "C"},      {"7bits", "7biT", "BC"},   {"a7bit", "7bit", "zcC"},
    {"", "", "eEbBzcC2"},         {"", nullptr, "eEbBzcC2"}, {"abc", nullptr, "bBzcC"},
    {"a\0b"sv, "a", "bBcC"},      {"a\0b"sv, "B", "C"},      {"a\0b"sv, "b", "zcC"},
    {"\xC4"sv, "\xE4", ""},       {"@[`{", "`{@[", ""},      {"aaab", "aab", "zcC"},
};

TEST(StringBuffer, Comparisons) {
    for (const CompareRow& row : kCompareRows) {
        SCOPED_TRACE(std::string(row.hay) + " / " + (row.needle ? row.needle : "null"));
        const StringBuffer s = sb(row.hay);
        const char* const n = row.needle;
        std::string answers;
        if (s.equals(n)) answers += 'e';
        if (s.equalsIgnoreCase(n)) answers += 'E';
        if (s.beginsWith(n)) answers += 'b';
        if (s.beginsWithIgnoreCase(n)) answers += 'B';
        if (s.endsWith(n)) answers += 'z';
        if (s.containsSubstring(n)) answers += 'c';
        if (s.containsSubstringNoCase(n)) answers += 'C';
        if (s.equalsIgnoreCase2(n, n ? static_cast<unsigned>(strlen(n)) : 0)) answers += '2';
        EXPECT_EQ(answers, row.answers);
    }
    EXPECT_TRUE(sb("a\0B"sv).equalsIgnoreCase(sb("A\0b"sv)));
    EXPECT_FALSE(sb("a\0b"sv).equals(sb("a\0c"sv)));
    EXPECT_TRUE(sb("ab\0"sv).containsChar('\0'));
    EXPECT_FALSE(sb("ab").containsChar('\0'));
    EXPECT_TRUE(sb("abc\x80").is7bit(3));
    EXPECT_FALSE(sb("abc\x80").is7bit(4));
    EXPECT_FALSE(sb(std::string(9000, 'a') + "\x80").is7bit(0));
}

struct EditRow {
    const char* what;
    std::string_view in;
    void (*edit)(StringBuffer&);
    std::string_view out;
};

constexpr EditRow kEditRows[] = {
    {"trim takes all four blanks", "\r\n\t a b\t\r\n ", [](StringBuffer& s) { s.trim2(); }, "a b"},
    {"trim of blanks alone", " \t\r\n", [](StringBuffer& s) { s.trim2(); }, ""},
    {"trim keeps a NUL", " \0 "sv, [](StringBuffer& s) { s.trim2(); }, "\0"sv},
    {"lower case, ASCII only", "@AZ[\xC3\x84", [](StringBuffer& s) { s.toLowerCase(); },
     "@az[\xC3\x84"},
    {"CRLF", "a\nb\r\nc\rd\r\r\ne\n", [](StringBuffer& s) { s.toCRLF(); },
     "a\r\nb\r\nc\rd\r\r\ne\r\n"},
    {"CRLF, double LF at the start", "\n\n\0\n"sv, [](StringBuffer& s) { s.toCRLF(); },
     "\r\n\r\n\0\r\n"sv},
    {"all to CRLF", "\ra\nb\r\r\nc\r\nd\r", [](StringBuffer& s) { s.allToCRLF(); },
     "\r\na\r\nb\r\n\r\nc\r\nd\r\n"},
    {"shorten past the start", "abc", [](StringBuffer& s) { s.shorten(4); }, ""},
    {"shorten", "abc", [](StringBuffer& s) { s.shorten(2); }, "a"},
    {"remove from the front", "abc", [](StringBuffer& s) { s.removeFront(2); }, "c"},
    {"remove more than there is", "abc", [](StringBuffer& s) { s.removeFront(9); }, ""},
    {"replace does not look at what it wrote", "aaaaa",
     [](StringBuffer& s) { s.replaceAllOccurances("aa", "ba"); }, "babaa"},
    {"replace behind a NUL", "x\0xx"sv, [](StringBuffer& s) { s.replaceAllOccurances("x", "yy"); },
     "yy\0yyyy"sv},
    {"replace nothing", "abc", [](StringBuffer& s) { s.replaceAllOccurances("", "x"); }, "abc"},
    {"replace by null", "abcb", [](StringBuffer& s) { s.replaceAllOccurances("b", nullptr); },
     "ac"},
    {"replace the first", "a.a.a",
     [](StringBuffer& s) { s.replaceFirstOccurance("a", "bb", false); }, "bb.a.a"},
    {"replace by a byte", "__ASTERISK____ASTERISK__",
     [](StringBuffer& s) { s.replaceAllWithUchar("__ASTERISK__", '*'); }, "**"},
    {"replace bytes, NUL too", "a\0a"sv, [](StringBuffer& s) { s.replaceCharAnsi('\0', 'a'); },
     "aaa"},
    {"directory /", "/a/b.c", [](StringBuffer& s) { s.stripDirectory(); }, "b.c"},
    {"directory \\", "..\\a/b\\c.d", [](StringBuffer& s) { s.stripDirectory(); }, "c.d"},
    {"drive", "C:x.txt", [](StringBuffer& s) { s.stripDirectory(); }, "x.txt"},
    {"name alone", "x.txt", [](StringBuffer& s) { s.stripDirectory(); }, "x.txt"},
    {"directory alone", "a/", [](StringBuffer& s) { s.stripDirectory(); }, ""},
    {"dot", "a/.", [](StringBuffer& s) { s.stripDirectory(); }, ""},
    {"dots", "..", [](StringBuffer& s) { s.stripDirectory(); }, ""},
    {"hidden file", "a/.b", [](StringBuffer& s) { s.stripDirectory(); }, ".b"},
    {"windows-1252", "\xE2\x82\xAC\xC3\xA9\xE2\x88\x9A", [](StringBuffer& s) { s.cvUtf8ToAnsi(); },
     "\x80\xE9?"},
    {"numbers", "",
     [](StringBuffer& s) {
         s.append(INT_MIN);
         s.append(0);
     },
     "-21474836480"},
    {"three, one of them null", "", [](StringBuffer& s) { s.append3("a", nullptr, "c"); }, "ac"},
    {"reused storage", "a long text that does not fit inside",
     [](StringBuffer& s) {
         s.weakClear();
         s.append("b");
         s.appendCharN('c', 2);
     },
     "bcc"},
    {"NULs appended", "",
     [](StringBuffer& s) {
         s.append(db("a\0b"sv));
         s.appendN("\0c", 2);
     },
     "a\0b\0c"sv},
    // Arguments that lie in the buffer.
    {"set to its own end", "0123456789", [](StringBuffer& s) { s.setString(s.getString() + 7); },
     "789"},
    {"set to its own middle", "0123456789abcdefghijklmnop",
     [](StringBuffer& s) { s.setStringN(s.getString() + 1, 20); }, "123456789abcdefghijk"},
    {"set to itself", "abc", [](StringBuffer& s) { s.setString(s); }, "abc"},
    {"append its own end, growing out of the inside", "0123456789abcdefgh",
     [](StringBuffer& s) { s.append(s.getString() + 16); }, "0123456789abcdefghgh"},
    {"append itself again and again", "0123456789",
     [](StringBuffer& s) {
         s.append(s);
         s.append(s);
     },
     "0123456789012345678901234567890123456789"},
    {"three times itself", "0123456789",
     [](StringBuffer& s) { s.append3(s.getString(), s.getString() + 8, s.getString()); },
     "0123456789012345678989"
     "0123456789"},
    {"replace by its own text", "ab-ab-0123456789",
     [](StringBuffer& s) { s.replaceAllOccurances("ab", s.getString() + 6); },
     "0123456789-0123456789-0123456789"},
    {"replace its own text", "ab-ab",
     [](StringBuffer& s) { s.replaceAllOccurances(s.getString() + 3, "c"); }, "c-c"},
    {"copy of itself", "a text longer than fits inside", [](StringBuffer& s) { s = *&s; },
     "a text longer than fits inside"},
};

TEST(StringBuffer, Edits) {
    for (const EditRow& row : kEditRows) {
        SCOPED_TRACE(row.what);
        StringBuffer s = sb(row.in);
        row.edit(s);
        EXPECT_EQ(str(s), row.out);
        EXPECT_EQ(s.getString()[s.getSize()], '\0');
    }
}

TEST(StringBuffer, MovesAndSwapsBetweenInsideAndHeap) {
    const std::string large(1000, 'L');
    StringBuffer a = sb("small"), b = sb(large);
    a.swap(b);
    EXPECT_EQ(str(a), large);
    EXPECT_EQ(str(b), "small");
    StringBuffer c(std::move(a));
    EXPECT_EQ(str(c), large);
    EXPECT_TRUE(a.isEmpty());
    b = std::move(c);
    EXPECT_EQ(str(b), large);
    DataBuffer d = db("bytes\0!"sv);
    EXPECT_TRUE(b.takeFromDb(d));
    EXPECT_EQ(str(b), "bytes\0!"sv);
    EXPECT_TRUE(d.isEmpty());
    EXPECT_TRUE(b.takeFromDb(d));
    EXPECT_TRUE(b.isEmpty());
}

// Growth past 4 GiB - 1 is refused before anything is read or written.
template <class Buffer>
void expectRefusal(Buffer& buffer, bool answer) {
    EXPECT_FALSE(answer);
    EXPECT_TRUE(buffer.failed());
    EXPECT_EQ(str(buffer), "abc");
}

TEST(Buffers, RefuseToPassTheLimit) {
    StringBuffer s = sb("abc");
    expectRefusal(s, s.appendCharN('x', 0xFFFFFFFF));
    expectRefusal(s, s.appendN("x", 0xFFFFFFFD));
    expectRefusal(s, s.extend(0xFFFFFFFE) != nullptr);
    s.setString("abc");
    EXPECT_FALSE(s.failed());
    s.extend(0xFFFFFFFF);
    s.clear();
    EXPECT_FALSE(s.failed());
    DataBuffer d = db("abc");
    expectRefusal(d, d.append("x", 0xFFFFFFFD));
    expectRefusal(d, d.extend(0xFFFFFFFF) != nullptr);
    d.clear();
    EXPECT_FALSE(d.failed());
}

TEST(DataBuffer, Questions) {
    const DataBuffer late = db(std::string(5000, 'a') + "\xE9");
    EXPECT_TRUE(late.is7bit(5000));
    EXPECT_FALSE(late.is7bit(5001));
    EXPECT_FALSE(late.is7bit(0));
    EXPECT_TRUE(db("a\0"sv).containsChar('\0'));
    EXPECT_FALSE(db("a").containsChar('\0'));
    EXPECT_TRUE(db("\0utf-8"sv).containsSubstring("utf-8", 6));
    EXPECT_FALSE(db("\0utf-8"sv).containsSubstring("utf-8", 5));
    EXPECT_FALSE(db("utf").containsSubstring("utf-8", 8000));
    EXPECT_FALSE(DataBuffer().containsSubstring("x", 9));
    EXPECT_TRUE(DataBuffer().equals(db("")));
    EXPECT_FALSE(db("a\0b"sv).equals(db("a\0c"sv)));
    struct {
        std::string_view bytes;
        bool isUtf8;
    } const rows[] = {{"caf\xC3\xA9", true}, {"cafe", false},        {"", false},
                      {"caf\xE9", false},    {"caf\xC3", false},     {"\xC3\xA9\xE9", false},
                      {"\xC0\xAF", false},   {"\xED\xA0\x80", false}};
    for (const auto& row : rows)
        EXPECT_EQ(db(row.bytes).isReallyUtf8(1252), row.isUtf8) << row.bytes;
}

TEST(DataBuffer, SlicesAreCopies) {
    const std::string text = "0123456789" + std::string(5000, 'x');
    DataBuffer whole = db(text), first, second;
    EXPECT_FALSE(first.makeSliceOf(whole, 5000, 11));
    EXPECT_TRUE(first.isEmpty());
    EXPECT_TRUE(first.makeSliceOf(whole, 2, 5000));
    EXPECT_TRUE(second.makeSliceOf(first, 1, 3000));
    first.appendChar('!');
    first.getData2_rw()[0] = '?';
    EXPECT_EQ(str(second), text.substr(3, 3000));
    second.shorten(2999);
    second.append(whole.getData2() + 8, 1);
    EXPECT_EQ(str(whole), text);
    whole.clear();
    EXPECT_EQ(str(second), "38");
    EXPECT_EQ(str(first), "?" + text.substr(3, 4999) + "!");
}

TEST(DataBuffer, TakesAndHandsOver) {
    DataBuffer d = db("0123456789");
    for (int i = 0; i < 4; ++i) d.append(d);
    d.append(d.getData2() + 150, 10);
    d.appendStr(nullptr);
    EXPECT_EQ(d.getSize(), 170u);
    EXPECT_EQ(str(d).substr(140), "012345678901234567890123456789");
    DataBuffer e = db("old");
    EXPECT_TRUE(e.takeData(d));
    EXPECT_TRUE(e.takeData(e));
    EXPECT_EQ(e.getSize(), 170u);
    EXPECT_TRUE(d.isEmpty());
    e.shorten(167);
    e.append(sb("x\0"sv));
    EXPECT_EQ(str(e), "012x\0"sv);
    unsigned capacity = 0;
    char* block = e.release(capacity);
    ASSERT_GT(capacity, 5u);
    block[5] = '\0';
    EXPECT_STREQ(block, "012x");
    EXPECT_TRUE(e.isEmpty());
    std::free(block);
    EXPECT_EQ(e.release(capacity), nullptr);
    e.shorten(1);
    EXPECT_TRUE(e.isEmpty());
}

// -- Arrays

struct Tracked : VantrelObjectWithId {
    Tracked(char n, std::string& log) : name(n), ended(log) {}
    ~Tracked() override { ended += name; }
    char name;
    std::string& ended;
};

std::string namesIn(const ExtPtrArray& array) {
    std::string names;
    for (int i = 0; i < array.getSize(); ++i) {
        const auto* item = static_cast<Tracked*>(array.elementAt(i));
        names += item ? item->name : '-';
    }
    return names;
}

TEST(ExtPtrArray, KeepsAndGivesAway) {
    std::string ended;
    {
        ExtPtrArray array;
        for (char name = 'a'; name <= 'j'; ++name) array.appendPtr(new Tracked(name, ended));
        EXPECT_TRUE(array.insertAt(0, new Tracked('0', ended)));
        EXPECT_TRUE(array.insertAt(11, nullptr));
        Tracked stray('!', ended);
        EXPECT_FALSE(array.insertAt(-1, &stray));
        EXPECT_FALSE(array.insertAt(13, &stray));
        array.setAt(12, &stray);
        array.setAt(-1, &stray);
        EXPECT_EQ(array.removeAt(12), nullptr);
        EXPECT_EQ(array.removeAt(-1), nullptr);
        EXPECT_EQ(array.elementAt(12), nullptr);
        EXPECT_EQ(array.elementAt(-1), nullptr);
        EXPECT_EQ(namesIn(array), "0abcdefghij-");
        VantrelObject::deleteObject(array.removeAt(1));
        Tracked* const b = static_cast<Tracked*>(array.elementAt(1));
        array.setAt(1, nullptr);
        EXPECT_EQ(namesIn(array), "0-cdefghij-");
        EXPECT_EQ(ended, "a");
        delete b;
        array.removeAllObjects();
        EXPECT_EQ(array.getSize(), 0);
        EXPECT_EQ(ended, "abjihgfedc0");
        array.appendPtr(new Tracked('z', ended));
    }
    EXPECT_EQ(ended, "abjihgfedc0!z");
}

TEST(VantrelObjectWithId, NoIdTwice) {
    std::string ended;
    const int64_t first = Tracked('a', ended).m_objectId;
    EXPECT_GT(first, 0);
    EXPECT_GT(Tracked('b', ended).m_objectId, first);
}

TEST(GrowArray, GrowsOutOfItsInside) {
    GrowArray<int, 2> array;
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(array.push(i));
    array.removeAt(0);
    array.removeAt(98);
    array.pop();
    EXPECT_EQ(array.size(), 97u);
    EXPECT_EQ(array[0], 1);
    EXPECT_EQ(array.back(), 97);
    array.clear();
    array.push(7);
    EXPECT_EQ(array.back(), 7);
}

TEST(XString, ChangesThroughTheView) {
    XString x;
    x.appendUtf8("a");
    x.getUtf8Sb_rw().append("\xC3\xA9");
    EXPECT_STREQ(x.getUtf8(), "a\xC3\xA9");
    EXPECT_EQ(x.getSizeUtf8(), 3u);
    EXPECT_FALSE(x.is7bit());
    x.setFromUtf8(nullptr);
    EXPECT_TRUE(x.isEmpty());
}

// -- C strings

int sign(int n) { return n > 0 ? 1 : n < 0 ? -1 : 0; }

TEST(zqStrings, Compare) {
    struct {
        const char *a, *b;
        unsigned n;
        int all, first;
    } const rows[] = {{"abc", "abd", 2, -1, 0}, {"a", "ab", 1, -1, 0},
                      {"a", "ab", 2, -1, -1},   {"\x80", "a", 1, 1, 1},
                      {nullptr, "", 3, 0, 0},   {nullptr, "a", 1, -1, -1},
                      {"a", nullptr, 0, 1, 0},  {"ab\0x", "ab\0y", 4, 0, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.a ? row.a : "null");
        EXPECT_EQ(sign(zqStrCmp(row.a, row.b)), row.all);
        EXPECT_EQ(sign(zqStrNCmp(row.a, row.b, row.n)), row.first);
    }
    EXPECT_TRUE(zqStrEqualsIgnoreCase("Bcc", "bCC"));
    EXPECT_FALSE(zqStrEqualsIgnoreCase("Bcc", "Bc"));
    EXPECT_FALSE(zqStrEqualsIgnoreCase("[", "{"));
    EXPECT_TRUE(zqStrEqualsIgnoreCase(nullptr, ""));
}

TEST(zqStrings, Find) {
    const char hay[] = "ab\0cab";
    EXPECT_EQ(zqStrStr(hay, "b"), hay + 1);
    EXPECT_EQ(zqStrStr(hay, "c"), nullptr);
    EXPECT_EQ(zqStrStr(nullptr, "c"), nullptr);
    EXPECT_EQ(zqStrStrN("xabc", "abc", 3), nullptr);
    EXPECT_STREQ(zqStrStrN("xabc", "abc", 4), "abc");
    EXPECT_EQ(zqStrStrN(hay, "ca", 6), nullptr);
    EXPECT_EQ(zq_binstrstr(hay, 6, "ca"), hay + 3);
    EXPECT_EQ(zq_binstrstr(hay, 4, "ca"), nullptr);
    EXPECT_EQ(zq_binstrstr(nullptr, 0, "a"), nullptr);
    EXPECT_STREQ(zqStrChr("a/b/c", '/'), "/b/c");
    EXPECT_STREQ(zqStrrChr("a/b/c", '/'), "/c");
    EXPECT_EQ(zqStrrChr("abc", '/'), nullptr);
    EXPECT_EQ(zqStrChr(nullptr, '/'), nullptr);
}

TEST(zqStrings, IntValue) {
    struct {
        const char* text;
        int value;
    } const rows[] = {{"42", 42},
                      {" \t-12x", -12},
                      {"+7", 7},
                      {"x1", 0},
                      {"", 0},
                      {nullptr, 0},
                      {"-", 0},
                      {"2147483647", INT_MAX},
                      {"2147483648", INT_MAX},
                      {"-2147483648", INT_MIN},
                      {"-99999999999999999999", INT_MIN},
                      {"- 1", 0},
                      {"0x10", 0}};
    for (const auto& row : rows) EXPECT_EQ(zqIntValue(row.text), row.value) << row.text;
}

// -- Loops over bytes

TEST(bytes, FindAgreesWithItsTwin) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        std::string hay(random() % 90, 'a'), needle(random() % 6, 'a');
        for (char& c : hay) c = "ab\n\r"[random() % 4];
        for (char& c : needle) c = "ab\n\r"[random() % 4];
        const Exact exact(hay);
        const char* const p = exact.data();
        const char* const hit = bytes::find(p, hay.size(), needle.data(), needle.size());
        ASSERT_EQ(hit, bytes::scalar::find(p, hay.size(), needle.data(), needle.size()));
        const size_t at = hay.find(needle);
        ASSERT_EQ(hit, at == std::string::npos ? nullptr : p + at);
        for (char& c : needle) c = c == 'a' ? 'A' : c == 'b' ? 'B' : c;
        ASSERT_EQ(bytes::findIgnoreCase(p, hay.size(), needle.data(), needle.size()), hit);
    }
}

TEST(bytes, AsciiRunAgreesWithItsTwin) {
    for (size_t size = 0; size < 80; ++size)
        for (size_t high = 0; high <= size; ++high) {
            std::string text(size, 'a');
            if (high < size) text[high] = '\x80';
            const Exact exact(text);
            ASSERT_EQ(bytes::asciiRun(exact.data(), size), high);
            ASSERT_EQ(bytes::scalar::asciiRun(exact.data(), size), high);
        }
}

std::string replacedNaively(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

TEST(StringBuffer, ReplacesAsANaiveLoopDoes) {
    std::mt19937 random(2);
    const auto word = [&random](size_t most) {
        std::string text(random() % (most + 1), 'a');
        for (char& c : text) c = "ab\r\n"[random() % 4];
        return text;
    };
    for (int i = 0; i < 5000; ++i) {
        const std::string text = word(60), from = word(3), to = word(4);
        StringBuffer s = sb(text);
        if (!from.empty()) {
            s.replaceAllOccurances(from.c_str(), to.c_str());
            ASSERT_EQ(str(s), replacedNaively(text, from, to));
        }
        const std::string once = replacedNaively(replacedNaively(text, "\r\n", "\n"), "\n", "\r\n");
        s = sb(text);
        s.toCRLF();
        ASSERT_EQ(str(s), once);
        s = sb(text);
        s.allToCRLF();
        ASSERT_EQ(str(s),
                  replacedNaively(replacedNaively(replacedNaively(text, "\r\n", "\n"), "\r", "\n"),
                                  "\n", "\r\n"));
    }
}

}  // namespace
