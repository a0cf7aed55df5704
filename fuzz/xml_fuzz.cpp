// SPDX-License-Identifier: Apache-2.0

// XML as a way in: a document made of the vocabulary's elements and hostile text.  What it says
// starts no header line: the written mail has no more fields than the document has elements in
// its headers.

#include "foundation/LogNull.h"
#include "laws.h"
#include "mail_words.h"

namespace {

std::string document(Choices& choices) {
    std::string xml;
    while (!choices.atEnd()) {
        const uint8_t choice = choices.byte();
        if (choice < 128) xml += kXmlWords[choice % std::size(kXmlWords)];
        else if (choice < 224) xml += kMailWords[choice % std::size(kMailWords)];
        else xml += choices.bytes(4);
    }
    return xml;
}

// Fields of the whole tree.
int fieldsOf(const MimeMessage2& node, unsigned depth = 0) {
    int sum = node.getNumHeaderFields();
    for (int i = 0; i < node.getNumParts() && depth < 100; ++i)
        sum += fieldsOf(*node.getPart(i), depth + 1);
    return sum;
}

size_t count(const std::string& text, char c) {
    size_t n = 0;
    for (const char other : text) n += other == c;
    return n;
}

}  // namespace

FUZZ_TARGET(xml_fuzz) {
    Choices choices(data, size);
    const bool isWrapped = choices.below(4) != 0;
    std::string xml = document(choices);
    if (isWrapped) xml = "<mime_message><header><Subject>" + xml + "</mime_message>";
    LogNull log;
    StringBuffer text;
    text.appendN(xml.data(), static_cast<unsigned>(xml.size()));
    ExtPtrArray all;
    MimeMessage2::createMultipleFromXml(text, nullptr, all, /*addPreamble*/ false, log);
    MimeMessage2* const message = MimeMessage2::createMimeFromXml(text, "mime_message", false, log);
    if (!message) return;
    MimeMessage2 back;
    load(back, written(*message), /*asText*/ false);
    require(back.getNumHeaderFields() <= message->getNumHeaderFields(), "no field more is written");
    require(fieldsOf(*message) <= static_cast<int>(2 * count(xml, '<')) + 2,
            "no more fields than elements");
    checkXml(*message);
    VantrelObject::deleteObject(message);
}
