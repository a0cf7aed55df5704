// SPDX-License-Identifier: Apache-2.0
// Makes the nodes that Builder puts together and that Message gets anew: a text in its charset
// and coding, a file with its names and type.

#include "face/builder/leaves.h"

#include <algorithm>
#include <filesystem>

#include "face/builder/failure.h"
#include "face/builder/values.h"
#include "face/builder/wire.h"
#include "face/files/read_file.h"
#include "foundation/EncodingConvert.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/header/HeaderParams.h"
#include "foundation/zqMimeTypes.h"

namespace mimetree::inner {

namespace {

void chooseCharset(MimeMessage2& leaf, const std::string& wanted, const StringBuffer& text) {
    const bool is7bit = text.is7bit(0);
    leaf.setCharset(!wanted.empty() ? wanted.c_str() : is7bit ? "us-ascii" : "utf-8", silentLog);
    if (!EncodingConvert::canHold(leaf.getCharsetCodePage(), text.getString(), text.getSize()))
        leaf.setCharset("utf-8", silentLog);
}

void chooseCoding(MimeMessage2& leaf, std::string coding) {
    const DataBuffer bytes = wireBytes(leaf, silentLog);
    const WireFacts facts = factsOf(viewOf(bytes));
    if (coding.empty())
        coding = facts.is7bit && facts.fitsLines() ? "7bit" : shorterCoding(leaf, bytes);
    if (coding == "7bit" && !facts.is7bit) fail("7bit cannot hold this text");
    if ((coding == "7bit" || coding == "8bit") && !facts.fitsLines())
        fail(coding + " cannot hold lines of more than 998 bytes, nor zero bytes");
    if (coding == "quoted-printable" && !mayBeQuoted(leaf))
        fail(coding + " cannot hold text in " + leaf.getCharset());
    leaf.setContentEncoding(coding.c_str(), silentLog);
}

// RFC 2045 5.1: "type/subtype"; a multipart is no file.
void checkType(const std::string& type) {
    const auto isToken = [](std::string_view text) {
        return !text.empty() &&
               std::all_of(text.begin(), text.end(), [](char c) { return kTokenBytes.has(c); });
    };
    const size_t slash = std::min(type.find('/'), type.size());
    if (type.size() > 127 || !isToken(type.substr(0, slash)) ||
        !isToken(type.substr(std::min(slash + 1, type.size()))))
        fail("\"" + type + "\" is no type like image/png");
    if (isSameName(type.substr(0, slash), "multipart")) fail(type + " is no type of a file");
}

// RFC 2046 5.1, 5.2.1: no composite type may stand in base64, which alone keeps the bytes.
std::string typeOfName(const std::string& name) {
    const size_t dot = name.rfind('.');
    std::string type = zqExtensionToContentType(dot == std::string::npos ? "" : name.c_str() + dot);
    if (type.starts_with("message/") || type.starts_with("multipart/"))
        type = "application/octet-stream";
    return type;
}

// RFC 2046 5.2.1: a message has no coding of its own; its lines end with CRLF.
void setMessage(MimeMessage2& leaf, std::string_view bytes) {
    StringBuffer text = bufferOf(bytes);
    if (!text.allToCRLF()) throw std::bad_alloc();
    const WireFacts facts = factsOf(viewOf(text));
    if (!facts.fitsLines())
        fail("an attached message has lines of more than 998 bytes, or zero bytes");
    leaf.setMimeBodyBinary2(reinterpret_cast<const unsigned char*>(text.getString()),
                            text.getSize(), silentLog);
    leaf.setContentEncoding(facts.is7bit ? "7bit" : "8bit", silentLog);
}

void setBytes(MimeMessage2& leaf, std::string_view bytes) {
    if (bytes.size() >= 0xFFFFFFFFu) fail("larger than 4 GiB", Errc::too_large);
    leaf.setMimeBodyBinary2(reinterpret_cast<const unsigned char*>(bytes.data()),
                            static_cast<unsigned>(bytes.size()), silentLog);
    leaf.setContentEncoding("base64", silentLog);
}

// RFC 2231 first.  Tolerated: readers that know nothing but encoded words in the name of the
// content type, against RFC 2047 5 (3).  A quote is escaped within them, as some decode them
// before they look for the end of the value.
void setNames(MimeMessage2& leaf, const char* disposition, const StringBuffer& name) {
    // setContentDisposition would put the name between quotes, whatever it holds.
    StringBuffer value;
    value.setString(disposition);
    if (!name.isEmpty()) appendHeaderParam("filename", name, value);
    leaf.addReplaceHeaderFieldUtf8("Content-Disposition", value.getString(), silentLog);
    if (!value.containsSubstring("filename*")) return;
    StringBuffer type, text(name);
    text.replaceAllOccurances("\"", "\\\"");
    leaf.getHeaderFieldUtf8("Content-Type", type, silentLog);
    type.append3("; name=\"", encodedWords(viewOf(text)).c_str(), "\"");
    leaf.addReplaceHeaderFieldUtf8("Content-Type", type.getString(), silentLog);
}

}  // namespace

_zqCharset charsetOf(std::string_view name) {
    _zqCharset charset;
    if (!charset.setByName(name.data(), static_cast<unsigned>(name.size())) ||
        !EncodingConvert::isKnown(charset.getCodePage()))
        fail("no charset \"" + std::string(name) + "\"");
    return charset;
}

std::string codingOf(std::string_view name) {
    for (const char* coding : {"7bit", "8bit", "quoted-printable", "base64"})
        if (isSameName(name, coding)) return coding;
    fail("no encoding \"" + std::string(name) + "\"");
}

DataBuffer fileBytes(const std::string& path) {
    DataBuffer bytes;
    if (const std::optional<Error> error = readFile(path, bytes))
        fail(error->message(), error->code());
    return bytes;
}

NodePtr newNode() {
    NodePtr node(MimeMessage2::createNewObject());
    if (!node) throw std::bad_alloc();
    return node;
}

void setLeafText(MimeMessage2& leaf, std::string_view text, const char* type,
                 const TextForm& form) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    XString body;
    body.getUtf8Sb_rw() = bufferOf(text);
    if (!body.getUtf8Sb_rw().allToCRLF()) throw std::bad_alloc();
    chooseCharset(leaf, form.charset, body.getUtf8Sb());
    leaf.setBodyFromPlainText(body, silentLog);
    leaf.setContentType(type, /*refresh*/ true, silentLog);
    chooseCoding(leaf, form.coding);
}

void makeEmptyText(MimeMessage2& root) {
    root.removeSubparts();
    root.clearMimeBody();
    root.clearCharset(silentLog);
    root.setContentType("text/plain", "", "", "", nullptr, "", "", silentLog);
    root.setDisposition("", silentLog);
    root.removeHeaderField("Content-Transfer-Encoding", /*all*/ true, silentLog);
    root.cacheEncoding(silentLog);
}

NodePtr fileLeaf(const File& file) {
    const std::string type = file.type.empty() ? typeOfName(file.name) : file.type;
    checkType(type);
    checkLine("the name of a file", file.name);
    NodePtr leaf = newNode();
    if (isSameName(std::string_view(type).substr(0, 5), "text/") && isUtf8(file.bytes))
        leaf->setCharset(factsOf(file.bytes).is7bit ? "us-ascii" : "utf-8", silentLog);
    leaf->setContentType(type.c_str(), /*refresh*/ true, silentLog);
    if (viewOf(leaf->m_contentType.m_type).starts_with("message/")) setMessage(*leaf, file.bytes);
    else setBytes(*leaf, file.bytes);
    setNames(*leaf, file.disposition, bufferOf(file.name));
    leaf->addHeaderFieldUtf8("Content-ID", file.contentId.c_str(), /*allowEmpty*/ false, silentLog);
    return leaf;
}

NodePtr attachedFile(const std::string& path, std::string_view name, std::string_view type) {
    const DataBuffer bytes = fileBytes(path);
    return fileLeaf({viewOf(bytes), name.empty() ? fileNameOf(path) : std::string(name),
                     std::string(type), "attachment"});
}

NodePtr attachedFile(std::span<const std::byte> bytes, std::string_view name,
                     std::string_view type) {
    return fileLeaf({viewOf(bytes), std::string(name), std::string(type), "attachment"});
}

NodePtr wrapped(Nodes parts, NewMultipart newMultipart) {
    if (parts.empty()) return nullptr;
    if (parts.size() == 1) return std::move(parts.front());
    NodePtr whole = newNode();
    (whole.get()->*newMultipart)(silentLog);
    // RFC 2387 3.1: the type of the part that refers to the others.
    if (whole->isMultipartRelated()) whole->setSubType(parts.front()->getContentType(), silentLog);
    for (NodePtr& part : parts) {
        // RFC 2045 6.4: a multipart with 8-bit parts is 8-bit itself.
        if (is8bit(*part)) whole->setContentEncoding("8bit", silentLog);
        whole->addPart(part.release());
    }
    return whole;
}

// Paths are UTF-8 also where the system's own are not.
std::string fileNameOf(const std::string& path) {
    const std::filesystem::path whole(std::u8string(path.begin(), path.end()));
    const std::u8string name = whole.filename().u8string();
    return asLine({reinterpret_cast<const char*>(name.data()), name.size()});
}

}  // namespace mimetree::inner
