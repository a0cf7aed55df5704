// SPDX-License-Identifier: Apache-2.0
// What Part says of leaves in uuencode.

#include "face/message/uuencode.h"

#include "face/message/tree.h"
#include "foundation/EncodingConvert.h"
#include "foundation/Uu.h"
#include "foundation/charset/code_pages.h"

namespace mimetree::inner {

bool isUuencoded(const MimeMessage2& part) {
    for (const char* name : {"uuencode", "x-uuencode", "x-uue", "uue"})
        if (part.m_contentTransferEncoding.equalsIgnoreCase(name)) return true;
    return false;
}

std::optional<std::string> uudecoded(std::string_view body) {
    LogNull log;
    DataBuffer bytes;
    if (!Uu().uu_decode(body.data(), static_cast<unsigned>(body.size()), bytes, log))
        return std::nullopt;
    return std::string(view(bytes));
}

// Tolerated: bytes that are not UTF-8, which count as ISO-8859-1.
std::string uuName(std::string_view body) {
    LogNull log;
    StringBuffer name;
    DataBuffer utf8;
    Uu::uu_name(body.data(), static_cast<unsigned>(body.size()), name);
    EncodingConvert::EncConvert(codepage::kUtf8, codepage::kUtf8,
                                reinterpret_cast<const unsigned char*>(name.getString()),
                                name.getSize(), utf8, log);
    return std::string(view(utf8));
}

}  // namespace mimetree::inner
