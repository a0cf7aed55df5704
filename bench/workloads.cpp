// SPDX-License-Identifier: Apache-2.0

// Mails of the kinds that people receive: received headers of some 2 KB, texts in several
// languages and charsets, HTML as newsletters have it, attachments of random bytes.

#include "workloads.h"

#include <algorithm>
#include <cstdio>
#include <random>

#include "foundation/ContentCoding.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"

namespace {

using Words = std::vector<const char*>;

const Words kEnglish{"the",     "of",  "and",   "meeting",  "to",       "please",  "invoice",
                     "we",      "you", "have",  "attached", "is",       "project", "that",
                     "release", "for", "on",    "quarter",  "schedule", "with",    "as",
                     "will",    "be",  "at",    "this",     "by",       "report",  "customer",
                     "from",    "or",  "which", "tomorrow", "review",   "update",  "question"};
const Words kLatin{"f\xC3\xBCr",
                   "caf\xC3\xA9",
                   "d\xC3\xA9j\xC3\xA0",
                   "gr\xC3\xB6\xC3\x9F"
                   "er",
                   "se\xC3\xB1or",
                   "\xC3\xBC"
                   "ber",
                   "ann\xC3\xA9"
                   "e",
                   "o\xC3\xB9",
                   "fa\xC3\xA7"
                   "ade",
                   "Stra\xC3\x9F"
                   "e",
                   "m\xC3\xAAme",
                   "ni\xC3\xB1o"};
const Words kSymbols{"\xE2\x80\x9Cso\xE2\x80\x9D",
                     "\xE2\x80\x93",
                     "\xE2\x80\xA6",
                     "\xE2\x82\xAC 49,90",
                     "it\xE2\x80\x99s",
                     "\xE2\x86\x92",
                     "\xF0\x9F\x98\x80"};

// A stream of random choices that is the same on every machine and standard library.
class Dice {
public:
    explicit Dice(const std::string& seed) {
        std::seed_seq sequence(seed.begin(), seed.end());
        m_engine.seed(sequence);
    }
    unsigned below(unsigned n) { return static_cast<unsigned>(m_engine() % n); }
    unsigned between(unsigned low, unsigned high) { return low + below(high - low + 1); }
    bool oneIn(unsigned n) { return below(n) == 0; }
    template <class List>
    auto pick(const List& list) {
        return list[below(static_cast<unsigned>(list.size()))];
    }

    std::string token(size_t n) {
        static const std::string kLetters =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
        std::string text;
        while (text.size() < n) text += pick(kLetters);
        return text;
    }
    std::string bytes(size_t n) {
        std::string data(n, '\0');
        for (char& c : data) c = static_cast<char>(m_engine() >> 11);
        return data;
    }

private:
    std::mt19937 m_engine;
};

// What the words of a text are taken from: one in `rate` of them from `odd`.
struct Language {
    Words odd;
    unsigned rate = 0;
};

const Language kAscii{};
const Language kWestern{kLatin, 8};

Language mixed(unsigned rate) {
    Language language{kLatin, rate};
    language.odd.insert(language.odd.end(), kSymbols.begin(), kSymbols.end());
    return language;
}

std::string words(Dice& dice, size_t n, const Language& language) {
    std::string text;
    for (size_t i = 0; i < n; ++i) {
        if (i) text += ' ';
        text += language.rate && dice.oneIn(language.rate) ? dice.pick(language.odd)
                                                           : dice.pick(kEnglish);
    }
    return text;
}

// Lines of up to 72 columns or so in paragraphs, some of them quoted; at least `size` bytes.
std::string prose(Dice& dice, size_t size, const Language& language) {
    std::string text;
    while (text.size() < size) {
        const char* const mark = dice.oneIn(4) ? "> " : "";
        for (unsigned lines = dice.between(2, 8); lines; --lines)
            text += mark + words(dice, dice.between(10, 13), language) + "\r\n";
        text += "\r\n";
    }
    return text;
}

std::string html(Dice& dice, size_t size, const Language& language) {
    std::string text =
        "<!DOCTYPE html>\r\n<html><head><meta charset=\"utf-8\"><title>News</title></head>\r\n";
    while (text.size() < size) {
        if (dice.oneIn(3))
            text +=
                "<table width=\"600\" cellpadding=\"0\" border=\"0\" "
                "style=\"border-collapse:collapse;font-family:Arial\"><tr><td align=\"center\">"
                "<a href=\"https://news.example.com/click?id=" +
                dice.token(16) + "&amp;utm_source=mail\">" + words(dice, 4, kAscii) +
                "</a></td></tr></table>\r\n";
        else
            text += "    <p style=\"margin:0 0 12px;color:#333333\">" +
                    words(dice, dice.between(15, 60), language) + "</p>\r\n";
    }
    return text + "</body></html>\r\n";
}

// Lines of characters between `first` and `last` (code points of the basic plane).
std::string eastAsian(Dice& dice, size_t size, const std::vector<unsigned>& alphabet) {
    std::string text;
    while (text.size() < size) {
        for (unsigned n = dice.between(15, 36); n; --n) {
            const unsigned c = dice.pick(alphabet);
            text += static_cast<char>(0xE0 | c >> 12);
            text += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            text += static_cast<char>(0x80 | (c & 0x3F));
        }
        if (dice.oneIn(5)) text += ' ' + words(dice, 2, kAscii);
        text += "\r\n";
    }
    return text;
}

std::vector<unsigned> range(unsigned first, unsigned last) {
    std::vector<unsigned> all;
    for (unsigned c = first; c <= last; ++c) all.push_back(c);
    return all;
}

std::string inCharset(const std::string& utf8, int codePage) {
    DataBuffer out;
    LogNull log;
    EncodingConvert::EncConvert(65001, codePage,
                                reinterpret_cast<const unsigned char*>(utf8.data()),
                                static_cast<unsigned>(utf8.size()), out, log);
    return std::string(reinterpret_cast<const char*>(out.getData2()), out.getSize());
}

// The ideographs that every form of the charset has.
std::vector<unsigned> ideographsOf(int codePage) {
    std::vector<unsigned> found;
    for (unsigned c = 0x4E00; c < 0x6000; ++c) {
        std::string one{static_cast<char>(0xE0 | c >> 12),
                        static_cast<char>(0x80 | (c >> 6 & 0x3F)),
                        static_cast<char>(0x80 | (c & 0x3F))};
        const std::string code = inCharset(one, codePage);
        const auto lead = code.empty() ? 0 : static_cast<unsigned char>(code[0]);
        const bool isCommon =
            codePage == 950 ? lead >= 0xA4 && lead <= 0xC5 : lead >= 0xB0 && lead <= 0xF7;
        if (isCommon && code.size() == 2 && static_cast<unsigned char>(code[1]) >= 0xA1)
            found.push_back(c);
    }
    return found;
}

std::string base64(const std::string& data) {
    StringBuffer text;
    ContentCoding().encodeBase64(data.data(), static_cast<unsigned>(data.size()), text);
    return std::string(text.getString(), text.getSize()) + "\r\n";
}

std::string quotedPrintable(const std::string& data) {
    StringBuffer text;
    ContentCoding().encodeQuotedPrintable(data.data(), static_cast<unsigned>(data.size()), text);
    return std::string(text.getString(), text.getSize());
}

// -- Parts

std::string entity(const std::string& type, const std::string& coding, const std::string& body,
                   const std::string& more = "") {
    return "Content-Type: " + type + "\r\n" +
           (coding.empty() ? "" : "Content-Transfer-Encoding: " + coding + "\r\n") + more + "\r\n" +
           body;
}

std::string textPart(const std::string& text, const std::string& charset, const std::string& coding,
                     const std::string& subtype = "plain") {
    const std::string body = coding == "base64"             ? base64(text)
                             : coding == "quoted-printable" ? quotedPrintable(text)
                                                            : text;
    return entity("text/" + subtype + "; charset=\"" + charset + "\"", coding, body);
}

std::string attachment(Dice& dice, size_t size, const std::string& name,
                       const std::string& type = "application/octet-stream") {
    return entity(type + "; name=\"" + name + "\"", "base64", base64(dice.bytes(size)),
                  "Content-Disposition: attachment;\r\n filename=\"" + name + "\"\r\n");
}

std::string multipart(Dice& dice, const std::string& subtype, const std::vector<std::string>& parts,
                      const std::string& more = "") {
    const std::string boundary = "----=_Part_" + dice.token(20);
    std::string body;
    for (const std::string& part : parts) body += "--" + boundary + "\r\n" + part + "\r\n";
    return entity("multipart/" + subtype + "; boundary=\"" + boundary + "\"" + more, "",
                  body + "--" + boundary + "--\r\n");
}

std::string alternative(Dice& dice, size_t textSize, size_t htmlSize, const std::string& coding) {
    const Language language = mixed(25);
    return multipart(dice, "alternative",
                     {textPart(prose(dice, textSize, language), "utf-8", coding),
                      textPart(html(dice, htmlSize, language), "utf-8", coding, "html")});
}

// -- Whole mails

// The fields of a received mail but for the MIME ones; 20 of them are some 2.2 KB.
std::string headerFields(Dice& dice, size_t fields) {
    const std::string date = "Mon, 3 Mar 2025 10:0" + std::to_string(dice.below(10)) + ":11 +0100";
    std::vector<std::string> all{"Return-Path: <bounce-" + dice.token(6) + "@mail.example.com>",
                                 "Delivered-To: user@example.net"};
    for (int hop = 0; hop < 3; ++hop)
        all.push_back(
            "Received: from mx.example.org (mx.example.org [192.0.2.7])\r\n\tby "
            "in.example.net (8.17/8.17) with ESMTPS id " +
            dice.token(10) + "\r\n\tfor <user@example.net>; " + date);
    all.insert(all.end(),
               {"DKIM-Signature: v=1; a=rsa-sha256; c=relaxed/relaxed; d=example.com;\r\n\ts=s1; "
                "h=from:to:subject:date;\r\n\tbh=" +
                    dice.token(43) + "=;\r\n\tb=" + dice.token(70) + "\r\n\t " + dice.token(70) +
                    "\r\n\t " + dice.token(70),
                "Authentication-Results: in.example.net; dkim=pass header.d=example.com;\r\n\t"
                "spf=pass smtp.mailfrom=bounce@mail.example.com; dmarc=pass",
                "From: \"Anna Smith\" <anna@example.com>",
                "To: User Name <user@example.net>,\r\n\tOther Person <other@example.org>",
                "Subject: " + (dice.oneIn(3) ? "=?utf-8?Q?Gr=C3=BC=C3=9Fe_" + dice.token(9) + "?="
                                             : words(dice, 6, kAscii)),
                "Date: " + date, "Message-ID: <" + dice.token(24) + "@mail.example.com>",
                "In-Reply-To: <" + dice.token(20) + "@example.net>",
                "References: <" + dice.token(20) + "@example.net>\r\n\t<" + dice.token(20) +
                    "@example.net>",
                "List-Unsubscribe: <https://example.com/u/" + dice.token(30) + ">",
                "Reply-To: list@example.com", "X-Mailer: Example Mailer 4.2",
                "X-Spam-Status: No, score=-2.1 required=5.0 tests=DKIM_SIGNED,DKIM_VALID,\r\n\t"
                "HTML_MESSAGE,SPF_PASS autolearn=ham",
                "X-Priority: 3"});
    while (all.size() < fields)
        all.push_back("X-Extra-" + std::to_string(all.size()) + ": " +
                      dice.token(dice.between(10, 60)));
    std::string text;
    for (const std::string& field : all) text += field + "\r\n";
    return text;
}

std::string mail(Dice& dice, const std::string& entity, size_t fields = 20) {
    return headerFields(dice, fields) + "MIME-Version: 1.0\r\n" + entity;
}

std::string nestedForwards(Dice& dice, unsigned depth) {
    if (depth == 0) return textPart(prose(dice, 300, kAscii), "us-ascii", "7bit");
    std::string inner = nestedForwards(dice, depth - 1);
    if (depth % 3 == 0) inner = entity("message/rfc822", "", mail(dice, inner, 8));
    return multipart(dice, "mixed",
                     {textPart(prose(dice, 400, kWestern), "utf-8", "quoted-printable"), inner});
}

std::string digest(Dice& dice) {
    std::vector<std::string> posts;
    for (int i = 0; i < 2000; ++i)
        posts.push_back("\r\nFrom: user@example.com\r\nSubject: " + words(dice, 5, kAscii) +
                        "\r\nDate: Mon, 3 Mar 2025 10:00:00 +0100\r\nMessage-ID: <" +
                        dice.token(20) + "@example.com>\r\n\r\n" + prose(dice, 120, kAscii));
    return multipart(dice, "digest", posts);
}

std::string manyParts(Dice& dice, size_t n) {
    std::vector<std::string> parts;
    const std::string latin = inCharset(prose(dice, 180, kWestern), 28591);
    for (size_t i = 0; i < n; ++i) {
        if (i % 4 == 3) parts.push_back(attachment(dice, 150, "file" + std::to_string(i) + ".bin"));
        else if (i % 4 == 2) parts.push_back(textPart(latin, "iso-8859-1", "quoted-printable"));
        else parts.push_back(textPart(prose(dice, 220, kAscii), "us-ascii", "7bit"));
    }
    return multipart(dice, "mixed", parts);
}

// A mail as an archive has them: 2 to 60 KB, texts, newsletters, attachments, forwards.
std::string ordinaryMail(Dice& dice) {
    const size_t size = std::min(56000u, 700u << dice.below(7)) + dice.below(4000);
    const unsigned kind = dice.below(20);
    if (kind < 4) return mail(dice, textPart(prose(dice, size / 3, kAscii), "us-ascii", "7bit"));
    if (kind < 6) return mail(dice, textPart(prose(dice, size / 2, mixed(30)), "utf-8", "8bit"));
    if (kind < 7)
        return mail(dice, textPart(inCharset(prose(dice, size / 2, kWestern), 28591), "iso-8859-1",
                                   "quoted-printable"));
    if (kind < 14) return mail(dice, alternative(dice, size / 5, size, "quoted-printable"));
    if (kind < 16) return mail(dice, alternative(dice, size / 5, size, "base64"));
    if (kind < 17)
        return mail(dice, textPart(html(dice, size, mixed(30)), "utf-8", "8bit", "html"));
    const std::string first = alternative(dice, size / 20, size / 5, "quoted-printable");
    const std::string second =
        kind < 19 ? attachment(dice, size * 2 / 3, "document.pdf", "application/pdf")
                  : entity("message/rfc822", "", mail(dice, first));
    return mail(dice, multipart(dice, "mixed", {first, second}));
}

std::string plainMail(Dice& dice, size_t size, const Language& language, int codePage,
                      const char* charset, const char* coding) {
    const std::string text = prose(dice, size, language);
    return mail(dice, textPart(codePage ? inCharset(text, codePage) : text, charset, coding));
}

std::string eastAsianMail(Dice& dice, const std::vector<unsigned>& alphabet, int codePage,
                          const char* charset, const char* coding) {
    const std::string text = inCharset(eastAsian(dice, 300000, alphabet), codePage);
    return mail(dice, textPart(text, charset, coding));
}

std::vector<unsigned> japanese() {
    std::vector<unsigned> all = range(0x3042, 0x3093);
    const std::vector<unsigned> katakana = range(0x30A2, 0x30F3);
    all.insert(all.end(), katakana.begin(), katakana.end());
    for (const unsigned c :
         {0x65E5u, 0x672Cu, 0x8A9Eu, 0x4F1Au, 0x793Eu, 0x6771u, 0x4EACu, 0x96FBu, 0x8A71u, 0x9023u,
          0x7D61u, 0x5148u, 0x8CC7u, 0x6599u, 0x78BAu, 0x8A8Du})
        all.push_back(c);
    return all;
}

struct Kind {
    const char* name;
    const char* what;
    std::string (*make)(Dice&);
};

constexpr unsigned kFolderMails = 5000;

const Kind kKinds[] = {
    {"folder", "5,000 mixed mails, 16 KB on average", ordinaryMail},
    {"small_plain", "3 KB, 26 fields, ASCII text",
     [](Dice& d) { return mail(d, textPart(prose(d, 700, kAscii), "us-ascii", "7bit"), 23); }},
    {"many_fields", "512 fields",
     [](Dice& d) { return mail(d, textPart(prose(d, 500, kAscii), "us-ascii", "7bit"), 509); }},
    {"many_parts", "2,000 small parts", [](Dice& d) { return mail(d, manyParts(d, 2000)); }},
    {"forward_nested", "forwards in forwards, 12 levels",
     [](Dice& d) { return mail(d, nestedForwards(d, 12)); }},
    {"digest", "2,000 messages in a digest", [](Dice& d) { return mail(d, digest(d)); }},
    {"signed", "multipart/signed around a newsletter",
     [](Dice& d) {
         return mail(d, multipart(d, "signed",
                                  {alternative(d, 4000, 16000, "quoted-printable"),
                                   attachment(d, 4500, "smime.p7s", "application/pkcs7-signature")},
                                  "; protocol=\"application/pkcs7-signature\"; micalg=sha-256"));
     }},
    {"newsletter", "text and HTML, quoted-printable UTF-8",
     [](Dice& d) { return mail(d, alternative(d, 20000, 85000, "quoted-printable")); }},
    {"latin1_qp", "ISO-8859-1, quoted-printable",
     [](Dice& d) {
         return plainMail(d, 100000, kWestern, 28591, "iso-8859-1", "quoted-printable");
     }},
    {"gb2312_qp", "GB2312, quoted-printable",
     [](Dice& d) {
         return eastAsianMail(d, ideographsOf(936), 936, "gb2312", "quoted-printable");
     }},
    {"sjis_b64", "Shift_JIS, base64",
     [](Dice& d) { return eastAsianMail(d, japanese(), 932, "shift_jis", "base64"); }},
    {"iso2022jp_b64", "ISO-2022-JP, base64",
     [](Dice& d) { return eastAsianMail(d, japanese(), 50220, "iso-2022-jp", "base64"); }},
    {"attach_10m", "10 MB attachment",
     [](Dice& d) {
         return mail(d, multipart(d, "mixed",
                                  {textPart(prose(d, 600, kAscii), "us-ascii", "7bit"),
                                   attachment(d, 10000000, "archive.zip", "application/zip")}));
     }},
    {"list_8bit", "38 KB of 8-bit UTF-8",
     [](Dice& d) { return plainMail(d, 38000, mixed(20), 0, "utf-8", "8bit"); }},
};

struct Growing {
    const char* name;
    std::string (*make)(size_t n);
};

std::string deepMail(size_t levels) {
    std::string head = "Content-Type: multipart/mixed; boundary=b0\r\n\r\n", tail;
    for (size_t i = 0; i < levels; ++i) {
        const std::string outer = "b" + std::to_string(i), inner = "b" + std::to_string(i + 1);
        head += "--" + outer + "\r\nContent-Type: multipart/mixed; boundary=" + inner + "\r\n\r\n";
    }
    head += "text\r\n";
    for (size_t i = levels + 1; i-- > 0;) tail += "--b" + std::to_string(i) + "--\r\n";
    return head + tail;
}

std::string addressMail(size_t n) {
    std::string text = "To: ";
    for (size_t i = 0; i < n; ++i)
        text += (i ? ",\r\n " : "") + ("Person " + std::to_string(i)) + " <p" + std::to_string(i) +
                "@example.org>";
    return text + "\r\n\r\ntext\r\n";
}

const Growing kGrowing[] = {
    {"bytes",
     [](size_t n) {
         Dice dice("bytes");
         return mail(dice, multipart(dice, "mixed", {attachment(dice, n * 3 / 4, "a.bin")}));
     }},
    {"parts",
     [](size_t n) {
         Dice dice("parts");
         return mail(dice, manyParts(dice, n));
     }},
    {"depth", deepMail},
    {"fields",
     [](size_t n) {
         Dice dice("fields");
         return mail(dice, textPart("text\r\n", "us-ascii", "7bit"), n);
     }},
    {"addresses", addressMail},
};

}  // namespace

size_t Workload::size() const {
    size_t sum = 0;
    for (const std::string& one : mails) sum += one.size();
    return sum;
}

std::vector<std::string> workloadNames() {
    std::vector<std::string> names;
    for (const Kind& kind : kKinds) names.emplace_back(kind.name);
    return names;
}

Workload makeWorkload(const std::string& name) {
    const Kind& kind = *std::find_if(std::begin(kKinds), std::end(kKinds),
                                     [&](const Kind& k) { return name == k.name; });
    Workload workload{kind.name, kind.what, {}};
    Dice dice(name);
    for (unsigned n = kind.make == ordinaryMail ? kFolderMails : 1; n; --n)
        workload.mails.push_back(kind.make(dice));
    return workload;
}

std::string makeCodecText(const std::string& name) {
    constexpr size_t kSize = 1 << 20;
    Dice dice(name);
    if (name == "random") return dice.bytes(kSize);
    if (name == "western") return prose(dice, kSize, mixed(12));
    if (name == "iso-8859-1") return inCharset(prose(dice, kSize, kWestern), 28591);
    if (name == "windows-1252") {
        Language language = mixed(10);
        language.odd.pop_back();  // the last ones are not in that charset
        language.odd.pop_back();
        return inCharset(prose(dice, kSize, language), 1252);
    }
    if (name == "utf-16le") return inCharset(prose(dice, kSize, mixed(12)), 1200);
    if (name == "gb2312") return inCharset(eastAsian(dice, kSize, ideographsOf(936)), 936);
    if (name == "big5") return inCharset(eastAsian(dice, kSize, ideographsOf(950)), 950);
    if (name == "euc-kr") return inCharset(eastAsian(dice, kSize, ideographsOf(949)), 949);
    return inCharset(eastAsian(dice, kSize, japanese()), name == "shift_jis" ? 932 : 51932);
}

std::vector<std::string> growthNames() {
    std::vector<std::string> names;
    for (const Growing& growing : kGrowing) names.emplace_back(growing.name);
    return names;
}

std::string makeGrowing(const std::string& name, size_t n) {
    for (const Growing& growing : kGrowing)
        if (name == growing.name) return growing.make(n);
    return {};
}
