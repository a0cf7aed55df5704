// SPDX-License-Identifier: Apache-2.0

// Every vectorised loop at every level of this machine against its plain twin: all lengths to
// 300 and then some, inputs and outputs in blocks of exactly their size at all alignments.

#include <algorithm>

#include "foundation/bytes/bytes.h"
#include "foundation/bytes/line_ends.h"
#include "foundation/bytes/text_facts.h"
#include "foundation/bytes/utf8.h"
#include "foundation/coding/base64.h"
#include "foundation/coding/quoted_printable.h"
#include "foundation/header/header_scan.h"
#include "foundation/simd/level.h"
#include "tests/support.h"

using namespace mimetree::inner;

namespace {

using namespace std::string_view_literals;

// What a loop makes of an input, whatever it gives, as a text.
using Loop = std::string (*)(std::string_view in);

// Calls a loop that writes to room of exactly the size that it asks for.
template <auto Function>
std::string written(std::string_view in, size_t room) {
    const std::unique_ptr<char[]> out(new char[room]);
    char* end;
    if constexpr (std::is_invocable_v<decltype(Function), const char*, size_t, unsigned char*>)
        end = reinterpret_cast<char*>(
            Function(in.data(), in.size(), reinterpret_cast<unsigned char*>(out.get())));
    else end = Function(raw(in), in.size(), out.get());
    return std::string(out.get(), end);
}

template <auto Function>
std::string encode64(std::string_view in) {
    return written<Function>(in, base64::encodedSize(in.size()));
}

template <auto Function>
std::string decode64(std::string_view in) {
    return written<Function>(in, base64::decodedBound(in.size()));
}

// Pieces of a size that follows the text, each with room of its own.
std::string decode64ByPieces(std::string_view in) {
    const size_t size = 1 + (in.empty() ? 0 : raw(in)[0] * 7u % 400);
    std::string all;
    const char* const end = in.data() + in.size();
    for (const char* p = in.data(); p != end;) {
        const size_t n = std::min(size, static_cast<size_t>(end - p));
        const size_t room = base64::decodedBound(n) + base64::kGroupBytes;
        const std::unique_ptr<unsigned char[]> out(new unsigned char[room]);
        unsigned char* const stop = base64::decodePiece(p, p + n, end, out.get());
        all.append(out.get(), stop);
    }
    return all;
}

template <auto Function>
std::string encodeQp(std::string_view in) {
    return written<Function>(in, quoted_printable::encodedBound(raw(in), in.size()));
}

template <auto Function>
std::string decodeQp(std::string_view in) {
    return written<Function>(in, in.size());
}

template <auto Function>
std::string run(std::string_view in) {
    return std::to_string(Function(in.data(), in.size()));
}

std::string factsOf(text_facts::TextFacts facts) {
    return std::string(facts.hasZero ? "zero " : "") + (facts.isAscii ? "ascii " : "");
}

template <auto Function>
std::string looked(std::string_view in) {
    return factsOf(Function(in.data(), in.size()));
}

// The place of the copy in a line of the cache follows the text.
template <auto Function>
std::string copied(std::string_view in) {
    const size_t lead = in.empty() ? 0 : in[0] & 63;
    const Exact room(std::string(lead + in.size(), '?'));
    const auto facts = Function(in.data(), in.size(), const_cast<char*>(room.data()) + lead);
    return factsOf(facts) + std::string(room.data(), room.size());
}

// Mostly well-formed: the bytes choose among characters, stray bytes and cut sequences.
std::string utf8Text(std::string_view in) {
    static constexpr std::string_view kLong = "abcdefghijklmnopqrstuvwxyz0123456789 ,.-abcdefghijk";
    // clang-format off
    static constexpr std::string_view kPieces[] = {
        "a", kLong, "\xC3\xA9", "\xDF\xBF", "\xE0\xA0\x80", "\xE4\xBA\x9C", "\xED\x9F\xBF",
        "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"};
    static constexpr std::string_view kBad[] = {
        "\x80", "\xC3", "\xC1\x81", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xE4\xBA", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF0\x90\x80", "\xE4\xBA\x9C\x80", "\xFF"};
    // clang-format on
    std::string text;
    for (const char c : in) {
        const auto value = static_cast<unsigned char>(c);
        text += value < 250 ? kPieces[value % std::size(kPieces)] : kBad[text.size() % 12];
    }
    return text;
}

template <auto Function>
std::string validUtf8(std::string_view in) {
    return std::to_string(Function(raw(in), in.size()));
}

// The needle is the end of the text, or what is nearly that.
template <auto Function>
std::string find(std::string_view in) {
    const size_t m = std::min<size_t>(in.size() / 2, in.empty() ? 0 : in[0] & 7);
    std::string needle(in.substr(in.size() - m));
    if (m > 1 && in[1] & 1) needle[m / 2] ^= 1;
    const char* const hit = Function(in.data(), in.size(), needle.data(), m);
    return hit ? std::to_string(hit - in.data()) : "none";
}

template <auto Count, auto Complete, line_ends::BareCr BareCr>
std::string crlf(std::string_view in) {
    std::string out(in.size() + Count(in.data(), in.size(), BareCr), '?');
    const Exact room(out);
    Complete(in.data(), in.size(), BareCr, const_cast<char*>(room.data()));
    return std::string(room.data(), room.size());
}

// Texts in charsets of one byte a character, some characters of which take three bytes of UTF-8 and
// some are not in the other charset.
template <int From, int To>
std::string convertedFast(std::string_view in) {
    return converted(From, To, in);
}

template <int From, int To>
std::string convertedPlainly(std::string_view in) {
    const simd::Level before = simd::g_level;
    simd::force(simd::Level::Plain);
    const std::string out = converted(From, To, in);
    simd::force(before);
    return out;
}

// Each "|" is a CRLF, so that whole headers come about.
std::string withBreaks(std::string_view in) {
    std::string out;
    for (char c : in) out += c == '|' ? "\r\n" : std::string(1, c);
    return out;
}

// Many a line is one that may not be a line by itself.
std::string withHarmful(std::string_view in) {
    std::string out;
    for (char c : in) out += c == '|' ? "\r\n" : c == 'F' ? "From" : std::string(1, c);
    return out;
}

template <auto Function>
std::string scanned(std::string_view in) {
    HeaderScan scan;
    if (!Function(in.data(), in.size(), scan)) return "odd";
    std::string out = std::to_string(scan.size) + (scan.hasHighBytes ? " high" : "");
    for (unsigned i = 0; i < scan.fields.size(); ++i)
        out += " " + std::to_string(scan.fields[i].start) + "-" +
               std::to_string(scan.fields[i].nameEnd);
    return out;
}

// `sets` are the alphabets that inputs are made of, a random one for each; "" is all bytes.
// `prepare` makes the input of what came of that.
struct Twins {
    const char* name;
    Loop fast, plain;
    std::vector<std::string_view> sets;
    Loop prepare = nullptr;
};

constexpr auto kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"sv;

// Alphabets whose odd bytes are rare, so that long stretches lie between them.
std::string mostly(std::string_view plain, std::string_view odd, size_t times) {
    std::string set;
    while (times--) set += plain;
    return set + std::string(odd);
}

#define CONVERTED(from, to) \
#from " to " #to, convertedFast < from, to>, convertedPlainly < from, to>
#define TWINS(space, name, through) #name, through < space::name>, through < space::scalar::name>

std::vector<Twins> allTwins() {
    static const std::string spaced = mostly(kBase64, "\r\n ", 1);
    static const std::string damaged = mostly(kBase64, "\r\n=*\x80", 4);
    static const std::string lightQp = mostly("abcdefg hijklmnop", "=\r\n", 2);
    static const std::string ascii = mostly("ab", "\x80\xFF", 60);
    static const std::string mostlyText = mostly("abcdefgh", "\0"sv, 60);
    static const std::string fields = mostly("a: b| ", "\t\r\n\x7F\xE9", 30);
    static const std::string longFields = mostly("ab:cd ef", "|||", 6);
    static const std::string lines = mostly("ab", "\r\n", 8);
    static const std::string surrogates = mostly("\x4E\x5F", "\xD8\xDC", 10);
    using namespace line_ends;
    return {
        {TWINS(bytes, find, find), {"ab", "abcdefgh", ""}},
        {TWINS(bytes, asciiRun, run), {ascii, ""}},
        {TWINS(bytes, plainRun, run), {lines, ascii, ""}},
        {TWINS(text_facts, look, looked), {"ab", ascii, mostlyText, ""}},
        {TWINS(text_facts, copyAndLook, copied), {"ab", ascii, mostlyText, ""}},
        {TWINS(bytes, hasC1, run), {ascii, "a\x81\xA0", ""}},
        {TWINS(header_scan, run, scanned), {fields, longFields, "ab: |", ""}, withBreaks},
        {TWINS(utf8, validPrefix, validUtf8), {ascii, ""}},
        {TWINS(utf8, validPrefix, validUtf8), {"0123456789", "abcdefgh2\xFF", ""}, utf8Text},
        {TWINS(base64, encode, encode64), {""}},
        {TWINS(base64, decode, decode64), {""}, encode64<base64::scalar::encode>},
        {TWINS(base64, decode, decode64), {kBase64, spaced, damaged, "QUJD \n", ""}},
        {"base64 by pieces",
         decode64ByPieces,
         decode64<base64::scalar::decode>,
         {kBase64, spaced, damaged, "QUJD \n", ""}},
        {TWINS(quoted_printable, countEscapes, run), {lightQp, ""}},
        {TWINS(quoted_printable, encode, encodeQp), {"ab", lightQp, "a\xC3=. \r\n", ""}},
        {TWINS(quoted_printable, encode, encodeQp), {"aF | .\t"}, withHarmful},
        {TWINS(quoted_printable, decode, decodeQp),
         {lightQp, "ab \xC3", ""},
         encodeQp<quoted_printable::scalar::encode>},
        {TWINS(quoted_printable, decode, decodeQp), {lightQp, "= \t\r\n4aG", "=C3A", ""}},
        {CONVERTED(1200, 65001), {"ab\0"sv, "\0\x01\x07\xE9"sv, "\x4E\x7F\x08", "", surrogates}},
        {CONVERTED(1201, 65001), {"ab\0"sv, "\0\x01\x07\xE9"sv, "\x4E\x7F\x08", "", surrogates}},
        {CONVERTED(28591, 65001), {ascii, "ab\xE9\xB0", ""}},
        {CONVERTED(1252, 65001), {ascii, "ab\xE9\xB0", "abcdefghijkl\xE9\x93", ""}},
        {CONVERTED(1251, 65001), {ascii, "\xE0\xE5\xEE\xF2 ,", "\xE0\xE5\xEE\xF2 \x96", ""}},
        {CONVERTED(1251, 1251), {ascii, "\xE0\xE5\xEE\xF2 ,", "\xE0\xE5\xEE\xF2 \x96", ""}},
        {CONVERTED(1252, 1253), {ascii, ""}},
        {CONVERTED(65001, 1251), {"\xD0\xB0", "\xD0\xB0\xE2\x80\x93 a", ""}},
        {"LF to CRLF",
         crlf<countIncomplete, complete, BareCr::Stays>,
         crlf<scalar::countIncomplete, scalar::complete, BareCr::Stays>,
         {lines, "\r\nx"}},
        {"CR and LF to CRLF",
         crlf<countIncomplete, complete, BareCr::BecomesCrlf>,
         crlf<scalar::countIncomplete, scalar::complete, BareCr::BecomesCrlf>,
         {lines, "\r\nx"}},
    };
}

void expectTwinsAgree(const Twins& twins, std::mt19937& random) {
    for (size_t i = 0; i < 64 * 310; ++i) {
        const size_t n = i / 64 <= 300 ? i / 64 : random() % 5000, lead = i % 64;
        std::string text = randomBytes(random, n, twins.sets[random() % twins.sets.size()]);
        if (twins.prepare) text = twins.prepare(text);
        const Exact exact(std::string(lead, '\n') + text);
        const std::string_view in(exact.data() + lead, text.size());
        ASSERT_EQ(twins.fast(in), twins.plain(in)) << testing::PrintToString(text);
    }
}

TEST(Kernels, EqualTheirPlainTwins) {
    const simd::Level before = simd::g_level;
    std::mt19937 random(1);
    for (unsigned level = 0; level < simd::kLevels; ++level) {
        const char* const name = simd::nameOf(simd::Level(level));
        if (!simd::force(simd::Level(level))) std::printf("this machine lacks %s\n", name);
        else
            for (const Twins& twins : allTwins()) {
                SCOPED_TRACE(testing::Message() << twins.name << ", " << name);
                expectTwinsAgree(twins, random);
            }
    }
    simd::force(before);
}

}  // namespace
