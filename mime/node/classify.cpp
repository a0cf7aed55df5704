// SPDX-License-Identifier: Apache-2.0

// What a node is, or the tree under it: multipart kinds, S/MIME (RFC 8551), attachments, 8-bit
// text.  Only cached properties, body bytes and two header fields are looked at.

#include "mime/node/internal.h"

using namespace mimetree::inner;

bool MimeMessage2::isMultipart() const { return isAlive() && typeBeginsWith("multipart"); }

bool MimeMessage2::isMultipartMixed() const {
    return isAlive() && m_contentType.m_type.equalsIgnoreCase("multipart/mixed");
}

bool MimeMessage2::isMultipartRelated() const {
    return isAlive() && m_contentType.m_type.equalsIgnoreCase("multipart/related");
}

bool MimeMessage2::isMultipartAlternative() const {
    return isAlive() && m_contentType.m_type.equalsIgnoreCase("multipart/alternative");
}

bool MimeMessage2::isMultipartVoiceMessage() const {
    return isAlive() && m_contentType.m_type.equalsIgnoreCase("multipart/voice-message");
}

// The protocol is read from the field itself.  RFC 3156: an OpenPGP signature is not ours to
// treat; RFC 1847: any other protocol, or none, makes a signed node.
bool MimeMessage2::isMultipartSigned(LogBase& log) const {
    if (!isAlive() || !m_contentType.m_type.equalsIgnoreCase2("multipart/signed", 16)) return false;
    StringBuffer protocol;
    m_mimeHeader.getSubFieldUtf8("content-type", "protocol", protocol, log);
    return !protocol.equalsIgnoreCase("application/pgp-signature");
}

bool MimeMessage2::isAttachment(LogBase&) const {
    return isAlive() && m_disposition.equalsIgnoreCase("attachment");
}

bool MimeMessage2::isSignaturePart(LogBase&) const {
    return isAlive() && (m_contentType.m_type.equalsIgnoreCase("application/x-pkcs7-signature") ||
                         m_contentType.m_type.equalsIgnoreCase("application/pkcs7-signature"));
}

// -- S/MIME

bool MimeMessage2::isPkcs7Mime() const {
    return m_contentType.m_type.equalsIgnoreCase("application/pkcs7-mime") ||
           m_contentType.m_type.equalsIgnoreCase("application/x-pkcs7-mime");
}

// Tolerated: GroupWise labels signed data as enveloped; the third byte of the structure tells
// them apart, and "X-Mailer" who wrote it.
bool MimeMessage2::hasGroupWiseMark(LogBase& log) const {
    const bool hasMark = m_mimeBody.getSize() >= 4 && m_mimeBody.getData2()[2] == '2';
    return hasMark && isGroupWiseMail(log);
}

bool MimeMessage2::isGroupWiseMail(LogBase& log) const {
    StringBuffer mailer;
    m_mimeHeader.getMimeFieldUtf8_2("X-Mailer", 8, mailer, log);
    return mailer.containsSubstringNoCase("GroupWise");
}

bool MimeMessage2::isSmimeEncrypted(LogBase& log) const {
    return isAlive() && isPkcs7Mime() &&
           !m_contentType.m_smimeType.equalsIgnoreCase("signed-data") && !hasGroupWiseMark(log) &&
           !m_contentType.m_protocol.containsSubstring("signature");
}

// Kept on purpose: the protocol is not looked at.
bool MimeMessage2::isEnvelopedData(LogBase& log) const {
    return isAlive() && isPkcs7Mime() &&
           !m_contentType.m_smimeType.equalsIgnoreCase("signed-data") && !hasGroupWiseMark(log);
}

bool MimeMessage2::isSignedData(LogBase& log) const {
    if (!isAlive()) return false;
    OperationContext context(log, "isSignedData");
    if (!isPkcs7Mime()) return false;
    return hasGroupWiseMark(log) || m_contentType.m_smimeType.equalsIgnoreCase("signed-data") ||
           m_contentType.m_protocol.containsSubstring("signature");
}

// -- The tree under a node

bool MimeMessage2::containsEncryptedParts(LogBase& log) {
    if (isSmimeEncrypted(log)) return true;
    TreeWalk walk(*this);
    while (const MimeMessage2* node = walk.next())
        if (node->isSmimeEncrypted(log)) return true;
    return false;
}

bool MimeMessage2::containsSignedParts(LogBase& log) {
    if (isMultipartSigned(log) || isSignedData(log)) return true;
    TreeWalk walk(*this);
    while (const MimeMessage2* node = walk.next())
        if (node->isMultipartSigned(log) || node->isSignedData(log)) return true;
    return false;
}

bool MimeMessage2::qualifiesAs8bitText() const {
    const StringBuffer& type = m_contentType.m_type;
    const StringBuffer& coding = m_contentTransferEncoding;
    const bool isText = type.beginsWithIgnoreCase("text/") ||
                        type.equalsIgnoreCase("application/xml") ||
                        type.equalsIgnoreCase("application/json");
    const bool is8bit = coding.equalsIgnoreCase("8bit") || coding.equalsIgnoreCase("binary");
    return isAlive() && isText && is8bit && m_charset.getCodePage() != codepage::kNone &&
           !m_mimeBody.is7bit(5000);
}

bool MimeMessage2::find8bitInfo(StringBuffer& charset) {
    if (!isAlive()) return false;
    TreeWalk walk(*this);
    for (const MimeMessage2* node = this; node; node = walk.next()) {
        if (!node->qualifiesAs8bitText()) continue;
        charset.setString(node->m_charset.getName());
        return true;
    }
    return false;
}
