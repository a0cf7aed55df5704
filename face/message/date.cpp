// SPDX-License-Identifier: Apache-2.0
// Reads "Mon, 31 Dec 2001 23:59:60 +0100 (CET)": Message::date().

#include "face/message/date.h"

#include "face/message/tree.h"
#include "foundation/bytes/bytes.h"

namespace mimetree {

namespace inner {

namespace {

using namespace std::chrono;
using Token = std::string_view;

constexpr std::string_view kBlanks = " \t\r\n,";

// The words, numbers and colons of a text one after the other; without blanks, commas and
// comments, which nest.  Empty at the end.
class Tokens {
public:
    explicit Tokens(std::string_view text) : m_rest(text) { skip(); }

    Token peek() const {
        const size_t end =
            m_rest.starts_with(':') || m_rest.empty() ? 1 : m_rest.find_first_of(" \t\r\n,(:+-", 1);
        return m_rest.substr(0, end);
    }

    Token take() {
        const Token token = peek();
        m_rest.remove_prefix(token.size());
        skip();
        return token;
    }

private:
    void skip() {
        unsigned comments = 0;
        for (; !m_rest.empty(); m_rest.remove_prefix(1)) {
            const char c = m_rest.front();
            if (c == '(') ++comments;
            else if (c == ')' && comments > 0) --comments;
            else if (c == '\\' && comments > 0 && m_rest.size() > 1) m_rest.remove_prefix(1);
            else if (comments == 0 && kBlanks.find(c) == Token::npos) return;
        }
    }

    std::string_view m_rest;
};

// The index in a list of words of `size` letters; -1 when it is not there.
int indexIn(std::string_view list, size_t size, Token word) {
    if (word.size() != size) return -1;
    for (size_t i = 0; i < list.size(); i += size)
        if (bytes::equalIgnoreCase(list.data() + i, word.data(), size))
            return static_cast<int>(i / size);
    return -1;
}

// -1 unless the token has that many digits and nothing else.
int numberOf(Token token, size_t least, size_t most) {
    if (token.size() < least || token.size() > most) return -1;
    int number = 0;
    for (const char c : token) {
        if (!bytes::isDigit(c)) return -1;
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

struct Zone {
    minutes offset{};
    bool isKnown = true;
};

std::optional<Zone> numericZone(Token zone) {
    const int digits = numberOf(zone.substr(1), 4, 4);
    if (digits < 0 || digits % 100 > 59) return std::nullopt;
    const minutes offset = hours(digits / 100) + minutes(digits % 100);
    if (zone[0] == '-') return Zone{-offset, digits != 0};  // RFC 5322 3.3: "-0000"
    return Zone{offset};
}

// RFC 5322 4.3: zones with names; those not known, and the military ones, which were wrong in
// RFC 822, say no more than "-0000".
std::optional<Zone> zoneOf(Token zone) {
    if (zone.empty()) return Zone{{}, false};  // Tolerated: none at all
    if (zone[0] == '+' || zone[0] == '-') return numericZone(zone);
    const int american = indexIn("EDTESTCDTCSTMDTMSTPDTPST", 3, zone);
    if (american >= 0) return Zone{-hours(4 + (american + 1) / 2)};
    for (const char c : zone)
        if (bytes::lower(c) < 'a' || bytes::lower(c) > 'z') return std::nullopt;
    return Zone{{}, indexIn("UT", 2, zone) == 0 || indexIn("GMTUTC", 3, zone) >= 0};
}

// -1 unless a colon and two digits come next.
int takeMinutes(Tokens& tokens) {
    return tokens.take() == ":" ? numberOf(tokens.take(), 2, 2) : -1;
}

bool isWithin(int value, int last) { return value >= 0 && value <= last; }

}  // namespace

std::optional<Date> parseDate(std::string_view text) {
    Tokens tokens(text);
    if (indexIn("MonTueWedThuFriSatSun", 3, tokens.peek()) >= 0) tokens.take();
    const int dayOfMonth = numberOf(tokens.take(), 1, 2);
    const int monthOfYear = 1 + indexIn("JanFebMarAprMayJunJulAugSepOctNovDec", 3, tokens.take());
    const int yearNumber = yearOf(tokens.take());
    const int hour = numberOf(tokens.take(), 1, 2);
    const int minute = takeMinutes(tokens);
    const int second = tokens.peek() == ":" ? takeMinutes(tokens) : 0;
    const std::optional<Zone> zone = zoneOf(tokens.take());
    const year_month_day date{year(yearNumber), month(static_cast<unsigned>(monthOfYear)),
                              day(static_cast<unsigned>(dayOfMonth))};
    const bool isTime = isWithin(hour, 23) && isWithin(minute, 59) && isWithin(second, 60);
    if (yearNumber < 0 || !date.ok() || !isTime || !zone || !tokens.peek().empty())
        return std::nullopt;
    return Date{sys_days(date) + hours(hour) + minutes(minute) + seconds(second) - zone->offset,
                zone->offset, zone->isKnown};
}

}  // namespace inner

std::optional<Date> Message::date() const noexcept {
    return inner::parseDate(header("Date").value_or(std::string_view()));
}

}  // namespace mimetree
