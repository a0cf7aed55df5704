// SPDX-License-Identifier: Apache-2.0
// The list of a message's parts, made out of the engine's tree without recursion, for a message
// may nest deeper than the machine stack goes.

#include "face/message/tree.h"

#include <algorithm>
#include <new>

namespace mimetree {

Tree::Tree(std::unique_ptr<MimeMessage2> root) : m_root(std::move(root)) {
    if (!m_root) throw std::bad_alloc();
}

void Tree::changed() {
    m_sourceBytes.clear();
    m_source = {};
    m_slots.clear();
    m_parts.clear();
    m_children.clear();
    m_views.reset();
    m_byContentId.reset();
    m_texts.clear();
    m_fields.clear();
    m_addresses.clear();
}

void Tree::keepSource(std::string_view source) {
    m_sourceBytes.append(source.data(), static_cast<unsigned>(source.size()));
    m_source = view(m_sourceBytes);
}

void Tree::takeSource(DataBuffer& source) {
    m_sourceBytes.takeData(source);
    m_source = view(m_sourceBytes);
}

const std::vector<Tree::Slot>& Tree::slots() {
    if (m_parts.empty()) {
        buildSlots();
        countLeaves();
        buildParts();
    }
    return m_slots;
}

// Until a node's children are all there, firstChild is the engine's index of the next one.
void Tree::buildSlots() {
    m_slots.assign(1, Slot{m_root.get()});
    for (uint32_t at = 0;;) {
        Slot& slot = m_slots[at];
        if (static_cast<int>(slot.firstChild) == slot.node->getNumParts()) {
            if (at == 0) break;
            at = slot.parent;
        } else if (MimeMessage2* child = slot.node->getPart(static_cast<int>(slot.firstChild++))) {
            const uint32_t number = ++slot.childCount, depth = slot.depth + 1;
            m_slots.push_back(Slot{child, at, 0, 0, depth, number});
            at = static_cast<uint32_t>(m_slots.size() - 1);
        }
    }
    m_slots.shrink_to_fit();
}

void Tree::countLeaves() {
    uint32_t leaves = 0;
    for (Slot& slot : m_slots) slot.leaf = leaves += slot.childCount == 0;
}

void Tree::buildParts() {
    uint32_t taken = 0;
    for (Slot& slot : m_slots) {
        slot.firstChild = taken;
        taken += slot.childCount;
    }
    m_children.assign(taken, Part(this, 0));
    std::vector<Part> parts;
    parts.reserve(m_slots.size());
    for (uint32_t i = 0; i < m_slots.size(); ++i) {
        parts.push_back(Part(this, i));
        const Slot& slot = m_slots[i];
        if (i > 0) m_children[m_slots[slot.parent].firstChild + slot.number - 1] = parts.back();
    }
    m_parts.swap(parts);
}

Parts Tree::parts() {
    slots();
    return m_parts;
}

Parts Tree::children(uint32_t index) {
    const Slot& slot = slots()[index];
    return Parts(m_children).subspan(slot.firstChild, slot.childCount);
}

template <class Make>
std::string_view Tree::madeOf(std::string_view view, Kind kind, Make make) {
    if (view.empty()) return "";
    const uintptr_t place[] = {reinterpret_cast<uintptr_t>(view.data()), view.size()};
    return text(kind, 0, {reinterpret_cast<const char*>(place), sizeof place}, make).value_or("");
}

std::string_view Tree::terminated(std::string_view view) {
    return madeOf(view, Kind::Terminated, [&] { return std::optional<std::string>(view); });
}

std::string_view Tree::withoutNul(std::string_view view) {
    if (view.find('\0') == view.npos) return terminated(view);
    return madeOf(view, Kind::WithoutNul, [&] {
        std::string made;
        for (const char c : view) made += c ? std::string_view(&c, 1) : "\xEF\xBF\xBD";
        return std::optional(made);
    });
}

std::string_view Tree::lowerCase(Kind kind, uint32_t part, std::string_view text) {
    const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (std::none_of(text.begin(), text.end(), isUpper)) return text;
    return this
        ->text(kind, part, {},
               [&] {
                   std::string lower(text);
                   for (char& c : lower)
                       if (isUpper(c)) c = static_cast<char>(c + 32);
                   return std::optional(lower);
               })
        .value_or(std::string_view());
}

}  // namespace mimetree
