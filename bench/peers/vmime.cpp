// SPDX-License-Identifier: Apache-2.0

// VMime: leaves are extracted, texts converted to UTF-8; a message inside a message is opened as
// a message of its own.

#include <vmime/platforms/posix/posixHandler.hpp>
#include <vmime/vmime.hpp>

#include "peer.h"

namespace {

uint64_t decoded(const vmime::bodyPart& part) {
    const auto body = part.getBody();
    uint64_t sum = 0;
    for (size_t i = 0; i < body->getPartCount(); ++i) sum += decoded(*body->getPartAt(i));
    if (body->getPartCount()) return sum;
    std::string bytes;
    vmime::utility::outputStreamStringAdapter out(bytes);
    body->getContents()->extract(out);
    const vmime::mediaType type = body->getContentType();
    if (type.getType() == "message" && type.getSubType() == "rfc822") {
        vmime::message inner;
        inner.parse(bytes);
        return decoded(inner);
    }
    if (type.getType() != "text" || body->getCharset() == vmime::charsets::UTF_8)
        return bytes.size();
    std::string text;
    vmime::charset::convert(bytes, text, body->getCharset(), vmime::charsets::UTF_8);
    return text.size();
}

void* keep(std::string_view mail) {
    auto* const message = new vmime::message;
    message->parse(std::string(mail));
    return message;
}

uint64_t load(std::string_view mail) {
    vmime::message message;
    message.parse(std::string(mail));
    return decoded(message);
}

uint64_t write(void* kept) {
    std::string text;
    vmime::utility::outputStreamStringAdapter out(text);
    static_cast<vmime::message*>(kept)->generate(out);
    return text.size();
}

void drop(void* kept) { delete static_cast<vmime::message*>(kept); }

}  // namespace

int main(int argc, char** argv) {
    vmime::platform::setHandler<vmime::platforms::posix::posixHandler>();
    return measureAll({load, keep, write, drop}, argc, argv);
}
