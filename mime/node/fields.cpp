// SPDX-License-Identifier: Apache-2.0

// The node's face on its header field list: reading fields and addresses, changing fields.
// Changes of the four fields that the node caches go on to cached_properties.cpp.

#include "foundation/ContentCoding.h"
#include "foundation/LogNull.h"
#include "foundation/_zqEmailAddress.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

// -- Reading

bool MimeMessage2::getHeaderFieldUtf8(const char* name, StringBuffer& out, LogBase& log) const {
    return getHeaderFieldUtf8_2(name, /*decode*/ true, out, log);
}

bool MimeMessage2::getHeaderFieldUtf8_2(const char* name, bool decode, StringBuffer& out,
                                        LogBase& log) const {
    if (!isAlive()) return false;
    StringBuffer value;
    const bool found =
        name && m_mimeHeader.getMimeFieldUtf8(name, value, log) && (!decode || value.qbDecode(log));
    if (!found) value.clear();
    out.swap(value);
    return found;
}

bool MimeMessage2::getHeaderFieldName(int index, StringBuffer& out, LogBase& log) const {
    return isAlive() && m_mimeHeader.getFieldNameUtf8(index, out, log);
}

bool MimeMessage2::getHeaderFieldValue(int index, bool decode, StringBuffer& out,
                                       LogBase& log) const {
    if (!isAlive()) return false;
    if (!decode) return m_mimeHeader.getFieldValueUtf8(index, out, log);
    StringBuffer value;
    return m_mimeHeader.getFieldValueUtf8(index, value, log) && value.qbDecode(log) &&
           out.append(value);
}

bool MimeMessage2::getSubFieldUtf8(const char* field, const char* param, StringBuffer& out,
                                   LogBase& log) const {
    return isAlive() && m_mimeHeader.getSubFieldUtf8(field, param, out, log);
}

void MimeMessage2::getQBEncodedHeader(StringBuffer& out, LogBase& log) const {
    getMimeHeader(out, log);
}

// -- Addresses

namespace {

// The tests look at the name as it was read, whatever the first decoding makes of it.
void decodeDisplayName(StringBuffer& name, LogBase& log) {
    if (!name.containsChar('?')) return;
    const bool hasB = name.containsSubstring("?B?") || name.containsSubstring("?b?");
    const bool hasQ = name.containsSubstring("?Q?") || name.containsSubstring("?q?");
    ContentCoding coding;
    if (hasB) coding.QB_DecodeToUtf8(name, log);
    if (hasQ) coding.QB_DecodeToUtf8(name, log);
}

}  // namespace

void MimeMessage2::getEmailAddresses(const char* name, ExtPtrArray& out, LogBase& log) const {
    if (!isAlive() || !name) return;
    StringBuffer list;
    if (!m_mimeHeader.getMimeFieldUtf8(name, list, log) || list.isEmpty()) return;
    _zqEmailAddress::parseAndLoadList(list.getString(), out, 0, log);
    for (int i = 0; i < out.getSize(); ++i) {
        _zqEmailAddress* address = static_cast<_zqEmailAddress*>(out.elementAt(i));
        if (address) decodeDisplayName(address->m_displayName.getUtf8Sb_rw(), log);
    }
}

void MimeMessage2::getAndRemoveBccAddresses(ExtPtrArray& out, LogBase& log) {
    if (!isAlive()) return;
    LogNull silent;
    StringBuffer list;
    if (!decodedField("Bcc", list, silent) || list.isEmpty()) return;
    if (_zqEmailAddress::parseAndLoadList(list.getString(), out, 0, log))
        addReplaceHeaderFieldUtf8("Bcc", nullptr, log);
}

// -- Changing

void MimeMessage2::addReplaceHeaderFieldUtf8(const char* name, const char* value, LogBase& log) {
    if (!isAlive() || !name) return;
    m_modified = true;
    StringBuffer text, trimmedName;
    if (!text.setString(value) || !trimmedName.setString(name)) return;
    text.trim2();
    trimmedName.trim2();
    if (text.isEmpty()) m_mimeHeader.removeMimeField(trimmedName.getString(), true);
    else m_mimeHeader.replaceMimeFieldUtf8(trimmedName.getString(), text.getString(), log);
    recacheField(trimmedName, log);
}

void MimeMessage2::addHeaderFieldUtf8(const char* name, const char* value, bool allowEmpty,
                                      LogBase& log) {
    if (!isAlive() || !name) return;
    m_modified = true;
    StringBuffer text, trimmedName;
    if (!text.setString(value) || !trimmedName.setString(name)) return;
    text.trim2();
    trimmedName.trim2();
    if (allowEmpty)
        m_mimeHeader.addMimeFieldAllowEmpty(trimmedName.getString(), text.getString(), log);
    else m_mimeHeader.addMimeField(trimmedName.getString(), text.getString(), false, log);
    recacheField(trimmedName, log);
}

void MimeMessage2::removeHeaderField(const char* name, bool all, LogBase&) {
    if (isAlive()) m_mimeHeader.removeMimeField(name, all);
}

void MimeMessage2::collapseMultiple(const char* name, LogBase& log) {
    if (isAlive()) m_mimeHeader.collapseMultiple(name, log);
}

void MimeMessage2::moveHeaderToBottom(const char* name, LogBase& log) {
    if (isAlive()) m_mimeHeader.moveToBottom(name, log);
}

void MimeMessage2::removeHeaderFieldsAfterSig(LogBase& log) {
    if (isAlive()) m_mimeHeader.removeHeaderFieldsAfterSig(log);
}
