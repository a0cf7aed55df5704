// SPDX-License-Identifier: Apache-2.0
// Changing a message: its header, its text, its parts and the charset of its texts.

#include "face/builder/leaf_charset.h"
#include "face/builder/values.h"
#include "face/builder/wire.h"
#include "face/message/bodies.h"
#include "face/message/change_tree.h"
#include "foundation/charset/code_pages.h"
#include "foundation/header/HeaderWriter.h"

namespace mimetree {

using namespace inner;

namespace {

// -- Header

// The value of the field, or why it cannot be written.
Result<std::string> checkedValue(std::string_view name, std::string_view value, int codePage) {
    return answerOf([&] {
        const std::string field(name);
        checkFieldName(field, "set_header()");
        std::string made = fieldValue(field, value);
        StringBuffer text;
        appendHeaderField(field.data(), static_cast<unsigned>(field.size()), made.data(),
                          static_cast<unsigned>(made.size()), codePage, text);
        checkHeader(viewOf(text), Bits::Seven, "");
        return made;
    });
}

// What goes with the body, or says that there is one.
bool isOfBody(std::string_view name) {
    return isSameName(name, "Content-Type") || isSameName(name, "Content-Transfer-Encoding") ||
           isSameName(name, "MIME-Version");
}

// -- Texts

// The plain texts that a reader shows; where there are none, an empty one that has the place.
std::vector<uint32_t> plainTexts(Tree& tree) {
    std::vector<uint32_t> found;
    const Views& views = tree.views();
    for (const Part& part : views.texts)
        if (part.type() != "text/html") found.push_back(Tree::indexOf(part));
    for (uint32_t i = 0; i < views.rules.size() && found.empty(); ++i)
        if (tree.slots()[i].childCount == 0 && roleOf(views.rules[i]) != Role::Attachment &&
            tree.parts()[i].type() == "text/plain")
            found.push_back(i);
    return found;
}

// RFC 3676: the new text is not flowed.  Nor is it in UTF-7, which many readers refuse.
void resetText(MimeMessage2& leaf, std::string_view text) {
    if (leaf.getCharsetCodePage() == codepage::kUtf7) leaf.clearCharset(silentLog);
    leaf.m_contentType.m_formatFlowed = false;
    leaf.removeHeaderField("Content-MD5", /*all*/ true, silentLog);
    setLeafText(leaf, text, "text/plain", {leaf.getCharset(), ""});
    leaf.refreshContentTypeHeader(silentLog);
}

NodePtr newMultipart(NewMultipart newMultipart, NodePtr first, NodePtr second) {
    NodePtr whole = newNode();
    (whole.get()->*newMultipart)(silentLog);
    whole->addPart(first.release());
    whole->addPart(second.release());
    return whole;
}

// The HTML text with what belongs to it.
uint32_t wholeHtml(const TreeChange& change, uint32_t html) {
    while (html != 0) {
        const Tree::Slot& slot = change.slots()[html];
        if (slot.number != 1 || !change.slots()[slot.parent].node->isMultipartRelated()) break;
        html = slot.parent;
    }
    return html;
}

// RFC 2046 5.1.4: the plainest form stands first.
void addTextToHtml(TreeChange& change, uint32_t html, NodePtr text) {
    change.checkOpen(html);
    html = wholeHtml(change, html);
    const uint32_t parent = change.slots()[html].parent;
    if (html != 0 && change.slots()[parent].node->isMultipartAlternative())
        return change.insert(parent, 0, std::move(text));
    change.wrap(html,
                newMultipart(&MimeMessage2::newMultipartAlternative, std::move(text), nullptr), 1);
}

void addText(TreeChange& change, std::string_view given) {
    NodePtr text = newNode();
    setLeafText(*text, given, "text/plain", {});
    const std::vector<Part>& htmls = change.tree().views().htmls;
    const MimeMessage2& root = *change.slots()[0].node;
    if (!htmls.empty()) return addTextToHtml(change, Tree::indexOf(htmls.front()), std::move(text));
    if (root.isMultipartMixed() && root.getNumParts() != 0)
        return change.insert(0, 0, std::move(text));
    change.wrap(0, newMultipart(&MimeMessage2::newMultipartMixed, std::move(text), nullptr), 1);
}

// -- Attachments

void attach(TreeChange& change, NodePtr file) {
    const MimeMessage2& root = *change.slots()[0].node;
    if (is8bit(*file) && !is8bit(root))
        fail("the attached message needs 8 bits, which this message has not");
    if (root.isMultipartMixed() && root.getNumParts() != 0)
        return change.insert(0, root.getNumParts(), std::move(file));
    change.wrap(0, newMultipart(&MimeMessage2::newMultipartMixed, nullptr, std::move(file)), 0);
}

// -- Charset

// A leaf that was sent in 7 bits still is.
void recodeAt(TreeChange& change, uint32_t index, const _zqCharset& charset) {
    MimeMessage2& leaf = change.edit(index);
    const bool was7bit = factsOf(viewOf(wireBytes(leaf, silentLog))).is7bit;
    leaf.removeHeaderField("Content-MD5", /*all*/ true, silentLog);
    nameCharset(leaf, silentLog);
    recode(leaf, charset, silentLog);
    if (was7bit && is8bit(leaf))
        leaf.setContentEncoding(shorterCoding(leaf, wireBytes(leaf, silentLog)), silentLog);
}

bool isRecoded(const TreeChange& change, uint32_t index, const _zqCharset& charset) {
    const Tree::Slot& slot = change.slots()[index];
    const MimeMessage2* const parent = index ? change.slots()[slot.parent].node : nullptr;
    return slot.childCount == 0 && isText(*slot.node, parent) && !change.isCovered(index) &&
           slot.node->getCharsetCodePage() != charset.getCodePage();
}

}  // namespace

Result<void> Message::set_header(std::string_view name, std::string_view value) noexcept {
    MimeMessage2& root = *tree().m_root;
    const Result<std::string> made = checkedValue(name, value, root.getCharsetCodePage());
    if (!made) return copyOf(made.error());
    MimeHeader& header = root.m_mimeHeader;
    const Result<std::string> field = answerOf([&] { return std::string(name); });
    if (!field || !header.replaceMimeFieldUtf8(field->c_str(), made->c_str(), silentLog))
        return outOfMemory();
    header.collapseMultiple(field->c_str(), silentLog);
    root.m_modified = true;
    tree().changed();
    return {};
}

bool Message::remove_header(std::string_view name) noexcept {
    if (isOfBody(name)) return false;
    return tree().answer([&] {
        MimeMessage2& root = *tree().m_root;
        const std::string field(name);
        StringBuffer value;
        if (!root.getHeaderFieldUtf8_2(field.c_str(), /*decode*/ false, value, silentLog))
            return false;
        root.addReplaceHeaderFieldUtf8(field.c_str(), nullptr, silentLog);
        tree().changed();
        return true;
    });
}

Result<void> Message::set_text(std::string_view text) noexcept {
    return changeTree(tree(), [&](TreeChange& change) {
        if (!isUtf8(text)) fail("the text is not in UTF-8");
        const std::vector<uint32_t> texts = plainTexts(tree());
        if (texts.empty()) return addText(change, text);
        for (const uint32_t index : texts) change.checkOpen(index);
        resetText(change.edit(texts.front()), text);
        for (size_t i = 1; i < texts.size(); ++i) change.remove(texts[i]);
    });
}

Result<void> Message::remove_part(const Part& part) noexcept {
    return changeTree(tree(), [&](TreeChange& change) {
        if (part.m_tree != &tree()) fail("a part of another message", Errc::not_found);
        if (part.m_index == 0) fail("the root is no part to remove");
        change.checkOpen(part.m_index);
        change.remove(part.m_index);
    });
}

Result<void> Message::add_attachment(const std::string& path, std::string_view name,
                                     std::string_view type) noexcept {
    return changeTree(tree(),
                      [&](TreeChange& change) { attach(change, attachedFile(path, name, type)); });
}

Result<void> Message::add_attachment(std::span<const std::byte> bytes, std::string_view name,
                                     std::string_view type) noexcept {
    return changeTree(tree(),
                      [&](TreeChange& change) { attach(change, attachedFile(bytes, name, type)); });
}

Result<void> Message::set_charset(std::string_view charset) noexcept {
    return changeTree(tree(), [&](TreeChange& change) {
        const _zqCharset wanted = charsetOf(charset);
        for (uint32_t i = 0; i < change.slots().size(); ++i)
            if (isRecoded(change, i, wanted)) recodeAt(change, i, wanted);
    });
}

}  // namespace mimetree
