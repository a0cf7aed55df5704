// SPDX-License-Identifier: Apache-2.0
// Reads "Mon, 31 Dec 2001 23:59:60 +0100 (CET)".  extract.cpp dates files with it.

#include "cli/mail_date.h"

#include <strings.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

using Token = std::string_view;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The words, numbers and colons; without blanks, commas and comments, which nest.
std::vector<Token> tokensOf(std::string_view text) {
    std::vector<Token> tokens;
    unsigned comments = 0;
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (comments > 0 && c == '\\') {
            at += 2;
        } else if (c == '(' || (c == ')' && comments > 0)) {
            c == '(' ? ++comments : --comments;
            ++at;
        } else if (comments > 0 || std::string_view(" \t\r\n,").find(c) != Token::npos) {
            ++at;
        } else {
            const size_t end = c == ':' ? at + 1 : text.find_first_of(" \t\r\n,(:", at);
            tokens.push_back(text.substr(at, end == Token::npos ? end : end - at));
            at += tokens.back().size();
        }
    }
    return tokens;
}

// The index in a list of words of `size` letters; -1 when it is not there.
int indexIn(std::string_view list, size_t size, Token word) {
    if (word.size() != size) return -1;
    for (size_t i = 0; i < list.size(); i += size)
        if (strncasecmp(list.data() + i, word.data(), size) == 0) return static_cast<int>(i / size);
    return -1;
}

// -1 unless the token has that many digits and nothing else.
int numberOf(Token token, size_t least, size_t most) {
    if (token.size() < least || token.size() > most) return -1;
    int number = 0;
    for (const char c : token) {
        if (!isDigit(c)) return -1;
        number = 10 * number + (c - '0');
    }
    return number;
}

// RFC 5322 4.3: years of two and three digits.
int yearOf(Token token) {
    const int year = numberOf(token, 2, 4);
    if (year < 0 || token.size() == 4) return year;
    return token.size() == 2 && year < 50 ? 2000 + year : 1900 + year;
}

// RFC 5322 4.3: zones with names; those not known, and the military ones, which were wrong in
// RFC 822, count as UTC.
std::optional<int> zoneMinutes(Token zone) {
    if (zone.size() == 5 && (zone[0] == '+' || zone[0] == '-')) {
        const int digits = numberOf(zone.substr(1), 4, 4);
        if (digits < 0 || digits % 100 > 59) return std::nullopt;
        const int minutes = digits / 100 * 60 + digits % 100;
        return zone[0] == '-' ? -minutes : minutes;
    }
    const int american = indexIn("EDTESTCDTCSTMDTMSTPDTPST", 3, zone);
    if (american >= 0) return -60 * (4 + (american + 1) / 2);
    for (const char c : zone)
        if ((c | 0x20) < 'a' || (c | 0x20) > 'z') return std::nullopt;
    return 0;
}

class DateReader {
public:
    explicit DateReader(std::string_view text) : m_tokens(tokensOf(text)) {}

    std::optional<std::time_t> read() {
        if (indexIn("MonTueWedThuFriSatSun", 3, peek()) >= 0) ++m_next;
        using namespace std::chrono;
        const int dayOfMonth = numberOf(take(), 1, 2);
        const int monthOfYear = 1 + indexIn("JanFebMarAprMayJunJulAugSepOctNovDec", 3, take());
        const year_month_day date(year(yearOf(take())), month(static_cast<unsigned>(monthOfYear)),
                                  day(static_cast<unsigned>(dayOfMonth)));
        const int hour = numberOf(take(), 1, 2);
        const int minute = takeColonAnd2Digits();
        const int second = peek() == ":" ? takeColonAnd2Digits() : 0;
        const std::optional<int> zone = peek().empty() ? std::nullopt : zoneMinutes(take());
        if (date.year() < year(0) || !date.ok() || hour < 0 || hour > 23 || minute < 0 ||
            minute > 59 || second < 0 || second > 60 || !zone || !peek().empty())
            return std::nullopt;
        return sys_days(date).time_since_epoch().count() * std::time_t(86400) + hour * 3600 +
               (minute - *zone) * 60 + second;
    }

private:
    Token peek() const { return m_next < m_tokens.size() ? m_tokens[m_next] : Token(); }

    Token take() {
        const Token token = peek();
        ++m_next;
        return token;
    }

    int takeColonAnd2Digits() { return take() == ":" ? numberOf(take(), 2, 2) : -1; }

    const std::vector<Token> m_tokens;
    size_t m_next = 0;
};

}  // namespace

std::optional<std::time_t> parseMailDate(std::string_view text) { return DateReader(text).read(); }
