// SPDX-License-Identifier: Apache-2.0

// Looks for input that costs more than linear time: a mail of a prefix, one or two units of
// one to four words repeated, and a suffix, timed at n and 4 n through everything that reads or
// writes mail. What seems to grow faster is timed again, longer and larger, before it is told.
// usage: linear SECONDS [SEED]     (status 1 when something was found)

#include <algorithm>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

#include "foundation/LogNull.h"
#include "foundation/_zqEmailAddress.h"
#include "laws.h"
#include "mail_words.h"

namespace {

// Limit: how many times more than linear the time at 4 n may be.
constexpr double kAllowed = 1.5;

std::mt19937 g_random;

unsigned below(unsigned n) { return static_cast<unsigned>(g_random() % n); }

// A unit that is repeated.  In a numbered one "%" becomes the number of the repetition, and "#" a
// run of "x" that changes its length with it.
struct Unit {
    std::string text;
    bool isNumbered = false;

    void repeat(size_t size, std::string& out) const {
        for (unsigned i = 0; out.size() < size; ++i) {
            if (!isNumbered) out += text;
            else
                for (const char c : text)
                    if (c == '%') out += std::to_string(i);
                    else if (c == '#') out.append(i % 7, 'x');
                    else out += c;
        }
    }
};

// The second unit follows where the first has filled half of the text.
struct Template {
    std::string prefix;
    Unit first, second;
    std::string suffix;

    std::string text(size_t size) const {
        std::string out = prefix;
        first.repeat(second.text.empty() ? size : size / 2, out);
        if (!second.text.empty()) second.repeat(size, out);
        return out + suffix;
    }
};

std::string words(unsigned most) {
    std::string text;
    for (unsigned n = below(most + 1); n; --n)
        text += kMailWords[below(static_cast<unsigned>(std::size(kMailWords)))];
    return text;
}

const char* const kPrefixes[] = {
    "",
    "To: ",
    "Subject: ",
    "Content-Type: text/plain; name=",
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n",
    "Content-Type: multipart/mixed; boundary=\"=_alternative\"\r\n\r\n--=_alternative\r\n",
    "Content-Type: multipart/signed; boundary=b\r\n\r\n--b\r\n",
    "Content-Type: text/html\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n",
    "Content-Type: text/plain; charset=iso-2022-jp\r\n\r\n",
    "Content-Transfer-Encoding: base64\r\n\r\n",
    "Content-Transfer-Encoding: x-uuencode\r\n\r\nbegin 644 a\r\n",
    "Content-Disposition: attachment; filename=",
    "Content-Disposition: attachment; ",
    "<mime_message><header><Subject>",
    "<mime_message><header>",
    "<mime_message><body>",
    "A: 1\r\nB: 2\r\n\r\n"};

const char* const kNumberedUnits[] = {
    "Content-Type: multipart/mixed; boundary=b%#\r\n\r\n--b%#\r\n",
    "--b%#--\r\n",
    "Content-Type: multipart/mixed; boundary=b%\r\n\r\n--b%\r\n",
    "Content-Type: multipart/signed; boundary=\"b%\"\r\n\r\n--b%\r\n",
    "Content-Type: multipart/encrypted; boundary=e\r\n\r\n--e\r\n",
    "X-%: y\r\n",
    "; n*%*=a",
    "--b\r\nContent-Type: text/plain; name=f%\r\n\r\nx\r\n",
    "<a%>"};

Unit randomUnit() {
    Unit unit;
    unit.isNumbered = below(3) == 0;
    if (unit.isNumbered)
        unit.text = kNumberedUnits[below(static_cast<unsigned>(std::size(kNumberedUnits)))];
    if (!unit.isNumbered || below(2)) unit.text += words(4);
    if (unit.text.empty()) unit.text = "-";
    return unit;
}

Template randomTemplate() {
    Template made;
    made.prefix = kPrefixes[below(static_cast<unsigned>(std::size(kPrefixes)))] + words(1);
    made.first = randomUnit();
    if (below(2)) made.second = randomUnit();
    made.suffix = words(2);
    return made;
}

struct Operation {
    const char* name;
    void (*run)(const std::string& text);
};

void xmlIn(const std::string& text) {
    LogNull log;
    StringBuffer xml;
    xml.appendN(text.data(), static_cast<unsigned>(text.size()));
    VantrelObject::deleteObject(MimeMessage2::createMimeFromXml(xml, "mime_message", false, log));
}

void viaXml(const std::string& text) {
    MimeMessage2 message;
    load(message, text, /*asText*/ false);
    LogNull log;
    StringBuffer xml;
    message.getMimeXml(xml, log);
    xmlIn(bytesOf(xml));
}

void set(const std::string& text) {
    LogNull log;
    MimeMessage2 message;
    for (const char* name : {"Subject", "To", "Content-Type", "Content-Disposition", "X"})
        message.addReplaceHeaderFieldUtf8(name, text.c_str(), log);
    message.setNameUtf8(text.c_str(), log);
    message.setFilenameUtf8(text.c_str(), log);
    message.setBoundary(text.c_str(), log);
    written(message);
}

void change(const std::string& text) {
    LogNull log;
    MimeMessage2 message;
    load(message, text, /*asText*/ true);
    message.makeBinarySafeForString();
    message.restoreBinarySafeForString();
    message.convert8Bit(log);
    message.makeAttachmentFilenamesRelative(log);
    message.collapseMultiple("X", log);
    message.moveHeaderToBottom("To", log);
    message.uuDecodeAttachment(log);
    VantrelObject::deleteObject(message.cloneMimeMessage(nullptr));
}

const Operation kOperations[] = {
    {"load",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, false);
     }},
    {"load as text",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, true);
     }},
    {"read",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, false);
         readAll(m);
     }},
    {"write",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, false);
         written(m);
     }},
    {"set", set},
    {"change", change},
    {"from XML", xmlIn},
    {"through XML", viaXml},
    {"addresses",
     [](const std::string& text) {
         LogNull log;
         ExtPtrArray list;
         _zqEmailAddress::parseAndLoadList(text.c_str(), list, 0, log);
     }},
};

double seconds(const Operation& operation, const std::string& text, int rounds) {
    double least = 1e9;
    for (; rounds; --rounds) {
        const std::clock_t start = std::clock();
        operation.run(text);
        least = std::min(least, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
}

// How many times more than linear the time grows from n to 4 n; 0 when both are too short to say.
double growth(const Operation& operation, const Template& made, size_t n, int rounds) {
    const double large = seconds(operation, made.text(4 * n), rounds);
    if (large < 0.004) return 0;
    return large / (4 * seconds(operation, made.text(n), rounds) + 0.0005);
}

std::string shown(const std::string& text) {
    std::string out;
    for (const char c : text) {
        char code[8];
        std::snprintf(code, sizeof code, c < 0x20 || c == 0x7F ? "\\x%02X" : "%c",
                      static_cast<unsigned char>(c));
        out += code;
    }
    return out;
}

// Nested units take more from one level to the next than the caches hold; that is no fault.
bool isFound(const Operation& operation, const Template& made) {
    constexpr size_t kSmall = 64000;
    return growth(operation, made, kSmall, 1) > kAllowed &&
           growth(operation, made, kSmall, 3) > kAllowed &&
           growth(operation, made, 4 * kSmall, 3) > kAllowed;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: linear SECONDS [SEED]\n", stderr);
        return 2;
    }
    g_random.seed(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1);
    const std::time_t end = std::time(nullptr) + std::atoi(argv[1]);
    unsigned tried = 0, found = 0;
    for (; std::time(nullptr) < end; ++tried) {
        const Template made = randomTemplate();
        for (const Operation& operation : kOperations) {
            if (!isFound(operation, made)) continue;
            ++found;
            std::printf("%s: %.1f x linear: %s | %s | %s | %s\n", operation.name,
                        growth(operation, made, 64000, 1), shown(made.prefix).c_str(),
                        shown(made.first.text).c_str(), shown(made.second.text).c_str(),
                        shown(made.suffix).c_str());
            std::fflush(stdout);
        }
    }
    std::printf("%u templates, %u found\n", tried, found);
    return found != 0;
}
