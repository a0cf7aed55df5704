// SPDX-License-Identifier: Apache-2.0
// Reads the mailboxes that a caller gives, refuses what readers do not agree on, and writes
// them with quotes or encoded words where the name needs them.

#include "face/builder/mailboxes.h"

#include <algorithm>

#include "face/builder/failure.h"
#include "face/builder/values.h"
#include "foundation/ExtPtrArray.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"

namespace mimetree::inner {

using bytes::isBlank;

namespace {

constexpr ByteSet kLetters = ByteSet().range('a', 'z').range('A', 'Z').range('0', '9');
constexpr ByteSet kPlainName = kLetters.with(" -'_");
constexpr ByteSet kCharset = kLetters.with("-_+.:");
constexpr ByteSet kWordText = kLetters.with("!*+-/=_");
constexpr ByteSet kAtoms = kLetters.with("!#$%&'*+-/=?^_`{|}~.").range('\x80', '\xFF');
constexpr ByteSet kLiteral = kLetters.with(".:-");
constexpr ByteSet kQuotable = ByteSet().range(' ', '~').range('\x80', '\xFF').without("\"\\");

// RFC 5321 4.5.3.1.1, 4.5.3.1.2, and the "@".
constexpr size_t kMaxAddress = 64 + 1 + 255;

// RFC 2047 2, 5 (3): "=?charset?Q?text?=" with nothing in it that a phrase does not allow.
bool isEncodedWord(std::string_view word) {
    if (!word.starts_with("=?") || !word.ends_with("?=") || word.size() < 8) return false;
    word = word.substr(2, word.size() - 4);
    const size_t mark = word.find('?');
    if (mark == 0 || mark + 2 >= word.size() || word[mark + 2] != '?') return false;
    return consistsOf(word.substr(0, mark), kCharset) &&
           std::string_view("BbQq").find(word[mark + 1]) != std::string_view::npos &&
           consistsOf(word.substr(mark + 3), kWordText);
}

bool isAllEncoded(std::string_view name) {
    size_t end = 0;
    for (; (end = name.find(' ')) != std::string_view::npos; name.remove_prefix(end + 1))
        if (!isEncodedWord(name.substr(0, end))) return false;
    return isEncodedWord(name);
}

// RFC 5322 3.4: a name of plain words stands as it is, any other between quotes.  Encoded
// words would not be read between quotes; only what is nothing else is safe without.
// Readers take several blanks for one, and none at the ends even between quotes.
std::string displayName(std::string_view name) {
    const bool isPadded = !name.empty() && (isBlank(name.front()) || isBlank(name.back()));
    if (isPadded) return encodedWords(name);
    const bool isPlain = consistsOf(name, kPlainName) && name.find("  ") == name.npos;
    if (isAllEncoded(name) || isPlain) return std::string(name);
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

bool isEnclosed(std::string_view text, char open, char close, const ByteSet& set) {
    return text.size() > 2 && text.front() == open && text.back() == close &&
           consistsOf(text.substr(1, text.size() - 2), set);
}

// RFC 5322 3.2.3: a dot-atom.
bool isDotAtom(std::string_view text) {
    return !text.empty() && consistsOf(text, kAtoms) && text.front() != '.' && text.back() != '.' &&
           text.find("..") == std::string_view::npos;
}

// RFC 5322 3.4.1: what every reader takes for one address.
bool isAddress(std::string_view spec) {
    const size_t at = spec.rfind('@');
    if (at == std::string_view::npos || spec.size() > kMaxAddress) return false;
    const std::string_view local = spec.substr(0, at), domain = spec.substr(at + 1);
    return spec.find("=?") == std::string_view::npos &&
           (isDotAtom(local) || isEnclosed(local, '"', '"', kQuotable)) &&
           (isDotAtom(domain) || isEnclosed(domain, '[', ']', kLiteral));
}

std::string mailbox(const std::string& name, std::string_view spec) {
    return name.empty() ? std::string(spec) : name + " <" + std::string(spec) + ">";
}

// RFC 5322 3.4: "Undisclosed recipients:;", which stands for those who are not told.
bool isEmptyGroup(std::string_view list) {
    const size_t colon = list.find(':'), end = list.find_last_not_of(' ');
    return colon != 0 && colon != std::string_view::npos && list[end] == ';' &&
           consistsOf(list.substr(0, colon), kPlainName) &&
           list.find_first_not_of(' ', colon + 1) == end;
}

[[noreturn]] void failAddress(std::string_view given) {
    fail("\"" + std::string(given) +
         "\": no address (user@example.org, Ann Other <ann@example.org>)");
}

// What stands between the commas of a list, as it came, and without what may hold anything:
// comments, and the text of quoted strings and domain literals.
struct Member {
    std::string text, bare;
};

std::vector<Member> membersOf(std::string_view list) {
    std::vector<Member> members(1);
    char closing = '\0';
    unsigned comments = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        const char c = list[i];
        if (c == ',' && !closing && !comments) {
            members.emplace_back();
            continue;
        }
        members.back().text += c;
        if (c == '\\' && (closing || comments)) members.back().text += list.substr(++i, 1);
        else if (closing && c == closing) closing = '\0';
        else if (!closing && c == '(') ++comments;
        else if (comments) comments -= c == ')';
        else if (!closing) {
            members.back().bare += c;
            if (c == '"' || c == '[') closing = c == '"' ? '"' : ']';
        }
    }
    if (closing || comments) failAddress(list);
    return members;
}

// RFC 5322 3.4: an address alone, or a name in front of one in angle brackets; no route, no group.
bool isMailbox(std::string_view bare) {
    const size_t open = bare.find('<');
    std::string_view address = bare;
    if (open != bare.npos) {
        if (bare.back() != '>') return false;
        address = bare.substr(open + 1, bare.size() - open - 2);
    }
    return address.find_first_of(" \t<>:;") == bare.npos &&
           bare.substr(0, open).find_first_of(">:;") == bare.npos;
}

// The engine takes it apart.
std::string mailboxOf(const std::string& text) {
    ExtPtrArray found;
    if (!_zqEmailAddress::parseAndLoadList(text.c_str(), found, 0, silentLog))
        throw std::bad_alloc();
    if (found.getSize() != 1) failAddress(text);
    const auto& address = *static_cast<const _zqEmailAddress*>(found.elementAt(0));
    const std::string_view spec = viewOf(address.m_address.getUtf8Sb());
    if (!isAddress(spec)) failAddress(text);
    return mailbox(displayName(viewOf(address.m_displayName.getUtf8Sb())), spec);
}

}  // namespace

std::vector<std::string> mailboxesOf(std::string_view list) {
    checkLine("the address", list);
    if (isEmptyGroup(list)) return {std::string(list)};
    std::vector<std::string> mailboxes;
    for (const Member& member : membersOf(list)) {
        if (bare(member.text).empty()) continue;  // RFC 5322 4.4: empty members
        if (!isMailbox(bare(member.bare))) failAddress(list);
        mailboxes.push_back(mailboxOf(member.text));
    }
    if (mailboxes.empty()) failAddress(list);
    return mailboxes;
}

std::string mailboxOf(std::string_view name, std::string_view address) {
    checkLine("the name of an address", name);
    checkLine("the address", address);
    if (!isAddress(address)) failAddress(address);
    const bool looksEncoded = name.find("=?") != std::string_view::npos;
    return mailbox(looksEncoded ? encodedWords(name) : displayName(name), address);
}

}  // namespace mimetree::inner
