// SPDX-License-Identifier: Apache-2.0

// The buffers, arrays and string functions that everything else stands on: bytes of every
// value, arguments that lie in the buffer itself, the size limit, and the vectorised loops
// against their plain twins.

#include <climits>

#include "foundation/ExtPtrArraySb.h"
#include "foundation/bytes/bytes.h"
#include "foundation/zqStrings.h"
#include "tests/support.h"

using namespace mimetree::inner;

using namespace std::string_view_literals;

namespace {

// The answers are letters: equal (e, ignoring case E), prefix (b, B), suffix (z), contained
// (c, C), equalsIgnoreCase2 with the needle's length (2).
struct CompareRow {
    std::string_view hay;
    const char *needle, *answers;
};

constexpr CompareRow kCompareRows[] = {
    {"7bit", "7bit", "eEbBzcC2"}, {"7BIT", "7bit", "EBC2"},  {"7bit", "7bit ", ""},
    {"xx7bit", "7BIT", "C"},      {"7bits", "7biT", "BC"},   {"a7bit", "7bit", "zcC"},
    {"", "", "eEbBzcC2"},         {"abc", nullptr, "bBzcC"}, {"a\0b"sv, "a", "bBcC"},
    {"a\0b"sv, "B", "C"},         {"a\0b"sv, "b", "zcC"},    {"\xC4"sv, "\xE4", ""},
    {"@[`{", "`{@[", ""},         {"aaab", "aab", "zcC"},
};

TEST(StringBuffer, Comparisons) {
    for (const auto& [hay, n, answers] : kCompareRows) {
        const StringBuffer s = sb(hay);
        std::string found;
        const auto note = [&](bool isTrue, char letter) { found.append(isTrue, letter); };
        note(s.equals(n), 'e');
        note(s.equalsIgnoreCase(n), 'E');
        note(s.beginsWith(n), 'b');
        note(s.beginsWithIgnoreCase(n), 'B');
        note(s.endsWith(n), 'z');
        note(s.containsSubstring(n), 'c');
        note(s.containsSubstringNoCase(n), 'C');
        note(n && s.equalsIgnoreCase2(n, unsigned(strlen(n))), '2');
        EXPECT_EQ(found, answers) << hay << " / " << (n ? n : "null");
    }
    EXPECT_TRUE(sb("a\0B"sv).equalsIgnoreCase(sb("A\0b"sv)) && sb("ab\0"sv).containsChar('\0'));
    EXPECT_FALSE(sb("a\0b"sv).equals(sb("a\0c"sv)) || sb("ab").containsChar('\0'));
    EXPECT_TRUE(sb("abc\x80").is7bit(3));
    EXPECT_FALSE(sb("abc\x80").is7bit(4) || sb(std::string(9000, 'a') + "\x80").is7bit(0));
}

using S = StringBuffer;
struct EditRow {
    const char* what;
    std::string_view in;
    void (*edit)(S&);
    std::string_view out;
};

constexpr auto trim = [](S& s) { s.trim2(); };
constexpr auto name = [](S& s) { s.stripDirectory(); };
constexpr std::string_view kLong = "0123456789abcdefghijklmnop";

constexpr EditRow kEditRows[] = {
    {"trim takes all four blanks", "\r\n\t a b\t\r\n ", trim, "a b"},
    {"trim keeps a NUL", " \0 "sv, trim, "\0"sv},
    {"lower case", "@AZ[\xC3\x84", [](S& s) { s.toLowerCase(); }, "@az[\xC3\x84"},
    {"CRLF", "\na\nb\r\nc\r\0"sv, [](S& s) { s.toCRLF(); }, "\r\na\r\nb\r\nc\r\0"sv},
    {"shorten past the start", "abc", [](S& s) { s.shorten(4); }, ""},
    {"replace by null", "abc", [](S& s) { s.replaceAllOccurances("b", nullptr); }, "ac"},
    {"first", "a.a", [](S& s) { s.replaceFirstOccurance("a", "bb", false); }, "bb.a"},
    {"replace by a byte", "_A__A_", [](S& s) { s.replaceAllWithUchar("_A_", '*'); }, "**"},
    {"drive", "C:x.txt", name, "x.txt"},
    {"dots", "..", name, ""},
    {"directory \\", "..\\a/b\\c.d", name, "c.d"},
    {"ANSI", "\xE2\x82\xAC\xC3\xA9\xE2\x88\x9A", [](S& s) { s.cvUtf8ToAnsi(); }, "\x80\xE9?"},
    {"number", "", [](S& s) { s.append(INT_MIN); }, "-2147483648"},
    // Arguments that lie in the buffer.
    {"append itself", "0123456789", [](S& s) { s.append(s); }, "01234567890123456789"},
    {"three", "0123456789", [](S& s) { s.append3("", s.getString() + 8, s.getString()); },
     "0123456789890123456789"},
    {"by its own", "ab-c", [](S& s) { s.replaceAllOccurances("ab", s.getString() + 2); }, "-c-c"},
    {"its own", "ab-b", [](S& s) { s.replaceAllOccurances(s.getString() + 3, "c"); }, "ac-c"},
    {"copy of itself", kLong, [](S& s) { s = *&s; }, kLong},
};

TEST(StringBuffer, Edits) {
    for (const EditRow& row : kEditRows) {
        StringBuffer s = sb(row.in);
        row.edit(s);
        EXPECT_EQ(str(s), row.out) << row.what;
        EXPECT_EQ(s.getString()[s.getSize()], '\0');
    }
}

TEST(StringBuffer, MovesAndSwapsBetweenInsideAndHeap) {
    const std::string large(1000, 'L');
    StringBuffer a = sb("small"), b = sb(large);
    a.swap(b);
    EXPECT_EQ(str(b), "small");
    StringBuffer c(std::move(a));
    EXPECT_TRUE(a.isEmpty());
    b = std::move(c);
    EXPECT_EQ(str(b), large);
    DataBuffer d = db("bytes\0!"sv);
    EXPECT_TRUE(b.takeFromDb(d) && d.isEmpty());
    EXPECT_EQ(str(b), "bytes\0!"sv);
}

// Growth past 4 GiB - 1 is refused before anything is read or written.
template <class Buffer>
void expectRefusal(Buffer& buffer, bool answer) {
    EXPECT_TRUE(!answer && buffer.failed());
    EXPECT_EQ(str(buffer), "abc");
}

TEST(Buffers, RefuseToPassTheLimit) {
    StringBuffer s = sb("abc");
    expectRefusal(s, s.appendCharN('x', 0xFFFFFFFF));
    expectRefusal(s, s.appendN("x", 0xFFFFFFFD));
    s.setString("abc");
    EXPECT_FALSE(s.failed());
    DataBuffer d = db("abc");
    expectRefusal(d, d.append("x", 0xFFFFFFFD));
    expectRefusal(d, d.extend(0xFFFFFFFF) != nullptr);
    d.clear();
    EXPECT_FALSE(d.failed());
}

TEST(DataBuffer, Questions) {
    const DataBuffer late = db(std::string(5000, 'a') + "\xE9"), text = db("\0utf-8"sv), none;
    EXPECT_TRUE(late.is7bit(5000) && late.is7bit(0) && text.containsChar('\0') &&
                none.equals(db("")) && text.containsSubstring("utf-8", 6) &&
                db("caf\xC3\xA9").isReallyUtf8(1252));
    EXPECT_FALSE(late.is7bit(5001) || late.is7bit() || late.containsChar('b'));
    EXPECT_FALSE(text.containsSubstring("utf-8", 5) || none.containsSubstring("x", 9));
    EXPECT_FALSE(db("a\0b"sv).equals(db("a\0c"sv)));
    EXPECT_FALSE(db("cafe").isReallyUtf8(1252) || db("caf\xC3").isReallyUtf8(1252));
}

TEST(DataBuffer, SlicesAreCopies) {
    const std::string text = "0123456789" + std::string(5000, 'x');
    DataBuffer whole = db(text), first, second;
    EXPECT_FALSE(first.makeSliceOf(whole, 5000, 11));
    EXPECT_TRUE(first.makeSliceOf(whole, 2, 5000) && second.makeSliceOf(first, 1, 3000));
    EXPECT_EQ(std::strlen(reinterpret_cast<const char*>(second.getData2())), 3000u);
    first.appendChar('!');
    first.getData2_rw()[0] = '?';
    second.shorten(2999);
    second.append(whole.getData2() + 8, 1);
    EXPECT_EQ(str(whole), text);
    whole.clear();
    EXPECT_EQ(str(second), "38");
    EXPECT_EQ(str(first), "?" + text.substr(3, 4999) + "!");
    DataBuffer third;
    EXPECT_TRUE(third.makeSliceOf(first, 1, 2));
    third.getData2_rw()[0] = '!';
    EXPECT_EQ(str(first).substr(0, 3) + str(third), "?34!4");
}

TEST(DataBuffer, TakesAndHandsOver) {
    DataBuffer d = db("0123456789");
    for (int i = 0; i < 4; ++i) d.append(d);
    d.append(d.getData2() + 150, 10);
    EXPECT_EQ(str(d), repeated("0123456789", 17));
    DataBuffer e = db("old");
    EXPECT_TRUE(e.takeData(d) && e.takeData(e) && d.isEmpty());
    e.shorten(167);
    e.append(sb("x\0"sv));
    EXPECT_EQ(str(e), "012x\0"sv);
    d.makeSliceOf(e, 1, 3);
    unsigned capacity = 0;
    char* const block = d.release(capacity);
    EXPECT_EQ(std::string(block, 3) + std::to_string(capacity), "12x3");
    std::free(block);
    EXPECT_EQ(str(e), "012x\0"sv);
    EXPECT_EQ(d.release(capacity), nullptr);
}

// -- Arrays

struct Tracked : VantrelObjectWithId {
    Tracked(char n, std::string& log) : letter(n), ended(log) {}
    ~Tracked() override { ended += letter; }
    char letter;
    std::string& ended;
};

std::string lettersIn(const ExtPtrArray& array) {
    std::string letters;
    for (int i = -1; i <= array.getSize(); ++i) {
        const auto* item = static_cast<Tracked*>(array.elementAt(i));
        letters += item ? item->letter : '-';
    }
    return letters;
}

TEST(ExtPtrArray, KeepsAndGivesAway) {
    std::string ended;
    {
        ExtPtrArray array;
        for (char c = 'a'; c <= 'e'; ++c) array.appendPtr(new Tracked(c, ended));
        EXPECT_TRUE(array.insertAt(0, new Tracked('0', ended)) && array.insertAt(6, nullptr));
        Tracked stray('!', ended);
        EXPECT_FALSE(array.insertAt(-1, &stray) || array.insertAt(8, &stray));
        array.setAt(7, &stray);
        array.setAt(-1, &stray);
        EXPECT_FALSE(array.removeAt(7) || array.removeAt(-1));
        EXPECT_EQ(lettersIn(array), "-0abcde--");
        VantrelObject::deleteObject(array.removeAt(1));
        const std::unique_ptr<VantrelObject> b(array.elementAt(1));
        array.setAt(1, nullptr);
        EXPECT_EQ(lettersIn(array), "-0-cde--");
        array.removeAllObjects();
        EXPECT_EQ(ended, "aedc0");
        array.appendPtr(new Tracked('z', ended));
    }
    EXPECT_EQ(ended, "aedc0b!z");
    const int64_t first = Tracked('x', ended).m_objectId;
    EXPECT_GT(Tracked('y', ended).m_objectId, first);
}

// -- C strings

TEST(zqStrings, Compare) {
    EXPECT_TRUE(zqStrCmp("\x80", "a") > 0 && zqStrCmp(nullptr, "a") < 0 &&
                zqStrCmp("a", "a\0x") == 0);
    EXPECT_TRUE(zqStrNCmp("abc", "abd", 2) == 0 && zqStrNCmp("a", "ab", 2) < 0);
    EXPECT_TRUE(zqStrEqualsIgnoreCase("Bcc", "bCC") && zqStrEqualsIgnoreCase(nullptr, ""));
    EXPECT_FALSE(zqStrEqualsIgnoreCase("Bcc", "Bc") || zqStrEqualsIgnoreCase("[", "{"));
}

TEST(zqStrings, Find) {
    const char hay[] = "ab\0cab";
    EXPECT_EQ(zqStrStr(hay, "b"), hay + 1);
    EXPECT_EQ(zqStrStrN("abc", "bc", 3), std::string("bc"));
    EXPECT_EQ(zq_binstrstr(hay, 6, "ca"), hay + 3);
    EXPECT_FALSE(zqStrStr(hay, "c") || zqStrStrN(hay, "ca", 6) || zqStrStrN("abc", "bc", 2) ||
                 zq_binstrstr(hay, 4, "ca"));
    EXPECT_EQ(zqStrChr("a/b/c", '/') + std::string(zqStrrChr("a/b/c", '/')), "/b/c/c");
}

TEST(zqStrings, IntValue) {
    std::string values;
    for (const char* text : {" \t-12x", "+7", "x1", "- 1", "2147483647", "2147483648",
                             "-2147483648", "-99999999999999"})
        values += std::to_string(zqIntValue(text)) + "|";
    EXPECT_EQ(values, "-12|7|0|0|2147483647|2147483647|-2147483648|-2147483648|");
}

// -- Loops over bytes

TEST(bytes, FindAgreesWithItsTwin) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const std::string hay = randomBytes(random, random() % 90, "ab\n\r");
        std::string needle = randomBytes(random, random() % 6, "ab\n\r");
        const Exact exact(hay);
        const char* const p = exact.data();
        const char* const hit = bytes::find(p, hay.size(), needle.data(), needle.size());
        ASSERT_EQ(hit ? size_t(hit - p) : std::string::npos, hay.find(needle));
        ASSERT_EQ(bytes::findPair(p, hay.size(), 'a'), bytes::find(p, hay.size(), "aa", 2));
        for (char& c : needle) c = c >= 'a' ? char(c - 'a' + 'A') : c;
        ASSERT_EQ(bytes::findIgnoreCase(p, hay.size(), needle.data(), needle.size()), hit);
    }
}

TEST(StringBuffer, ReplacesAsANaiveLoopDoes) {
    std::mt19937 random(2);
    const auto word = [&](size_t most) { return randomBytes(random, random() % most, "ab\r\n"); };
    for (int i = 0; i < 5000; ++i) {
        const std::string text = word(61), from = "a" + word(3), to = word(5);
        StringBuffer s = sb(text), crlf = sb(text), all = sb(text);
        s.replaceAllOccurances(from.c_str(), to.c_str());
        ASSERT_EQ(str(s), replaced(text, from, to));
        const std::string lf = replaced(text, "\r\n", "\n");
        crlf.toCRLF();
        ASSERT_EQ(str(crlf), replaced(lf, "\n", "\r\n"));
        all.allToCRLF();
        ASSERT_EQ(str(all), replaced(replaced(lf, "\r", "\n"), "\n", "\r\n"));
    }
}

}  // namespace
