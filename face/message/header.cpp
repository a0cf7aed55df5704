// SPDX-License-Identifier: Apache-2.0
// The header fields of a part as views: their values unfolded and decoded, and as they came.

#include <cstring>

#include "face/message/tree.h"
#include "foundation/bytes/bytes.h"

namespace mimetree {

namespace {

using inner::bytes::isSpace;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

// A field of a header: name, value and raw value one behind the other in `text`.
struct FieldSizes {
    size_t name, value, raw;
};

void appendField(const MimeMessage2& node, int index, LogBase& log, std::string& text,
                 std::vector<FieldSizes>& sizes) {
    StringBuffer name, value, whole;
    node.getHeaderFieldName(index, name, log);
    if (name.isEmpty()) return;  // a line that is no field
    node.getHeaderFieldValue(index, /*decode*/ true, value, log);
    node.m_mimeHeader.getFieldText(index, whole);
    const std::string_view raw = trimmed(view(whole).substr(view(whole).find(':') + 1));
    text.append(view(name)).append(view(value)).append(raw);
    sizes.push_back({name.getSize(), value.getSize(), raw.size()});
}

}  // namespace

// Tolerated: identifiers without angle brackets (RFC 5322 3.6.4).
std::string_view inner::withoutAngles(std::string_view id) {
    id = trimmed(id);
    if (id.starts_with('<')) id = id.substr(1, id.find('>', 1) - 1);
    return trimmed(id);
}

std::span<const Header> Tree::headers(uint32_t index) {
    return answer([&]() -> std::span<const Header> {
        if (const auto found = m_fields.find(index); found != m_fields.end())
            return found->second.list;
        const inner::MemoryWatch watch;
        Fields fields;
        std::vector<FieldSizes> sizes;
        const MimeMessage2& owner = node(index);
        for (int i = 0; i < owner.getNumHeaderFields(); ++i)
            appendField(owner, i, m_log, fields.text, sizes);
        if (watch.wasRefused()) return {};
        Fields& kept = m_fields.emplace(index, std::move(fields)).first->second;
        std::string_view rest = kept.text;
        const auto take = [&rest](size_t size) {
            const std::string_view taken = rest.substr(0, size);
            rest.remove_prefix(size);
            return taken;
        };
        std::vector<Header> list;
        list.reserve(sizes.size());
        for (const FieldSizes& field : sizes) {
            const std::string_view name = take(field.name), value = take(field.value);
            list.push_back(Header{name, value, take(field.raw)});
        }
        kept.list.swap(list);
        return kept.list;
    });
}

std::span<const Header> Part::headers() const noexcept { return m_tree->headers(m_index); }

std::optional<std::string_view> Part::header(std::string_view name) const noexcept {
    return m_tree->text(Tree::Kind::Field, m_index, name, [&]() -> std::optional<std::string> {
        StringBuffer value;
        if (!node().getHeaderFieldUtf8(std::string(name).c_str(), value, m_tree->m_log))
            return std::nullopt;
        return std::string(view(value));
    });
}

std::string_view Part::content_id() const noexcept {
    return inner::withoutAngles(view(node().m_contentId));
}

std::span<const Header> Message::headers() const noexcept { return root().headers(); }

std::optional<std::string_view> Message::header(std::string_view name) const noexcept {
    return root().header(name);
}

std::string_view Message::subject() const noexcept {
    return header("Subject").value_or(std::string_view());
}

std::string_view Message::message_id() const noexcept {
    return inner::withoutAngles(header("Message-ID").value_or(std::string_view()));
}

}  // namespace mimetree
