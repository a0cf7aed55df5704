// SPDX-License-Identifier: Apache-2.0
// Checks what a caller puts into header fields, and makes the values that nobody gave.

#include "face/builder/values.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <limits>

#include "face/builder/failure.h"
#include "face/builder/mailboxes.h"
#include "face/builder/wire.h"
#include "face/message/date.h"
#include "foundation/EncodingConvert.h"
#include "foundation/Psdk.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/charset/code_pages.h"
#include "foundation/coding/EncodedWords.h"
#include "foundation/header/header_fields.h"

namespace mimetree::inner {

using namespace std::chrono;

namespace {

// Limit: a name takes no more of its first line (RFC 5322 2.1.1) than leaves room for a value.
constexpr size_t kMaxFieldName = 60, kMaxWord = 900, kMaxId = kMaxWord;

// RFC 5322 3.2.3, 3.6.4: what a msg-id has on both sides of its "@".
constexpr ByteSet kIdBytes =
    ByteSet().range('a', 'z').range('A', 'Z').range('0', '9').with("!#$%&'*+-/=?^_`{|}~.");
constexpr ByteSet kIdLiteral = ByteSet().range('!', 'Z').range('^', '~');
constexpr ByteSet kHostBytes = ByteSet().range('a', 'z').range('A', 'Z').range('0', '9').with("-.");

constexpr std::string_view kOnce[] = {"Date",       "From",        "Sender",     "Reply-To",
                                      "To",         "Cc",          "Bcc",        "Subject",
                                      "Message-ID", "In-Reply-To", "References", "MIME-Version"};

// No dot at an end, nor two in a row.
bool isDotted(std::string_view text, const ByteSet& set) {
    return !text.empty() && consistsOf(text, set) && text.front() != '.' && text.back() != '.' &&
           text.find("..") == std::string_view::npos;
}

bool isControl(char c) { return (c >= 0 && c < ' ' && c != '\t') || c == '\x7F'; }

std::string_view withoutBrackets(std::string_view id) {
    const bool has = id.size() > 2 && id.front() == '<' && id.back() == '>';
    return has ? id.substr(1, id.size() - 2) : id;
}

bool isMessageId(std::string_view id) {
    const size_t at = std::min(id.find('@'), id.size());
    const std::string_view right = id.substr(std::min(at + 1, id.size()));
    const bool isLiteral = right.size() > 2 && right.front() == '[' && right.back() == ']' &&
                           consistsOf(right.substr(1, right.size() - 2), kIdLiteral);
    return id.size() <= kMaxId && isDotted(id.substr(0, at), kIdBytes) &&
           (isLiteral || isDotted(right, kIdBytes));
}

// RFC 2047 6.2 would have readers decode what looks like an encoded word, and blanks at the ends
// of a field are none of its text (RFC 5322 2.2).
std::string literalText(std::string_view text) {
    const bool isPlain = text.find("=?") == text.npos && bare(text) == text;
    return isPlain ? std::string(text) : encodedWords(text);
}

// RFC 5322 2.1.1.
bool hasLongWord(std::string_view text) {
    for (size_t at = 0; at + kMaxWord < text.size();) {
        const size_t blank = text.find_last_of(" \t", at + kMaxWord);
        if (blank == std::string_view::npos || blank < at) return true;
        at = blank + 1;
    }
    return false;
}

std::string addresses(std::string_view value) {
    std::string list;
    for (const std::string& mailbox : mailboxesOf(value))
        list += (list.empty() ? "" : ", ") + mailbox;
    return list;
}

std::string oneAddress(std::string_view value) {
    if (mailboxesOf(value).size() != 1)
        fail("\"" + std::string(value) + "\": more than one address");
    return addresses(value);
}

std::string messageIds(std::string_view value) {
    std::string ids;
    for (size_t at = 0; at < value.size();) {
        const size_t end = std::min(value.find_first_of(" \t", at), value.size());
        if (end != at) ids += (ids.empty() ? "" : " ") + messageId(value.substr(at, end - at));
        at = end + 1;
    }
    return ids.empty() ? messageId(value) : ids;
}

std::string date(std::string_view value) {
    if (!parseDate(value)) fail("\"" + std::string(value) + "\": no date");
    return std::string(value);
}

std::string mimeVersion(std::string_view value) {
    if (value != "1.0") fail("\"" + std::string(value) + "\": no MIME-Version but 1.0");
    return "1.0";
}

// The fields whose grammar is checked.
struct FieldRule {
    std::string_view name;
    std::string (*value)(std::string_view value);
};

constexpr FieldRule kRules[] = {
    {"From", addresses},
    {"Sender", oneAddress},
    {"Reply-To", addresses},
    {"To", addresses},
    {"Cc", addresses},
    {"Bcc", addresses},
    {"Resent-From", addresses},
    {"Resent-To", addresses},
    {"Resent-Cc", addresses},
    {"Resent-Bcc", addresses},
    {"Resent-Sender", oneAddress},
    {"Message-ID", messageId},
    {"Resent-Message-ID", messageId},
    {"In-Reply-To", messageIds},
    {"References", messageIds},
    {"Date", date},
    {"Resent-Date", date},
    {"MIME-Version", mimeVersion},
};

}  // namespace

bool isUtf8(std::string_view text) {
    return text.size() <= std::numeric_limits<unsigned>::max() &&
           _zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<unsigned>(text.size()), 0);
}

std::string_view bare(std::string_view text) {
    const size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

StringBuffer bufferOf(std::string_view text) {
    if (text.size() >= std::numeric_limits<unsigned>::max())
        fail("larger than 4 GiB", Errc::too_large);
    StringBuffer s;
    if (!s.appendN(text.data(), static_cast<unsigned>(text.size()))) throw std::bad_alloc();
    return s;
}

// -- Lines

void checkLine(const std::string& what, std::string_view text) {
    if (text.find_first_of("\r\n") != std::string_view::npos) fail(what + " has a line break");
    if (std::any_of(text.begin(), text.end(), isControl)) fail(what + " has a control character");
    if (!isUtf8(text)) fail(what + " is not in UTF-8");
}

std::string asLine(std::string_view bytes) {
    DataBuffer utf8;
    const StringBuffer given = bufferOf(bytes);
    if (!EncodingConvert::EncConvert(codepage::kUtf8, codepage::kUtf8,
                                     reinterpret_cast<const unsigned char*>(given.getString()),
                                     given.getSize(), utf8, silentLog))
        throw std::bad_alloc();
    std::string text(viewOf(utf8));
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    return text;
}

std::string encodedWords(std::string_view text) {
    constexpr size_t kBytes = 39;
    StringBuffer words;
    while (!text.empty()) {
        size_t n = std::min(kBytes, text.size());
        while (n < text.size() && (text[n] & 0xC0) == 0x80) --n;
        if (!words.isEmpty()) words.appendChar(' ');
        appendEncodedWords(text.data(), static_cast<unsigned>(n), codepage::kUtf8, /*column*/ 0,
                           /*forPhrase*/ true, words);
        text.remove_prefix(n);
    }
    if (words.failed()) throw std::bad_alloc();
    return std::string(viewOf(words));
}

// -- Fields

bool isSameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && bytes::equalIgnoreCase(a.data(), b.data(), a.size());
}

bool standsOnce(std::string_view name) {
    return std::any_of(std::begin(kOnce), std::end(kOnce),
                       [&](std::string_view once) { return isSameName(once, name); });
}

void checkFieldName(const std::string& name, const char* setter) {
    if (name.empty() || name.size() > kMaxFieldName || !consistsOf(name, kFieldNameBytes))
        fail("\"" + name + "\" is no header field");
    if (isSameName(std::string_view(name).substr(0, 8), "Content-"))
        fail(name + " is not for " + setter + " to set: it goes with the body");
}

// RFC 6532: what no 7-bit form exists for, such as the address itself, stays
// UTF-8.
void checkHeader(std::string_view text, Bits bits, const char* hint) {
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find("\r\n", at), text.size());
        const std::string line(text.substr(at, end - at));
        const WireFacts facts = factsOf(line);
        if (!facts.is7bit && bits == Bits::Seven) fail(line + ": needs 8 bits" + hint);
        at = end + 2;
    }
}

std::string fieldValue(const std::string& name, std::string_view value) {
    checkLine(name, value);
    for (const FieldRule& rule : kRules)
        if (isSameName(rule.name, name)) return rule.value(bare(value));
    if (grammarOf(name.data(), name.size()) == FieldGrammar::Unstructured)
        return literalText(value);
    value = bare(value);
    if (hasLongWord(value)) fail(name + " has a word that no line can hold");
    return std::string(value);
}

std::string messageId(std::string_view id) {
    const std::string_view inside = withoutBrackets(id);
    if (!isMessageId(inside)) fail("\"" + std::string(id) + "\": no message ID (left@right)");
    return "<" + std::string(inside) + ">";
}

std::string contentId(std::string_view id) {
    const std::string_view inside = withoutBrackets(id);
    if (!isMessageId(inside) && (inside.size() > kMaxId || !isDotted(inside, kIdBytes)))
        fail("\"" + std::string(id) + "\": no content ID (left@right)");
    return "<" + std::string(inside) + ">";
}

// -- Made-up values

std::string dateOf(sys_seconds time, minutes zone) {
    // In seconds: those are 64 bits wide everywhere.
    constexpr sys_seconds kFirst = sys_days(year(1900) / 1 / 1),
                          kEnd = sys_days(year(10000) / 1 / 1);
    if (abs(zone) >= days(1)) fail("the zone of the date is out of range");
    // Compared without a sum, which might overflow.
    if (time < kFirst - zone || time >= kEnd - zone) fail("the date is out of range");
    const sys_seconds local = time + zone;
    const sys_days day = floor<days>(local);
    const year_month_day date(day);
    const hh_mm_ss clock(local - day);
    const char* const dayName = kWeekdays.data() + 3 * weekday(day).c_encoding();
    const char* const monthName = kMonths.data() + 3 * (static_cast<unsigned>(date.month()) - 1);
    std::array<char, 64> text;
    const long offset = static_cast<long>(abs(zone).count());
    const int size = std::snprintf(
        text.data(), text.size(), "%.3s, %02u %.3s %04d %02d:%02d:%02d %c%02ld%02ld", dayName,
        static_cast<unsigned>(date.day()), monthName, static_cast<int>(date.year()),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), zone < minutes(0) ? '-' : '+', offset / 60,
        offset % 60);
    return {text.data(), static_cast<size_t>(size)};
}

std::string dateNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
#ifdef _WIN32
    const bool isKnown = localtime_s(&local, &now) == 0;
#else
    const bool isKnown = localtime_r(&now, &local) != nullptr;
#endif
    const sys_seconds time{seconds(now)};
    if (!isKnown) return dateOf(time, minutes(0));
    const year_month_day date(year(local.tm_year + 1900), month(unsigned(local.tm_mon) + 1),
                              day(unsigned(local.tm_mday)));
    const sys_seconds clock =
        sys_days(date) + hours(local.tm_hour) + minutes(local.tm_min) + seconds(local.tm_sec);
    return dateOf(time, round<minutes>(clock - time));
}

std::string token() {
    StringBuffer boundary;
    if (!Psdk::generateBoundary(boundary, silentLog)) throw std::bad_alloc();
    std::string text(viewOf(boundary));
    text.erase(0, text.find_first_not_of("-=_"));
    std::replace(text.begin(), text.end(), '_', '.');
    return text;
}

std::string hostOf(std::string_view mailbox) {
    const size_t at = mailbox.rfind('@');
    if (at == std::string_view::npos) return "localhost";
    const std::string_view rest = mailbox.substr(at + 1);
    const std::string_view host = rest.substr(0, rest.find('>'));
    return isDotted(host, kHostBytes) ? std::string(host) : "localhost";
}

}  // namespace mimetree::inner
