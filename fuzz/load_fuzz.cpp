// SPDX-License-Identifier: Apache-2.0

// Loads the input as bytes and as text and checks laws on the trees, not survival alone: what is
// written loads again with the same shape, writing comes to rest, and a tree survives XML.
// The first byte chooses a dress: raw bytes, or the same bytes squeezed into the characters that
// mail is made of, which reaches the parsers far more often.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/LogNull.h"
#include "mime/MimeMessage2.h"

namespace {

void require(bool law) {
    if (!law) std::abort();
}

std::string squeezed(const uint8_t* data, size_t size) {
    static const char* const kWords[] = {"\r\n",
                                         "\n",
                                         "\r",
                                         "\r\n\r\n",
                                         "--",
                                         "b",
                                         "--b\r\n",
                                         "--b--",
                                         ": ",
                                         "; ",
                                         "=",
                                         "\"",
                                         "*0*",
                                         "Content-Type",
                                         "multipart/mixed",
                                         "multipart/signed",
                                         "text/plain",
                                         "text/html",
                                         "boundary",
                                         "charset",
                                         "utf-8",
                                         "iso-2022-jp",
                                         "utf-16",
                                         "name",
                                         "filename",
                                         "Content-Disposition",
                                         "attachment",
                                         "Content-Transfer-Encoding",
                                         "base64",
                                         "quoted-printable",
                                         "uuencode",
                                         "=?utf-8?Q?",
                                         "=?gb2312?B?",
                                         "?=",
                                         "From ",
                                         "To",
                                         "<a@b>",
                                         ",",
                                         "(",
                                         ")",
                                         "=C3=BC",
                                         "begin 644 a"};
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        const size_t word = data[i] % 64;
        if (word < std::size(kWords)) text += kWords[word];
        else text += static_cast<char>(data[i]);
    }
    return text;
}

std::string written(const MimeMessage2& message) {
    LogNull log;
    DataBuffer out;
    message.getMimeTextDb(out, /*bodyOnly*/ false, log);
    return std::string(reinterpret_cast<const char*>(out.getData2()), out.getSize());
}

void load(MimeMessage2& message, const std::string& text, bool asText) {
    LogNull log;
    StringBuffer clue;
    message.loadMimeComplete2(text.data(), static_cast<unsigned>(text.size()), asText, clue, log,
                              /*inputIsUtf8*/ false);
}

// Labels are added while text is read, delimiters may be made up by what stands around them: a
// few rounds bring a message to rest, and then it stays.
void checkWriting(const MimeMessage2& first, bool asText) {
    std::string text = written(first);
    for (int round = 0; round < 8; ++round) {
        MimeMessage2 again;
        load(again, text, asText);
        std::string next = written(again);
        if (next == text) return;
        require(next.size() < 4 * text.size() + 4096);
        text.swap(next);
    }
}

void checkXml(MimeMessage2& message) {
    LogNull log;
    StringBuffer xml;
    require(message.getMimeXml(xml, log));
    MimeMessage2* const back = MimeMessage2::createMimeFromXml(xml, "mime_message", false, log);
    require(back != nullptr);
    require(back->getNumParts() == message.getNumParts());
    VantrelObject::deleteObject(back);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const bool isSqueezed = data[0] & 1, asText = data[0] & 2;
    const std::string text = isSqueezed
                                 ? squeezed(data + 1, size - 1)
                                 : std::string(reinterpret_cast<const char*>(data + 1), size - 1);
    MimeMessage2 message;
    load(message, text, asText);
    checkWriting(message, asText);
    checkXml(message);
    LogNull log;
    ExtPtrArray addresses;
    message.getEmailAddresses("To", addresses, log);
    StringBuffer name;
    message.getSubFieldUtf8("Content-Type", "name", name, log);
    message.getHtmlBodyObject(log);
    message.containsSignedParts(log);
    return 0;
}
