// SPDX-License-Identifier: Apache-2.0
#pragma once

// A node of a MIME entity tree (RFC 2045 to 2049): header fields, a body held decoded (text
// as UTF-8), the properties cached from the header, and child nodes.  A whole message is the
// tree below its root.
//
// Ownership: a node owns all that hangs on it, its children included; the caller owns the
// root.  There are no pointers upwards.
//
// Validity: a node carries a marker while it lives.  Every operation on a node whose marker
// is gone does nothing and answers false, 0 or null, unless its comment says otherwise.
//
// Results: bool, null or empty, the log having the reason; nothing throws.  Texts cross the
// interface as UTF-8 and results are appended to `out` unless a comment says otherwise.
// Pointers given may point into the node's own buffers; a null string counts as empty.
//
// Depth: nesting costs no machine stack, however deep a message nests.
//
// Threads: a tree is used by one thread at a time; different trees may be used on different
// threads at once, since the engine only writes the two process-wide variables below (as
// relaxed atomics) and never decides anything by reading them.

#include <cstdint>
#include <new>

#include "foundation/DataBuffer.h"
#include "foundation/ExtPtrArray.h"
#include "foundation/LogBase.h"
#include "foundation/MimeHeader.h"
#include "foundation/StringBuffer.h"
#include "foundation/VantrelObject.h"
#include "foundation/XString.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqContentType.h"
#include "foundation/export.h"

class ClsXml;
class TreeNode;

namespace mimetree::inner {
class Loader;
class XmlTreeBuilder;
class XmlTreeWriter;
struct TypeTraits;
struct XmlOutput;
}  // namespace mimetree::inner

// Whether the body parsed last was labelled ISO-8859-1 but held windows-1252 text: reset
// whenever the body of a leaf is parsed, set by the quoted-printable body setter.
extern MIMETREE_API bool b_WasReally1252;

class MIMETREE_API MimeMessage2 : public VantrelObjectWithId {
public:
    MimeMessage2();
    ~MimeMessage2() override;

    // A new node, which the caller owns; null when memory is exhausted.
    static MimeMessage2* createNewObject();

    // The block of a part is bigger than the node: it is freed without telling its size.
    static void operator delete(void* block) { ::operator delete(block); }

    // -- The node and its parts --------------------------------------------- node.cpp

    // Back to an empty entity: header, body, signed bytes, cached properties and children go.
    // Charset, preamble flag and binary-safe state stay as they are.
    void clear();

    // These two take ownership of `part` and mark the node modified.
    void addPart(MimeMessage2* part);
    void addPartInFront(MimeMessage2* part);

    // Puts `part` into a slot that exists; the child that stood there is the caller's again.
    void replacePart(int index, MimeMessage2* part, LogBase& log);
    void removePart(int index, LogBase& log);  // deletes the child; not marked modified
    MimeMessage2* extractPart(int index);      // hands the child over, null when out of range
    MimeMessage2* getPart(int index) const;    // stays the node's
    int getNumParts() const;                   // null slots count
    void removeSubparts();                     // deletes them all; not marked modified

    // Moves the children and copies the rest of `source`, but for its charset and signed
    // bytes.  The source keeps as many slots as it had, all null.
    void takeMimeMessage(MimeMessage2& source, LogBase& log);

    // What writing this tree and reading it again gives, owned by the caller; null when
    // memory is exhausted.  `log` may be null.
    MimeMessage2* cloneMimeMessage(LogBase* log);

    // The two that return buffers answer for a node without marker too; getMimeBodyDb then
    // reports the corruption.
    const DataBuffer& getSignedData() const { return m_signedData; }
    const DataBuffer& getMimeBodyDb() const;
    void setSignedData(const unsigned char* data, unsigned int n);
    void copyMimeBody(DataBuffer& out, LogBase& log) const;  // replaces `out`
    void extractMimeBody(DataBuffer& out, LogBase& log);     // replaces `out`, empties the body

    // Cached properties: appended to `out` unless said otherwise; as `const char*` the node's own,
    // good until it changes, and null on a node without marker.  Code pages are 0 for none.
    const char* getContentType() const;
    const char* getContentEncoding() const;
    void getContentEncoding(StringBuffer& out) const;
    const char* getCharset() const;
    void getCharset(StringBuffer& out) const;   // only of a text/ or message/ node
    void getCharset2(StringBuffer& out) const;  // of any node; replaces `out`
    int getCharsetCodePage() const;
    void getMimeFilename(StringBuffer& out) const;
    void getContentId(StringBuffer& out) const;  // angle brackets included
    const char* getDisposition() const;
    void getDisposition(StringBuffer& out) const;
    // Whether the sentence for readers without MIME stands in front of the parts (RFC 2046 5.1.1).
    void setUseMmMessage(bool b);
    bool getUseMmMessage() const { return m_useMmMessage; }  // without marker check
    // Of the header: how many lines it has, the code page of its 8-bit bytes, and its text.
    int getNumHeaderFields() const;
    int getHeaderDetectedCP() const;
    void getMimeHeader(StringBuffer& out, LogBase& log) const;

    // -- Searching the tree ----------------------------------------------- search.cpp
    // Depth-first, in document order; what is found stays the tree's, null is nothing found.

    MimeMessage2* findByVantrelObjectId(int64_t id);  // this node included
    // These look at the descendants, through multiparts only.
    MimeMessage2* findMultipartRelated();
    MimeMessage2* findContentType(MimeMessage2** parentOut, const char* contentType);

    // -- Header fields ---------------------------------------------------- fields.cpp

    // These two replace `out`.  False when there is no such field.
    bool getHeaderFieldUtf8(const char* name, StringBuffer& out, LogBase& log) const;
    bool getHeaderFieldUtf8_2(const char* name, bool decode, StringBuffer& out, LogBase& log) const;
    bool getHeaderFieldName(int index, StringBuffer& out, LogBase& log) const;
    bool getHeaderFieldValue(int index, bool decode, StringBuffer& out, LogBase& log) const;
    bool getSubFieldUtf8(const char* field, const char* param, StringBuffer& out,
                         LogBase& log) const;
    void getQBEncodedHeader(StringBuffer& out, LogBase& log) const;  // the header as written

    // Append one _zqEmailAddress an address, owned by `out`; display names are decoded, also
    // those of entries that `out` already held.  The second takes the Bcc field away.
    void getEmailAddresses(const char* name, ExtPtrArray& out, LogBase& log) const;
    void getAndRemoveBccAddresses(ExtPtrArray& out, LogBase& log);

    // Names and values are trimmed, the node is marked modified, and the cached property of
    // the field is read anew.  An empty value removes the field.
    void addReplaceHeaderFieldUtf8(const char* name, const char* value, LogBase& log);
    void addHeaderFieldUtf8(const char* name, const char* value, bool allowEmpty, LogBase& log);

    // Kept on purpose: these neither mark the node modified nor read cached properties anew.
    void removeHeaderField(const char* name, bool all, LogBase& log);
    void collapseMultiple(const char* name, LogBase& log);
    void moveHeaderToBottom(const char* name, LogBase& log);
    void removeHeaderFieldsAfterSig(LogBase& log);

    // -- Properties cached from the header --------------------- cached_properties.cpp

    void cacheAll(LogBase& log);  // the four below, in this order
    void cacheContentType(LogBase& log);
    void cacheContentId(LogBase& log);
    void cacheDisposition(LogBase& log);  // also lower-cases the content type
    void cacheEncoding(LogBase& log);

    // -- Content type, charset, disposition --------------------------- properties.cpp
    // The Content-Type field is always rebuilt whole from m_contentType and m_charset; the
    // Content-Disposition field from a disposition and a file name.

    void refreshContentTypeHeader(LogBase& log);  // without marker check
    void setContentType(const char* type, bool refresh, LogBase& log);

    // A null text leaves its field as it is; a null boundary drops the boundary of a type
    // that is no multipart.  The header is rebuilt once, without marker check.
    void setContentType(const char* type, const char* name, const char* protocol,
                        const char* micalg, const char* boundary, const char* smimeType,
                        const char* subType, LogBase& log);

    // Nothing happens when the text differs from the present one in letter case only.
    void setSubType(const char* subType, LogBase& log);
    void setBoundary(const char* boundary, LogBase& log);
    void setNameUtf8(const char* name, LogBase& log);
    void setProtocol(const char* protocol, LogBase& log);
    void setMicalg(const char* micalg, LogBase& log);
    void setSMimeType(const char* smimeType, LogBase& log);

    // Nothing happens when the code page stays the same.  False for a name not known.
    void setCharset(const _zqCharset& charset, LogBase& log);
    bool setCharset(const char* name, LogBase& log);
    void clearCharset(LogBase& log);

    // No text at all takes the field away; setFilenameUtf8 makes a part without a disposition an
    // attachment.
    void setContentDisposition(const char* disposition, const char* filename, LogBase& log);
    void setDisposition(const char* disposition, LogBase& log);  // empty: the field goes
    void setFilenameUtf8(const char* filename, LogBase& log);
    bool getFormatFlowed() const { return m_contentType.m_formatFlowed; }  // no marker check

    // -- Loading ------------------------------------------------------------- load.cpp
    // Each call empties the node first; what it held lives until the call ends, for the input
    // may be a piece of it.  False means that nothing usable came out; the log says why.  Damaged
    // input is repaired, not refused.  Input of 4 GiB and more is refused.

    // Text: line ends are repaired on a broad front.
    bool loadMimeComplete(const StringBuffer& mimeText, LogBase& log, bool inputIsUtf8);
    // Bytes: line ends are repaired only where no header would be found otherwise.
    bool loadMimeCompleteDb(DataBuffer& mimeBytes, LogBase& log);

    // What both come to.  A charset that a part declares is noted in `charsetClue` and helps
    // with the raw 8-bit header fields of the parts behind it.
    bool loadMimeComplete2(const char* data, unsigned int size, bool lenientLineEndings,
                           StringBuffer& charsetClue, LogBase& log, bool inputIsUtf8);

    // A node from pieces.  The parts move to the node; `parts` keeps null slots.
    bool loadMime(const char* headerText, const unsigned char* body, unsigned int bodySize,
                  ExtPtrArray& parts, bool inputIsUtf8, LogBase& log);

    // -- End of the header --------------------------------------------- header_end.cpp

    // Finds the blank line that ends a header in the sizeInOut bytes at *data; an end that is
    // there already is only moved by what comes before all else.  *terminator is set where it
    // is not CRLF CRLF in the text as it came.  Where the line ends had to be repaired, *data
    // and sizeInOut become those of a copy in one of the two buffers.
    void findEndOfHeader2(const char** data, unsigned int size, bool lenientLineEndings,
                          LogBase& log, bool reserved, StringBuffer& repairBuf,
                          StringBuffer& convertBuf, unsigned int& sizeInOut,
                          const char** endOfHeader, const char** terminator);

    // The first CRLF CRLF of a C string, else the first LF LF, else the first CR CR; or null.
    const char* findEndOfHeader(const char* text);

    // -- Body parse ---------------------------------------- body_parse.cpp, multipart.cpp

    // Makes children of a multipart body, and stores any other decoded.  False when the log
    // asks for "StrictMimeParsing" and a boundary is missing.
    bool parseMimeBody(const char* encoding, const char* body, unsigned int bodySize,
                       bool lenientLineEndings, StringBuffer& charsetClue, LogBase& log,
                       bool inputIsUtf8);

    // -- Setting the body -------------------------------------------------- body_set.cpp
    // Each replaces the body and marks the node modified.  Bodies are stored decoded; text is
    // converted from `charset` to UTF-8.

    void setMimeBodyByEncoding(const char* encoding, const void* data, unsigned int size,
                               const _zqCharset& charset, bool isText, bool bIsUtf8, LogBase& log);
    void setMimeBodyByEncoding_Careful(const char* encoding, const StringBuffer& text,
                                       const _zqCharset& charset, bool isText, LogBase& log);
    void setMimeBodyBase64(const void* data, unsigned int size, const _zqCharset& charset,
                           bool isText, LogBase& log);
    void setMimeBodyQP(const void* data, unsigned int size, const _zqCharset& charset, bool isText,
                       LogBase& log);
    // Text that is UTF-8 whatever its label says makes the charset "utf-8".
    void setMimeBody8Bit_2(const void* data, unsigned int size, const _zqCharset& charset,
                           bool isText, LogBase& log);
    void setMimeBodyString_Unencoded(const StringBuffer& text, const _zqCharset& charset,
                                     bool reserved, LogBase& log);
    void setMimeBodyString(XString& text, LogBase& log);
    void setMimeBodyString_UnencodedX(XString& text, LogBase& log);  // the same
    bool setBodyFromPlainText(XString& text, LogBase& log);  // with type, charset and coding
    void setMimeBodyBinary2(const unsigned char* data, unsigned int size, LogBase& log);
    void clearMimeBody();  // does not mark the node modified

    // The coding in which the body will be written, in the cache and in the header; null takes
    // it away.
    void setContentEncoding(const char* encoding, LogBase& log);

    // -- Reading the body -------------------------------------------------- body_get.cpp
    // In wire form: text converted to its code page, then the transfer coding applied.

    void getMimeBodyEncoded2(StringBuffer& out, LogBase& log) const;
    void getMimeBodyEncodedDb(DataBuffer& out, LogBase& log) const;        // as it is serialised
    void getMimeBodyEncoded2aUtf8(StringBuffer& out, LogBase& log) const;  // stays UTF-8
    void getMimeBodyQP(StringBuffer& out, int codePage, LogBase& log) const;
    void getMimeBodyBase64(StringBuffer& out, int codePage, LogBase& log) const;
    void getMimeBody8Bit(DataBuffer& out, int codePage, LogBase& log) const;

    // -- Writing ----------------------------------------------------------- serialize.cpp
    // Header, blank line, and the body or the parts between boundary lines, with CRLF line
    // ends.  A multipart/signed writes its first part as it was received.

    void getMimeTextDb(DataBuffer& out, bool bodyOnly, LogBase& log) const;
    bool getMimeTextSb(StringBuffer& out, bool bodyOnly, LogBase& log) const;
    void getMimeBodyAll(DataBuffer& out, LogBase& log) const;  // without the header
    void assemble2(DataBuffer& out, LogBase& log) const;       // without preamble, too

    // -- Classification ------------------------------------------------------ classify.cpp
    // What the node, or the tree under it, is.  Types are compared ignoring case.

    bool isMultipart() const;  // any type that begins with "multipart"
    bool isMultipartMixed() const;
    bool isMultipartRelated() const;
    bool isMultipartAlternative() const;
    bool isMultipartVoiceMessage() const;
    bool isMultipartSigned(LogBase& log) const;  // S/MIME or unknown protocol, not OpenPGP
    bool isAttachment(LogBase& log) const;
    bool isSignaturePart(LogBase& log) const;
    bool isSmimeEncrypted(LogBase& log) const;
    bool isEnvelopedData(LogBase& log) const;
    bool isSignedData(LogBase& log) const;
    bool containsEncryptedParts(LogBase& log);
    bool containsSignedParts(LogBase& log);

    // Replaces `charset` by that of the first 8-bit text below; false when there is none.
    bool find8bitInfo(StringBuffer& charset);

    // -- New containers -------------------------------------------------------- compose.cpp
    // Each empties the node first; parts are added with addPart.

    void newMultipartMixed(LogBase& log);
    void newMultipartRelated(LogBase& log);
    void newMultipartAlternative(LogBase& log);
    void newMultipartReport(const char* reportType, LogBase& log);  // RFC 6522
    void newMessageRfc822(XString& text, LogBase& log);             // a message as the body
    void newMessageRfc822Sb(StringBuffer& text, LogBase& log);      // the same, any bytes

    // -- Converting stored bodies ----------------------------------------- body_convert.cpp

    // The first switches 8-bit leaves that are no text to base64, so that the written tree is
    // text; the second undoes it.  Neither marks the node modified.
    void makeBinarySafeForString();
    void restoreBinarySafeForString();

    // Picks quoted-printable or base64 for 8-bit leaves.  Only the cached coding changes: the
    // body is written in it while the header field still names the old one.  Call
    // setContentEncoding with what getContentEncoding then gives to change the field as well.
    void convert8Bit(LogBase& log);

    // Kept on purpose: the body becomes the text in the named charset followed by the same
    // text percent-encoded.
    void urlEncodeBody(const char* charsetName, LogBase& log);

    // -- XML out --------------------------------------------------------------- xml_out.cpp
    // <mime_message> with <header>, an element a field, and <body>, which holds the encoded
    // body or a <subpart> for each child; docs/xml.md has the vocabulary.

    bool getMimeXml(StringBuffer& out, LogBase& log);
    // The same handed to `take` in pieces as it is made, so that the whole is never in memory;
    // `take` answers false to end it.  False then, and when memory is exhausted.
    using TakeXml = bool (*)(void* context, const char* piece, unsigned int size);
    bool writeMimeXml(TakeXml take, void* context, LogBase& log);
    bool getMimeXmlR(ClsXml& xml, LogBase& log);  // into an element that has its tag already

    // The content types of the tree, a line each: XML-like for format 1, else plain.  What is no
    // name is spelled as in the XML form.  `out` is marked as failed when memory is exhausted.
    void getMimeStructure(int format, int indent, StringBuffer& out, LogBase& log);
    bool needsCData(const char* s) const;

    // -- XML in ----------------------------------------------------------------- xml_in.cpp
    // New nodes are the caller's; null when there is nothing to build one from.

    static MimeMessage2* createMimeFromXml(const StringBuffer& xml, const char* tag,
                                           bool addPreamble, LogBase& log);

    // Appends a node for each outermost element of that tag ("mime_message" when null).  False,
    // with nothing appended, when the XML cannot be parsed or memory is exhausted.
    static bool createMultipleFromXml(const StringBuffer& xml, const char* tag, ExtPtrArray& out,
                                      bool addPreamble, LogBase& log);
    static void findMimeAndCreate(TreeNode& node, const char* tag, ExtPtrArray& out,
                                  bool addPreamble, LogBase& log);
    static MimeMessage2* createMimeFromTree(TreeNode& mimeElement, bool addPreamble, LogBase& log);
    static bool buildHeaderFromXml(TreeNode& header, StringBuffer& headerText, LogBase& log);
    static bool addNodeToHeader(TreeNode& field, StringBuffer& headerText, LogBase& log);
    static void buildAddressesFromXml(TreeNode& field, StringBuffer& headerText, bool reserved,
                                      LogBase& log);
    static bool buildBodyFromXml(TreeNode& body, StringBuffer& bodyText, ExtPtrArray& parts,
                                 bool addPreamble, LogBase& log);

    // -- Attachments ------------------------------------------------------- attachments.cpp

    // Writes every leaf that has a file name into `directory`, over files of the same name,
    // and appends the paths as StringBuffers, also of those that could not be written.  No
    // name leads out of the directory.  Kept on purpose: text in a charset other than UTF-8
    // is written as an empty file.
    void extractPartsToFiles(ExtPtrArray& savedPaths, XString& directory, LogBase& log);

    // Strips directories from file names and name parameters, on the whole tree.
    void makeAttachmentFilenamesRelative(LogBase& log);

    // -- Special bodies ------------------------------------------------- special_bodies.cpp

    MimeMessage2* getHtmlBodyObject(LogBase& log);  // stays the tree's
    bool getHtmlBody(DataBuffer& out, LogBase& log);
    MimeMessage2* getAppleDoubleAttachment(LogBase& log);  // detached: the caller's
    void uuDecodeAttachment(LogBase& log);

    // Replace `out` by the content type that goes with the name; empty when none does.
    void getTypeFromFilename(const char* filename, StringBuffer& out, LogBase& log);
    void getTypeFromExtension(const char* extension, StringBuffer& out, LogBase& log);

private:
    friend class mimetree::inner::Loader;  // load.cpp: loads a tree without recursion

    // What a setter made of a body: UTF-8 because the caller said so; bytes that are no text;
    // text that it left as it came; or what it converted.
    enum class Stored : uint8_t { AsUtf8, NoText, AsItCame, Converted, ConvertedFrom1252 };

    // How a body became what is stored, so that what was only read is written as it came.
    // Void once another body is set.                                         received.cpp
    class Received {
    public:
        Received() = default;
        Received& operator=(Received&& other) noexcept;
        ~Received() { delete m_rest; }

        Stored stored = Stored::AsUtf8;
        int label = 0;     // code page of the node's charset when a load had stored the body
        int codePage = 0;  // from which it was converted

        void copyFrom(const Received& other);
        // The transfer coding, where the body is text that was left.
        void noteCoding(const StringBuffer& coding);
        bool hadCoding(const StringBuffer& coding) const;
        // From which it was converted, kept where no way leads back to them.
        void takeBytes(DataBuffer& bytes);
        const DataBuffer* bytes() const { return m_rest ? &m_rest->bytes : nullptr; }
        void ownBytes() {  // and share them no more
            if (m_rest) m_rest->bytes.getData2_rw();
        }

    private:
        struct Rest {  // what few nodes have
            StringBuffer coding;
            DataBuffer bytes;
        };
        bool makeRest();

        uint8_t m_usualCoding = 0;
        Rest* m_rest = nullptr;
    };

    // Bytes that become a body: who holds them and may be emptied, and what is known of them.
    struct Given {
        DataBuffer* owner;
        bool isAscii;
    };

    enum class BodyCoding { None, Binary, Base64, QuotedPrintable, Uuencode };
    static BodyCoding bodyCodingOf(const char* name);
    static bool isStoredAsItStands(const char* coding) {
        return bodyCodingOf(coding) <= BodyCoding::Binary;
    }

    class Held;
    bool isWithinString(const char* p) const;

    bool isAlive() const;
    bool typeBeginsWith(const char* prefix) const;
    mimetree::inner::TypeTraits typeTraits(LogBase& log) const;
    bool qualifiesAs8bitText() const;
    bool hasGroupWiseMark(LogBase& log) const;
    bool isGroupWiseMail(LogBase& log) const;
    bool isPkcs7Mime() const;
    static void deleteTrees(ExtPtrArray& roots);
    void applyParam(StringBuffer& field, const char* text, LogBase& log);
    bool decodedField(const char* name, StringBuffer& out, LogBase& log) const;
    bool decodedField(int index, StringBuffer& out, LogBase& log) const;
    void captureMainValue(int index, StringBuffer& out, LogBase& log) const;
    mimetree::inner::TypeTraits cacheFields(const MimeHeader::MimeFields& fields, LogBase& log);
    mimetree::inner::TypeTraits cacheContentTypeOf(int index, LogBase& log);
    void cacheDispositionOf(int index, LogBase& log);
    void cacheDispositionParams(StringBuffer& field, LogBase& log);
    void recacheField(const StringBuffer& name, LogBase& log);
    Stored decodeBody(const char* encoding, const void* data, unsigned int size,
                      const _zqCharset& charset, bool isText, bool bIsUtf8, LogBase& log,
                      Given given = {});
    Stored decodeBase64(const void* data, unsigned int size, int codePage, bool isText,
                        LogBase& log, DataBuffer* owner = nullptr);
    Stored decodeQP(const void* data, unsigned int size, int codePage, bool isText, LogBase& log,
                    DataBuffer* owner = nullptr);
    Stored uudecodeBody(const void* data, unsigned int size, int codePage, bool isText,
                        LogBase& log);
    Stored store8bit(const void* data, unsigned int size, int codePage, bool isText, LogBase& log,
                     Given given = {});
    int codePageOf8bit(const void* data, unsigned int size, int codePage, bool isAscii,
                       LogBase& log);
    Stored convertBodyToUtf8(int codePage, LogBase& log);
    Stored storeConverted(int codePage, const void* data, unsigned int size, Given given,
                          LogBase& log);
    void noteReceived(Stored stored);
    bool isToBeConverted(int codePage, bool isText) const;
    bool isReadAsText() const;
    int wireCodePage(bool isText) const;
    bool readsAsReceived(int codePage, LogBase& log) const;
    void appendPreamble(StringBuffer& out) const;
    bool loadPieces(const char* headerText, unsigned int headerSize, const unsigned char* body,
                    unsigned int bodySize, ExtPtrArray& parts, bool inputIsUtf8, LogBase& log);
    void newMultipart(const char* type, LogBase& log);
    void makeLeafBinarySafe();
    bool startXml(ClsXml& xml, ClsXml*& body, mimetree::inner::XmlOutput* out, LogBase& log);
    bool printXml(mimetree::inner::XmlOutput& out, LogBase& log);
    friend class mimetree::inner::XmlTreeWriter;  // xml_out.cpp: writes a tree without recursion
    bool isBodyAsReceived(LogBase& log) const;
    void saveToDirectory(ExtPtrArray& savedPaths, const XString& directory, LogBase& log);
    MimeMessage2* htmlAlternative() const;
    friend class mimetree::inner::XmlTreeBuilder;  // xml_in.cpp: builds a tree without recursion

    // Links nodes that wait for deletion, which must not need memory of its own.
    MimeMessage2* m_nextDoomed = nullptr;

    Received m_received;

public:
    // State of the node.  What is cached from the header must be changed through the node.
    uint32_t m_magic;      // validity marker, 0xa4ee21fb while the node lives
    _zqCharset m_charset;  // charset of the body text, in which it is written out
    _zqContentType m_contentType;
    DataBuffer m_signedData;  // first part of a multipart/signed, exactly as received
    bool m_deferContentTypeRefresh = false;  // true while several parameters are being set
    bool m_modified = false;                 // header, body or child list changed through the node
    bool m_auxFlag = false;
    bool m_auxFlag2 = true;
    DataBuffer m_mimeBody;  // decoded; text as UTF-8
    MimeHeader m_mimeHeader;
    bool m_useMmMessage = false;    // write the preamble text in front of the parts
    ExtPtrArray m_subParts;         // MimeMessage2 children, owned
    uint8_t m_binarySafeState = 0;  // 0 untouched, 1 "binary" became "base64", 2 was without
    StringBuffer m_disposition;
    StringBuffer m_contentTransferEncoding;
    StringBuffer m_filename;
    StringBuffer m_contentId;

    // The code page in which getMimeBodyEncoded2 last wrote an unencoded body; the engine
    // never reads it.
    static int m_binaryCodePage;
};
