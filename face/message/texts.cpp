// SPDX-License-Identifier: Apache-2.0
// The body of a text part as UTF-8.  The engine holds it so, but for attached texts, which it
// keeps as they came, and for bytes that are not what their label says.

#include "face/message/tree.h"
#include "face/message/uuencode.h"
#include "foundation/EncodingConvert.h"
#include "foundation/_zqCharset.h"
#include "foundation/bytes/utf8.h"
#include "foundation/charset/code_pages.h"

namespace mimetree {

namespace {

namespace codepage = inner::codepage;

size_t validPrefix(std::string_view text) {
    return inner::utf8::validPrefix(reinterpret_cast<const unsigned char*>(text.data()),
                                    text.size());
}

std::string converted(int codePage, std::string_view bytes, LogBase& log) {
    DataBuffer utf8;
    EncodingConvert::EncConvert(codePage, codepage::kUtf8,
                                reinterpret_cast<const unsigned char*>(bytes.data()),
                                static_cast<unsigned>(bytes.size()), utf8, log);
    return std::string(view(utf8));
}

// Tolerated: bytes that are no UTF-8 are windows-1252, which is what unlabelled mail mostly is.
std::string repaired(std::string_view text, LogBase& log) {
    std::string utf8;
    while (!text.empty()) {
        const size_t valid = validPrefix(text);
        utf8.append(text.substr(0, valid));
        text.remove_prefix(valid);
        size_t odd = 0;
        while (odd < text.size() && validPrefix(text.substr(odd, 4)) == 0) ++odd;
        utf8.append(converted(codepage::kWindows1252, text.substr(0, odd), log));
        text.remove_prefix(odd);
    }
    return utf8;
}

// Of a text that the engine kept as it came; 0 when it is held as UTF-8 already.
int codePageToRead(const Part& part) {
    if (part.node().getCharsetCodePage() != codepage::kNone && !inner::isUuencoded(part.node()))
        return codepage::kNone;
    const std::string_view label = part.parameter("charset").value_or(std::string_view());
    const int codePage = _zqCharset::codePageOf(label.data(), static_cast<unsigned>(label.size()));
    const bool isPlain = codePage == codepage::kUtf8 || codePage == codepage::kAscii;
    return isPlain || !EncodingConvert::isKnown(codePage) ? codepage::kNone : codePage;
}

}  // namespace

std::string_view Part::text() const noexcept {
    if (!is_text() && (!is_multipart() || !children().empty())) return {};
    const std::string_view body(reinterpret_cast<const char*>(bytes().data()), bytes().size());
    const int codePage = codePageToRead(*this);
    if (codePage == codepage::kNone && validPrefix(body) == body.size()) return body;
    return m_tree
        ->text(Tree::Kind::Text, m_index, {},
               [&] {
                   return std::optional(codePage == codepage::kNone
                                            ? repaired(body, m_tree->m_log)
                                            : converted(codePage, body, m_tree->m_log));
               })
        .value_or(std::string_view());
}

}  // namespace mimetree
