// SPDX-License-Identifier: Apache-2.0

// Looks for input that costs more than linear time: a mail of a prefix, one or two units of
// one to four words repeated, and a suffix, timed at n and 4 n through everything that reads,
// changes or writes mail (operations.cpp) and the program's commands. What seems to grow faster is
// timed again, longer and larger, before it is told. usage: linear SECONDS [SEED]     (status 1
// when something was found)

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "mail_words.h"
#include "operations.h"

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

template <size_t N>
const char* oneOf(const char* const (&list)[N]) {
    return list[below(static_cast<unsigned>(N))];
}

enum class Kind { Mail, Xml };

std::string words(Kind kind, unsigned most) {
    std::string text;
    for (unsigned n = below(most + 1); n; --n)
        text += kind == Kind::Xml && below(2) ? oneOf(kXmlWords) : oneOf(kMailWords);
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

Unit randomUnit(Kind kind) {
    Unit unit;
    unit.isNumbered = below(3) == 0;
    if (unit.isNumbered) unit.text = oneOf(kNumberedUnits);
    if (!unit.isNumbered || below(2)) unit.text += words(kind, 4);
    if (unit.text.empty()) unit.text = "-";
    return unit;
}

Template randomTemplate() {
    Template made;
    made.prefix = oneOf(kPrefixes);
    const Kind kind = made.prefix.rfind('<', 0) == 0 ? Kind::Xml : Kind::Mail;
    made.prefix += words(kind, 1);
    made.first = randomUnit(kind);
    if (below(2)) made.second = randomUnit(kind);
    made.suffix = words(kind, 2);
    return made;
}

double seconds(const Operation& operation, const std::string& text, int rounds) {
    double least = 1e9;
    for (; rounds; --rounds) {
        const std::clock_t start = std::clock();
        operation.run(text);
        least = std::min(least, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
}

struct Trial {
    std::string small, large;

    Trial(const Template& made, size_t n) : small(made.text(n)), large(made.text(4 * n)) {}

    // How many times more than linear the time grows; 0 when both are too short to say.
    double growth(const Operation& operation, int rounds) const {
        const double most = seconds(operation, large, rounds);
        if (most < 0.002) return 0;
        return most / (4 * seconds(operation, small, rounds) + 0.0005);
    }
};

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

class Search {
public:
    explicit Search(std::FILE* report) : m_report(report) {}

    void tryTemplate(const Template& made) {
        ++m_tried;
        const Trial trial(made, kSmall);
        for (const auto* list : {&kOperations, &kCommandOperations})
            for (const Operation& operation : *list)
                if (isSuspect(operation, trial)) confirm(operation, made);
    }

    unsigned finish() const {
        std::fprintf(m_report, "%u templates, %u found\n", m_tried, m_found);
        return m_found;
    }

private:
    static constexpr size_t kSmall = 128000;

    static bool isSuspect(const Operation& operation, const Trial& trial) {
        return trial.growth(operation, 1) > kAllowed && trial.growth(operation, 3) > kAllowed;
    }

    // Nested units take more from one level to the next than the caches hold; that is no fault.
    // Nor is what a busy machine takes now and then.
    void confirm(const Operation& operation, const Template& made) {
        const Trial trial(made, 4 * kSmall);
        double growth = 1e9;
        for (int times = 5; times && growth > kAllowed; --times)
            growth = std::min(growth, trial.growth(operation, 3));
        if (growth <= kAllowed) return;
        ++m_found;
        std::fprintf(m_report, "%s: %.1f x linear: %s | %s | %s | %s\n", operation.name, growth,
                     shown(made.prefix).c_str(), shown(made.first.text).c_str(),
                     shown(made.second.text).c_str(), shown(made.suffix).c_str());
        std::fflush(m_report);
    }

    std::FILE* const m_report;
    unsigned m_tried = 0, m_found = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: linear SECONDS [SEED]\n", stderr);
        return 2;
    }
    // What is given back to the system and asked for again is paid for by the page.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
    g_random.seed(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1);
    Search search(fdopen(dup(STDOUT_FILENO), "w"));
    silenceCommands();
    const std::time_t end = std::time(nullptr) + std::atoi(argv[1]);
    while (std::time(nullptr) < end) search.tryTemplate(randomTemplate());
    return search.finish() != 0;
}
