// SPDX-License-Identifier: Apache-2.0

// The properties that a node caches from its header: content type with charset, content id,
// disposition with file name, transfer encoding.  load.cpp fills all four behind every header
// that it loads; fields.cpp and properties.cpp refill the one whose field they changed.

#include "foundation/ContentCoding.h"
#include "foundation/LogNull.h"
#include "foundation/ParamString.h"
#include "foundation/ParseEngine.h"
#include "foundation/zqStrings.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

bool MimeMessage2::decodedField(const char* name, StringBuffer& out, LogBase& log) const {
    if (!m_mimeHeader.getMimeFieldUtf8(name, out, log)) return false;
    out.qbDecode(log);
    return true;
}

// The trimmed value of a field up to its first ";".
void MimeMessage2::captureMainValue(const char* name, StringBuffer& out, LogBase& log) const {
    StringBuffer value;
    out.clear();
    if (!decodedField(name, value, log)) return;
    value.trim2();
    ParseEngine cursor;
    cursor.setString(value.getString());
    cursor.captureToNextChar(';', out);
}

// Only the first name that matches acts; other fields are not cached.
void MimeMessage2::recacheField(const StringBuffer& name, LogBase& log) {
    if (name.equalsIgnoreCase("content-type")) cacheContentType(log);
    else if (name.equalsIgnoreCase("content-disposition")) cacheDisposition(log);
    else if (name.equalsIgnoreCase("content-id")) cacheContentId(log);
    else if (name.equalsIgnoreCase("content-transfer-encoding")) cacheEncoding(log);
}

// The order matters: cacheDisposition lower-cases the type that cacheContentType stored.
void MimeMessage2::cacheAll(LogBase& log) {
    if (!isAlive()) return;
    cacheContentType(log);
    cacheContentId(log);
    cacheDisposition(log);
    cacheEncoding(log);
}

void MimeMessage2::cacheContentType(LogBase& log) {
    if (!isAlive()) return;
    LogNull silent;
    StringBuffer value;
    decodedField("content-type", value, silent);
    m_contentType.loadFromMimeHeaderValue(value.getString(), m_charset, log);
}

void MimeMessage2::cacheContentId(LogBase&) {
    if (!isAlive()) return;
    LogNull silent;
    captureMainValue("content-id", m_contentId, silent);
}

void MimeMessage2::cacheEncoding(LogBase& log) {
    if (isAlive()) captureMainValue("content-transfer-encoding", m_contentTransferEncoding, log);
}

void MimeMessage2::cacheDisposition(LogBase& log) {
    if (!isAlive()) return;
    m_disposition.clear();
    m_filename.clear();
    // Kept on purpose: reading the disposition lower-cases the content type, whether there is
    // a disposition or not; the tests on types elsewhere rely on it.
    m_contentType.m_type.toLowerCase();
    StringBuffer value;
    if (decodedField("content-disposition", value, log)) cacheDispositionParams(value, log);
}

// Kept on purpose: blanks outside quotes go, so that an unquoted file name loses its blanks;
// a plain file name wins over an RFC 2231 one wherever it stands.
void MimeMessage2::cacheDispositionParams(const StringBuffer& field, LogBase& log) {
    ParamString quoted;
    quoted.setString(field.getString(), true);
    ParseEngine cursor;
    cursor.setString(quoted.getString());
    cursor.eliminateChar(' ');
    cursor.eliminateChar('\t');
    cursor.captureToNextChar(';', m_disposition);
    cursor.skipChars(";");
    StringBuffer name, value, starEncoded;
    while (!cursor.atEnd()) {
        name.weakClear();
        value.weakClear();
        cursor.captureToNextChar('=', name);
        cursor.skipChars("=");
        cursor.captureToNextChar(';', value);
        cursor.skipChars(";");
        if (value.beginsWith("<[["))
            value.setString(quoted.getParam(zqIntValue(value.getString() + 3)));
        if (name.equalsIgnoreCase("filename")) {
            m_filename.setString(value);
            return;
        }
        if (name.equalsIgnoreCase("filename*0*")) starEncoded.setString(value);
        else if (name.beginsWithIgnoreCase("filename*")) starEncoded.append(value);
    }
    if (starEncoded.isEmpty()) return;
    ContentCoding coding;
    StringBuffer charset;
    coding.decodeStarEncoded(starEncoded, nullptr, m_filename, charset, log);
}
