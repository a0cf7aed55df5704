// SPDX-License-Identifier: Apache-2.0

// Writing a tree: headers, delimiter lines and encoded bodies (body_get.cpp), appended to one
// buffer.  Multiparts whose parts are still to be written wait on a list.

#include <cstring>

#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/coding/base64.h"
#include "foundation/coding/quoted_printable.h"
#include "foundation/header/HeaderParams.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

// About as many bytes as the tree takes, so that the output grows once.  A guess: text may turn
// out longer in its charset or as quoted-printable.  Room for the worst of a short text spares its
// coder a look at how long it gets.
uint64_t likelySize(const MimeMessage2& root) {
    constexpr unsigned kDelimiterAndBreaks = 80, kShort = 0x8000;
    TreeWalk walk(root);
    uint64_t size = 0, longest = 0;
    for (const MimeMessage2* node = &root; node; node = walk.next()) {
        const uint64_t body = node->m_mimeBody.getSize();
        const unsigned coding = node->m_contentTransferEncoding.getSize();
        size += node->m_mimeHeader.textSize() + kDelimiterAndBreaks;
        size += coding == std::strlen("base64") ? base64::encodedSize(body) : body + body / 8;
        if (coding == std::strlen("quoted-printable") && body > longest && body <= kShort)
            longest = body;
    }
    return size + (longest ? quoted_printable::mostEncoded(longest) : 0);
}

void reserveFor(const MimeMessage2& root, DataBuffer& out) {
    constexpr uint64_t kMost = 0x40000000;  // what is larger grows as it comes
    const uint64_t size = out.getSize() + likelySize(root);
    if (size < kMost) out.reserve(static_cast<unsigned>(size));
}

// Header and blank line; `scratch` is for what has to be written.  RFC 4155: a loader skips a line
// that begins with "From " and has text behind it.  Tolerated: a header that begins with one, as
// behind a second such line; it gets another in front, so that it is read again.
void writeHeader(const MimeMessage2& node, StringBuffer& scratch, DataBuffer& out, LogBase& log) {
    // A node whose marker is gone says that it has no fields.
    const bool hasFields = node.getNumHeaderFields() != 0;
    const char* header = hasFields ? node.m_mimeHeader.textAsRead() : nullptr;
    unsigned size = node.m_mimeHeader.textSize();
    if (!header) {
        scratch.weakClear();
        node.getMimeHeader(scratch, log);
        header = scratch.getString();
        size = scratch.getSize();
    }
    const bool isAlone = node.m_mimeBody.isEmpty() && node.getNumParts() == 0 &&
                         std::memchr(header, '\n', size) == nullptr;
    if (!isAlone && size >= 5 && std::memcmp(header, "From ", 5) == 0) out.append("From -\r\n", 8);
    out.append(header, size);
    out.append("\r\n\r\n", 4);
}

class TreeWriter {
public:
    TreeWriter(DataBuffer& out, LogBase& log) : m_out(out), m_log(log) {}

    // When memory is refused on the way, what was appended makes no sense.
    void write(const MimeMessage2& root) {
        writeBody(root);
        while (!m_open.isEmpty()) writeNextPart();
    }

private:
    enum class Kind { Parts, Signed };

    // A multipart whose part in front of `next` was just written.
    struct Open {
        const MimeMessage2* node;
        int next;
        Kind kind;
    };

    void writeBody(const MimeMessage2& node);
    void writeSigned(const MimeMessage2& node);
    void writeNextPart();
    void writeHead(const MimeMessage2* part);
    void delimiter(const MimeMessage2& node, const char* tail);
    void open(const MimeMessage2& node, int next, Kind kind) {
        m_open.push(Open{&node, next, kind});
    }

    DataBuffer& m_out;
    LogBase& m_log;
    StringBuffer m_head;  // reused for headers
    GrowArray<Open, 16> m_open;
};

// The record is public: its boundary may have been put there by hand.
void TreeWriter::delimiter(const MimeMessage2& node, const char* tail) {
    const StringBuffer& boundary = node.m_contentType.m_boundary;
    m_out.appendStr("--");
    if (char* to = reinterpret_cast<char*>(m_out.extend(boundary.getSize()))) {
        std::memcpy(to, boundary.getString(), boundary.getSize());
        makeBoundarySafe(to, boundary.getSize());
    }
    m_out.appendStr(tail);
}

// Header, if there is one to write, and blank line.
void TreeWriter::writeHead(const MimeMessage2* part) {
    if (part) writeHeader(*part, m_head, m_out, m_log);
    else m_out.append("\r\n\r\n", 4);
}

void TreeWriter::writeBody(const MimeMessage2& node) {
    if (node.isMultipartSigned(m_log)) writeSigned(node);
    else if (node.getNumParts() == 0) node.getMimeBodyEncodedDb(m_out, m_log);
    else open(node, 0, Kind::Parts);
}

// RFC 1847 2.1: the signature covers the bytes of the first part as they came, which the
// kept text has, and there are two parts; more are not written.
void TreeWriter::writeSigned(const MimeMessage2& node) {
    delimiter(node, "\r\n");
    if (const MimeMessage2* content = node.getPart(0)) m_out.append(content->getSignedData());
    m_out.appendStr("\r\n");
    delimiter(node, "\r\n");
    const MimeMessage2* signature = node.getPart(1);
    if (!signature) {
        delimiter(node, "--\r\n");
        return;
    }
    writeHead(signature);
    open(node, 2, Kind::Signed);
    writeBody(*signature);
}

void TreeWriter::writeNextPart() {
    Open& open = m_open.back();
    const MimeMessage2& node = *open.node;
    if (open.next > 0) m_out.appendStr("\r\n");
    if (open.kind == Kind::Signed || open.next >= node.getNumParts()) {
        m_open.pop();
        delimiter(node, "--\r\n");
        return;
    }
    const MimeMessage2* part = node.getPart(open.next++);
    delimiter(node, "\r\n");
    writeHead(part);
    if (part) writeBody(*part);
}

}  // namespace

// -- The node's face on it

void MimeMessage2::appendPreamble(StringBuffer& out) const {
    if (getNumParts() != 0 && m_useMmMessage)
        out.append("This is a multi-part message in MIME format.\r\n\r\n");
}

void MimeMessage2::getMimeTextDb(DataBuffer& out, bool bodyOnly, LogBase& log) const {
    OperationContext context(log, "getMimeTextDb");
    if (!isAlive()) return;
    const MemoryWatch memory;
    reserveFor(*this, out);
    if (!bodyOnly) {
        StringBuffer head;
        writeHeader(*this, head, out, log);
        head.clear();
        appendPreamble(head);
        out.append(head);
    }
    assemble2(out, log);
    if (memory.wasRefused()) out.markFailed();
}

bool MimeMessage2::getMimeTextSb(StringBuffer& out, bool bodyOnly, LogBase& log) const {
    if (!isAlive()) return false;
    DataBuffer text;
    getMimeTextDb(text, bodyOnly, log);
    if (text.failed()) return false;
    return out.isEmpty() ? out.takeFromDb(text) : out.append(text);
}

void MimeMessage2::getMimeBodyAll(DataBuffer& out, LogBase& log) const {
    if (!isAlive()) return;
    const MemoryWatch memory;
    StringBuffer preamble;
    appendPreamble(preamble);
    out.append(preamble);
    assemble2(out, log);
    if (memory.wasRefused()) out.markFailed();
}

void MimeMessage2::assemble2(DataBuffer& out, LogBase& log) const {
    if (!isAlive()) return;
    const unsigned int before = out.getSize();
    const MemoryWatch memory;
    TreeWriter(out, log).write(*this);
    if (!memory.wasRefused()) return;
    log.logError("Out of memory.");
    out.shorten(out.getSize() - before);
    out.markFailed();
}
