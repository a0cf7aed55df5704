// SPDX-License-Identifier: Apache-2.0

// Turning a node into a new, empty container: the multiparts and the attached message.

#include "foundation/Psdk.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

void MimeMessage2::newMultipart(const char* type, LogBase& log) {
    if (!isAlive()) return;
    clear();
    StringBuffer boundary;
    Psdk::generateBoundary(boundary, log);
    setContentType(type, false, log);
    setBoundary(boundary.getString(), log);
}

void MimeMessage2::newMultipartMixed(LogBase& log) { newMultipart("multipart/mixed", log); }

void MimeMessage2::newMultipartRelated(LogBase& log) { newMultipart("multipart/related", log); }

void MimeMessage2::newMultipartAlternative(LogBase& log) {
    newMultipart("multipart/alternative", log);
}

// The type is stored directly, so that the report type is not taken for one of another type.
void MimeMessage2::newMultipartReport(const char* reportType, LogBase& log) {
    if (!isAlive()) return;
    StringBuffer kind;
    kind.setString(reportType);
    kind.toLowerCase();
    kind.trim2();
    clear();
    m_contentType.m_reportType.setString(kind);
    m_contentType.m_type.setString("multipart/report");
    Psdk::generateBoundary(m_contentType.m_boundary, log);
    m_contentType.m_boundary.trim2();
    refreshContentTypeHeader(log);
}

void MimeMessage2::newMessageRfc822(XString& text, LogBase& log) {
    newMessageRfc822Sb(text.getUtf8Sb_rw(), log);
}

void MimeMessage2::newMessageRfc822Sb(StringBuffer& text, LogBase& log) {
    if (!isAlive()) return;
    const StringBuffer message(text);  // the text may be one of the node's own
    clear();
    setContentType("message/rfc822", true, log);
    setMimeBody8Bit_2(message.getString(), message.getSize(), _zqCharset(), true, log);
}
