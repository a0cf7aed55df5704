// SPDX-License-Identifier: Apache-2.0
// Findings about transfer codings (RFC 2045 6): what is declared, and whether the body is so.

#include <algorithm>
#include <cstring>
#include <iterator>

#include "face/findings/count.h"
#include "face/findings/entity.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/coding/base64_footer.h"

namespace mimetree::inner::check {

namespace {

constexpr std::string_view kKnown[] = {
    "7bit", "8bit", "binary", "base64", "uuencode", "quoted-printable", "x-uuencode", "x-uue"};
constexpr ByteSet kSpace(" \t\r\n");

// 1 or 0, as a sum of what excludes each other: compilers make vectors of that in countPlaces.
unsigned char isBase64(char c) {
    using Byte = unsigned char;
    const auto byte = static_cast<Byte>(c);
    const auto letter = static_cast<Byte>((byte | 0x20) - 'a');
    const auto digit = static_cast<Byte>(byte - '/');  // "/" stands in front of the digits
    return static_cast<Byte>((letter < 26) + (digit < 11) + (byte == '+'));
}

bool isGarbage(char c) { return !isBase64(c) && c != '=' && !kSpace.has(c); }

// Digits and padding.
size_t countBase64(std::string_view text) {
    return countPlaces(text, [](const char* p) { return isBase64(*p) + (*p == '='); });
}

size_t countGarbage(std::string_view text) {
    size_t rest = text.size() - countBase64(text);
    for (const char space : {'\n', '\r', ' ', '\t'})
        if (rest > 0) rest -= countOf(text, space);
    return rest;
}

const char* codingPlace(const Entity& e) {
    const Field* const field = e.field("Content-Transfer-Encoding");
    return field ? field->whole.data() : e.at();
}

bool keepsParts(const Entity& e) {
    return e.coding.empty() || e.coding == "7bit" || e.coding == "8bit" || e.coding == "binary";
}

// A body in base64, and what stands behind it.
struct Base64Body {
    explicit Base64Body(const Entity& e) {
        if (!e.isLeaf() || e.coding != "base64") return;
        const std::string_view body = e.body();
        data = body.substr(0, base64::sizeWithoutFooter(body.data(), body.size()));
        footer = body.substr(data.size());
    }
    std::string_view data;
    std::string_view footer;
};

}  // namespace

void codingUnknown(const Entity& e, Report& report) {
    if (!e.coding.empty() &&
        std::find(std::begin(kKnown), std::end(kKnown), e.coding) == std::end(kKnown))
        report(codingPlace(e), "the coding ", Quoted(e.coding),
               " is not known; the body was taken as it stands");
}

void codingRepeated(const Entity& e, Report& report) {
    const Field* const first = e.field("Content-Transfer-Encoding");
    if (!first) return;
    for (const Field* field = first + 1; field != e.fields.data() + e.fields.size(); ++field)
        if (isSameWord(field->name, first->name))
            report(field->whole.data(), "the coding is told once more, as ",
                   Quoted(trimmedText(field->value)));
}

void multipartEncoded(const Entity& e, Report& report) {
    if (e.part.is_multipart() && !keepsParts(e))
        report(codingPlace(e), "a multipart may not be encoded, and this one says ",
               Quoted(e.coding));
}

void messageEncoded(const Entity& e, Report& report) {
    const std::string_view type = e.part.type();
    const bool isWhole =
        type == "message/rfc822" || type == "message/partial" || type == "message/external-body";
    if (isWhole && !keepsParts(e))
        report(codingPlace(e), type, " may not be encoded, and this one says ", Quoted(e.coding));
}

void eightBitBody(const Entity& e, Report& report) {
    const bool isSevenBit = e.coding.empty() || e.coding == "7bit" || !e.isIdentity();
    if (!e.isLeaf() || !isSevenBit) return;
    const size_t plain = bytes::asciiRun(e.body().data(), e.body().size());
    if (plain == e.body().size()) return;
    report(e.body().data() + plain, "the body holds bytes above 127, which ",
           Quoted(e.coding.empty() ? "7bit" : e.coding), " does not allow");
}

void base64Garbage(const Entity& e, Report& report) {
    const Base64Body body(e);
    const size_t count = countGarbage(body.data);
    if (count == 0) return;
    const auto first = std::find_if(body.data.begin(), body.data.end(), isGarbage);
    report(&*first, count, " bytes in the base64 are none of its alphabet");
}

void base64BehindPadding(const Entity& e, Report& report) {
    const Base64Body body(e);
    const size_t padding = body.data.find('=');
    if (padding == body.data.npos) return;
    const auto behind = std::find_if(body.data.begin() + static_cast<ptrdiff_t>(padding),
                                     body.data.end(), isBase64);
    if (behind != body.data.end())
        report(&*behind, "base64 goes on behind its padding; some readers end there");
}

void base64Footer(const Entity& e, Report& report) {
    const Base64Body body(e);
    if (!isBlankText(body.footer))
        report(trimmedText(body.footer).data(), "the plain text ", Quoted(trimmedText(body.footer)),
               " behind the base64 was left out");
}

void base64Incomplete(const Entity& e, Report& report) {
    const Base64Body body(e);
    if (countBase64(body.data) % 4 != 0)
        report(body.data.data() + body.data.size(), "the base64 ends within a group of four");
}

void quotedPrintableEscape(const Entity& e, Report& report) {
    if (!e.isLeaf() || e.coding != "quoted-printable") return;
    const std::string_view body = e.body();
    for (size_t at = 0; (at = body.find('=', at)) != body.npos; ++at) {
        const std::string_view next = body.substr(at + 1, 2);
        const bool isEscape =
            next.size() == 2 && bytes::hexValue(next[0]) >= 0 && bytes::hexValue(next[1]) >= 0;
        if (!isEscape && !next.empty() && !kSpace.has(next[0]))
            report(body.data() + at, Quoted(body.substr(at, 3)),
                   " is no escape of quoted-printable, and stands as it is");
    }
}

void longBodyLine(const Entity& e, Report& report) {
    if (!e.isLeaf() || e.coding == "binary") return;
    const char* p = e.body().data();
    const char* const end = p + e.body().size();
    while (end - p > static_cast<ptrdiff_t>(kLongestLine)) {
        const auto* const lf =
            static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
        const auto size = static_cast<size_t>((lf ? lf : end) - p);
        if (size > kLongestLine + 1) report(p, "a line of the body has ", size, " bytes");
        if (!lf) return;
        p = lf + 1;
    }
}

}  // namespace mimetree::inner::check
