// SPDX-License-Identifier: Apache-2.0

// Base64, quoted-printable and percent-encoding: rows, laws on random bytes, and the fast
// loops against the plain ones and the reference.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <type_traits>
#include <vector>

#include "foundation/ContentCoding.h"
#include "foundation/_zqUrlEncode.h"
#include "foundation/base64.h"
#include "foundation/quoted_printable.h"
#include "tests/reference/coders.h"
#include "tests/support.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::mt19937 g_random(20240229);

std::string randomText(size_t n, std::string_view alphabet) {
    std::string text(n, '\0');
    for (char& c : text)
        c = alphabet.empty() ? char(g_random()) : alphabet[g_random() % alphabet.size()];
    return text;
}

// Runs a loop on blocks of exactly the sizes that it was promised.
template <class Byte, class Coder>
std::string run(Coder coder, std::string_view in, size_t room) {
    using InByte = std::conditional_t<std::is_same_v<Byte, char>, unsigned char, char>;
    const Exact input(in);
    const std::unique_ptr<Byte[]> out(new Byte[room]);
    const Byte* const end =
        coder(reinterpret_cast<const InByte*>(input.data()), in.size(), out.get());
    const size_t n = size_t(end - out.get());
    EXPECT_LE(n, room);
    return std::string(reinterpret_cast<const char*>(out.get()), n);
}

std::string encode64(std::string_view in, decltype(&base64::encode) coder = base64::encode) {
    return run<char>(coder, in, base64::encodedSize(in.size()));
}
std::string decode64(std::string_view in, decltype(&base64::decode) coder = base64::decode) {
    return run<unsigned char>(coder, in, base64::decodedBound(in.size()));
}
std::string encodeQp(std::string_view in,
                     decltype(&quoted_printable::encode) coder = quoted_printable::encode) {
    const auto* data = reinterpret_cast<const unsigned char*>(in.data());
    return run<char>(coder, in, quoted_printable::encodedBound(data, in.size()));
}
std::string decodeQp(std::string_view in,
                     decltype(&quoted_printable::decode) coder = quoted_printable::decode) {
    return run<unsigned char>(coder, in, in.size());
}

struct Row {
    const char* what;
    std::string in, out;
};

std::string repeat(std::string_view s, size_t n) {
    std::string out;
    while (n--) out += s;
    return out;
}

// -- Base64

TEST(Base64, DecodeRows) {
    const Row rows[] = {
        {"padding", "QUI=", "AB"},
        {"two of padding", "QQ==", "A"},
        {"joined encodings", "QQ==QUI=QUJD", "AABABC"},
        {"one = where two belong, then text", "QQ=QUJD", "AABC"},
        {"missing padding, 2 left", "QUJDQQ", "ABCA"},
        {"missing padding, 3 left", "QUJDQUI", "ABCAB"},
        {"a single character left is dropped", "QUJDQ", "ABC"},
        {"a single character in front of = is dropped", "Q=QUJD", "ABC"},
        {"junk is skipped", "Q!U\r\n \tJ\x80-_D", "ABC"},
        {"nothing but =", "=====", ""},
        {"junk behind padding", "QQ==\r\n--xx", "A\xC7"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(decode64(row.in), row.out);
        EXPECT_EQ(reference::base64Decode(row.in), row.out);
    }
}

TEST(Base64, EncodesAndDecodesAnyBytes) {
    std::vector<size_t> sizes = {65536, 65537, 100003};
    for (size_t n = 0; n <= 300; ++n) sizes.push_back(n);
    for (const size_t n : sizes) {
        SCOPED_TRACE(n);
        const std::string data = randomText(n, "");
        const std::string text = encode64(data);
        EXPECT_EQ(text, reference::base64Encode(data));
        EXPECT_EQ(text, encode64(data, base64::scalar::encode));
        EXPECT_EQ(decode64(text), data);
        EXPECT_EQ(decode64(text, base64::scalar::decode), data);
    }
}

// Every byte at every place of the lines that the fast loop takes whole.
TEST(Base64, KnowsTheAlphabetInEveryPlace) {
    const std::string text = encode64(std::string(57 * 3, 'x'));
    for (size_t place = 0; place < 78 * 2; ++place) {
        for (int c = 0; c < 256; ++c) {
            std::string damaged = text;
            damaged[place] = char(c);
            ASSERT_EQ(decode64(damaged), reference::base64Decode(damaged)) << place << ' ' << c;
        }
    }
}

std::string damage(std::string text, unsigned faults) {
    const std::string_view strangers[] = {" ", "=", "==", "\r\n", "\n", "\x80", "-", "A"};
    while (faults--) {
        const size_t at = g_random() % (text.size() + 1);
        switch (g_random() % 3) {
            case 0: text.insert(at, strangers[g_random() % 8]); break;
            case 1: text.erase(at, g_random() % 5); break;
            default: text = text.substr(0, at) + text.substr(text.size() - text.size() / 8);
        }
    }
    return text;
}

TEST(Base64, DecodesAnyLayoutAndDamage) {
    for (const std::string lineBreak : {"\r\n", "\n", "\r", " \r\n", ""}) {
        for (const size_t width : {4u, 31u, 60u, 64u, 72u, 75u, 76u, 77u, 100u}) {
            SCOPED_TRACE(width);
            std::string text = randomText(g_random() % 3000, reference::kBase64);
            for (size_t at = width; at < text.size(); at += width + lineBreak.size())
                text.insert(at, lineBreak);
            for (unsigned faults = 0; faults < 12; ++faults) {
                const std::string damaged = damage(text, faults);
                const std::string out = reference::base64Decode(damaged);
                ASSERT_EQ(decode64(damaged), out);
                ASSERT_EQ(decode64(damaged, base64::scalar::decode), out);
            }
        }
    }
}

// -- Quoted-printable

TEST(QuotedPrintable, DecodeRows) {
    const Row rows[] = {
        {"either case", "=3D=e4=C3=9f", "=\xE4\xC3\x9F"},
        {"soft break", "a=\r\nb=\nc", "abc"},
        {"soft break with padding", "a= \t\r\nb=\t\nc", "abc"},
        {"blanks in front of a soft break stay", "a  =\r\nb", "a  b"},
        {"blanks in front of a line break go", "a \t\r\nb \nc", "a\r\nb\nc"},
        {"blanks at the end go", "a \t", "a"},
        {"escaped blanks stay", "a=20\r\nb=09 \nc=20", "a \r\nb\t\nc "},
        {"blanks behind a soft break", "a=\r\n  \r\nb", "a\r\nb"},
        {"bare CR is no line break", "a \rb=\rc", "a \rb=\rc"},
        {"CR CR LF", "a \r\r\nb", "a \r\r\nb"},
        {"malformed escapes stand", "=G1=1G=4 =x", "=G1=1G=4 =x"},
        {"= in front of an escape", "==41", "=A"},
        {"= and blanks in a line", "a =  b", "a =  b"},
        {"cut behind =", "ab=", "ab"},
        {"cut behind = and blanks", "ab= \t ", "ab"},
        {"cut in an escape", "ab=4", "ab=4"},
        {"raw 8 bit and NUL", "\xFC\0x"s, "\xFC\0x"s},
        {"nothing but blanks", "  \t", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        // In front, so that the rows pass the blocks at all their places.
        for (size_t n = 0; n < 70; ++n) {
            ASSERT_EQ(decodeQp(std::string(n, 'x') + row.in), std::string(n, 'x') + row.out);
            ASSERT_EQ(
                decodeQp(row.in + '\n' + std::string(n, 'x')),
                decodeQp(row.in + '\n', quoted_printable::scalar::decode) + std::string(n, 'x'));
        }
    }
}

TEST(QuotedPrintable, EncodeRows) {
    const std::string x75(75, 'x'), x76(76, 'x');
    const Row rows[] = {
        {"CRLF stays", "a\r\nb\r\n", "a\r\nb\r\n"},
        {"bare CR and LF", "a\rb\nc\n\r", "a=0Db=0Ac=0A=0D"},
        {"CR CRLF", "a\r\r\n", "a=0D\r\n"},
        {"blanks at the end of a line or of the data", "a b \r\n\t\r\nc\t ",
         "a b=20\r\n=09\r\nc\t=20"},
        {"= ^ controls 8 bit", "=^\x01\x7F\xE4~", "=3D=5E=01=7F=E4~"},
        {"a dot alone", ".\r\n..\r\n.a\r\n.", "=2E\r\n..\r\n.a\r\n=2E"},
        {"a dot in front of a bare LF", ".\n", ".=0A"},
        {"From at a line start", "From x\r\nFromx\r\n>From ", "=46rom x\r\nFromx\r\n>From=20"},
        {"a line of 76 is not broken", x76 + "\r\n" + x76, x76 + "\r\n" + x76},
        {"a line of 77", x76 + "x", x75 + "=\r\nxx"},
        {"escapes are not cut", std::string(73, 'x') + "==", std::string(73, 'x') + "=\r\n=3D=3D"},
        {"escape that ends at 75", std::string(72, 'x') + "=xx",
         std::string(72, 'x') + "=3D=\r\nxx"},
        {"escape that ends at 76", std::string(73, 'x') + "=", std::string(73, 'x') + "=3D"},
        {"a dot alone behind a soft break", x75 + "xx", x75 + "=\r\nxx"},
        {"From behind a soft break", x75 + "From y", x75 + "=\r\n=46rom y"},
        {"From and a dot behind an escape", "=From =.", "=3DFrom =3D."},
        {"a dot and an escape behind a soft break", x75 + ".\t", x75 + "=\r\n.=09"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(encodeQp(row.in), row.out);
        EXPECT_EQ(encodeQp(row.in, quoted_printable::scalar::encode), row.out);
    }
}

// Every line starts with "From " and breaks as late as it can.
TEST(QuotedPrintable, EncodedBoundHoldsForTheLongestText) {
    const std::string data = repeat("From " + std::string(68, 'x'), 1000);
    EXPECT_EQ(encodeQp(data).size(), 78 * 1000u - 3);
}

// What an encoded body must be, whatever it was made from.
void checkEncoded(const std::string& text) {
    size_t start = 0;
    for (size_t end; start <= text.size(); start = end + 2) {
        end = std::min(text.find("\r\n", start), text.size());
        const std::string line = text.substr(start, end - start);
        ASSERT_LE(line.size(), 76u);
        ASSERT_NE(line, ".");
        ASSERT_FALSE(line.starts_with("From "));
        ASSERT_FALSE(line.ends_with(" ") || line.ends_with("\t"));
        for (const char c : line) ASSERT_TRUE((c >= ' ' && c <= '~' && c != '^') || c == '\t');
    }
}

TEST(QuotedPrintable, EncodesAndDecodesAnyBytes) {
    std::vector<size_t> sizes = {65536, 100003};
    for (size_t n = 0; n <= 300; ++n) sizes.push_back(n);
    for (const std::string_view alphabet :
         {""sv, "\r\n"sv, "= \t\r\nab.^\xE4"sv, "abcdefg h"sv, "From "sv, "=."sv}) {
        for (const size_t n : sizes) {
            SCOPED_TRACE(n);
            const std::string data = randomText(n, alphabet);
            const std::string text = encodeQp(data);
            checkEncoded(text);
            ASSERT_EQ(text, encodeQp(data, quoted_printable::scalar::encode));
            ASSERT_EQ(decodeQp(text), data);
        }
    }
}

TEST(QuotedPrintable, DecodesLikeTheReference) {
    for (const std::string_view alphabet :
         {"= \t\r\n"sv, "= \t\r\n4aG"sv, "abcdefghijklmnopqrstuvwxyz =\r\n"sv, "\n "sv}) {
        for (size_t n = 0; n <= 600; ++n) {
            SCOPED_TRACE(n);
            const std::string text = randomText(n, alphabet);
            const std::string out = reference::qpDecode(text);
            ASSERT_EQ(decodeQp(text), out);
            ASSERT_EQ(decodeQp(text, quoted_printable::scalar::decode), out);
        }
    }
}

// Each takes minutes once blanks are looked at twice.
TEST(QuotedPrintable, HostileTextTakesLinearTime) {
    const size_t n = 1 << 22;
    EXPECT_EQ(decodeQp(std::string(n, ' ')), "");
    EXPECT_EQ(decodeQp(std::string(n, ' ') + "x"), std::string(n, ' ') + "x");
    EXPECT_EQ(decodeQp(std::string(n, '=')), std::string(n - 1, '='));
    EXPECT_EQ(decodeQp(repeat("= ", n) + "x"), repeat("= ", n) + "x");
    EXPECT_EQ(decodeQp("=" + repeat(" \r", n)), "=" + repeat(" \r", n));
    EXPECT_EQ(decodeQp(repeat(" =\r\n", n)), std::string(n, ' '));
    EXPECT_EQ(decodeQp(encodeQp(repeat("\r", n))), repeat("\r", n));
}

// -- The buffers around the loops

TEST(ContentCoding, AppendsAndGivesBackWhatIsNotNeeded) {
    const ContentCoding coding;
    DataBuffer bytes = db("<");
    StringBuffer text = sb("<");
    EXPECT_TRUE(coding.encodeBase64("AB", 2, text));
    EXPECT_TRUE(coding.encodeQuotedPrintable("=\xE4", 2, text));
    EXPECT_TRUE(ContentCoding::decodeBase64ToDb("Q U\r\nI=", 8, bytes));
    EXPECT_TRUE(coding.decodeQuotedPrintable("=3D=\r\n.", 7, bytes));
    EXPECT_EQ(str(text), "<QUI==3D=E4");
    EXPECT_EQ(str(bytes), "<AB=.");
}

TEST(ContentCoding, TextBehindTheLastPaddingIsNoBase64) {
    const Row rows[] = {
        {"a mailing list's footer", "QQ==\r\n\r\n-- \r\nlist at example.org\r\n", "A"},
        {"a line of blanks and letters", "QUI=\nsee the archive\n", "AB"},
        {"joined encodings", "QQ==\r\nQUI=\r\nQUJD\r\n", "AABABC"},
        {"joined in one line", "QQ==Qg==", "AB"},
        {"joined, then a footer", "QQ==\nQg==\n___\nxxxx", "AB"},
        {"junk in front of the padding is skipped", "Q*Q=\r\n", "A"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Exact text(row.in);
        DataBuffer bytes;
        EXPECT_TRUE(ContentCoding::decodeBase64ToDb(text.data(), text.size(), bytes));
        EXPECT_EQ(str(bytes), row.out);
    }
}

TEST(ContentCoding, NothingGivesNothing) {
    const ContentCoding coding;
    DataBuffer bytes;
    StringBuffer text;
    EXPECT_TRUE(coding.encodeBase64(nullptr, 0, text));
    EXPECT_TRUE(coding.encodeQuotedPrintable(nullptr, 0, text));
    EXPECT_TRUE(ContentCoding::decodeBase64ToDb(nullptr, 0, bytes));
    EXPECT_TRUE(coding.decodeQuotedPrintable(nullptr, 0, bytes));
    EXPECT_TRUE(text.isEmpty() && bytes.isEmpty());
}

// The size is refused before the data are looked at.
TEST(ContentCoding, RefusesWhatNoBufferHolds) {
    StringBuffer text = sb("<");
    EXPECT_FALSE(ContentCoding().encodeBase64("", 0xC0000000, text));
    EXPECT_EQ(str(text), "<");
}

TEST(UrlEncode, KeepsUnreservedCharactersOnly) {
    StringBuffer text = sb("<");
    const std::string_view in = "aZ09-._~ %+/\0\xFF"sv;
    EXPECT_TRUE(_zqUrlEncode::urlEncode3(reinterpret_cast<const unsigned char*>(in.data()),
                                         unsigned(in.size()), text));
    EXPECT_EQ(str(text), "<aZ09-._~%20%25%2B%2F%00%FF");
}

}  // namespace
