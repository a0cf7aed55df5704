// SPDX-License-Identifier: Apache-2.0

// Loading and writing whole messages of the kinds that mail consists of, in bytes of input a
// second, and the memory that a loaded tree holds beyond its decoded bodies and header text.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <random>
#include <string>

#include "foundation/ContentCoding.h"
#include "foundation/LogNull.h"
#include "mime/MimeMessage2.h"

namespace {

std::string header(const std::string& type) {
    std::string text;
    for (int hop = 0; hop < 6; ++hop)
        text += "Received: from relay" + std::to_string(hop) +
                ".example.org (relay.example.org [192.0.2.7])\r\n\tby mx.example.com (8.17/8.17) "
                "with ESMTPS id 31K7sKqX0177;\r\n\tMon, 20 Feb 2023 07:54:21 +0000\r\n";
    text += "DKIM-Signature: v=1; a=rsa-sha256; c=relaxed/relaxed; d=example.org; s=mail;\r\n";
    for (int i = 0; i < 5; ++i) text += "\tbh=" + std::string(66, 'k') + "\r\n";
    return text +
           "From: =?utf-8?Q?J=C3=BCrgen?= <juergen@example.org>\r\n"
           "To: Ann Example <ann@example.com>, bob@example.com\r\n"
           "Subject: =?utf-8?B?R3LDvMOfZSBhdXMgZGVtIExhZ2Vy?=\r\n"
           "Date: Mon, 20 Feb 2023 08:54:20 +0100\r\nMessage-ID: <4711.0815@example.org>\r\n"
           "MIME-Version: 1.0\r\nContent-Type: " +
           type + "\r\n";
}

std::string prose(size_t size) {
    std::string text;
    for (int line = 0; text.size() < size; ++line)
        text += "Der Zug " + std::to_string(line) + " f\xC3\xA4hrt heute etwas sp\xC3\xA4ter ab, " +
                (line % 3 ? "weil es geschneit hat.\r\n" : "weil.\r\n");
    return text;
}

std::string base64Of(size_t size) {
    std::mt19937 random(1);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    StringBuffer text;
    ContentCoding().encodeBase64(bytes.data(), static_cast<unsigned>(size), text);
    return std::string(text.getString(), text.getSize());
}

std::string quotedPrintable(const std::string& body) {
    StringBuffer text;
    ContentCoding().encodeQuotedPrintable(body.data(), static_cast<unsigned>(body.size()), text);
    return std::string(text.getString(), text.getSize());
}

std::string smallPlain() {
    return header("text/plain; charset=utf-8") + "Content-Transfer-Encoding: 8bit\r\n\r\n" +
           prose(1200);
}

std::string newsletter() {
    return header("text/html; charset=utf-8") +
           "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + quotedPrintable(prose(200000));
}

std::string attachment() {
    return header("multipart/mixed; boundary=\"outer_7261\"") + "\r\n--outer_7261\r\n" +
           "Content-Type: text/plain\r\n\r\nHere it is.\r\n--outer_7261\r\n"
           "Content-Type: application/zip; name=\"a.zip\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           base64Of(10000000) + "\r\n--outer_7261--\r\n";
}

std::string manyParts() {
    std::string text = header("multipart/mixed; boundary=\"parts_0042\"") + "\r\n";
    for (int i = 0; i < 2000; ++i)
        text +=
            "--parts_0042\r\nContent-Type: text/plain; charset=utf-8\r\n"
            "Content-Disposition: inline; filename=\"" +
            std::to_string(i) + ".txt\"\r\n\r\n" + prose(300) + "\r\n";
    return text + "--parts_0042--\r\n";
}

std::string nested() {
    std::string text = header("multipart/mixed; boundary=\"n0\"") + "\r\n", tail;
    for (int i = 0; i < 1000; ++i) {
        const std::string inner = "n" + std::to_string(i + 1), outer = "n" + std::to_string(i);
        text +=
            "--" + outer + "\r\nContent-Type: multipart/mixed; boundary=\"" + inner + "\"\r\n\r\n";
        tail = "\r\n--" + outer + "--\r\n" + tail;
    }
    return text + "--n1000\r\n\r\n" + prose(1000) + "\r\n--n1000--\r\n" + tail;
}

bool load(MimeMessage2& message, const std::string& mail) {
    LogNull log;
    StringBuffer clue;
    return message.loadMimeComplete2(mail.data(), static_cast<unsigned>(mail.size()),
                                     /*lenientLineEndings*/ false, clue, log,
                                     /*inputIsUtf8*/ false);
}

size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void loading(benchmark::State& state, std::string (*make)()) {
    const std::string mail = make();
    for (auto _ : state) {
        MimeMessage2 message;
        benchmark::DoNotOptimize(load(message, mail));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(mail.size()));
    const size_t before = heapInUse();
    MimeMessage2 message;
    load(message, mail);
    state.counters["heap/input"] =
        static_cast<double>(heapInUse() - before) / static_cast<double>(mail.size());
}

void writing(benchmark::State& state, std::string (*make)()) {
    const std::string mail = make();
    MimeMessage2 message;
    load(message, mail);
    LogNull log;
    for (auto _ : state) {
        DataBuffer out;
        message.getMimeTextDb(out, /*bodyOnly*/ false, log);
        benchmark::DoNotOptimize(out.getSize());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(mail.size()));
}

BENCHMARK_CAPTURE(loading, small_plain, smallPlain);
BENCHMARK_CAPTURE(loading, newsletter, newsletter);
BENCHMARK_CAPTURE(loading, attach_10m, attachment);
BENCHMARK_CAPTURE(loading, many_parts, manyParts);
BENCHMARK_CAPTURE(loading, nested_1000, nested);
BENCHMARK_CAPTURE(writing, small_plain, smallPlain);
BENCHMARK_CAPTURE(writing, newsletter, newsletter);
BENCHMARK_CAPTURE(writing, attach_10m, attachment);
BENCHMARK_CAPTURE(writing, many_parts, manyParts);

}  // namespace
