// SPDX-License-Identifier: Apache-2.0
// Reads "Mon, 31 Dec 2001 23:59:60 +0100 (CET)": Message::date().

#include "face/message/date.h"

#include <algorithm>

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

    Token take() { return takeFirst(peek().size()); }
    // Up to a blank, comma or comment.
    Token takeWord() { return takeFirst(m_rest.find_first_of(" \t\r\n,(")); }

private:
    Token takeFirst(size_t size) {
        const Token token = m_rest.substr(0, size);
        m_rest.remove_prefix(token.size());
        skip();
        return token;
    }

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
    if (zone.empty()) return std::nullopt;
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

int monthOf(Token name) { return 1 + indexIn(kMonths, 3, name); }

struct Pieces {
    int year = -1, month = 0, day = -1;
    int hour = -1, minute = -1, second = 0;
    std::optional<Zone> zone;
};

std::optional<Date> dateOf(const Pieces& p) {
    const year_month_day date{year(p.year), month(static_cast<unsigned>(p.month)),
                              day(static_cast<unsigned>(p.day))};
    const bool isTime = isWithin(p.hour, 23) && isWithin(p.minute, 59) && isWithin(p.second, 60);
    if (p.year < 0 || !date.ok() || !isTime || !p.zone) return std::nullopt;
    const auto time = hours(p.hour) + minutes(p.minute) + seconds(p.second) - p.zone->offset;
    return Date{sys_days(date) + time, p.zone->offset, p.zone->isKnown};
}

// -- Tolerated: other forms

// Takes the digits in front off the word; -1, and nothing is taken, unless there are so many.
int takeDigits(Token& word, size_t least, size_t most) {
    const size_t size = std::min(word.find_first_not_of("0123456789"), word.size());
    const int number = numberOf(word.substr(0, size), least, most);
    if (number >= 0) word.remove_prefix(size);
    return number;
}

bool takeOneOf(Token& word, std::string_view set) {
    const bool isThere = !word.empty() && set.find(word.front()) != Token::npos;
    if (isThere) word.remove_prefix(1);
    return isThere;
}

// "+0100", "+01:00", "+1", "GMT+1", and "Z" (ISO 8601).
std::optional<Zone> anyZoneOf(Token zone) {
    if (zone == "Z") return Zone{};
    const size_t sign = zone.find_first_of("+-");
    if (sign == Token::npos) return zoneOf(zone);
    const bool isWest = zone[sign] == '-';
    zone.remove_prefix(sign + 1);
    const int whole = zone.size() == 4 ? takeDigits(zone, 2, 4) : -1;
    const int hour = whole >= 0 ? whole / 100 : takeDigits(zone, 1, 2);
    const int minute = takeOneOf(zone, ":") ? takeDigits(zone, 2, 2) : std::max(whole, 0) % 100;
    if (!isWithin(hour, 23) || !isWithin(minute, 59) || !zone.empty()) return std::nullopt;
    const minutes offset(60 * hour + minute);
    return Zone{isWest ? -offset : offset, !isWest || offset != minutes(0)};
}

// The words of a date in any order, each taken for what it looks like.
class AnyDate {
public:
    std::optional<Date> read(std::string_view text) {
        Tokens words(text);
        for (Token word; !(word = words.takeWord()).empty();)
            if (!takeDate(word) && !takeTime(word) && !takeName(word) && !takeNumber(word) &&
                !takeZone(word))
                return std::nullopt;
        if (!m_date.zone) m_date.zone = Zone{{}, false};
        return dateOf(m_date);
    }

private:
    // ISO 8601: "1994-11-06", and behind "T" the time; RFC 850: "06-Nov-1994".
    bool takeDate(Token word) {
        const bool isYearFirst = word.find('-') == 4;
        const int first = takeDigits(word, 1, 4);
        if (m_date.day >= 0 || first < 0 || !takeOneOf(word, "-")) return false;
        const Token middle = word.substr(0, word.find('-'));
        const int month = isYearFirst ? numberOf(middle, 2, 2) : monthOf(middle);
        word.remove_prefix(middle.size());
        if (month <= 0 || !takeOneOf(word, "-")) return false;
        const Token last = word.substr(0, word.find_first_not_of("0123456789"));
        word.remove_prefix(last.size());
        m_date.year = isYearFirst ? first : yearOf(last);
        m_date.month = month;
        m_date.day = isYearFirst ? numberOf(last, 2, 2) : first;
        return word.empty() || (isYearFirst && takeOneOf(word, "Tt") && takeTime(word));
    }

    // "8:49", "08:49:37.25", "08.49.37", and the zone behind it.
    bool takeTime(Token word) {
        const int hour = takeDigits(word, 1, 2);
        if (m_date.hour >= 0 || hour < 0 || !takeOneOf(word, ":.")) return false;
        m_date.hour = hour;
        m_date.minute = takeDigits(word, 2, 2);
        if (takeOneOf(word, ":.")) m_date.second = takeDigits(word, 2, 2);
        if (takeOneOf(word, ".,"))
            word.remove_prefix(std::min(word.find_first_not_of("0123456789"), word.size()));
        return word.empty() || takeZone(word);
    }

    // A weekday or month, in full or not.
    bool takeName(Token word) {
        const bool isMonth = m_date.month == 0 && monthOf(word.substr(0, 3)) > 0;
        if (isMonth) m_date.month = monthOf(word.substr(0, 3));
        return isMonth || indexIn(kWeekdays, 3, word.substr(0, 3)) >= 0;
    }

    bool takeNumber(Token word) {
        const bool isDay = m_date.day < 0 && word.size() <= 2;
        int& piece = isDay ? m_date.day : m_date.year;
        const int number = isDay ? numberOf(word, 1, 2) : yearOf(word);
        if (piece >= 0 || number < 0) return false;
        piece = number;
        return true;
    }

    // Only behind the time.  Of several the first that is known, as words tell what a number told.
    bool takeZone(Token word) {
        const std::optional<Zone> zone = m_date.hour < 0 ? std::nullopt : anyZoneOf(word);
        if (zone && (!m_date.zone || !m_date.zone->isKnown)) m_date.zone = zone;
        return zone.has_value();
    }

    Pieces m_date;
};

}  // namespace

std::optional<Date> parseDate(std::string_view text) {
    Tokens tokens(text);
    Pieces date;
    if (indexIn(kWeekdays, 3, tokens.peek()) >= 0) tokens.take();
    date.day = numberOf(tokens.take(), 1, 2);
    date.month = monthOf(tokens.take());
    date.year = yearOf(tokens.take());
    date.hour = numberOf(tokens.take(), 1, 2);
    date.minute = takeMinutes(tokens);
    date.second = tokens.peek() == ":" ? takeMinutes(tokens) : 0;
    date.zone = zoneOf(tokens.take());
    return tokens.peek().empty() ? dateOf(date) : std::nullopt;
}

std::optional<Date> parseAnyDate(std::string_view text) {
    const std::optional<Date> date = parseDate(text);
    return date ? date : AnyDate().read(text);
}

}  // namespace inner

std::optional<Date> Message::date() const noexcept {
    return inner::parseAnyDate(header("Date").value_or(std::string_view()));
}

}  // namespace mimetree
