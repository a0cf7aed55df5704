// SPDX-License-Identifier: Apache-2.0

// Loading: a text into header and body, the body into parts or a leaf (body_parse.cpp), each
// part into header and body again.  header_end.cpp finds where a header ends.  loadMime makes
// a node from pieces instead.

#include <cstring>
#include <new>

#include "foundation/bytes/bytes.h"
#include "mime/node/internal.h"
#include "mime/node/type_traits.h"
#include "mime/parse/loader.h"

using namespace mimetree::inner;

namespace {

// Limit: without a blank line a text is all header, unless it is too big to be one.
constexpr unsigned kMaxHeaderSize = 20000000;

// RFC 4155: the line that separates messages in an mbox file.  Gives how many bytes to skip.
// Kept on purpose: a line with a zero byte in it is none.
unsigned mboxLineLength(const char* data, unsigned size) {
    if (size < 5 || std::memcmp(data, "From ", 5) != 0) return 0;
    const auto isBreak = [&](unsigned i) { return data[i] == '\r' || data[i] == '\n'; };
    unsigned skip = 5;
    while (skip < size && !isBreak(skip) && data[skip] != '\0') ++skip;
    if (skip == size || data[skip] == '\0') return 0;
    while (skip < size && isBreak(skip)) ++skip;
    return skip < size ? skip : 0;
}

// Kept on purpose: a bare CR is no line break here, so a body behind "\r\r" begins with it.
const char* behindLineBreak(const char* p, const char* end) {
    if (end - p >= 2 && p[0] == '\r' && p[1] == '\n') return p + 2;
    return p != end && *p == '\n' ? p + 1 : p;
}

}  // namespace

// What a node held before it is loaded anew: the text may be a piece of it, or of a node below.
// It goes when the load has ended.
class MimeMessage2::Held {
public:
    Held(MimeMessage2& node, const char* text, unsigned size) : m_text(text) {
        if (node.isWithinString(text))
            m_text = m_copy.setStringN(text, size) ? m_copy.getString() : nullptr;
        m_body.takeData(node.m_mimeBody);
        m_signed.takeData(node.m_signedData);
        m_parts.swap(node.m_subParts);
    }
    ~Held() { deleteTrees(m_parts); }

    const char* text() const { return m_text; }  // null when memory is exhausted

private:
    const char* m_text;
    StringBuffer m_copy;
    DataBuffer m_body, m_signed;
    ExtPtrArray m_parts;
};

// Whether `p` points into one of the strings of the node, which all may change in a load.
bool MimeMessage2::isWithinString(const char* p) const {
    return m_contentType.holds(p) || m_charset.holds(p) || m_disposition.owns(p) ||
           m_contentTransferEncoding.owns(p) || m_filename.owns(p) || m_contentId.owns(p);
}

// -- Entry points

bool MimeMessage2::loadMimeComplete(const StringBuffer& mimeText, LogBase& log, bool inputIsUtf8) {
    if (!isAlive() || !mimeText.isValidObject()) return false;
    StringBuffer charsetClue;
    return loadMimeComplete2(mimeText.getString(), mimeText.getSize(),
                             /*lenientLineEndings*/ true, charsetClue, log, inputIsUtf8);
}

bool MimeMessage2::loadMimeCompleteDb(DataBuffer& mimeBytes, LogBase& log) {
    if (!isAlive()) return false;
    StringBuffer charsetClue;
    return loadMimeComplete2(reinterpret_cast<const char*>(mimeBytes.getData2()),
                             mimeBytes.getSize(), /*lenientLineEndings*/ false, charsetClue, log,
                             /*inputIsUtf8*/ false);
}

bool MimeMessage2::loadMimeComplete2(const char* data, unsigned int size, bool lenientLineEndings,
                                     StringBuffer& charsetClue, LogBase& log, bool inputIsUtf8) {
    if (!isAlive()) return false;
    const Held held(*this, data, size);
    Loader loader(lenientLineEndings ? LineEndings::Lenient : LineEndings::AsTheyAre, inputIsUtf8,
                  charsetClue, log);
    return loader.load(*this, held.text(), size);
}

bool MimeMessage2::parseMimeBody(const char* encoding, const char* body, unsigned int bodySize,
                                 bool lenientLineEndings, StringBuffer& charsetClue, LogBase& log,
                                 bool inputIsUtf8) {
    if (!isAlive()) return false;
    StringBuffer copy;  // of a string that a leaf may change
    if (isWithinString(body)) {
        if (!copy.setStringN(body, bodySize)) return false;
        body = copy.getString();
    }
    Loader loader(lenientLineEndings ? LineEndings::Lenient : LineEndings::AsTheyAre, inputIsUtf8,
                  charsetClue, log);
    return loader.parseBody(*this, encoding, body, bodySize);
}

// -- The loader

Loader::Loader(LineEndings lineEndings, bool inputIsUtf8, StringBuffer& charsetClue, LogBase& log)
    : m_lineEndings(lineEndings),
      m_inputIsUtf8(inputIsUtf8),
      m_isStrict(log.m_options.containsSubstringNoCase("StrictMimeParsing")),
      m_charsetClue(charsetClue),
      m_log(log) {}

Loader::~Loader() {
    while (m_level) closeLevel(false);
}

bool Loader::load(MimeMessage2& root, const char* data, unsigned size) {
    if (!data) size = 0;
    root.clear();
    SourceText source(data, data + size);
    return finishLevels(openNode(root, source, lookAt(source, data, size)));
}

bool Loader::parseBody(MimeMessage2& node, const char* encoding, const char* body, unsigned size) {
    if (!body) size = 0;
    SourceText source(body, body + size);
    m_type = node.typeTraits(m_log);
    return finishLevels(openBody(node, source, nullptr, encoding, body, size));
}

// Damaged parts are the parts' own affair; parts that lack pieces for want of memory are not.
bool Loader::finishLevels(Progress first) {
    bool ok = first == Progress::Done;
    if (first == Progress::HasParts) {
        while (m_level)
            if (!loadNextPart()) closeLevel(false);
        ok = m_result;
    }
    if (!m_memory.wasRefused()) return ok;
    m_log.logError("Out of memory.");
    return false;
}

// False when the level has failed.  Parts that open levels of their own are finished first.
bool Loader::loadNextPart() {
    using Outcome = MultipartSplitter::Outcome;
    using Missing = MultipartSplitter::MissingDelimiter;
    const char* part = nullptr;
    unsigned size = 0;
    switch (m_level->splitter.next(m_isStrict ? Missing::IsAnError : Missing::EndsTheLastPart,
                                   m_log, part, size)) {
        case Outcome::Part: return addPart(part, size);
        case Outcome::NoMoreParts: closeLevel(true); return true;
        case Outcome::MissingDelimiter: break;
    }
    return false;
}

// What a part makes of its text is its own affair: its result is ignored.
// RFC 1847 2.1: a signature covers the first part byte for byte, so its text is kept.
bool Loader::addPart(const char* part, unsigned size) {
    Level& level = *m_level;
    Entity entity = lookAt(level.source, part, size);
    MimeMessage2* const child = createNode(entity);
    if (!child || !level.node.m_subParts.appendPtr(child)) {
        VantrelObject::deleteObject(child);
        return false;
    }
    level.node.m_modified = true;
    const bool hasParts = openNode(*child, level.source, entity) == Progress::HasParts;
    if (!level.signedPending) return true;
    level.signedPending = false;
    const SignedText kept = keepSigned(level, *child, part, size);
    if (hasParts) m_level->enclosing = kept;
    return true;
}

Loader::SignedText Loader::keepSigned(const Level& level, MimeMessage2& node, const char* part,
                                      unsigned size) {
    const SignedText& outer = level.enclosing;
    const bool isWithin = outer.source == &level.source;
    const bool isSlice = isWithin
                             ? node.m_signedData.makeSliceOf(
                                   *outer.kept, static_cast<unsigned>(part - outer.begin), size)
                             : level.copy && level.copy->share(node.m_signedData, part, size);
    if (!isSlice) node.m_signedData.append(part, size);
    else if (!isWithin) level.copy->noteShare(node, size);
    return SignedText{&level.source, part, &node.m_signedData};
}

// Tolerated: the boundary of such a multipart cannot stand in a header as it is; its high
// bytes are folded into ASCII letters and digits.
static void foldBoundaryToAscii(MimeMessage2& node, LogBase& log) {
    StringBuffer folded(node.m_contentType.m_boundary);
    char* p = folded.getString_rw();
    for (unsigned i = 0; i < folded.getSize(); ++i) {
        const unsigned char byte = static_cast<unsigned char>(p[i]);
        if (byte < 0x81) continue;
        const int low = byte ^ 0x80;
        p[i] = static_cast<char>(low < '0' ? '0' : low > 'z' ? 'z' : low);
    }
    node.setBoundary(folded.getString(), log);
}

void Loader::closeLevel(bool ok) {
    std::unique_ptr<Level> level(m_level);
    m_level = level->outer;
    m_result = ok;
    if (ok && level->splitter.matchedAnsi()) foldBoundaryToAscii(level->node, m_log);
    m_log.leaveContext();
    if (!level->isWholeEntity) return;
    if (!ok) m_log.logError("MIME has errors.");
    m_log.leaveContext();
}

// -- One entity

// Kept on purpose: in text, a double LF in the body makes the header, too, be repaired.
Loader::Entity Loader::lookAt(SourceText& source, const char* data, unsigned size) {
    const unsigned skip = mboxLineLength(data, size);
    Entity entity{data + skip, size - skip};
    const char* const end = data + size;
    entity.isBehindMboxLine = skip != 0;
    entity.isUsual =
        header_scan::run(entity.data, entity.size, m_scan) &&
        (m_lineEndings == LineEndings::AsTheyAre || !source.find(Break::LfLf, entity.data, end));
    return entity;
}

// A part has little but its header, which has room in the block of the node.
MimeMessage2* Loader::createNode(Entity& entity) const {
    const size_t room = entity.isUsual ? MimeHeader::roomFor(m_scan) : 0;
    void* const block = notingRefusal(::operator new(sizeof(MimeMessage2) + room, std::nothrow));
    if (!block) return nullptr;
    if (room) entity.room = static_cast<char*>(block) + sizeof(MimeMessage2);
    return ::new (block) MimeMessage2;
}

Loader::Progress Loader::openNode(MimeMessage2& node, SourceText& source, const Entity& entity) {
    m_log.enterContext("loadMimeComplete", m_log.m_verbose);
    const Progress progress = loadNode(node, source, entity);
    if (progress == Progress::HasParts) m_level->isWholeEntity = true;
    else m_log.leaveContext();
    return progress;
}

Loader::Progress Loader::loadNode(MimeMessage2& node, SourceText& source, const Entity& entity) {
    if (!entity.data) return Progress::Failed;
    if (entity.isBehindMboxLine) m_log.verboseInfo("Skipping MBOX leading From line...");
    return entity.isUsual ? loadScanned(node, source, entity)
                          : loadTolerantly(node, source, entity.data, entity.size);
}

Loader::Progress Loader::loadScanned(MimeMessage2& node, SourceText& source, const Entity& entity) {
    { const OperationContext context(m_log, "findEndOfHeader2"); }
    m_log.verboseInfo("Found end-of-header.");
    const char* const body = entity.data + m_scan.size + 4;
    const unsigned bodySize = entity.size - m_scan.size - 4;
    MimeHeader::MimeFields fields;
    if (!node.m_mimeHeader.loadScanned(entity.data, m_scan, entity.room, headerCodePage(),
                                       m_charsetClue, fields, m_log))
        return Progress::Failed;
    m_type = node.cacheFields(fields, m_log);
    if (bodySize == 0) return Progress::Done;
    return tellFailure(openBody(node, source, nullptr, node.m_contentTransferEncoding.getString(),
                                body, bodySize));
}

Loader::Progress Loader::loadTolerantly(MimeMessage2& node, SourceText& source, const char* data,
                                        unsigned size) {
    HeaderEndSearch search(source, data, size, m_lineEndings, m_log);
    search.run();
    if (m_memory.wasRefused()) return Progress::Failed;
    if (!search.endOfHeader()) return loadWithoutBlankLine(node, search.data(), search.size());

    m_log.verboseInfo("Found end-of-header.");
    const char* text = search.data();
    const char* const end = text + search.size();
    const char* const headerEnd = search.endOfHeader();
    // Kept on purpose: behind an empty header the properties stay as clear() left them.
    m_type = TypeTraits();
    if (headerEnd != text && !loadHeader(node, text, static_cast<unsigned>(headerEnd - text)))
        return Progress::Failed;
    const char* const body = behindLineBreak(behindLineBreak(headerEnd, end), end);
    if (body == end) return Progress::Done;

    Progress progress = Progress::Failed;
    const unsigned bodyAt = static_cast<unsigned>(body - text);
    const unsigned bodySize = static_cast<unsigned>(end - body);
    const char* const coding = node.m_contentTransferEncoding.getString();
    if (!search.isRepaired()) {
        progress = openBody(node, source, nullptr, coding, body, bodySize);
    } else if (Repaired repaired{
                   notingRefusal(new (std::nothrow) RepairedText(search.repaired()))}) {
        SourceText& copy = repaired->source;
        progress = openBody(node, copy, std::move(repaired), coding, text + bodyAt, bodySize);
    }
    return tellFailure(progress);
}

Loader::Progress Loader::tellFailure(Progress progress) {
    if (progress == Progress::Failed) m_log.logError("MIME has errors.");
    return progress;
}

bool Loader::loadHeader(MimeMessage2& node, const char* text, unsigned size) {
    if (!node.m_mimeHeader.loadMimeHeaderBytes(text, size, headerCodePage(), m_charsetClue, m_log))
        return false;
    m_type = node.cacheFields(node.m_mimeHeader.findMimeFields(), m_log);
    return true;
}

Loader::Progress Loader::loadWithoutBlankLine(MimeMessage2& node, const char* data, unsigned size) {
    m_log.verboseInfo("End-of-header not found.");
    if (size >= 2 && data[0] == '\r' && data[1] == '\n') {
        m_log.verboseInfo(
            "Parsing MIME assuming an empty header.  "
            "The default content-type is text/plain.");
        static const char kDefault[] = "Content-Type: text/plain";
        node.m_mimeHeader.loadMimeHeaderBytes(kDefault, sizeof kDefault - 1, codepage::kNone,
                                              m_charsetClue, m_log);
        node.cacheAll(m_log);
        node.noteReceived(node.store8bit(data, size, node.m_charset.getCodePage(), true, m_log));
        return Progress::Done;
    }
    m_log.verboseInfo("Assuming the entire MIME message is a header with no body.");
    if (size <= kMaxHeaderSize)
        return loadHeader(node, data, size) ? Progress::Done : Progress::Failed;
    m_log.logError("Header larger than 20MB?  This cannot be MIME...");
    node.clear();
    return Progress::Failed;
}

// -- From pieces

namespace {

// A zero byte in quoted-printable.  Kept on purpose: looked for up to the first plain one.
bool holdsEncodedZero(const char* body, unsigned size) {
    const char* const hit = bytes::find(body, size, "=00", 3);
    return hit && !std::memchr(body, 0, static_cast<size_t>(hit - body));
}

bool containsAny(const StringBuffer& text, const char* const (&words)[4]) {
    for (const char* word : words)
        if (text.containsSubstringNoCase(word)) return true;
    return false;
}

}  // namespace

bool MimeMessage2::loadMime(const char* headerText, const unsigned char* body,
                            unsigned int bodySize, ExtPtrArray& parts, bool inputIsUtf8,
                            LogBase& log) {
    StringBuffer header;
    if (!header.setString(headerText)) return false;
    return loadPieces(header.getString(), header.getSize(), body, bodySize, parts, inputIsUtf8,
                      log);
}

bool MimeMessage2::loadPieces(const char* headerText, unsigned int headerSize,
                              const unsigned char* body, unsigned int bodySize, ExtPtrArray& parts,
                              bool inputIsUtf8, LogBase& log) {
    if (!isAlive()) return false;
    OperationContext context(log, "loadMime");
    const MemoryWatch memory;
    ExtPtrArray newParts;  // the list may be the node's own
    newParts.swap(parts);
    const Held held(*this, reinterpret_cast<const char*>(body), bodySize);
    body = reinterpret_cast<const unsigned char*>(held.text());
    if (!body) bodySize = 0;
    clear();
    StringBuffer charsetClue;
    m_mimeHeader.loadMimeHeaderBytes(headerText, headerSize, codepage::kNone, charsetClue, log);
    cacheAll(log);

    StringBuffer contentType;
    m_mimeHeader.getMimeFieldUtf8("content-type", contentType, log);
    static const char* const kBinaryMedia[] = {"image/", "audio/", "video/", "application/"};
    if (m_charset.getCodePage() > 0 && containsAny(contentType, kBinaryMedia)) clearCharset(log);
    const bool isText = traitsOf(contentType.getString(), contentType.getSize()).isText;

    _zqCharset bodyCharset;
    bodyCharset.copy(m_charset);
    if (inputIsUtf8) {
        const bool isUtf16 = m_charset.getCodePage() == codepage::kUtf16LE &&
                             holdsEncodedZero(reinterpret_cast<const char*>(body), bodySize);
        bodyCharset.setByCodePage(isUtf16 ? codepage::kUtf16LE : codepage::kUtf8);
    }
    const Stored stored = decodeBody(m_contentTransferEncoding.getString(), body, bodySize,
                                     bodyCharset, isText, inputIsUtf8, log);
    noteReceived(inputIsUtf8 ? Stored::AsUtf8 : stored);
    for (int i = 0; i < newParts.getSize(); ++i) {
        VantrelObject* part = newParts.elementAt(i);
        if (part && m_subParts.appendPtr(part)) newParts.setAt(i, nullptr);
    }
    if (&parts != &m_subParts) parts.swap(newParts);
    if (memory.wasRefused()) log.logError("Out of memory.");
    return !memory.wasRefused();
}
