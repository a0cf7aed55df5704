// SPDX-License-Identifier: Apache-2.0

// Address lists: any text is read, and mailboxes whose display names are quoted come back as
// many, with the same addresses, after they were written and read.

#include <vector>

#include "foundation/LogNull.h"
#include "foundation/_zqEmailAddress.h"
#include "laws.h"
#include "mail_words.h"

namespace {

std::vector<std::string> addressesIn(const MimeMessage2& message) {
    LogNull log;
    ExtPtrArray list;
    message.getEmailAddresses("To", list, log);
    std::vector<std::string> addresses;
    for (int i = 0; i < list.getSize(); ++i)
        addresses.push_back(static_cast<_zqEmailAddress*>(list.elementAt(i))->m_address.getUtf8());
    return addresses;
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\0' || c == '\r' || c == '\n') continue;
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

}  // namespace

FUZZ_TARGET(address_fuzz) {
    Choices choices(data, size);
    std::string list;
    const unsigned mailboxes = 1 + choices.below(4);
    for (unsigned i = 0; i < mailboxes; ++i) {
        std::string name;
        for (unsigned n = choices.below(6); n; --n)
            name += choices.below(3) ? choices.pick(kMailWords) : choices.bytes(4);
        list += (i ? ", " : "") + quoted(name) + " <p" + std::to_string(i) + "@example.org>";
    }
    LogNull log;
    MimeMessage2 message;
    message.addReplaceHeaderFieldUtf8("To", list.c_str(), log);
    const std::vector<std::string> asked = addressesIn(message);
    require(asked.size() == mailboxes, "quoted names make no mailboxes");
    MimeMessage2 back;
    load(back, written(message), /*asText*/ false);
    require(addressesIn(back) == asked, "the mailboxes come back");

    const std::string raw = choices.rest();
    ExtPtrArray any;
    _zqEmailAddress::parseAndLoadList(raw.c_str(), any, 0, log);
}
