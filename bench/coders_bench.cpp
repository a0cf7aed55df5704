// SPDX-License-Identifier: Apache-2.0

// The vectorised loops, each beside its plain form and beside memcpy of as many bytes.  Rates
// count the encoded text in both directions.  A build with MIMETREE_SIMD shows lower levels.

#include <benchmark/benchmark.h>

#include <cstring>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/line_ends.h"
#include "foundation/bytes/text_facts.h"
#include "foundation/bytes/utf8.h"
#include "foundation/coding/base64.h"
#include "foundation/coding/quoted_printable.h"

using namespace mimetree::inner;

namespace {

constexpr size_t kSize = 1 << 18;  // stays in the second cache, so that loops are measured

const unsigned char* bytesOf(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

std::string randomBytes() {
    std::mt19937 random(1);
    std::string data(kSize, '\0');
    for (char& c : data) c = static_cast<char>(random());
    return data;
}

// Lines as a newsletter in German or French has them, some of them HTML.
std::string newsletter() {
    std::istringstream words(
        "der Newsletter f\xC3\xBCr unsere Leser und l'\xC3\xA9t\xC3\xA9 Angebot die nous avons "
        "heute "
        "Kunden schlie\xC3\x9Flich vous pour gratuit jetzt <a href=\"https://example.org/?id=7\"> "
        "</a> d\xC3\xA9j\xC3\xA0 Woche mit les");
    const std::vector<std::string> vocabulary{std::istream_iterator<std::string>(words), {}};
    std::mt19937 random(2);
    std::string text;
    while (text.size() < kSize) {
        for (size_t n = 4 + random() % 40; n > 0; --n) {
            text += vocabulary[random() % vocabulary.size()];
            text += n == 1 ? "" : " ";
        }
        text += "\r\n";
    }
    return text;
}

std::string base64Text(size_t lineChars, const char* lineBreak) {
    const std::string data = randomBytes();
    std::string text(base64::encodedSize(data.size()), '\0');
    base64::encode(bytesOf(data), data.size(), &text[0]);
    std::string flat, lines;
    for (const char c : text)
        if (c != '\r' && c != '\n') flat += c;
    for (size_t at = 0; at < flat.size(); at += lineChars)
        lines += (at ? lineBreak : "") + flat.substr(at, lineChars);
    return lines;
}

std::string quotedText() {
    const std::string text = newsletter();
    std::string out(quoted_printable::encodedBound(bytesOf(text), text.size()), '\0');
    char* const end = quoted_printable::encode(bytesOf(text), text.size(), &out[0]);
    out.resize(static_cast<size_t>(end - out.data()));
    return out;
}

using Encoder = char* (*)(const unsigned char*, size_t, char*);
using Decoder = unsigned char* (*)(const char*, size_t, unsigned char*);

void encode(benchmark::State& state, Encoder coder, const std::string& data, size_t room) {
    std::string out(room, '\0');
    size_t written = 0;
    for (auto _ : state) {
        written = static_cast<size_t>(coder(bytesOf(data), data.size(), &out[0]) - out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(written));
}

void decode(benchmark::State& state, Decoder coder, const std::string& text) {
    std::string out(text.size(), '\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            coder(text.data(), text.size(), reinterpret_cast<unsigned char*>(&out[0])));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

unsigned char* copy(const char* text, size_t n, unsigned char* out) {
    std::memcpy(out, text, n);
    return out + n;
}

void encodeBase64(benchmark::State& state, Encoder coder) {
    encode(state, coder, randomBytes(), base64::encodedSize(kSize));
}

void encodeQp(benchmark::State& state, Encoder coder) {
    const std::string text = newsletter();
    encode(state, coder, text, quoted_printable::encodedBound(bytesOf(text), text.size()));
}

// A loop that only looks at the text.
template <class Look>
void look(benchmark::State& state, Look function, const std::string& text) {
    for (auto _ : state) benchmark::DoNotOptimize(function(text.data(), text.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

using Search = const char*(const char*, size_t, const char*, size_t);
using Check = size_t(const unsigned char*, size_t);
using Count = size_t(const char*, size_t, line_ends::BareCr);
using Complete = void(const char*, size_t, line_ends::BareCr, char*);

void findDelimiter(benchmark::State& state, Search search) {
    const auto find = [search](const char* p, size_t n) { return search(p, n, "\r\n--=_b", 8); };
    look(state, find, base64Text(76, "\r\n"));
}

using CopyAndLook = text_facts::TextFacts(const char*, size_t, char*);

void copyAndLook(benchmark::State& state, CopyAndLook function) {
    const std::string text = newsletter();
    std::string out(text.size(), '\0');
    look(
        state, [&](const char* p, size_t n) { return function(p, n, &out[0]).isAscii; }, text);
}

void checkUtf8(benchmark::State& state, Check check) {
    const auto valid = [check](const char* p, size_t n) {
        return check(reinterpret_cast<const unsigned char*>(p), n);
    };
    look(state, valid, newsletter());
}

void makeCrlf(benchmark::State& state, Count count, Complete complete) {
    const std::string text = base64Text(76, "\n");
    std::string out(2 * text.size(), '\0');
    const auto rewrite = [&](const char* p, size_t n) {
        complete(p, n, line_ends::BareCr::Stays, &out[0]);
        return count(p, n, line_ends::BareCr::Stays);
    };
    look(state, rewrite, text);
}

// From a code page to UTF-8.
void convert(benchmark::State& state, int codePage) {
    const std::string text = newsletter();
    DataBuffer in, out;
    LogNull log;
    EncodingConvert::EncConvert(65001, codePage, bytesOf(text), static_cast<unsigned>(text.size()),
                                in, log);
    for (auto _ : state) {
        out.shorten(out.getSize());  // which keeps the room
        EncodingConvert::EncConvert(codePage, 65001, in.getData2(), in.getSize(), out, log);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(in.getSize()));
}

BENCHMARK_CAPTURE(decode, memcpy, copy, base64Text(76, "\r\n"));
BENCHMARK_CAPTURE(decode, base64, base64::decode, base64Text(76, "\r\n"));
BENCHMARK_CAPTURE(decode, base64_scalar, base64::scalar::decode, base64Text(76, "\r\n"));
BENCHMARK_CAPTURE(decode, base64_76_lf, base64::decode, base64Text(76, "\n"));
BENCHMARK_CAPTURE(decode, base64_64_crlf, base64::decode, base64Text(64, "\r\n"));
BENCHMARK_CAPTURE(decode, base64_77_crlf, base64::decode, base64Text(77, "\r\n"));
BENCHMARK_CAPTURE(decode, qp, quoted_printable::decode, quotedText());
BENCHMARK_CAPTURE(decode, qp_scalar, quoted_printable::scalar::decode, quotedText());
BENCHMARK_CAPTURE(encodeBase64, fast, base64::encode);
BENCHMARK_CAPTURE(encodeBase64, scalar, base64::scalar::encode);
BENCHMARK_CAPTURE(encodeQp, fast, quoted_printable::encode);
BENCHMARK_CAPTURE(encodeQp, scalar, quoted_printable::scalar::encode);

BENCHMARK_CAPTURE(look, countEscapes, quoted_printable::countEscapes, newsletter());
BENCHMARK_CAPTURE(look, countEscapes_scalar, quoted_printable::scalar::countEscapes, newsletter());
BENCHMARK_CAPTURE(look, asciiRun, bytes::asciiRun, base64Text(76, "\r\n"));
BENCHMARK_CAPTURE(look, asciiRun_scalar, bytes::scalar::asciiRun, base64Text(76, "\r\n"));
BENCHMARK_CAPTURE(copyAndLook, fast, text_facts::copyAndLook);
BENCHMARK_CAPTURE(copyAndLook, scalar, text_facts::scalar::copyAndLook);
BENCHMARK_CAPTURE(findDelimiter, fast, bytes::find);
BENCHMARK_CAPTURE(findDelimiter, scalar, bytes::scalar::find);
BENCHMARK_CAPTURE(checkUtf8, fast, utf8::validPrefix);
BENCHMARK_CAPTURE(checkUtf8, scalar, utf8::scalar::validPrefix);
BENCHMARK_CAPTURE(makeCrlf, fast, line_ends::countIncomplete, line_ends::complete);
BENCHMARK_CAPTURE(makeCrlf, scalar, line_ends::scalar::countIncomplete,
                  line_ends::scalar::complete);
BENCHMARK_CAPTURE(convert, latin1, 28591);
BENCHMARK_CAPTURE(convert, windows1252, 1252);
BENCHMARK_CAPTURE(convert, utf16, 1200);

}  // namespace
