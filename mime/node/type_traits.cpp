// SPDX-License-Identifier: Apache-2.0

// Judging a Content-Type once for all that body_parse.cpp asks of it.

#include "mime/node/type_traits.h"

#include <cstring>
#include <string_view>

#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/header/plain_value.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

// The text around a "/", in any letter case.
class Slash {
public:
    Slash(const char* begin, const char* at, const char* end)
        : m_begin(begin), m_at(at), m_end(end) {}

    bool isBehind(std::string_view word) const {
        return static_cast<size_t>(m_at - m_begin) >= word.size() &&
               bytes::equalIgnoreCase(m_at - word.size(), word.data(), word.size());
    }
    bool isInFrontOf(std::string_view word) const {
        return static_cast<size_t>(m_end - m_at) > word.size() &&
               bytes::equalIgnoreCase(m_at + 1, word.data(), word.size());
    }

private:
    const char* const m_begin;
    const char* const m_at;
    const char* const m_end;
};

// XML or JSON, in any letter case.
bool namesTextFormat(const char* p, const char* end) {
    static constexpr ByteSet kInitials("xXjJ");
    for (; end - p >= 3; ++p) {
        if (!kInitials.has(*p)) continue;
        if (bytes::equalIgnoreCase(p, "xml", 3)) return true;
        if (end - p >= 4 && bytes::equalIgnoreCase(p, "json", 4)) return true;
    }
    return false;
}

}  // namespace

// RFC 2046 4: media that are no text.  XML and JSON are text that may be in any charset.
// Kept on purpose: a media type counts wherever it stands in the value.
TypeTraits mimetree::inner::traitsOf(const char* type, unsigned size) {
    TypeTraits traits;
    traits.isEmpty = size == 0;
    if (size == 0) return traits;
    const char* const end = type + size;
    bool isApplication = false;
    const char* p = type;
    while ((p = static_cast<const char*>(std::memchr(p, '/', static_cast<size_t>(end - p))))) {
        const Slash slash(type, p++, end);
        if (slash.isBehind("text")) {
            traits.isText = true;
            traits.isHtml = traits.isHtml || slash.isInFrontOf("html");
        } else if (slash.isBehind("application")) {
            isApplication = true;
            traits.isText = traits.isText || slash.isInFrontOf("xml");
        } else if (slash.isBehind("image") || slash.isBehind("audio") || slash.isBehind("video")) {
            traits.isBinary = true;
        }
    }
    if (isApplication && !traits.isBinary) traits.isBinary = !namesTextFormat(type, end);
    return traits;
}

TypeTraits MimeMessage2::typeTraits(LogBase& log) const {
    const int index = m_mimeHeader.findMimeFields().contentType;
    PlainValue plain;
    if (index >= 0 && m_mimeHeader.getPlainValue(index, plain))
        return traitsOf(plain.begin(), plain.size());
    StringBuffer value;
    m_mimeHeader.getFieldValueUtf8(index, value, log);
    return traitsOf(value.getString(), value.getSize());
}
