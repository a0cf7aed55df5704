// SPDX-License-Identifier: Apache-2.0
// The lines that begin a message in an mbox: "From ", a sender and a date, in all the forms that
// programs have written.  A line of text such as "From the beginning" is none of them.

#include "face/mailbox/separator.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "face/message/date.h"
#include "face/message/no_mail.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

constexpr std::string_view kFrom = "From ";

// Limit: no more of a line is looked at, so that hostile ones cost no more than others.
constexpr size_t kLongestLine = 1000;
constexpr size_t kMostWords = 24;

constexpr ByteSet kUpperCase = ByteSet().range('A', 'Z');

struct Words {
    std::array<std::string_view, kMostWords> word;
    size_t count = 0;
    bool isAll = true;  // false for a line of more words
};

Words wordsOf(std::string_view line) noexcept {
    Words words;
    while (true) {
        while (!line.empty() && bytes::isSpace(line.front())) line.remove_prefix(1);
        if (line.empty()) return words;
        if (words.count == kMostWords) break;
        size_t n = 0;
        while (n < line.size() && !bytes::isSpace(line[n])) ++n;
        words.word[words.count++] = line.substr(0, n);
        line.remove_prefix(n);
    }
    words.isAll = false;
    return words;
}

// True when `word` has the form: "d" stands for a digit, anything else for itself.
bool hasForm(std::string_view word, std::string_view form) noexcept {
    if (word.size() != form.size()) return false;
    for (size_t i = 0; i < form.size(); ++i)
        if (form[i] == 'd' ? !bytes::isDigit(word[i]) : word[i] != form[i]) return false;
    return true;
}

template <size_t N>
bool hasFormOf(std::string_view word, const std::string_view (&forms)[N]) noexcept {
    for (const std::string_view form : forms)
        if (hasForm(word, form)) return true;
    return false;
}

// True when `word` is one of the names, three letters each, or begins with it: "Thursday", "Thu,".
bool isNameOf(std::string_view word, std::string_view names) noexcept {
    if (word.size() < 3 || word.size() > 10) return false;
    for (size_t i = 0; i < names.size(); i += 3)
        if (bytes::equalIgnoreCase(word.data(), names.data() + i, 3)) return true;
    return false;
}

constexpr std::string_view kTimes[] = {"dd:dd:dd", "d:dd:dd", "dd:dd", "d:dd"};
constexpr std::string_view kNumericDates[] = {"dddd-dd-dd", "dddd/dd/dd"};
constexpr std::string_view kMomentStarts[] = {"dddd-dd-ddTdd:dd:dd"};
constexpr std::string_view kDays[] = {"dd", "d", "dd,", "d,"};
constexpr std::string_view kZones[] = {"+dddd", "-dddd", "+dd:dd", "-dd:dd", "+dd", "-dd"};

// "EST", "MET DST", "(CET)", "AM".
bool isZone(std::string_view word) noexcept {
    if (hasFormOf(word, kZones)) return true;
    if (word.size() > 2 && word.front() == '(' && word.back() == ')')
        word = word.substr(1, word.size() - 2);
    if (word.size() > 5) return false;
    for (const char c : word)
        if (!kUpperCase.has(c)) return false;
    return true;
}

// How often each piece of a date stands in a run of words.
class DatePieces {
public:
    // False when the word belongs into no date.
    bool take(std::string_view word) noexcept {
        if (hasFormOf(word, kTimes)) return ++m_times, true;
        if (hasForm(word, "dddd")) return ++m_years, true;
        if (hasFormOf(word, kDays)) return ++m_days, true;
        if (hasFormOf(word, kNumericDates)) return ++m_dates, true;
        if (hasFormOf(word.substr(0, 19), kMomentStarts)) return ++m_times, ++m_dates, true;
        if (isNameOf(word, kWeekdays)) return ++m_weekdays, true;
        if (isNameOf(word, kMonths)) return ++m_months, true;
        return isZone(word) && ++m_zones <= 3;
    }

    // A year of two digits looks like a day.
    bool areADate() const noexcept {
        const bool isSpelt = m_dates == 0 && m_months == 1 && m_days + m_years == 2 && m_days >= 1;
        const bool isNumeric = m_dates == 1 && m_months + m_days + m_years == 0;
        return m_times == 1 && m_weekdays <= 1 && (isSpelt || isNumeric);
    }

private:
    unsigned m_times = 0, m_years = 0, m_days = 0, m_dates = 0;
    unsigned m_weekdays = 0, m_months = 0, m_zones = 0;
};

bool isDate(const Words& words, size_t first, size_t end) noexcept {
    DatePieces pieces;
    for (size_t i = first; i < end; ++i)
        if (!pieces.take(words.word[i])) return false;
    return pieces.areADate();
}

// Who sent it, in front of the date: nothing, one word, `"two words"@example.org`,
// `Ann <ann@example.org>`, or an archive's "ann at example.org".
bool isSender(const Words& words, size_t count) noexcept {
    if (count <= 1) return true;
    return words.word[0].front() == '"' || words.word[count - 1].back() == '>' ||
           (words.word[1] == "at" && count <= 5);
}

// "ann@example.org Thu Nov  1 12:34:56 2001", with the date anywhere behind the sender.
bool isSenderAndDate(const Words& words) noexcept {
    if (!words.isAll) return false;
    size_t end = words.count;
    // Tolerated: UUCP wrote "remote from", and the host, behind the date.
    if (end > 3 && words.word[end - 3] == "remote" && words.word[end - 2] == "from") end -= 3;
    for (size_t first = 0; first < end; ++first)
        if (isDate(words, first, end)) return isSender(words, first);
    return false;
}

// An address alone, or with a date in a form or language that is unknown here.
bool isAddressFirst(const Words& words) noexcept {
    if (words.count == 0 || words.word[0].find('@') == std::string_view::npos) return false;
    if (words.count == 1) return true;
    for (size_t i = 1; i < words.count; ++i)
        if (hasFormOf(words.word[i], kTimes)) return true;
    return false;
}

// A header field, or a further From line that a relay quoted.
bool isHeaderLine(std::string_view text) noexcept {
    return text.starts_with(">From ") || isFieldLine(text);
}

}  // namespace

bool beginsMessage(std::string_view text, LineBefore before) noexcept {
    if (!text.starts_with(kFrom)) return false;
    text = text.substr(0, kSeparatorReach);
    const size_t lineEnd = text.find('\n');
    const std::string_view line = text.substr(0, lineEnd);
    if (line.size() > kLongestLine) return false;
    const bool isInFrontOfField =
        lineEnd != std::string_view::npos && isHeaderLine(text.substr(lineEnd + 1));
    const Words words = wordsOf(line.substr(kFrom.size()));
    if (isSenderAndDate(words)) return before != LineBefore::text || isInFrontOfField;
    if (!isInFrontOfField) return false;
    // Tolerated: nothing but the name of a user in front of all.
    return before == LineBefore::start_of_file ||
           (before == LineBefore::blank_line && isAddressFirst(words));
}

Separator findSeparator(std::string_view text, size_t from, bool isEnd) noexcept {
    constexpr std::string_view kNeedle = "\nFrom ";
    for (size_t at = from;; ++at) {
        const char* const hit = bytes::find(text.data() + at, text.size() - at, kNeedle.data(), 6);
        if (!hit) {
            const size_t tail = text.size() > 5 ? text.size() - 5 : 0;
            return {false, tail > at ? tail : at};
        }
        at = static_cast<size_t>(hit - text.data());
        if (!isEnd && text.size() - at <= kSeparatorReach) return {false, at};
        const std::string_view head = text.substr(0, at);
        const bool isAfterBlank = head.ends_with('\n') || head.ends_with("\n\r");
        if (beginsMessage(text.substr(at + 1),
                          isAfterBlank ? LineBefore::blank_line : LineBefore::text))
            return {true, at + 1};
    }
}

size_t inFrontOfMbox(std::string_view text) noexcept {
    size_t n = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    while (n < text.size() && (text[n] == '\n' || text[n] == '\r')) ++n;
    return n;
}

bool holdsSeveralMessages(std::string_view file) noexcept {
    file.remove_prefix(inFrontOfMbox(file));
    if (!beginsMessage(file, LineBefore::start_of_file)) return false;
    const size_t header = std::min(file.find('\n'), file.size() - 1) + 1;
    return findSeparator(file, header, /*isEnd*/ true).isFound;
}

}  // namespace mimetree::inner
