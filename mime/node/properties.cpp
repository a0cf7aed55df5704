// SPDX-License-Identifier: Apache-2.0

// The setters of content type, charset and disposition.  They change the cached records and
// write the field anew from them; the field is never edited as text.  Texts are copied before
// anything changes, since they may be the node's own.

#include "foundation/LogNull.h"
#include "foundation/header/HeaderParams.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

// A text of the caller's, kept safe while the node's own strings change; null also when there
// is no memory for it.
class TextArg {
public:
    explicit TextArg(const char* text) : m_isNull(!m_text.setString(text) || !text) {}
    bool failed() const { return m_text.failed(); }
    bool isNull() const { return m_isNull; }
    const char* get() const { return m_text.getString(); }
    bool isEmpty() const { return m_text.isEmpty(); }

private:
    StringBuffer m_text;
    bool m_isNull;
};

// RFC 1847, RFC 8551: these types carry no signature or encryption parameters.
bool isPlainType(const StringBuffer& type) {
    if (type.beginsWith("image/") || type.beginsWith("text/")) return true;
    static const char* const kPlain[] = {"application/octet-stream", "multipart/mixed",
                                         "multipart/alternative", "multipart/related",
                                         "message/rfc822"};
    for (const char* plain : kPlain)
        if (type.equals(plain)) return true;
    return false;
}

}  // namespace

// -- Content type

// Kept on purpose: this, and with it the end of the long setContentType, does not look at the
// marker.
void MimeMessage2::refreshContentTypeHeader(LogBase& log) {
    if (m_deferContentTypeRefresh) return;
    StringBuffer value;
    m_contentType.buildMimeHeaderValue(value, m_charset, false, false, log);
    m_mimeHeader.replaceMimeFieldUtf8("Content-Type", value.getString(), log);
}

void MimeMessage2::setContentType(const char* type, bool refresh, LogBase& log) {
    if (!isAlive()) return;
    StringBuffer& own = m_contentType.m_type;
    if (own.equalsIgnoreCase(type)) return;
    own.setString(type);
    own.toLowerCase();
    own.trim2();
    if (isPlainType(own)) {
        m_contentType.m_protocol.clear();
        m_contentType.m_micalg.clear();
        m_contentType.m_smimeType.clear();
    }
    if (refresh) refreshContentTypeHeader(log);
}

void MimeMessage2::setContentType(const char* type, const char* name, const char* protocol,
                                  const char* micalg, const char* boundary, const char* smimeType,
                                  const char* subType, LogBase& log) {
    const TextArg type_(type), name_(name), protocol_(protocol), micalg_(micalg),
        boundary_(boundary), smimeType_(smimeType), subType_(subType);
    m_deferContentTypeRefresh = true;
    if (!type_.isNull()) setContentType(type_.get(), false, log);
    if (!name_.isNull()) setNameUtf8(name_.get(), log);
    if (!protocol_.isNull()) setProtocol(protocol_.get(), log);
    if (!micalg_.isNull()) setMicalg(micalg_.get(), log);
    if (!boundary_.isNull()) setBoundary(boundary_.get(), log);
    else if (!typeBeginsWith("multipart/")) m_contentType.m_boundary.clear();
    if (!smimeType_.isNull()) setSMimeType(smimeType_.get(), log);
    if (!subType_.isNull()) setSubType(subType_.get(), log);
    m_deferContentTypeRefresh = false;
    refreshContentTypeHeader(log);
}

// Kept on purpose: a change of letter case alone is none.
void MimeMessage2::applyParam(StringBuffer& field, const char* text, LogBase& log) {
    if (!isAlive() || field.equalsIgnoreCase(text)) return;
    field.setString(text);
    if (&field == &m_contentType.m_boundary)
        makeBoundarySafe(field.getString_rw(), field.getSize());
    field.trim2();
    refreshContentTypeHeader(log);
}

void MimeMessage2::setSubType(const char* subType, LogBase& log) {
    applyParam(m_contentType.m_subType, subType, log);
}

void MimeMessage2::setBoundary(const char* boundary, LogBase& log) {
    applyParam(m_contentType.m_boundary, boundary, log);
}

void MimeMessage2::setNameUtf8(const char* name, LogBase& log) {
    applyParam(m_contentType.m_name, name, log);
}

void MimeMessage2::setProtocol(const char* protocol, LogBase& log) {
    applyParam(m_contentType.m_protocol, protocol, log);
}

void MimeMessage2::setMicalg(const char* micalg, LogBase& log) {
    applyParam(m_contentType.m_micalg, micalg, log);
}

void MimeMessage2::setSMimeType(const char* smimeType, LogBase& log) {
    applyParam(m_contentType.m_smimeType, smimeType, log);
}

// -- Charset

// Kept on purpose: two names of one code page are no change; the node keeps its own.
void MimeMessage2::setCharset(const _zqCharset& charset, LogBase& log) {
    if (!isAlive() || charset.getCodePage() == m_charset.getCodePage()) return;
    m_charset.copy(charset);
    refreshContentTypeHeader(log);
}

bool MimeMessage2::setCharset(const char* name, LogBase& log) {
    _zqCharset charset;
    if (!isAlive() || !charset.setByName(name)) return false;
    setCharset(charset, log);
    return true;
}

void MimeMessage2::clearCharset(LogBase& log) { setCharset(_zqCharset(), log); }

// -- Disposition

// Kept on purpose: the file name stands in the value as it is, and an empty disposition with
// a file name gives a value that begins with "; filename=".
void MimeMessage2::setContentDisposition(const char* disposition, const char* filename,
                                         LogBase& log) {
    if (!isAlive()) return;
    const TextArg word(disposition), file(filename);
    if (word.failed() || file.failed()) return;
    if (word.isEmpty() && file.isEmpty()) {
        m_mimeHeader.replaceMimeFieldUtf8("Content-Disposition", nullptr, log);
    } else {
        m_modified = true;
        m_disposition.setString(word.get());
        m_filename.setString(file.get());
        StringBuffer value;
        value.append(word.get());
        if (!file.isEmpty()) value.append3("; filename=\"", file.get(), "\"");
        m_mimeHeader.replaceMimeFieldUtf8("Content-Disposition", value.getString(), log);
    }
    cacheDisposition(log);
}

// Kept on purpose: an empty disposition takes the field away even when there is a file name.
void MimeMessage2::setDisposition(const char* disposition, LogBase& log) {
    if (!isAlive()) return;
    StringBuffer filename(m_filename);
    if (filename.failed()) return;
    filename.trim2();
    if (disposition && *disposition) {
        setContentDisposition(disposition, filename.getString(), log);
        return;
    }
    m_mimeHeader.replaceMimeFieldUtf8("Content-Disposition", nullptr, log);
    cacheDisposition(log);
}

void MimeMessage2::setFilenameUtf8(const char* filename, LogBase& log) {
    if (!isAlive()) return;
    StringBuffer disposition(m_disposition);
    if (disposition.failed()) return;
    disposition.trim2();
    if (filename && *filename && disposition.isEmpty()) disposition.setString("attachment");
    setContentDisposition(disposition.getString(), filename, log);
}
