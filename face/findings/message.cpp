// SPDX-License-Identifier: Apache-2.0
// Findings about the fields that say who wrote a message, when, and to whom.  Those that may be
// missing are looked for in the outermost message: what is quoted may be a part of one.

#include <algorithm>
#include <iterator>

#include "face/findings/entity.h"
#include "face/message/date.h"
#include "face/message/tree.h"
#include "foundation/ExtPtrArray.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner::check {

namespace {

constexpr std::string_view kAddressFields[] = {"From", "Sender", "Reply-To", "To", "Cc", "Bcc"};

// What an address without quotes is made of; bytes above 127 are RFC 6531's.
constexpr ByteSet kLocalBytes =
    ByteSet().range('!', '~').range('\x80', '\xFF').without("()<>,;:\\\"[]@");
constexpr ByteSet kDomainBytes =
    ByteSet("-._").range('0', '9').range('A', 'Z').range('a', 'z').range('\x80', '\xFF');

bool isAll(std::string_view text, const ByteSet& set) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [&](char c) { return set.has(c); });
}

std::string_view domainOf(std::string_view address) {
    return address.substr(address.rfind('@') + 1);
}

// RFC 5322 3.4.1, with blanks and dots where they are tolerated.
bool isAddress(std::string_view address) {
    const size_t at = address.rfind('@');
    if (at == address.npos) return false;
    const std::string_view local = address.substr(0, at), domain = domainOf(address);
    const bool isQuoted = local.size() >= 2 && local.front() == '"' && local.back() == '"';
    const bool isLiteral = domain.starts_with('[') && domain.ends_with(']');
    return (isQuoted || isAll(local, kLocalBytes)) && (isLiteral || isAll(domain, kDomainBytes));
}

// Whether a date, identifier or author is to be there.
bool isToHave(const Entity& e) {
    return e.isMessage && e.origin->isOutermost() && !e.fields.empty();
}

// Hands each mailbox of an address field to `take`, its name decoded.
template <class Take>
void eachMailbox(const Entity& e, const Take& take) {
    if (!e.isMessage) return;
    LogNull log;
    for (const Field& field : e.fields) {
        const bool isOne =
            std::any_of(std::begin(kAddressFields), std::end(kAddressFields),
                        [&](std::string_view name) { return isSameWord(name, field.name); });
        if (!isOne) continue;
        ExtPtrArray list;
        std::string value(field.value);
        std::replace_if(
            value.begin(), value.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; },
            ' ');
        _zqEmailAddress::parseAndLoadList(value.c_str(), list, 0, log);
        for (int i = 0; i < list.getSize(); ++i) {
            auto& mailbox = *static_cast<_zqEmailAddress*>(list.elementAt(i));
            mailbox.m_displayName.getUtf8Sb_rw().qbDecode(log);
            take(field, view(mailbox.m_displayName.getUtf8Sb()),
                 view(mailbox.m_address.getUtf8Sb()));
        }
    }
}

// Limit: how much of a display name is looked at.
constexpr size_t kLongestName = 1000;

// The first piece of a display name that is an address; empty when there is none.
std::string_view addressIn(std::string_view name) {
    name = name.substr(0, kLongestName);
    constexpr std::string_view kAround = " \t\"'()<>[],;:";
    for (size_t at = name.find('@'); at != name.npos; at = name.find('@', at + 1)) {
        const size_t before = name.find_last_of(kAround, at),
                     behind = name.find_first_of(kAround, at);
        const size_t from = before == name.npos ? 0 : before + 1;
        const std::string_view piece =
            name.substr(from, behind == name.npos ? behind : behind - from);
        if (isAddress(piece) && domainOf(piece).find('.') != piece.npos) return piece;
    }
    return {};
}

}  // namespace

void dateMissing(const Entity& e, Report& report) {
    if (isToHave(e) && !e.field("Date")) report(e.at(), "there is no Date field");
}

void dateUnreadable(const Entity& e, Report& report) {
    const Field* const date = e.isMessage ? e.field("Date") : nullptr;
    if (date && !isBlankText(date->value) && !parseDate(trimmedText(date->value)))
        report(date->whole.data(), "the date ", Quoted(trimmedText(date->value)),
               " cannot be read");
}

void messageIdMissing(const Entity& e, Report& report) {
    if (isToHave(e) && !e.field("Message-ID")) report(e.at(), "there is no Message-ID field");
}

// RFC 5322 3.6.4.
void messageIdUnreadable(const Entity& e, Report& report) {
    const Field* const field = e.isMessage ? e.field("Message-ID") : nullptr;
    if (!field || isBlankText(field->value)) return;
    const std::string_view id = trimmedText(field->value);
    const bool isId = id.starts_with('<') && id.ends_with('>') &&
                      id.find_first_of(" \t\r\n") == id.npos && id.find('@') != id.npos;
    if (!isId) report(field->whole.data(), "the Message-ID ", Quoted(id), " is malformed");
}

void fromMissing(const Entity& e, Report& report) {
    if (isToHave(e) && !e.field("From")) report(e.at(), "there is no From field");
}

void addressMalformed(const Entity& e, Report& report) {
    eachMailbox(e, [&](const Field& field, std::string_view, std::string_view address) {
        if (!isAddress(address))
            report(field.whole.data(), Quoted(address), " in ", field.name, " is no address");
    });
}

void nameLooksLikeAddress(const Entity& e, Report& report) {
    eachMailbox(e, [&](const Field& field, std::string_view name, std::string_view address) {
        const std::string_view other = addressIn(name);
        if (!other.empty() && !isSameWord(domainOf(other), domainOf(address)))
            report(field.whole.data(), "the name ", Quoted(name), " in ", field.name,
                   " looks like another address than ", Quoted(address));
    });
}

}  // namespace mimetree::inner::check
