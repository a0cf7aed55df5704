// SPDX-License-Identifier: Apache-2.0
// The address fields of a message as lists of mailboxes.

#include "face/message/tree.h"
#include "foundation/ExtPtrArray.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/bytes/bytes.h"

namespace mimetree {

namespace {

bool isNamed(const MimeMessage2& node, int index, std::string_view name, LogBase& log) {
    StringBuffer own;
    node.getHeaderFieldName(index, own, log);
    return own.getSize() == name.size() &&
           inner::bytes::equalIgnoreCase(own.getString(), name.data(), name.size());
}

// RFC 5322 4.5.3: several fields of a name are one list.
void readAddresses(const MimeMessage2& node, std::string_view field, LogBase& log,
                   std::vector<Address>& out) {
    for (int i = 0; i < node.getNumHeaderFields(); ++i) {
        if (!isNamed(node, i, field, log)) continue;
        StringBuffer value;
        ExtPtrArray list;
        node.getHeaderFieldValue(i, /*decode*/ false, value, log);
        _zqEmailAddress::parseAndLoadList(value.getString(), list, 0, log);
        for (int k = 0; k < list.getSize(); ++k) {
            auto& mailbox = *static_cast<_zqEmailAddress*>(list.elementAt(k));
            mailbox.m_displayName.getUtf8Sb_rw().qbDecode(log);
            out.push_back({std::string(view(mailbox.m_displayName.getUtf8Sb())),
                           std::string(view(mailbox.m_address.getUtf8Sb()))});
        }
    }
}

}  // namespace

Addresses Tree::addresses(std::string_view field) {
    return answer([&]() -> Addresses {
        std::string key(field);
        if (const auto found = m_addresses.find(key); found != m_addresses.end())
            return Addresses(found->second);
        const inner::MemoryWatch watch;
        std::vector<Address> list;
        readAddresses(*m_root, field, m_log, list);
        if (watch.wasRefused()) return {};
        return Addresses(m_addresses.emplace(std::move(key), std::move(list)).first->second);
    });
}

const Address& Addresses::first() const noexcept {
    static const Address kNone;
    return m_list.empty() ? kNone : m_list.front();
}

std::string Addresses::text() const noexcept {
    try {
        std::string text;
        for (const Address& one : m_list) {
            if (!text.empty()) text += ", ";
            text += one.name;
            if (one.name.empty()) text += one.address;
            else if (!one.address.empty()) text += " <" + one.address + ">";
        }
        return text;
    } catch (...) {
        inner::MemoryWatch::noteRefusal();
        return {};
    }
}

Addresses Message::from() const noexcept { return tree().addresses("From"); }
Addresses Message::to() const noexcept { return tree().addresses("To"); }
Addresses Message::cc() const noexcept { return tree().addresses("Cc"); }
Addresses Message::bcc() const noexcept { return tree().addresses("Bcc"); }
Addresses Message::reply_to() const noexcept { return tree().addresses("Reply-To"); }

Addresses Message::addresses(std::string_view field) const noexcept {
    return tree().addresses(field);
}

}  // namespace mimetree
