// SPDX-License-Identifier: Apache-2.0

// Parameters: any field is read; names that a caller gives to a part come back as they were,
// beside no parameter or field that was not asked for.

#include "foundation/LogNull.h"
#include "foundation/_zqUtf.h"
#include "laws.h"
#include "mail_words.h"

namespace {

bool isPlainUtf8(const std::string& text) {
    // Kept on purpose: a disposition's file name is written as it is, quotes and what is read as an
    // encoded word (RFC 2047 2) included.
    if (text.find("=?") != std::string::npos) return false;
    for (const char c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '"') return false;
    return _zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<unsigned>(text.size()), 0);
}

std::string words(Choices& choices) {
    std::string text;
    for (unsigned n = choices.below(12); n; --n)
        text += choices.below(3) ? choices.pick(kMailWords) : choices.bytes(4);
    return text;
}

}  // namespace

FUZZ_TARGET(params_fuzz) {
    Choices choices(data, size);
    LogNull log;
    const std::string name = words(choices);
    MimeMessage2 part;
    part.setContentType("application/pdf", /*refresh*/ true, log);
    part.setNameUtf8(name.c_str(), log);
    part.setContentDisposition("attachment", name.c_str(), log);
    MimeMessage2 back;
    load(back, written(part), /*asText*/ false);
    require(back.getNumHeaderFields() == part.getNumHeaderFields(), "a name starts no field");
    StringBuffer filename, other;
    back.getMimeFilename(filename);
    if (isPlainUtf8(name.c_str()) && name.find_first_not_of(' ') == 0 && name.back() != ' ')
        require(bytesOf(filename) == name.c_str(), "a file name comes back");
    require(std::string(back.getContentType()) == "application/pdf", "a name changes no type");

    MimeMessage2 any;
    load(any,
         "Content-Type: text/plain; " + words(choices) + "\r\nContent-Disposition: attachment; " +
             words(choices) + "\r\n\r\nx",
         /*asText*/ false);
    any.getSubFieldUtf8("Content-Disposition", "filename", other, log);
    checkWriting(any, /*asText*/ false);
    checkXml(any);
}
