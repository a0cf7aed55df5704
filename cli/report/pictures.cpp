// SPDX-License-Identifier: Apache-2.0

#include "cli/report/pictures.h"

#include "foundation/bytes/bytes.h"

namespace bytes = mimetree::inner::bytes;

namespace {

// Limit: a picture that is named again and again.
constexpr size_t kMostBytesPerByte = 8;

struct Signature {
    std::string_view bytes;
    size_t at;
    std::string_view type;
};

// What it is, whatever its label says: browsers look at the bytes, too.
constexpr Signature kSignatures[] = {
    {"\x89PNG\r\n", 0, "image/png"}, {"\xFF\xD8\xFF", 0, "image/jpeg"},
    {"GIF8", 0, "image/gif"},        {"WEBP", 8, "image/webp"},
    {"BM", 0, "image/bmp"},          {"ftypavif", 4, "image/avif"}};

// SVG has no signature; as a picture it runs no script and loads nothing.
std::string_view typeOf(const mimetree::Part& part, std::string_view content) {
    for (const Signature& one : kSignatures)
        if (content.size() > one.at && content.substr(one.at).starts_with(one.bytes))
            return one.type;
    return part.type() == "image/svg+xml" ? "image/svg+xml" : "";
}

// RFC 2392 2: the identifier is percent-encoded in the URL.
std::string decoded(std::string_view url) {
    std::string text;
    for (size_t i = 0; i < url.size(); ++i) {
        const bool isEscape = url[i] == '%' && i + 2 < url.size() &&
                              bytes::hexValue(url[i + 1]) >= 0 && bytes::hexValue(url[i + 2]) >= 0;
        text +=
            isEscape
                ? static_cast<char>(16 * bytes::hexValue(url[i + 1]) + bytes::hexValue(url[i + 2]))
                : url[i];
        if (isEscape) i += 2;
    }
    return text;
}

}  // namespace

Pictures::Pictures(const mimetree::Message& message) {
    for (const mimetree::Part& part : message.parts()) {
        const std::span<const std::byte> body = part.bytes();
        const std::string_view content(reinterpret_cast<const char*>(body.data()), body.size());
        const std::string_view type = typeOf(part, content);
        if (part.content_id().empty() || type.empty()) continue;
        m_pictures.emplace(part.content_id(), Picture{type, content});
        m_bytesLeft += kMostBytesPerByte * content.size();
    }
}

bool Pictures::write(std::string_view cid, const Sink& sink) {
    const auto found = m_pictures.find(decoded(cid));
    if (found == m_pictures.end() || found->second.bytes.size() > m_bytesLeft) return false;
    m_bytesLeft -= found->second.bytes.size();
    sink("data:");
    sink(found->second.type);
    sink(";base64,");
    writeBase64(found->second.bytes, sink);
    return true;
}
