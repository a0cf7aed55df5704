// SPDX-License-Identifier: Apache-2.0
// Makes the From line of a message out of its header, always the same for the same message.

#include "face/mailbox/from_line.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "face/message/date.h"
#include "mimetree/message.hpp"

namespace mimetree::inner {

namespace {

using namespace std::chrono;

// RFC 5321 4.5.3.1.3: no path is longer.
constexpr size_t kLongestSender = 256;

// Limit: as much of a header is looked at.
constexpr size_t kMostOfHeader = size_t{1} << 20;

bool isSender(std::string_view address) {
    const auto isPlain = [](char c) { return static_cast<unsigned char>(c) > ' ' && c != '\x7F'; };
    return address.find('@') != address.npos && address.size() <= kLongestSender &&
           std::all_of(address.begin(), address.end(), isPlain);
}

std::string_view senderOf(const Message& header) {
    const std::string_view path = header.addresses("Return-Path").first().address;
    if (isSender(path)) return path;
    // RFC 5321 4.5.5: what has an empty path comes from a mail system.
    const std::string_view author = header.from().first().address;
    return !header.header("Return-Path") && isSender(author) ? author : "MAILER-DAEMON";
}

// RFC 5321 4.4: behind the last semicolon.
std::optional<Date> receivedAt(const Message& header) {
    const std::string_view received = header.header("Received").value_or(std::string_view());
    const size_t mark = received.rfind(';');
    return mark == received.npos ? std::nullopt : parseAnyDate(received.substr(mark + 1));
}

// As asctime() has it.  A year that has not four digits would make it no date.
std::string asctimeOf(sys_seconds time) {
    constexpr sys_seconds kBegin = sys_days(year(0) / 1 / 1),
                          kEnd = sys_days(year(10000) / 1 / 1);
    if (time < kBegin || time >= kEnd) time = {};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    std::array<char, 64> rest;
    std::snprintf(rest.data(), rest.size(), " %2u %02d:%02d:%02d %04d", unsigned(date.day()),
                  int(clock.hours().count()), int(clock.minutes().count()),
                  int(clock.seconds().count()), int(date.year()));
    return std::string(kWeekdays.substr(3 * weekday(day).c_encoding(), 3)) + " " +
           std::string(kMonths.substr(3 * (unsigned(date.month()) - 1), 3)) + rest.data();
}

}  // namespace

std::string_view headerOf(std::string_view mail) noexcept {
    for (size_t at = 0; at < mail.size();) {
        const size_t end = std::min(mail.find('\n', at), mail.size() - 1) + 1;
        const std::string_view line = mail.substr(at, end - at);
        if (line == "\n" || line == "\r\n") return mail.substr(0, at);
        at = end;
    }
    return mail;
}

std::string fromLineOf(std::string_view mail) {
    const Result<Message> header = Message::parse(headerOf(mail).substr(0, kMostOfHeader));
    if (!header) return "From MAILER-DAEMON " + asctimeOf({});
    std::optional<Date> date = receivedAt(*header);
    if (!date) date = header->date();
    return "From " + std::string(senderOf(*header)) + " " +
           asctimeOf(date ? date->time : sys_seconds());
}

}  // namespace mimetree::inner
