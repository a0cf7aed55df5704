// SPDX-License-Identifier: Apache-2.0

// Calls the operations of nodes in the order and with the arguments that the input says: texts and
// bytes are made up or point into the tree itself.  Nothing may crash, what is written loads again,
// and no setter starts a header line of its own.

#include <cstdint>
#include <cstring>
#include <iterator>

#include "foundation/LogNull.h"
#include "foundation/LogText.h"
#include "mime/MimeMessage2.h"
#include "target.h"

namespace {

constexpr unsigned kTooLarge = 1u << 15;

const char* const kTexts[] = {
    nullptr,
    "",
    " \r\n",
    "a",
    "text/plain",
    "text/html",
    "multipart/mixed",
    "multipart/signed",
    "multipart/related",
    "multipart/appledouble",
    "message/rfc822",
    "image/png",
    "b",
    "b\r\nX: 1",
    "utf-8",
    "iso-8859-1",
    "utf-16",
    "iso-2022-jp",
    "gb2312",
    "base64",
    "quoted-printable",
    "8bit",
    "binary",
    "uuencode",
    "X-UUencode",
    "attachment",
    "inline",
    "Content-Type",
    "Content-ID",
    "Content-Disposition",
    "Content-Transfer-Encoding",
    "Subject",
    "To",
    "Bcc",
    "DKIM-Signature",
    "=?utf-8?Q?=C3=BC=0D=0AX:_1?=",
    "a <a@b>, =?koi8-r?B?wQ==?= <c@d>",
    "../gr\xC3\xBC\xC3\x9F.txt",
    "part.html",
    "multipart/mixed; boundary=b; name*0*=utf-8''a%0A; name*1=b",
    "attachment; filename=\"a\\\"b.txt\"",
    "text/html; charset=koi8-r",
    "QUJD\r\nREVG=\r\n",
    "begin 644 a\n#86)C\n`\nend\n",
    "--b\r\nA: 1\r\n\r\nhello\r\n--b\r\n\r\n\r\nworld\r\n--b--",
    "Content-Type: multipart/signed; boundary=b\r\n\r\n--b\r\nContent-Type: multipart/mixed;"
    " boundary=c\r\n\r\n--c\r\nA: 1\r\n\r\nhello\r\n--c--\r\n\r\n--b\r\nB: 2\r\n\r\nworld\r\n--b--",
    "<html><meta charset=utf-16>=C3=BC",
    "\xFF\xFE\x41\x00\x42\x00",
    "\xC3\xBC\x93\xB1\xE9",
    "A: 1\n\nb\r\r\n",
    "\r\n\r\nb",
    "From a b\r\nA: 1\r\n\r\nb"};

struct Bytes {
    const char* data;
    unsigned size;
};

class Sequence {
public:
    Sequence(const uint8_t* data, size_t size) : m_at(data), m_end(data + size) {}

    void run();

    unsigned byte() { return m_at == m_end ? 0 : *m_at++; }
    bool flag() { return byte() & 1; }
    int index() { return static_cast<int>(byte() % 5) - 1; }
    int codePage();

    MimeMessage2& node() { return below(root); }
    MimeMessage2& below(MimeMessage2& top);
    MimeMessage2* newNode();
    StringBuffer& stringOf(MimeMessage2& node);
    StringBuffer& ownString() { return stringOf(node()); }
    DataBuffer& ownBytes() { return flag() ? node().m_mimeBody : node().m_signedData; }
    const char* text();
    Bytes bytes();
    const _zqCharset& charset();
    XString& unicode();
    ExtPtrArray& parts(MimeMessage2& node);

    LogBase& log() { return m_log; }
    StringBuffer& out() { return flag() ? m_out : ownString(); }
    DataBuffer& outBytes() { return flag() ? m_outBytes : ownBytes(); }

    MimeMessage2 root, other;

private:
    bool isTooLarge();
    void checkWriting();

    const uint8_t* m_at;
    const uint8_t* const m_end;
    LogText m_log;
    StringBuffer m_out;
    DataBuffer m_outBytes;
    _zqCharset m_charset;
    XString m_unicode;
    ExtPtrArray m_parts;
};

// A node or one below it.
MimeMessage2& Sequence::below(MimeMessage2& top) {
    MimeMessage2* at = &top;
    for (unsigned way = byte(); way & 1; way >>= 3) {
        MimeMessage2* const next = at->getPart(static_cast<int>(way >> 1 & 3));
        if (next) at = next;
    }
    return *at;
}

MimeMessage2* Sequence::newNode() {
    MimeMessage2* const made = MimeMessage2::createNewObject();
    const Bytes input = bytes();
    StringBuffer clue;
    made->loadMimeComplete2(input.data, input.size, flag(), clue, log(), flag());
    return made;
}

StringBuffer& Sequence::stringOf(MimeMessage2& of) {
    _zqContentType& type = of.m_contentType;
    StringBuffer* const all[] = {
        &type.m_type,      &type.m_name,      &type.m_protocol, &type.m_micalg,
        &type.m_boundary,  &type.m_smimeType, &type.m_subType,  &type.m_reportType,
        &of.m_disposition, &of.m_filename,    &of.m_contentId,  &of.m_contentTransferEncoding};
    return *all[byte() % std::size(all)];
}

const char* Sequence::text() {
    switch (byte() % 5) {
        case 0: {
            const StringBuffer& own = ownString();
            return own.getString() + byte() % (own.getSize() + 1);
        }
        case 1: {
            const DataBuffer& own = ownBytes();
            const unsigned offset = byte() % (own.getSize() + 1);
            return own.getData2() ? reinterpret_cast<const char*>(own.getData2()) + offset : "";
        }
        case 2: return node().m_charset.getName();
        default: return kTexts[byte() % std::size(kTexts)];
    }
}

Bytes Sequence::bytes() {
    if (byte() % 4 == 0) {
        const unsigned rest = static_cast<unsigned>(m_end - m_at), size = byte() % (rest + 1);
        return {reinterpret_cast<const char*>(m_end) - size, size};
    }
    if (flag()) {
        const DataBuffer& own = ownBytes();
        const unsigned offset = byte() % (own.getSize() + 1);
        const char* const data = reinterpret_cast<const char*>(own.getData2());
        return data ? Bytes{data + offset, own.getSize() - offset} : Bytes{nullptr, byte()};
    }
    const char* const s = text();
    return {s, s ? static_cast<unsigned>(std::strlen(s)) : byte()};
}

int Sequence::codePage() {
    static constexpr int kPages[] = {0, 65001, 1200, 1252, 28591, 20127, 50220, 936, 950, 99999};
    return kPages[byte() % std::size(kPages)];
}

const _zqCharset& Sequence::charset() {
    if (flag()) return node().m_charset;
    m_charset.setByCodePage(codePage());
    return m_charset;
}

XString& Sequence::unicode() {
    m_unicode.setFromUtf8(text());
    return m_unicode;
}

ExtPtrArray& Sequence::parts(MimeMessage2& node) {
    if (flag()) return below(node).m_subParts;
    m_parts.appendPtr(newNode());
    return m_parts;
}

using Step = void (*)(Sequence& s, MimeMessage2& n);

// Arguments that read the input are named first: compilers evaluate those of a call in any order.
constexpr Step kSteps[] = {
    [](auto& s, auto& n) {
        auto b = s.bytes();
        bool l = s.flag();
        StringBuffer& c = s.out();
        n.loadMimeComplete2(b.data, b.size, l, c, s.log(), s.flag());
    },
    [](auto& s, auto& n) { n.loadMimeCompleteDb(s.ownBytes(), s.log()); },
    [](auto& s, auto& n) { n.loadMimeComplete(s.ownString(), s.log(), s.flag()); },
    [](auto& s, auto& n) {
        auto h = s.text();
        auto b = s.bytes();
        auto& p = s.parts(n);
        n.loadMime(h, reinterpret_cast<const unsigned char*>(b.data), b.size, p, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto e = s.text();
        auto b = s.bytes();
        bool l = s.flag();
        StringBuffer& c = s.out();
        n.parseMimeBody(e, b.data, b.size, l, c, s.log(), s.flag());
    },
    [](auto& s, auto& n) {
        auto e = s.text();
        auto b = s.bytes();
        auto& c = s.charset();
        bool t = s.flag();
        n.setMimeBodyByEncoding(e, b.data, b.size, c, t, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto e = s.text();
        auto& t = s.ownString();
        auto& c = s.charset();
        n.setMimeBodyByEncoding_Careful(e, t, c, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto b = s.bytes();
        auto& c = s.charset();
        n.setMimeBodyBase64(b.data, b.size, c, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto b = s.bytes();
        auto& c = s.charset();
        n.setMimeBodyQP(b.data, b.size, c, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto b = s.bytes();
        auto& c = s.charset();
        n.setMimeBody8Bit_2(b.data, b.size, c, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto& t = s.ownString();
        n.setMimeBodyString_Unencoded(t, s.charset(), s.flag(), s.log());
    },
    [](auto& s, auto& n) { n.setMimeBodyString(s.unicode(), s.log()); },
    [](auto& s, auto& n) { n.setBodyFromPlainText(s.unicode(), s.log()); },
    [](auto& s, auto& n) {
        auto b = s.bytes();
        n.setMimeBodyBinary2(reinterpret_cast<const unsigned char*>(b.data), b.size, s.log());
    },
    [](auto& s, auto& n) {
        auto b = s.bytes();
        n.setSignedData(reinterpret_cast<const unsigned char*>(b.data), b.size);
    },
    [](auto&, auto& n) { n.clearMimeBody(); },
    [](auto& s, auto& n) { n.setContentEncoding(s.text(), s.log()); },
    [](auto& s, auto& n) {
        auto t = s.text();
        n.setContentType(t, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        const char* t[7];
        for (auto& one : t) one = s.text();
        n.setContentType(t[0], t[1], t[2], t[3], t[4], t[5], t[6], s.log());
    },
    [](auto& s, auto& n) { n.setBoundary(s.text(), s.log()); },
    [](auto& s, auto& n) { n.setNameUtf8(s.text(), s.log()); },
    [](auto& s, auto& n) {
        n.setProtocol(s.text(), s.log());
        n.setMicalg(s.text(), s.log());
        n.setSMimeType(s.text(), s.log());
        n.setSubType(s.text(), s.log());
    },
    [](auto& s, auto& n) { n.setCharset(s.charset(), s.log()); },
    [](auto& s, auto& n) { n.setCharset(s.text(), s.log()); },
    [](auto& s, auto& n) { n.clearCharset(s.log()); },
    [](auto& s, auto& n) {
        auto d = s.text();
        n.setContentDisposition(d, s.text(), s.log());
    },
    [](auto& s, auto& n) { n.setDisposition(s.text(), s.log()); },
    [](auto& s, auto& n) { n.setFilenameUtf8(s.text(), s.log()); },
    [](auto& s, auto& n) {
        auto name = s.text();
        n.addReplaceHeaderFieldUtf8(name, s.text(), s.log());
    },
    [](auto& s, auto& n) {
        auto name = s.text();
        auto v = s.text();
        n.addHeaderFieldUtf8(name, v, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        auto t = s.text();
        n.removeHeaderField(t, s.flag(), s.log());
    },
    [](auto& s, auto& n) {
        n.collapseMultiple(s.text(), s.log());
        n.moveHeaderToBottom(s.text(), s.log());
    },
    [](auto& s, auto& n) {
        n.removeHeaderFieldsAfterSig(s.log());
        n.cacheAll(s.log());
    },
    [](auto& s, auto& n) { n.addPart(s.newNode()); },
    [](auto& s, auto& n) { n.addPartInFront(s.newNode()); },
    [](auto& s, auto& n) { n.removePart(s.index(), s.log()); },
    [](auto& s, auto& n) { VantrelObject::deleteObject(n.extractPart(s.index())); },
    [](auto&, auto& n) { n.removeSubparts(); },
    [](auto&, auto& n) { n.clear(); },
    [](auto& s, auto& n) {
        MimeMessage2& from = s.below(n);
        n.takeMimeMessage(from, s.log());
    },
    [](auto& s, auto& n) {
        s.other.takeMimeMessage(n, s.log());
        n.takeMimeMessage(s.other, s.log());
    },
    [](auto& s, auto& n) { n.addPart(n.cloneMimeMessage(&s.log())); },
    [](auto& s, auto& n) {
        n.setUseMmMessage(s.flag());
        n.m_contentType.m_boundary.setString(s.text());
    },
    [](auto& s, auto& n) { n.newMultipartMixed(s.log()); },
    [](auto& s, auto& n) { n.newMultipartReport(s.text(), s.log()); },
    [](auto& s, auto& n) { n.newMessageRfc822Sb(s.ownString(), s.log()); },
    [](auto& s, auto& n) { n.newMessageRfc822(s.unicode(), s.log()); },
    [](auto&, auto& n) { n.makeBinarySafeForString(); },
    [](auto&, auto& n) { n.restoreBinarySafeForString(); },
    [](auto& s, auto& n) { n.convert8Bit(s.log()); },
    [](auto& s, auto& n) { n.urlEncodeBody(s.text(), s.log()); },
    [](auto& s, auto& n) { n.uuDecodeAttachment(s.log()); },
    [](auto& s, auto& n) { n.makeAttachmentFilenamesRelative(s.log()); },
    [](auto& s, auto& n) { VantrelObject::deleteObject(n.getAppleDoubleAttachment(s.log())); },
    [](auto& s, auto& n) {
        n.getHtmlBodyObject(s.log());
        n.getHtmlBody(s.outBytes(), s.log());
    },
    [](auto& s, auto& n) { n.copyMimeBody(s.outBytes(), s.log()); },
    [](auto& s, auto& n) { n.extractMimeBody(s.outBytes(), s.log()); },
    [](auto& s, auto& n) { n.getMimeTextDb(s.outBytes(), s.flag(), s.log()); },
    [](auto& s, auto& n) { n.getMimeTextSb(s.out(), s.flag(), s.log()); },
    [](auto& s, auto& n) {
        n.getMimeBodyAll(s.outBytes(), s.log());
        n.assemble2(s.outBytes(), s.log());
    },
    [](auto& s, auto& n) {
        n.getMimeBodyEncoded2(s.out(), s.log());
        n.getMimeBodyEncoded2aUtf8(s.out(), s.log());
        n.getMimeBodyEncodedDb(s.outBytes(), s.log());
    },
    [](auto& s, auto& n) {
        n.getMimeBodyQP(s.out(), s.codePage(), s.log());
        n.getMimeBodyBase64(s.out(), s.codePage(), s.log());
        n.getMimeBody8Bit(s.outBytes(), s.codePage(), s.log());
    },
    [](auto& s, auto& n) {
        auto t = s.text();
        bool d = s.flag();
        n.getHeaderFieldUtf8_2(t, d, s.out(), s.log());
        n.getHeaderFieldName(s.index(), s.out(), s.log());
        n.getHeaderFieldValue(s.index(), d, s.out(), s.log());
    },
    [](auto& s, auto& n) {
        auto f = s.text();
        auto p = s.text();
        n.getSubFieldUtf8(f, p, s.out(), s.log());
        n.getQBEncodedHeader(s.out(), s.log());
    },
    [](auto& s, auto& n) {
        ExtPtrArray a;
        n.getEmailAddresses(s.text(), a, s.log());
        n.getAndRemoveBccAddresses(a, s.log());
    },
    [](auto& s, auto& n) {
        n.getContentEncoding(s.out());
        n.getCharset(s.out());
        n.getCharset2(s.out());
        n.getMimeFilename(s.out());
        n.getContentId(s.out());
        n.getDisposition(s.out());
    },
    [](auto& s, auto& n) {
        n.find8bitInfo(s.out());
        n.containsSignedParts(s.log());
        n.containsEncryptedParts(s.log());
        n.isMultipartSigned(s.log());
    },
    [](auto& s, auto& n) {
        MimeMessage2* parent;
        n.findContentType(&parent, s.text());
        n.findMultipartRelated();
        n.findByVantrelObjectId(n.m_objectId + s.byte());
    },
    [](auto& s, auto& n) {
        n.getTypeFromFilename(s.text(), s.out(), s.log());
        n.getTypeFromExtension(s.text(), s.out(), s.log());
        n.needsCData(s.text());
        n.findEndOfHeader(s.text());
    },
    [](auto& s, auto& n) {
        StringBuffer xml;
        n.getMimeXml(xml, s.log());
        n.getMimeStructure(s.index(), 0, s.out(), s.log());
        n.addPart(MimeMessage2::createMimeFromXml(xml, "mime_message", s.flag(), s.log()));
    },
    [](auto& s, auto& n) {
        const char* d = s.text();
        unsigned z = d ? static_cast<unsigned>(std::strlen(d)) : 0;
        if (d) {
            StringBuffer a, b;
            const char *e = nullptr, *t = nullptr;
            unsigned io = z;
            n.findEndOfHeader2(&d, z, s.flag(), s.log(), false, a, b, io, &e, &t);
        }
    },
};

size_t sizeOf(const MimeMessage2& node) {
    size_t size = sizeof node + node.m_mimeBody.getSize() + node.m_signedData.getSize();
    for (int i = 0; i < node.getNumParts(); ++i)
        if (node.getPart(i)) size += sizeOf(*node.getPart(i));
    return size;
}

// Bodies that are appended to themselves double.
bool Sequence::isTooLarge() {
    if (m_outBytes.getSize() > kTooLarge) m_outBytes.clear();
    if (m_out.getSize() > kTooLarge) m_out.clear();
    m_log.clear();
    LogNull silent;
    DataBuffer text;
    root.getMimeTextDb(text, false, silent);
    return text.getSize() + sizeOf(root) > kTooLarge;
}

void Sequence::checkWriting() {
    LogNull silent;
    DataBuffer text;
    root.getMimeTextDb(text, false, silent);
    MimeMessage2 again;
    require(again.loadMimeCompleteDb(text, silent), "what is written loads again");
    StringBuffer head, clue;
    root.getMimeHeader(head, silent);
    MimeHeader fields;
    fields.loadMimeHeaderBytes(head.getString(), head.getSize(), 0, clue, silent);
    require(fields.getNumFields() == root.getNumHeaderFields(), "no setter starts a field");
    require(!head.containsSubstring("\r\n\r\n"), "no header ends early");
}

void Sequence::run() {
    for (int i = 0; i < 64 && m_at != m_end && !isTooLarge(); ++i) {
        MimeMessage2& n = node();
        kSteps[byte() % std::size(kSteps)](*this, n);
    }
    checkWriting();
}

}  // namespace

FUZZ_TARGET(sequence_fuzz) { Sequence(data, size).run(); }
