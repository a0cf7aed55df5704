// SPDX-License-Identifier: Apache-2.0

// What becomes of a body: a multipart opens a level whose parts load.cpp then takes one by
// one (multipart.cpp cuts them); any other body is judged - text or binary, in which charset -
// and stored decoded by body_set.cpp.

#include <cstring>
#include <new>

#include "foundation/_zqHtmlHelp.h"
#include "foundation/base/relaxed.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"
#include "mime/node/internal.h"
#include "mime/parse/loader.h"

namespace mimetree::inner {

namespace {

bool hasZeroByte(const char* body, unsigned size) {
    return size != 0 && std::memchr(body, 0, size) != nullptr;
}

// Whether text of that code page is seldom converted.
bool isMostlyKept(int codePage) {
    return codePage == codepage::kNone || codePage == codepage::kUtf8 ||
           codePage == codepage::kAscii;
}

// Tolerated: a mailer that sends HTML as text/plain, marked "<x-html>".
bool beginsWithXHtml(const char* body, unsigned size) {
    static const char kMark[] = "<x-html>";
    unsigned i = 0;
    while (i < size && bytes::isSpace(body[i])) ++i;
    return size - i >= 8 && bytes::equalIgnoreCase(body + i, kMark, 8);
}

}  // namespace

Loader::Progress Loader::openBody(MimeMessage2& node, SourceText& source, Repaired repaired,
                                  const char* encoding, const char* body, unsigned size) {
    m_log.enterContext("parseMimeBody", m_log.m_verbose);
    const Progress progress = startBody(node, source, repaired, encoding, body, size);
    if (progress != Progress::HasParts) m_log.leaveContext();
    return progress;
}

Loader::Progress Loader::startBody(MimeMessage2& node, SourceText& source, Repaired& repaired,
                                   const char* encoding, const char* body, unsigned size) {
    const bool isSigned = node.isMultipartSigned(m_log);
    if (!body) {
        node.m_mimeBody.clear();
        return Progress::Done;
    }
    logContentType(node);
    if (node.isMultipart() && !node.m_contentType.m_boundary.isEmpty())
        return startParts(node, source, repaired, body, size, isSigned);
    Leaf leaf(body, size);
    const bool isStoredAsItStands = MimeMessage2::isStoredAsItStands(encoding);
    if (repaired || isStoredAsItStands) lend(leaf, source, repaired.get());
    leaf.isCopied = isStoredAsItStands && !leaf.hasOwner &&
                    (m_inputIsUtf8 || isMostlyKept(node.m_charset.getCodePage()));
    parseLeaf(node, leaf, encoding);
    return Progress::Done;
}

// A node whose text was repaired for it alone takes the copy, unless most of that is its header;
// those within a multipart share it.
// What a signature covers must stay whole: a slice ends in a NUL.
void Loader::lend(Leaf& leaf, SourceText& source, RepairedText* own) const {
    if (own && leaf.size >= own->text.getSize() / 2) leaf.takeFrom(*own);
    else if (!own && m_level && m_level->copy && m_level->enclosing.source != &source)
        leaf.shareWith(*m_level->copy);
}

void Loader::Leaf::takeFrom(RepairedText& repaired) {
    bytes.takeData(repaired.text);
    bytes.removeFront(static_cast<unsigned>(body - repaired.begin));
    body = reinterpret_cast<const char*>(bytes.getData2());
    hasOwner = true;
}

void Loader::Leaf::shareWith(RepairedText& repaired) {
    hasOwner = repaired.share(bytes, body, size);
    if (hasOwner) sharedWith = &repaired;
}

// The only look at it, which makes the copy that will be stored.  Without memory for that the
// storing fails, too.
bool Loader::Leaf::hasZero() {
    if (isLookedAt) return facts.hasZero;
    isLookedAt = true;
    auto* const to = reinterpret_cast<char*>(isCopied && size ? bytes.extend(size) : nullptr);
    hasOwner = hasOwner || to;
    facts = to ? text_facts::copyAndLook(body, size, to) : text_facts::look(body, size);
    return facts.hasZero;
}

// RFC 2045 5.2: a body without a type is text.  Text with a zero byte in it is none, unless
// it is UTF-16.
bool Loader::Leaf::isText(const TypeTraits& type, int codePage) {
    if (type.isEmpty) return !hasZero();
    if (!type.isText) return false;
    if (codePage == codepage::kUtf16LE || codePage == codepage::kUtf16BE) return true;
    return !hasZero();
}

// Bytes that are gone are those of the node.
void Loader::Leaf::noteStored(MimeMessage2& node) {
    if (sharedWith && bytes.isEmpty()) sharedWith->noteShare(node, size);
}

// A node that cannot be noted has bytes of its own at once.
void Loader::RepairedText::noteShare(MimeMessage2& node, unsigned size) {
    if (sharers.push(&node)) shared += size;
    else detach(node);
}

void Loader::RepairedText::detach(MimeMessage2& node) {
    node.m_mimeBody.getData2_rw();
    node.m_received.ownBytes();
    node.m_signedData.getData2_rw();
}

// Limit: sharers keep no more than twice what they share.
Loader::RepairedText::~RepairedText() {
    if (shared < text.getSize() / 2)
        for (MimeMessage2* const node : sharers) detach(*node);
}

void Loader::logContentType(const MimeMessage2& node) {
    if (!m_log.m_verbose) return;
    StringBuffer value;
    node.m_mimeHeader.getMimeFieldUtf8_2("content-type", 12, value, m_log);
    m_log.verboseData("contentType", value.getString());
}

// What stands in front of the first delimiter is dropped (RFC 2046 5.1.1: the preamble), and
// so is what stands behind the last.
Loader::Progress Loader::startParts(MimeMessage2& node, SourceText& source, Repaired& repaired,
                                    const char* body, unsigned size, bool isSigned) {
    std::unique_ptr<Level> level(notingRefusal(new (std::nothrow) Level(node, source, body, size)));
    if (!level) return Progress::Failed;
    const bool found = level->splitter.findFirst(node.m_contentType.m_boundary, m_log);
    if (m_memory.wasRefused()) return Progress::Failed;
    if (!found) {
        if (m_isStrict) {
            m_log.logError("First boundary string not found.");
            return Progress::Failed;
        }
        m_log.verboseInfo("No boundary found -- loading the body with all that follows.");
        Leaf leaf(body, size);
        lend(leaf, source, repaired.get());
        node.noteReceived(node.store8bit(leaf.body, size, node.m_charset.getCodePage(), true, m_log,
                                         leaf.given()));
        leaf.noteStored(node);
        return Progress::Done;
    }
    m_log.verboseInfo("The boundary string was found, continuing to parse MIME...");
    const bool isSameText = m_level && &m_level->source == &source;
    level->copy = repaired ? repaired.get() : isSameText ? m_level->copy : nullptr;
    level->repaired = std::move(repaired);
    level->signedPending = isSigned;
    if (m_level) level->enclosing = m_level->enclosing;
    level->outer = m_level;
    m_level = level.release();
    return Progress::HasParts;
}

// The first charset that a leaf declares helps with the raw header fields of later nodes.
void Loader::noteCharsetClue(const _zqCharset& charset) {
    const int codePage = charset.getCodePage();
    if (!m_charsetClue.isEmpty() || codePage == codepage::kNone || codePage == codepage::kAscii ||
        codePage == codepage::kUtf8)
        return;
    m_charsetClue.setString(charset.getName());
    m_log.verboseData("charsetClue", m_charsetClue.getString());
}

// HTML that is stored already may tell its charset itself.
// Tolerated: pages that claim UTF-16 without a single zero byte.
void Loader::takeCharsetFromHtml(MimeMessage2& node, _zqCharset& charset) {
    const char* const html = reinterpret_cast<const char*>(node.m_mimeBody.getData2());
    const unsigned size = node.m_mimeBody.getSize();
    StringBuffer name;
    _zqHtmlHelp::getCharset(html, size, name);
    if (name.isEmpty()) return;
    m_log.verboseData("charsetFromMetaTag", name.getString());
    const bool claimsUtf16 = name.equalsIgnoreCase("unicode") || name.equalsIgnoreCase("utf-16");
    if (claimsUtf16 && !hasZeroByte(html, size < 1000 ? size : 1000)) {
        m_log.verboseInfo("Must not really be unicode HTML, no zero bytes found...");
        name.setString("windows-1252");
    }
    node.setCharset(name.getString(), m_log);
    charset.setByName(name.getString());
}

void Loader::parseLeaf(MimeMessage2& node, Leaf& leaf, const char* encoding) {
    const char* const body = leaf.body;
    const unsigned size = leaf.size;
    logContentType(node);
    m_log.verboseData("charset", node.m_charset.getName());
    noteCharsetClue(node.m_charset);
    const TypeTraits type = m_type;
    if (type.isBinary) {
        m_log.verboseInfo("clearing charset based on content-type.");
        m_log.verboseInfo("treating body as binary (non-character) data.");
        node.m_charset.clear();
    }
    const bool isAttachment = node.m_disposition.equalsIgnoreCase("attachment");
    if (isAttachment) {
        m_log.verboseInfo("treating body as binary data because of attachment status.");
        node.m_charset.clear();
    }
    m_log.verboseLong("bIsAttachment", isAttachment);
    const int codePage = node.m_charset.getCodePage();
    const bool isText = !isAttachment && leaf.isText(type, codePage);

    // RFC 2045 5.2 wants US-ASCII; text that is labelled so and is not is read as ISO-8859-1.
    _zqCharset charset;
    charset.setByCodePage(codePage == codepage::kAscii ? codepage::kLatin1 : codePage);
    storeRelaxed(b_WasReally1252, false);
    StringBuffer coding;  // a setter may change the node's own
    coding.setString(encoding);
    DataBuffer oldBody;  // which the text may be
    oldBody.takeData(node.m_mimeBody);
    const bool isXHtml = beginsWithXHtml(body, size);
    const auto store = [&](MimeMessage2::Given given) {
        return node.decodeBody(coding.getString(), body, size, charset, isText, m_inputIsUtf8,
                               m_log, given);
    };

    if (!isAttachment && codePage == codepage::kNone && type.isHtml) {
        m_log.verboseInfo("No charset specified.  Trying to get HTML charset via META tag..");
        store({});
        takeCharsetFromHtml(node, charset);
        node.m_mimeBody.clear();
    }
    m_log.verboseData("encoding", coding.getString());
    m_log.verboseLong("entireBodyLen", static_cast<long>(size));
    m_log.verboseData("charset", charset.getName());
    m_log.verboseLong("m_charset_cp", node.m_charset.getCodePage());
    m_log.verboseLong("isText", isText);
    const MimeMessage2::Stored stored = store(leaf.given());
    leaf.noteStored(node);
    const bool wasReally1252 = stored == MimeMessage2::Stored::ConvertedFrom1252;
    m_log.verboseLong("wasReally1252", wasReally1252);
    if (wasReally1252) node.setCharset("windows-1252", m_log);
    node.noteReceived(stored);
    if (isXHtml) node.setContentType("text/html", true, m_log);
}

}  // namespace mimetree::inner
