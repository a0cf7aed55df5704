// SPDX-License-Identifier: Apache-2.0
// Follows a tree through the text that it was read from.  findings.cpp runs one walk for each
// message; raw_text.cpp finds the headers and cutter.cpp the parts.
// Limit: where text and tree part ways, the rest of that multipart is not looked at.

#include "face/findings/walk.h"

#include "face/findings/kinds.h"
#include "face/message/no_mail.h"
#include "face/message/tree.h"

namespace mimetree::inner::check {

namespace {

// The value of a boundary as the header has it: the tree has it without high bytes.
std::string_view writtenBoundary(const Entity& entity) {
    const Param* const boundary = entity.type.find("boundary");
    return boundary ? boundary->written : std::string_view();
}

// Text without a header is all body; the tree was read from what stands behind its front.
HeaderPlace withoutHeader(std::string_view text) {
    HeaderPlace place;
    place.hasBlankLine = true;
    place.body = behindFront(text);
    place.header = text.substr(0, 0);
    return place;
}

}  // namespace

Walk::Walk(const Message& message, const Origin& origin, Report& report)
    : m_message(message),
      m_origin(origin),
      m_report(report),
      m_source(origin.text.data(), origin.text.data() + origin.text.size()) {}

void Walk::run(std::vector<Origin>& embedded) {
    m_embedded = &embedded;
    open(m_message.root(), m_origin.text, LineEnds(), 0);
    while (!m_levels.empty()) goOn();
}

void Walk::open(const Part& part, std::string_view whole, LineEnds ends, unsigned depth) {
    const bool isRoot = depth == 0;
    const HeaderPlace place =
        isRoot && hasNoHeader(whole) ? withoutHeader(whole) : findHeader(m_source, whole, ends);
    Entity entity = makeEntity(m_origin, part, whole, place);
    entity.isMessage = isRoot;
    entity.depth = depth;
    ++m_located;
    if (openLevel(entity)) return;
    check(entity);
    noteEmbedded(entity);
}

bool Walk::openLevel(Entity& entity) {
    const std::string_view boundary = view(entity.part.node().m_contentType.m_boundary);
    if (!entity.part.is_multipart() || boundary.empty() || entity.body().empty()) return false;
    Cutter cutter(m_source, entity.body(), entity.place.ends);
    if (!cutter.findFirst(boundary, writtenBoundary(entity))) return false;
    m_levels.push_back(Level{std::move(entity), std::move(cutter)});
    return true;
}

void Walk::goOn() {
    Level& level = m_levels.back();
    const Parts children = level.entity.part.children();
    std::string_view part;
    if (!level.cutter.next(part)) return close();
    if (level.taken == children.size()) return;
    m_numbers.push_back(static_cast<uint32_t>(++level.taken));
    const size_t levels = m_levels.size();
    open(children[level.taken - 1], part, level.entity.place.ends, level.entity.depth + 1);
    if (m_levels.size() == levels) m_numbers.pop_back();
}

void Walk::close() {
    Level& level = m_levels.back();
    level.entity.cut = &level.cutter.cut();
    m_boundaries.push_back(view(level.entity.part.node().m_contentType.m_boundary));
    level.entity.boundaries = &m_boundaries;
    check(level.entity);
    m_levels.pop_back();
    if (!m_numbers.empty()) m_numbers.pop_back();
}

void Walk::check(const Entity& entity) {
    const bool isLeaf = entity.part.children().empty();
    m_report.setPart(m_origin, m_numbers, isLeaf ? Report::Holds::Nothing : Report::Holds::Parts);
    for (const Row& row : rows()) {
        m_report.setKind(row.kind);
        row.check(entity, m_report);
    }
}

// What is not encoded is read where it stands.
void Walk::noteEmbedded(const Entity& entity) {
    if (!entity.part.is_message()) return;
    Origin embedded{entity.body(),
                    m_origin.offset,
                    m_report.partNumber(),
                    m_origin.depth + 1,
                    m_origin.partDepth + entity.depth + 1,
                    m_origin.decoded};
    if (!m_origin.decoded)
        embedded.offset += static_cast<uint64_t>(entity.body().data() - m_origin.text.data());
    if (!entity.isIdentity()) {
        const auto decoded = entity.part.bytes();
        embedded.decoded = std::make_shared<std::string>(
            reinterpret_cast<const char*>(decoded.data()), decoded.size());
        embedded.text = *embedded.decoded;
    }
    m_embedded->push_back(std::move(embedded));
}

}  // namespace mimetree::inner::check
