// SPDX-License-Identifier: Apache-2.0

// The node itself: construction and the end of a whole tree, the child list, the two copies
// of a node, and the plain accessors.  cloneMimeMessage goes through serialize.cpp and
// load.cpp.

#include "mime/MimeMessage2.h"

#include <new>

#include "foundation/LogNull.h"
#include "foundation/Psdk.h"
#include "foundation/bytes/MemoryWatch.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

bool b_WasReally1252 = false;
int MimeMessage2::m_binaryCodePage = 0;

namespace {

constexpr uint32_t kMagic = 0xa4ee21fb;

// Mail of nothing but parts takes as much memory as its nodes.
static_assert(sizeof(void*) != 8 || sizeof(MimeMessage2) <= 640, "The node has grown");

}  // namespace

MimeMessage2::MimeMessage2() : m_magic(kMagic) {}

// The store must happen although the object ends here: a later call through a stale pointer
// looks at it.
MimeMessage2::~MimeMessage2() {
    if (!isAlive()) return;
    if (m_subParts.getSize() != 0) deleteTrees(m_subParts);
    static_cast<volatile uint32_t&>(m_magic) = 0;
}

__attribute__((noinline)) bool MimeMessage2::isAlive() const {
    return static_cast<const volatile uint32_t&>(m_magic) == kMagic;
}

MimeMessage2* MimeMessage2::createNewObject() {
    return notingRefusal(new (std::nothrow) MimeMessage2);
}

void MimeMessage2::clear() {
    if (!isAlive()) return;
    m_modified = false;
    m_auxFlag = false;
    m_signedData.clear();
    m_contentType.clear();
    m_contentId.weakClear();
    m_disposition.weakClear();
    m_contentTransferEncoding.weakClear();
    m_filename.weakClear();
    m_mimeHeader.clear(5);
    clearMimeBody();
    deleteTrees(m_subParts);
}

// -- Child list

// Limit: nesting must cost no machine stack, so the children of a doomed node join the list
// of the doomed before it goes.
void MimeMessage2::deleteTrees(ExtPtrArray& roots) {
    MimeMessage2* doomed = nullptr;
    const auto condemn = [&doomed](ExtPtrArray& parts) {
        for (int i = parts.getSize() - 1; i >= 0; --i) {
            MimeMessage2* child = static_cast<MimeMessage2*>(parts.elementAt(i));
            parts.setAt(i, nullptr);
            if (!child) continue;
            child->m_nextDoomed = doomed;
            doomed = child;
        }
    };
    condemn(roots);
    while (doomed) {
        MimeMessage2* const node = doomed;
        doomed = node->m_nextDoomed;
        condemn(node->m_subParts);
        deleteObject(node);
    }
    roots.removeAllObjects();
}

void MimeMessage2::addPart(MimeMessage2* part) {
    if (!isAlive()) return;
    if (!m_subParts.appendPtr(part)) deleteObject(part);
    m_modified = true;
}

void MimeMessage2::addPartInFront(MimeMessage2* part) {
    if (!isAlive()) return;
    if (!m_subParts.insertAt(0, part)) deleteObject(part);
    m_modified = true;
}

void MimeMessage2::replacePart(int index, MimeMessage2* part, LogBase&) {
    if (isAlive()) m_subParts.setAt(index, part);
}

// Kept on purpose: unlike extractPart this does not mark the node modified.
void MimeMessage2::removePart(int index, LogBase&) {
    if (isAlive()) deleteObject(m_subParts.removeAt(index));
}

MimeMessage2* MimeMessage2::extractPart(int index) {
    if (!isAlive()) return nullptr;
    m_modified = true;
    return static_cast<MimeMessage2*>(m_subParts.removeAt(index));
}

MimeMessage2* MimeMessage2::getPart(int index) const {
    return isAlive() ? static_cast<MimeMessage2*>(m_subParts.elementAt(index)) : nullptr;
}

int MimeMessage2::getNumParts() const { return isAlive() ? m_subParts.getSize() : 0; }

void MimeMessage2::removeSubparts() {
    if (isAlive()) deleteTrees(m_subParts);
}

// -- Copies

// The source may be a descendant: the old children go last.
void MimeMessage2::takeMimeMessage(MimeMessage2& source, LogBase& log) {
    if (!isAlive() || &source == this) return;
    ExtPtrArray oldParts;
    oldParts.swap(m_subParts);
    clear();
    m_contentType.copyFrom(source.m_contentType);
    m_auxFlag = source.m_auxFlag;
    m_contentId.setString(source.m_contentId);
    m_disposition.setString(source.m_disposition);
    m_contentTransferEncoding.setString(source.m_contentTransferEncoding);
    m_filename.setString(source.m_filename);
    m_mimeHeader.copyMimeHeaderFrom(source.m_mimeHeader, log);
    m_mimeBody.append(source.m_mimeBody);
    m_received.copyFrom(source.m_received);
    m_modified = source.m_modified;
    for (int i = 0; i < source.m_subParts.getSize(); ++i) {
        VantrelObject* child = source.m_subParts.elementAt(i);
        if (child && m_subParts.appendPtr(child)) source.m_subParts.setAt(i, nullptr);
    }
    deleteTrees(oldParts);
}

MimeMessage2* MimeMessage2::cloneMimeMessage(LogBase* log) {
    if (!isAlive()) return nullptr;
    LogNull silent;
    LogBase& sink = log ? *log : silent;
    StringBuffer text;
    if (!getMimeTextSb(text, false, sink)) return nullptr;
    const MemoryWatch memory;
    MimeMessage2* copy = createNewObject();
    if (copy) copy->loadMimeComplete(text, sink, false);
    if (!memory.wasRefused()) return copy;
    deleteObject(copy);
    return nullptr;
}

// -- Accessors

const DataBuffer& MimeMessage2::getMimeBodyDb() const {
    if (!isAlive()) Psdk::corruptObjectFound(nullptr);
    return m_mimeBody;
}

void MimeMessage2::setSignedData(const unsigned char* data, unsigned int n) {
    if (!isAlive()) return;
    DataBuffer fresh;  // the bytes may be those that are replaced
    fresh.append(data, n);
    m_signedData.takeData(fresh);
}

void MimeMessage2::copyMimeBody(DataBuffer& out, LogBase&) const {
    if (!isAlive() || &out == &m_mimeBody) return;
    out.clear();
    out.append(m_mimeBody);
}

void MimeMessage2::extractMimeBody(DataBuffer& out, LogBase&) {
    if (!isAlive() || &out == &m_mimeBody) return;
    out.takeData(m_mimeBody);
    clearMimeBody();
}

const char* MimeMessage2::getContentType() const {
    return isAlive() ? m_contentType.m_type.getString() : nullptr;
}

bool MimeMessage2::typeBeginsWith(const char* prefix) const {
    return m_contentType.m_type.beginsWithIgnoreCase(prefix);
}

const char* MimeMessage2::getContentEncoding() const {
    return isAlive() ? m_contentTransferEncoding.getString() : nullptr;
}

void MimeMessage2::getContentEncoding(StringBuffer& out) const {
    if (isAlive()) out.append(m_contentTransferEncoding);
}

const char* MimeMessage2::getCharset() const { return isAlive() ? m_charset.getName() : nullptr; }

void MimeMessage2::getCharset(StringBuffer& out) const {
    if (!isAlive()) return;
    if (typeBeginsWith("text") || typeBeginsWith("message")) out.append(m_charset.getName());
}

void MimeMessage2::getCharset2(StringBuffer& out) const {
    if (isAlive()) out.setString(m_charset.getName());
}

int MimeMessage2::getCharsetCodePage() const { return isAlive() ? m_charset.getCodePage() : 0; }

void MimeMessage2::getMimeFilename(StringBuffer& out) const {
    if (isAlive()) out.append(m_filename);
}

void MimeMessage2::getContentId(StringBuffer& out) const {
    if (isAlive()) out.append(m_contentId);
}

const char* MimeMessage2::getDisposition() const {
    return isAlive() ? m_disposition.getString() : nullptr;
}

void MimeMessage2::getDisposition(StringBuffer& out) const {
    if (isAlive()) out.append(m_disposition);
}

void MimeMessage2::setUseMmMessage(bool b) {
    if (isAlive()) m_useMmMessage = b;
}

int MimeMessage2::getNumHeaderFields() const { return isAlive() ? m_mimeHeader.getNumFields() : 0; }

int MimeMessage2::getHeaderDetectedCP() const {
    return isAlive() ? m_mimeHeader.getDetectedCP() : 0;
}

void MimeMessage2::getMimeHeader(StringBuffer& out, LogBase& log) const {
    if (isAlive()) m_mimeHeader.getMimeHeader(out, nullptr, m_charset.getCodePage(), false, log);
}
