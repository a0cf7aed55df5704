// SPDX-License-Identifier: Apache-2.0
// Prepares the new nodes of a change and swaps them in.  Nodes are told by their number in the
// tree's list of parts, where parents stand before their children.

#include "face/message/change_tree.h"

#include <algorithm>

#include "face/builder/leaf_charset.h"
#include "face/builder/values.h"
#include "face/builder/wire.h"
#include "foundation/bytes/ByteSet.h"

namespace mimetree::inner {

namespace {

// All but the children.
NodePtr copyOf(MimeMessage2& node) {
    NodePtr copy = newNode();
    ExtPtrArray children;
    children.swap(node.m_subParts);
    copy->takeMimeMessage(node, silentLog);
    children.swap(node.m_subParts);
    copy->m_charset.copy(node.m_charset);
    copy->m_signedData = node.m_signedData;
    copy->m_useMmMessage = node.m_useMmMessage;
    return copy;
}

void setHeader(MimeMessage2& node, const StringBuffer& text, const MimeMessage2& old) {
    StringBuffer charset;
    charset.setString(old.getCharset());
    node.m_mimeHeader.loadMimeHeaderBytes(text.getString(), text.getSize(), 0, charset, silentLog);
}

// Fields about the body stay with it, all others go with the message.
void splitHeader(const MimeMessage2& old, MimeMessage2& message, MimeMessage2& body) {
    StringBuffer header, ofBody, ofMessage;
    old.getMimeHeader(header, silentLog);
    const std::string_view text = viewOf(header);
    StringBuffer* to = &ofMessage;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string_view line = text.substr(at, end - at);
        if (line.front() != ' ' && line.front() != '\t')
            to = isSameName(line.substr(0, 8), "Content-") ? &ofBody : &ofMessage;
        to->appendN(line.data(), static_cast<unsigned>(line.size()));
        if (line.back() != '\n') to->append("\r\n");
        at = end;
    }
    setHeader(message, ofMessage, old);
    setHeader(body, ofBody, old);
}

// RFC 2045 4.
void addMimeVersion(MimeMessage2& root) {
    StringBuffer version;
    if (!root.getHeaderFieldUtf8("MIME-Version", version, silentLog))
        root.addHeaderFieldUtf8("MIME-Version", "1.0", /*allowEmpty*/ false, silentLog);
}

// RFC 2045 5.1: what is no token stands in quotes.
bool hasStrictBoundary(const MimeMessage2& multipart) {
    const StringBuffer& boundary = multipart.m_contentType.m_boundary;
    StringBuffer declared, value, quoted;
    multipart.getSubFieldUtf8("Content-Type", "boundary", declared, silentLog);
    multipart.getHeaderFieldUtf8_2("Content-Type", /*decode*/ false, value, silentLog);
    quoted.append3("\"", boundary.getString(), "\"");
    const std::string_view text = viewOf(boundary);
    const bool isToken =
        std::all_of(text.begin(), text.end(), [](char c) { return kTokenBytes.has(c); });
    return declared.equals(boundary) && value.containsChar(';') &&
           (isToken || value.containsSubstring(quoted.getString()));
}

void closeGaps(ExtPtrArray& parts) noexcept {
    int kept = 0;
    for (int i = 0; i < parts.getSize(); ++i) {
        VantrelObject* const part = parts.elementAt(i);
        parts.setAt(i, nullptr);
        if (part) parts.setAt(kept++, part);
    }
    while (parts.getSize() > kept) parts.removeAt(parts.getSize() - 1);
}

}  // namespace

TreeChange::TreeChange(Tree& tree)
    : m_tree(&tree),
      m_slots(&tree.slots()),
      m_isCovered(m_slots->size()),
      m_isRemoved(m_slots->size()),
      m_hasGaps(m_slots->size()) {
    for (const Tree::Slot& slot : *m_slots) {
        m_nodes.push_back(slot.node);
        m_partsLeft.push_back(slot.childCount);
    }
    for (uint32_t i = 1; i < m_slots->size(); ++i) {
        const uint32_t parent = (*m_slots)[i].parent;
        m_isCovered[i] = m_isCovered[parent] || isSealed(*m_nodes[parent]);
    }
    findPlaces();
    mendBoundaries();
}

// The engine's lists of parts may have gaps.
void TreeChange::findPlaces() {
    std::vector<int> next(m_slots->size(), 0);
    m_places.assign(m_slots->size(), 0);
    for (uint32_t i = 1; i < m_slots->size(); ++i) {
        const uint32_t parent = (*m_slots)[i].parent;
        while (!m_nodes[parent]->getPart(next[parent])) ++next[parent];
        m_places[i] = next[parent]++;
    }
}

// Tolerated: a boundary that no strict reader finds in the header, or not as it is on the
// delimiters; what is written again has it as RFC 2046 5.1.1 wants it.
void TreeChange::mendBoundaries() {
    for (uint32_t i = 0; i < m_slots->size(); ++i)
        if (m_partsLeft[i] != 0 && !m_isCovered[i] && !hasStrictBoundary(*m_nodes[i]))
            edit(i).refreshContentTypeHeader(silentLog);
}

void TreeChange::checkOpen(uint32_t index) const {
    if (isCovered(index)) fail("what is signed or encrypted stays as it is");
}

MimeMessage2& TreeChange::edit(uint32_t index) {
    NodePtr& copy = m_edits[index].copy;
    if (!copy) {
        copy = copyOf(*m_nodes[index]);
        if (index == 0) addMimeVersion(*copy);
    }
    return *copy;
}

void TreeChange::wrap(uint32_t index, NodePtr container, int at) {
    if (index == 0) {
        MimeMessage2& body = edit(0);
        splitHeader(body, *container, body);
        container->refreshContentTypeHeader(silentLog);
    }
    if (is8bit(*m_nodes[index])) container->setContentEncoding("8bit", silentLog);
    Edit& edit = m_edits[index];
    edit.container = std::move(container);
    edit.at = at;
}

void TreeChange::insert(uint32_t parent, int at, NodePtr part) {
    throwIfRefused(m_memory);
    if (!m_nodes[parent]->m_subParts.insertAt(at, part.get())) throw std::bad_alloc();
    static_cast<void>(part.release());  // whose owner the list is now
}

void TreeChange::remove(uint32_t index) {
    for (; index != 0; index = (*m_slots)[index].parent) {
        if (m_isRemoved[index]) return;
        const uint32_t parent = (*m_slots)[index].parent;
        m_isRemoved[index] = true;
        if (--m_partsLeft[parent] != 0) return giveType(parent, index);
    }
    makeEmptyText(edit(0));
    m_rootIsEmptied = true;
}

// RFC 2387 3.1: the type of the part that refers to the others, which is another now.
void TreeChange::giveType(uint32_t related, uint32_t removed) {
    StringBuffer start;
    MimeMessage2& node = *m_nodes[related];
    if (!node.isMultipartRelated() || (*m_slots)[removed].number != 1 ||
        node.getSubFieldUtf8("Content-Type", "start", start, silentLog))
        return;
    uint32_t next = removed + 1;
    while ((*m_slots)[next].parent != related) ++next;
    edit(related).setSubType(m_nodes[next]->getContentType(), silentLog);
}

// -- Nothing below fails

void TreeChange::apply(uint32_t index, Edit& edit) noexcept {
    NodePtr old;
    if (index == 0) old = std::move(m_tree->m_root);
    else old.reset(m_nodes[index]);
    NodePtr fresh = std::move(edit.copy);
    if (!fresh) fresh = std::move(old);
    else if (!m_rootIsEmptied) fresh->m_subParts.swap(old->m_subParts);
    m_nodes[index] = fresh.get();
    if (edit.container) {
        edit.container->replacePart(edit.at, fresh.release(), silentLog);
        fresh = std::move(edit.container);
    }
    if (index == 0) m_tree->m_root = std::move(fresh);
    else
        m_nodes[(*m_slots)[index].parent]->replacePart(m_places[index], fresh.release(), silentLog);
}

void TreeChange::dropRemoved() noexcept {
    for (uint32_t i = static_cast<uint32_t>(m_nodes.size()); i-- > 0;) {
        if (m_hasGaps[i]) closeGaps(m_nodes[i]->m_subParts);
        if (!m_isRemoved[i]) continue;
        const uint32_t parent = (*m_slots)[i].parent;
        m_nodes[parent]->replacePart(m_places[i], nullptr, silentLog);
        m_hasGaps[parent] = true;
        NodePtr gone(m_nodes[i]);
    }
}

void TreeChange::commit() noexcept {
    for (auto& [index, edit] : m_edits) apply(index, edit);
    if (!m_rootIsEmptied) dropRemoved();
}

}  // namespace mimetree::inner
