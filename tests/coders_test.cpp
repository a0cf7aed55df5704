// SPDX-License-Identifier: Apache-2.0

// Base64, quoted-printable and percent-encoding: rows, laws on random bytes, and the loops
// against the reference.

#include "tests/reference/coders.h"
#include "foundation/ContentCoding.h"
#include "foundation/_zqUrlEncode.h"
#include "foundation/coding/base64.h"
#include "foundation/coding/quoted_printable.h"
#include "tests/support.h"

using namespace mimetree::inner;

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
namespace qp = quoted_printable;

std::mt19937 g_random(20240229);

// Runs a loop on blocks of exactly the sizes that it was promised.
template <class Byte, class Coder>
std::string run(Coder coder, std::string_view in, size_t room) {
    using InByte = std::conditional_t<std::is_same_v<Byte, char>, unsigned char, char>;
    const Exact input(in);
    const std::unique_ptr<Byte[]> out(new Byte[room]);
    const auto* const data = reinterpret_cast<const InByte*>(input.data());
    const size_t n = size_t(coder(data, in.size(), out.get()) - out.get());
    EXPECT_LE(n, room);
    return std::string(reinterpret_cast<const char*>(out.get()), n);
}

std::string encode64(std::string_view in) {
    return run<char>(base64::encode, in, base64::encodedSize(in.size()));
}
std::string decode64(std::string_view in) {
    return run<unsigned char>(base64::decode, in, base64::decodedBound(in.size()));
}
std::string encodeQp(std::string_view in) {
    return run<char>(qp::encode, in, qp::encodedBound(raw(in), in.size()));
}
std::string decodeQp(std::string_view in) { return run<unsigned char>(qp::decode, in, in.size()); }

// Sizes around those of blocks and lines, and some large ones.
template <class Check>
void forSizes(Check check) {
    for (size_t n = 0; n <= 300; ++n) check(n);
    for (const size_t n : {65536u, 65537u, 100003u}) check(n);
}

// -- Base64

TEST(Base64, EncodesAndDecodesAnyBytes) {
    forSizes([](size_t n) {
        const std::string data = randomBytes(g_random, n), text = encode64(data);
        ASSERT_EQ(text, reference::base64Encode(data));
        ASSERT_EQ(decode64(text), data);
    });
}

std::string damage(std::string text, unsigned faults) {
    const std::string_view strangers[] = {" ", "=", "==", "\r\n", "\n", "\x80", "-", "A"};
    while (faults--) {
        const size_t at = g_random() % (text.size() + 1);
        text.replace(at, g_random() % 5, strangers[g_random() % 8]);
    }
    return text;
}

TEST(Base64, DecodesAnyLayoutAndDamage) {
    for (const std::string lineBreak : {"\r\n", "\n", "\r", " \r\n", ""})
        for (const size_t width : {4u, 31u, 60u, 64u, 72u, 75u, 76u, 77u, 100u}) {
            std::string text = randomBytes(g_random, g_random() % 3000, reference::kBase64);
            for (size_t at = width; at < text.size(); at += width + lineBreak.size())
                text.insert(at, lineBreak);
            for (unsigned faults = 0; faults < 12; ++faults) {
                const std::string damaged = damage(text, faults);
                ASSERT_EQ(decode64(damaged), reference::base64Decode(damaged)) << width;
            }
        }
}

// -- Quoted-printable

const std::string x72(72, 'x'), x73 = x72 + 'x', x75 = x73 + "xx", x76 = x75 + 'x';

const TextRow kQpEncodeRows[] = {
    {"bare CR and LF", "a\rb\nc\n\r", "a=0Db=0Ac=0A=0D"},
    {"blanks at the end", "a b \r\n\t\r\nc\t ", "a b=20\r\n=09\r\nc\t=20"},
    {"= ^ controls 8 bit", "=^\x01\x7F\xE4~", "=3D=5E=01=7F=E4~"},
    {"a dot alone", ".\r\n..\r\n.a\r\n.", "=2E\r\n..\r\n.a\r\n=2E"},
    {"From at a line start", "From x\r\nFromx\r\n>From ", "=46rom x\r\nFromx\r\n>From=20"},
    {"a line of 76 is not broken", x76 + "\r\n" + x76, x76 + "\r\n" + x76},
    {"escape that ends at 76", x73 + "=", x73 + "=3D"},
    {"From behind a soft break", x75 + "From y", x75 + "=\r\n=46rom y"},
};

TEST(QuotedPrintable, EncodeRows) {
    expectRows(kQpEncodeRows, encodeQp);
    // Every line starts with "From " and breaks as late as it can: the bound holds.
    EXPECT_EQ(encodeQp(repeated("From " + std::string(68, 'x'), 1000)).size(), 78 * 1000u - 3);
}

// What an encoded body must be, whatever it was made from.
void checkEncoded(const std::string& text) {
    for (size_t start = 0, end; start <= text.size(); start = end + 2) {
        end = std::min(text.find("\r\n", start), text.size());
        const std::string line = text.substr(start, end - start);
        ASSERT_LE(line.size(), 76u);
        ASSERT_FALSE(line == "." || line.starts_with("From "));
        ASSERT_FALSE(line.ends_with(" ") || line.ends_with("\t"));
        for (const char c : line) ASSERT_TRUE((c >= ' ' && c <= '~' && c != '^') || c == '\t');
    }
}

TEST(QuotedPrintable, EncodesAndDecodesAnyBytes) {
    for (const auto set : {""sv, "\r\n"sv, "= \t\r\nab.^\xE4"sv, "abcdefg h"sv, "From "sv, "=."sv})
        forSizes([&](size_t n) {
            const std::string data = randomBytes(g_random, n, set), text = encodeQp(data);
            checkEncoded(text);
            ASSERT_EQ(decodeQp(text), data);
        });
}

TEST(QuotedPrintable, RoomDoesNotChangeWhatIsEncoded) {
    for (const auto set : {"\r\n"sv, "= \t\r\nab.^\xE4"sv, "From "sv, "\xE4\r\n"sv})
        for (const unsigned room : {150000u, 250000u, 400000u, 900000u}) {
            const std::string data = repeated(".\r\n" + randomBytes(g_random, 1000, set), 200);
            StringBuffer text = sb("<");
            text.reserve(room);
            ASSERT_TRUE(
                ContentCoding().encodeQuotedPrintable(raw(data), unsigned(data.size()), text));
            ASSERT_EQ(str(text), "<" + encodeQp(data)) << room;
        }
}

TEST(QuotedPrintable, DecodesLikeTheReference) {
    for (const auto set :
         {"= \t\r\n"sv, "= \t\r\n4aGCc3"sv, "=x\xFC\0"sv, "abcdefghijklmnop =\r\n"sv, "\n "sv})
        for (size_t n = 0; n <= 600; ++n) {
            const std::string text = randomBytes(g_random, n, set);
            ASSERT_EQ(decodeQp(text), reference::qpDecode(text));
        }
}

// Each takes minutes once blanks are looked at twice.
TEST(QuotedPrintable, HostileTextTakesLinearTime) {
    const size_t n = 1 << 22;
    EXPECT_EQ(decodeQp(std::string(n, ' ') + "x"), std::string(n, ' ') + "x");
    EXPECT_EQ(decodeQp(std::string(n, '=')), std::string(n - 1, '='));
    EXPECT_EQ(decodeQp(repeated("= ", n) + "x"), repeated("= ", n) + "x");
    EXPECT_EQ(decodeQp("=" + repeated(" \r", n)), "=" + repeated(" \r", n));
    EXPECT_EQ(decodeQp(repeated(" =\r\n", n)), std::string(n, ' '));
    EXPECT_EQ(decodeQp(encodeQp(repeated("\r", n))), repeated("\r", n));
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
    const auto in = "aZ09-._~ %+/\0\xFF"sv;
    EXPECT_TRUE(_zqUrlEncode::urlEncode3(raw(in), unsigned(in.size()), text));
    // The size is refused before the data are looked at.
    EXPECT_FALSE(coding.encodeBase64("", 0xC0000000, text));
    EXPECT_EQ(str(text), "<QUI==3D=E4aZ09-._~%20%25%2B%2F%00%FF");
    EXPECT_EQ(str(bytes), "<AB=.");
}

const TextRow kFooterRows[] = {
    {"a mailing list's footer", "QQ==\r\n\r\n-- \r\nlist at example.org\r\n", "A"},
    {"white space is no footer", "QQ== \r\nQg==\t\r\n\x1A Qw== RE VG", "ABCDEF"},
    {"one word behind padding", "QQ==\r\nSent\r\n", "A"},
    {"prose behind no padding", "QUJD\r\nREVG\r\n\r\nFooter\r\nof this list\r\n", "ABCDEF"},
    {"prose alone is read all the same", "Sent by a robot", "I\xE9\xEDo&\xAB\xA1\xBA-"},
    {"junk in front of the padding is skipped", "Q*Q=\r\n", "A"},
};

TEST(ContentCoding, TextBehindTheLastPaddingIsNoBase64) {
    expectRows(kFooterRows, [](const std::string& in) {
        const Exact text(in);
        DataBuffer bytes;
        EXPECT_TRUE(ContentCoding::decodeBase64ToDb(text.data(), text.size(), bytes));
        return str(bytes);
    });
}

}  // namespace
