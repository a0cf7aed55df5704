// SPDX-License-Identifier: Apache-2.0
#pragma once

// Loads a text into a tree of nodes.  Multiparts whose parts are still to come wait in a list
// of levels, so that nesting costs heap, not stack.

#include <memory>
#include <utility>

#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/text_facts.h"
#include "foundation/charset/code_pages.h"
#include "foundation/header/header_scan.h"
#include "mime/MimeMessage2.h"
#include "mime/node/type_traits.h"
#include "mime/parse/header_end.h"
#include "mime/parse/multipart.h"

namespace mimetree::inner {

class Loader {
public:
    Loader(LineEndings lineEndings, bool inputIsUtf8, StringBuffer& charsetClue, LogBase& log);
    ~Loader();
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    // A whole entity into `root`; or, for a node that has its header, the body alone.
    bool load(MimeMessage2& root, const char* data, unsigned size);
    bool parseBody(MimeMessage2& node, const char* encoding, const char* body, unsigned size);

private:
    enum class Progress { Failed, Done, HasParts };  // HasParts: a level was opened
    struct Entity;
    struct RepairedText;
    struct SignedText;
    struct Level;
    using Repaired = std::unique_ptr<RepairedText>;

    bool finishLevels(Progress first);
    Entity lookAt(SourceText& source, const char* data, unsigned size);
    MimeMessage2* createNode(Entity& entity) const;
    Progress openNode(MimeMessage2& node, SourceText& source, const Entity& entity);
    Progress loadNode(MimeMessage2& node, SourceText& source, const Entity& entity);
    Progress loadScanned(MimeMessage2& node, SourceText& source, const Entity& entity);
    Progress loadTolerantly(MimeMessage2& node, SourceText& source, const char* data,
                            unsigned size);
    Progress loadWithoutBlankLine(MimeMessage2& node, const char* data, unsigned size);
    Progress tellFailure(Progress progress);
    int headerCodePage() const { return m_inputIsUtf8 ? codepage::kUtf8 : codepage::kNone; }
    bool loadHeader(MimeMessage2& node, const char* text, unsigned size);
    bool loadNextPart();
    bool addPart(const char* part, unsigned size);
    SignedText keepSigned(const Level& level, MimeMessage2& node, const char* part, unsigned size);
    void closeLevel(bool ok);

    // body_parse.cpp
    Progress openBody(MimeMessage2& node, SourceText& source, Repaired repaired,
                      const char* encoding, const char* body, unsigned size);
    Progress startBody(MimeMessage2& node, SourceText& source, Repaired& repaired,
                       const char* encoding, const char* body, unsigned size);
    Progress startParts(MimeMessage2& node, SourceText& source, Repaired& repaired,
                        const char* body, unsigned size, bool isSigned);
    struct Leaf;
    void parseLeaf(MimeMessage2& node, Leaf& leaf, const char* encoding);
    void lend(Leaf& leaf, SourceText& source, RepairedText* own) const;
    void logContentType(const MimeMessage2& node);
    void noteCharsetClue(const _zqCharset& charset);
    void takeCharsetFromHtml(MimeMessage2& node, _zqCharset& charset);

    const LineEndings m_lineEndings;
    const bool m_inputIsUtf8;
    const bool m_isStrict;
    StringBuffer& m_charsetClue;
    LogBase& m_log;
    const MemoryWatch m_memory;
    HeaderScan m_scan;         // of the entity that was looked at last
    TypeTraits m_type;         // what its Content-Type says
    Level* m_level = nullptr;  // the innermost open one
    bool m_result = true;      // of the level closed last
};

// A text that becomes a node, and what a first look at it showed.
struct Loader::Entity {
    const char* data;
    unsigned size;
    bool isBehindMboxLine = false;
    bool isUsual = false;  // its header is as m_scan says
    void* room = nullptr;  // for the header, behind the node
};

// A copy of a text with its line ends repaired, and what is known about it.  Bodies that are
// stored as they stand there share its storage, unless that would keep far more than they need.
struct Loader::RepairedText {
    explicit RepairedText(DataBuffer& repaired)
        : text(std::move(repaired)),
          begin(reinterpret_cast<const char*>(text.getData2())),
          source(begin, begin + text.getSize()) {}
    ~RepairedText();

    bool share(DataBuffer& slice, const char* from, unsigned size) {
        return slice.cutSliceOf(text, static_cast<unsigned>(from - begin), size);
    }
    void noteShare(MimeMessage2& node, unsigned size);
    static void detach(MimeMessage2& node);

    DataBuffer text;
    const char* const begin;
    SourceText source;
    GrowArray<MimeMessage2*> sharers;
    uint64_t shared = 0;  // bytes
};

// The bytes of a leaf, and the buffer that may hand them on, if there is one.
struct Loader::Leaf {
    Leaf(const char* b, unsigned n) : body(b), size(n) {}

    bool isText(const TypeTraits& type, int codePage);
    bool hasZero();
    void takeFrom(RepairedText& repaired);
    void shareWith(RepairedText& repaired);
    MimeMessage2::Given given() {
        return {hasOwner ? &bytes : nullptr, isLookedAt && facts.isAscii};
    }
    void noteStored(MimeMessage2& node);

    const char* body;
    unsigned size;
    DataBuffer bytes;
    bool hasOwner = false;
    bool isCopied = false;  // when it is looked at: it is likely to be stored as it stands
    bool isLookedAt = false;
    text_facts::TextFacts facts;
    RepairedText* sharedWith = nullptr;
};

// A part whose text was kept, and where in the source it stands: signed parts within it are
// slices of what was kept, so that signatures nested in signatures cost no more memory.
struct Loader::SignedText {
    const SourceText* source = nullptr;
    const char* begin = nullptr;
    DataBuffer* kept = nullptr;
};

// A multipart that waits for its parts.
struct Loader::Level {
    Level(MimeMessage2& n, SourceText& s, const char* body, unsigned size)
        : node(n), source(s), splitter(s, body, size) {}

    Level* outer = nullptr;
    MimeMessage2& node;
    SourceText& source;
    SignedText enclosing;  // what the nearest signature outside covers
    Repaired repaired;     // where the body stands, unless it is a slice of an outer level's
    RepairedText* copy = nullptr;  // that, or the outer level's; null for the text as it came in
    MultipartSplitter splitter;
    bool signedPending = false;  // the next part is the signed one
    bool isWholeEntity = false;  // "loadMimeComplete" is to be closed with the level
};

}  // namespace mimetree::inner
