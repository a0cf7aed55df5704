// SPDX-License-Identifier: Apache-2.0
// What a part says of itself, and how parts are found.

#include <charconv>

#include "face/message/tree.h"
#include "face/message/uuencode.h"

namespace mimetree {

namespace {

// Limit: a path grows with its depth, so a message nested without end would make them quadratic.
constexpr unsigned kMaxPathDepth = 32;

bool startsIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           inner::bytes::equalIgnoreCase(text.data(), prefix.data(), prefix.size());
}

// Takes the first number off `path`, with the dot behind it; 0 when there is none.
uint32_t takeNumber(std::string_view& path) {
    uint32_t number = 0;
    const char* const end = path.data() + path.size();
    const auto [stop, error] = std::from_chars(path.data(), end, number);
    if (error != std::errc() || (stop != end && (*stop != '.' || stop + 1 == end))) return 0;
    path.remove_prefix(static_cast<size_t>(stop - path.data()) + (stop != end));
    return number;
}

}  // namespace

// RFC 2045 5.2: a type that is missing, or is none, is that of plain text.
std::string_view Part::type() const noexcept {
    const std::string_view own = view(node().m_contentType.m_type);
    const size_t slash = own.find('/');
    if (slash != own.npos && slash > 0 && slash + 1 < own.size())
        return m_tree->lowerCase(Tree::Kind::Type, m_index, own);
    if (startsIgnoringCase(own, "multipart")) return "multipart/mixed";
    return own.empty() && m_tree->isInDigest(m_index) ? "message/rfc822" : "text/plain";
}

// RFC 2046 5.1.5.
bool Tree::isInDigest(uint32_t index) {
    return index != 0 && Part(this, m_slots[index].parent).type() == "multipart/digest";
}

std::string_view Part::charset() const noexcept {
    const std::string_view found = node().m_charset.getName();
    return found.empty() ? parameter("charset").value_or(found) : found;
}

std::string_view Part::encoding() const noexcept {
    return m_tree->lowerCase(Tree::Kind::Encoding, m_index, view(node().m_contentTransferEncoding));
}

std::string_view Part::disposition() const noexcept {
    return m_tree->lowerCase(Tree::Kind::Disposition, m_index, view(node().m_disposition));
}

std::optional<std::string_view> Part::parameter(std::string_view name) const noexcept {
    return m_tree->text(Tree::Kind::Parameter, m_index, name, [&]() -> std::optional<std::string> {
        StringBuffer value;
        if (!node().getSubFieldUtf8("Content-Type", std::string(name).c_str(), value,
                                    m_tree->m_log))
            return std::nullopt;
        return std::string(view(value));
    });
}

std::string_view Part::declared_name() const noexcept {
    const std::string_view filename = view(node().m_filename);
    const std::string_view name = filename.empty() ? view(node().m_contentType.m_name) : filename;
    if (!name.empty() || !inner::isUuencoded(node())) return name;
    return m_tree
        ->text(Tree::Kind::UuName, m_index, {},
               [&] { return std::optional(inner::uuName(view(node().getMimeBodyDb()))); })
        .value_or(name);
}

std::span<const std::byte> Part::bytes() const noexcept {
    std::string_view body = view(node().getMimeBodyDb());
    if (inner::isUuencoded(node()))
        body =
            m_tree->text(Tree::Kind::Uudecoded, m_index, {}, [&] { return inner::uudecoded(body); })
                .value_or(body);
    return std::as_bytes(std::span(body.data(), body.size()));
}

std::span<const std::byte> Part::signed_bytes() const noexcept {
    if (children().empty()) return {};
    const DataBuffer& kept = children().front().node().getSignedData();
    return {reinterpret_cast<const std::byte*>(kept.getData2()), kept.getSize()};
}

unsigned Part::depth() const noexcept {
    return m_tree->answer([&] { return m_tree->slots()[m_index].depth; });
}

Parts Part::children() const noexcept {
    return m_tree->answer([&] { return m_tree->children(m_index); });
}

std::string_view Part::path() const noexcept {
    if (m_index == 0 || depth() > kMaxPathDepth) return {};
    return m_tree
        ->text(Tree::Kind::Path, m_index, {},
               [&] {
                   std::string path;
                   for (uint32_t at = m_index; at != 0; at = m_tree->slots()[at].parent)
                       path.insert(0, std::to_string(m_tree->slots()[at].number) +
                                          (path.empty() ? "" : "."));
                   return std::optional(path);
               })
        .value_or(std::string_view());
}

bool Part::is_multipart() const noexcept { return type().starts_with("multipart/"); }
bool Part::is_text() const noexcept { return type().starts_with("text/"); }
bool Part::is_message() const noexcept {
    return type() == "message/rfc822" || type() == "message/global";
}

MimeMessage2& Part::node() const noexcept { return m_tree->node(m_index); }

Result<Message> Part::message() const noexcept {
    if (!is_message()) return Error(Errc::not_found, "the part is no message");
    const std::span<const std::byte> body = bytes();
    return Message::parse(body);
}

// -- Finding parts

Parts Message::parts() const noexcept {
    return tree().answer([&] { return tree().parts(); });
}

Part Message::root() const noexcept { return Part(&tree(), 0); }

std::optional<Part> Message::part(std::string_view path) const noexcept {
    Part at = root();
    while (!path.empty()) {
        const uint32_t number = takeNumber(path);
        const Parts children = at.children();
        if (number == 0 || number > children.size()) return std::nullopt;
        at = children[number - 1];
    }
    return at;
}

namespace {

// RFC 2392: the identifier within a URL may be percent-encoded.
std::string percentDecoded(std::string_view url) {
    std::string text;
    for (size_t i = 0; i < url.size(); ++i) {
        const bool isCode = url[i] == '%' && i + 2 < url.size();
        const int high = isCode ? inner::bytes::hexValue(url[i + 1]) : -1;
        const int low = isCode ? inner::bytes::hexValue(url[i + 2]) : -1;
        const bool isHex = high >= 0 && low >= 0;
        text += isHex ? static_cast<char>(16 * high + low) : url[i];
        if (isHex) i += 2;
    }
    return text;
}

}  // namespace

std::optional<Part> Tree::partByCid(std::string_view cid) {
    if (!m_byContentId) {
        std::unordered_map<std::string_view, Part> made;
        for (const Part& part : parts())
            if (const std::string_view id = part.content_id(); !id.empty()) made.emplace(id, part);
        m_byContentId = std::move(made);
    }
    const auto found = m_byContentId->find(cid);
    return found == m_byContentId->end() ? std::nullopt : std::optional(found->second);
}

std::optional<Part> Message::part_by_cid(std::string_view cid) const noexcept {
    return tree().answer([&]() -> std::optional<Part> {
        if (startsIgnoringCase(cid, "cid:")) cid.remove_prefix(4);
        cid = inner::withoutAngles(cid);
        if (const auto part = tree().partByCid(cid)) return part;
        return tree().partByCid(percentDecoded(cid));
    });
}

}  // namespace mimetree
