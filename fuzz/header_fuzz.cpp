// SPDX-License-Identifier: Apache-2.0

// A header block: fields that nobody touched keep name and number through writing and reading;
// a value that a caller sets comes back as one field and starts no other.

#include <vector>

#include "foundation/LogNull.h"
#include "foundation/MimeHeader.h"
#include "laws.h"
#include "mail_words.h"

namespace {

std::vector<std::string> namesOf(const MimeMessage2& message) {
    LogNull log;
    std::vector<std::string> names;
    for (int i = 0; i < message.getNumHeaderFields(); ++i) {
        StringBuffer name;
        message.getHeaderFieldName(i, name, log);
        names.push_back(bytesOf(name));
    }
    return names;
}

// Without the label that reading adds to text that has none, or has lost it.
std::vector<std::string> namesAsSet(const MimeMessage2& back, const MimeMessage2& message) {
    LogNull log;
    StringBuffer type;
    std::vector<std::string> names = namesOf(back);
    const bool isLabelled = message.getHeaderFieldUtf8("Content-Type", type, log);
    if (!isLabelled && !names.empty() && names.back() == "Content-Type") names.pop_back();
    return names;
}

std::string words(Choices& choices) {
    std::string text;
    for (unsigned n = choices.below(16); n; --n)
        text += choices.below(4) ? choices.pick(kMailWords) : choices.bytes(3);
    return text;
}

}  // namespace

FUZZ_TARGET(header_fuzz) {
    Choices choices(data, size);
    const std::string name = choices.below(4) ? "X-Field" : words(choices), value = words(choices);
    LogNull log;
    MimeMessage2 first, message;
    load(first, "A: 1\r\n" + words(choices) + "\r\n\r\nbody\r\n", /*asText*/ false);
    readAll(first);
    load(message, written(first), /*asText*/ false);  // has the labels that reading adds
    message.addReplaceHeaderFieldUtf8(name.c_str(), value.c_str(), log);
    message.addHeaderFieldUtf8("X-Last", value.c_str(), /*allowEmpty*/ true, log);

    MimeMessage2 back;
    load(back, written(message), /*asText*/ false);
    require(namesAsSet(back, message) == namesOf(message),
            "what is set starts no field of its own");
    StringBuffer set, read;
    message.getHeaderFieldUtf8("X-Last", set, log);
    back.getHeaderFieldUtf8("X-Last", read, log);
    require(set.isEmpty() == read.isEmpty(), "a value that is set is there when it is read");
}
