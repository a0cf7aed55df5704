// SPDX-License-Identifier: Apache-2.0

// The law of headers: what is set, in whatever script, is what is read back after writing and
// loading, from lines and encoded words of the form that every reader takes.  And what others
// cut anywhere, or leave raw, is read all the same.  Runs: MIMETREE_LAW_RUNS.

#include "foundation/ContentCoding.h"
#include "foundation/_zqCharset.h"
#include "foundation/bytes/utf8.h"
#include "foundation/coding/EncodedWords.h"
#include "tests/node_support.h"

using namespace mimetree::inner;
using namespace std::string_literals;

namespace {

// First and last character of a stretch of letters, and a charset besides UTF-8 that holds them.
struct Script {
    char32_t first, last;
    int codePage;
};

constexpr Script kScripts[] = {
    {'a', 'z', 20127},     {0xC0, 0xFF, 28591},   {0x3B1, 0x3C9, 1253},
    {0x410, 0x44F, 20866}, {0x5D0, 0x5EA, 1255},  {0x627, 0x63A, 1256},
    {0x905, 0x939, 65001}, {0xE01, 0xE2E, 874},   {0x3042, 0x3090, 50220},
    {0x4E00, 0x4E0B, 936}, {0xAC00, 0xAC01, 949}, {0x1F600, 0x1F64F, 54936},
};

// 1 to 300 characters of a script, with ASCII and blanks among them, single and within.
std::string randomText(std::mt19937& random, const Script& script) {
    constexpr std::string_view kAscii = "  abcxyz!\"#$%&'()*+,-./09:;<=>?@[\\]^_`{|}~";
    const auto size = random() % (random() % 3 ? 40 : 300) + 1;
    std::string text;
    const auto others = random() % 8;
    for (unsigned i = 0; i < size; ++i) {
        const bool isAscii = random() % 8 < others && i != 0 && i + 1 != size;
        if (isAscii) text += kAscii[random() % kAscii.size()];
        else
            text += character(script.first + char32_t(random() % (script.last - script.first + 1)));
    }
    return text;
}

std::string decode(std::string_view text) {
    const Exact in(text);
    StringBuffer out;
    EXPECT_TRUE(decodeEncodedWords(in.data(), in.size(), out));
    return str(out);
}

// RFC 5322 2.1.1, RFC 2047 2: lines of 78 characters, of 76 with encoded words, where a blank
// allows it, and of 998 in any case.
void expectGoodLine(const std::string& line, bool isFirst) {
    unsigned found;
    const size_t limit = findEncodedWord(line.data(), unsigned(line.size()), found) ? 76 : 78;
    const size_t word = line.find_first_not_of(" \t", isFirst ? line.find(':') + 1 : 0);
    if (isFirst && word == std::string::npos) return;
    ASSERT_NE(word, std::string::npos) << "no text on the line";
    EXPECT_LE(line.size(), 998u) << line;
    if (line.size() > limit) {
        EXPECT_EQ(line.find_first_of(" \t", word), std::string::npos) << line;
    }
}

// RFC 2047 2 and 5: 75 characters a word, none cut in two; Base64 in whole groups but for the
// end of what belongs together.  The value is one line.
void expectGoodWords(const std::string& value) {
    std::string apart;
    const char* p = value.data();
    const char* const end = p + value.size();
    unsigned size = 0;
    for (bool wasPadded = false; const char* word = findEncodedWord(p, unsigned(end - p), size);) {
        const std::string text(word, size);
        const bool isNext = p != value.data() && std::string(p, word) == " ";
        EXPECT_LE(size, 75u);
        EXPECT_FALSE(isNext && wasPadded) << value;
        wasPadded = text.find("?B?") != std::string::npos && text.ends_with("=?=");
        if (!isNext) apart.append(p, word);
        apart += decode(text);
        p = word + size;
    }
    EXPECT_EQ(apart.append(p, end), decode(value));
}

void expectGoodField(const MimeMessage2& node, const std::string& name) {
    const std::string header = headerOf(node) + "\r\n";
    std::string value, line;
    size_t at = header.find(name + ":");
    ASSERT_NE(at, std::string::npos);
    for (bool isFirst = true; isFirst || header[at] == ' ' || header[at] == '\t'; isFirst = false) {
        line = header.substr(at, header.find("\r\n", at) - at);
        expectGoodLine(line, isFirst);
        at += line.size() + 2;
        value += line;
    }
    expectGoodWords(value);
}

std::string decodedField(const MimeMessage2& node, const char* name) {
    StringBuffer out;
    EXPECT_TRUE(node.getHeaderFieldUtf8(name, out, noLog));
    return str(out);
}

TEST(HeaderLaws, WhatIsSetIsReadBack) {
    std::mt19937 random(1);
    for (int i = 0; i < lawRuns(2000) && !testing::Test::HasFailure(); ++i) {
        const Script& script = kScripts[random() % std::size(kScripts)];
        const std::string subject = randomText(random, script);
        const std::string names[] = {randomText(random, script), randomText(random, script)};
        MimeMessage2 node;
        node.m_charset.setByCodePage(random() % 2 ? script.codePage : 65001);
        node.addHeaderFieldUtf8("Subject", subject.c_str(), false, noLog);
        const std::string to = inQuotes(names[0]) + " <a@b.example>,";
        const char* const blank = random() % 2 ? " " : "";
        node.addHeaderFieldUtf8("To",
                                (to + blank + inQuotes(names[1]) + blank + "<c@d.example>").c_str(),
                                false, noLog);
        expectGoodField(node, "Subject");
        expectGoodField(node, "To");
        const NodePtr again = fromBytes(written(node));
        EXPECT_EQ(decodedField(*again, "Subject"), subject) << headerOf(node);
        EXPECT_EQ(mailboxesOf(*again, "To"),
                  names[0] + "<a@b.example>" + names[1] + "<c@d.example>")
            << headerOf(node);
    }
}

// Lists without blanks: broken behind commas and between brackets, and nothing else is changed.
TEST(HeaderLaws, ListsAreBrokenWithoutBlanks) {
    std::mt19937 random(2);
    for (int i = 0; i < lawRuns(500) && !testing::Test::HasFailure(); ++i) {
        const bool isIds = random() % 2;
        std::string list;
        for (auto n = random() % 90 + 1; n; --n) {
            const std::string id = randomBytes(random, random() % 60 + 1, "abc.1-") + "@x";
            list += isIds ? "<" + id + ">" : (list.empty() ? "" : ",") + id;
        }
        MimeMessage2 node;
        node.addHeaderFieldUtf8(isIds ? "References" : "Cc", list.c_str(), false, noLog);
        expectGoodField(node, isIds ? "References" : "Cc");
        std::string value = decodedField(*fromBytes(written(node)), isIds ? "References" : "Cc");
        std::erase(value, ' ');
        EXPECT_EQ(value, list);
    }
}

// Words of `size` characters each, which are cut anywhere.
std::string cutIntoWords(std::mt19937& random, const std::string& head, const std::string& text) {
    std::string words;
    for (size_t at = 0; at < text.size();) {
        const size_t size = random() % 30 + 1;
        words += (words.empty() ? "" : " ") + head + text.substr(at, size) + "?=";
        at += size;
    }
    return words;
}

// The script's own if it can be, and has no shifts.
int codePageFor(const std::string& text, const Script& script, bool own) {
    const bool fits = EncodingConvert::keepsAscii(script.codePage) &&
                      EncodingConvert::canHold(script.codePage, text.data(), unsigned(text.size()));
    return own && fits ? script.codePage : 65001;
}

TEST(HeaderLaws, WordsAreReadWhereverTheyAreCut) {
    std::mt19937 random(3);
    for (int i = 0; i < lawRuns(2000); ++i) {
        const Script& script = kScripts[random() % std::size(kScripts)];
        const std::string text = randomText(random, script);
        const int codePage = codePageFor(text, script, random() % 2);
        std::string coded, head = "=?" + std::string(_zqCharset::nameOf(codePage));
        StringBuffer base64;
        const std::string used = converted(65001, codePage, text);
        if (random() % 2) {
            ContentCoding().encodeBase64(used.data(), unsigned(used.size()), base64);
            base64.replaceAllOccurances("\r\n", "");
            coded = str(base64);
            head += "?B?";
        } else {
            for (const char c : used) {
                char escape[4];
                std::snprintf(escape, sizeof escape, "=%02X", static_cast<unsigned char>(c));
                coded += escape;
            }
            head += "?Q?";
        }
        const std::string words = cutIntoWords(random, head, coded);
        ASSERT_EQ(decode(words), text) << words;
    }
}

// Raw bytes in the charset that the header declares, and in UTF-8.
TEST(HeaderLaws, RawBytesAreRead) {
    std::mt19937 random(4);
    for (int i = 0; i < lawRuns(1000); ++i) {
        const Script& script = kScripts[random() % std::size(kScripts)];
        const std::string text = randomText(random, script);
        const int codePage = codePageFor(text, script, random() % 4 != 0);
        const std::string bytes = converted(65001, codePage, text);
        if (codePage != 65001 && utf8::validPrefix(raw(bytes), bytes.size()) + 3 >= bytes.size())
            continue;  // nobody can tell
        const NodePtr node =
            fromBytes("Subject: " + bytes + "\r\nContent-Type: text/plain; charset=" +
                      _zqCharset::nameOf(codePage) + "\r\n\r\n");
        ASSERT_EQ(decodedField(*node, "Subject"), text) << codePage;
        ASSERT_EQ(decodedField(*fromBytes(written(*node)), "Subject"), text) << codePage;
    }
}

// Limit: each of these takes minutes where a search starts anew for every unit.
TEST(HeaderLaws, HostileValuesTakeLinearTime) {
    // clang-format off
    static constexpr std::string_view kUnits[] = {
        "(", "<", "\"", ":", "\\\"", "\"\\", "<\"", "@[", "a ", " /", "=?", ";(", "\";", "\"=",
        "a@b (", "a@b \"", "a@b(x)", "<@a:", "a@b(", "J <a@b>, ", "=?x?Q?", "=?a?b? \"", "=?x",
        "=?u?Q?x(?)\"?=\" \"\\\"", "=?utf-8?q?", "=?utf-8?q?a", "=?utf-8?q?a?= ", "\xC3\xA9,",
        "\xC3\xA9 a ", "=\xC3\xA9;", "; x=y", "; name*0=a", "; name*7=x", "=(;", "a=\"\\\";",
        "a=b(;", "a=\";", "\\\"; ", "\\\";", " name=", "a=b\";", "x \"y", " \"\"", "; x=\"y\"",
        "; boundary=b", "; charset=\"", "; a=\\\""};
    // clang-format on
    for (const std::string_view unit : kUnits)
        for (const char* name : {"Subject", "To", "Content-Type"}) {
            const std::string value = "\xC3\xA9; b=" + repeated(unit, 20000);
            MimeMessage2 node;
            node.addReplaceHeaderFieldUtf8(name, value.c_str(), noLog);
            for (const std::string& end : {")"s, "?="s, repeated(")", 20000)}) {
                const NodePtr read = fromBytes(name + (": " + value) + end + "\r\n\r\n");
                EXPECT_FALSE(decodedField(*read, name).empty());
                EXPECT_FALSE(mailboxesOf(*read, "To").empty() && *name == 'T');
                StringBuffer out;
                read->getSubFieldUtf8(name, "title", out, noLog);
                read->getMimeXml(out, noLog);
            }
        }
}

}  // namespace
