// SPDX-License-Identifier: Apache-2.0

// What a program that uses the engine does with a text.

#include "operations.h"

#include "foundation/LogNull.h"
#include "foundation/_zqEmailAddress.h"
#include "laws.h"

namespace {

void xmlIn(const std::string& text) {
    LogNull log;
    StringBuffer xml;
    xml.appendN(text.data(), static_cast<unsigned>(text.size()));
    VantrelObject::deleteObject(MimeMessage2::createMimeFromXml(xml, "mime_message", false, log));
}

void viaXml(const std::string& text) {
    MimeMessage2 message;
    load(message, text, /*asText*/ false);
    LogNull log;
    StringBuffer xml;
    message.getMimeXml(xml, log);
    xmlIn(bytesOf(xml));
}

void set(const std::string& text) {
    LogNull log;
    MimeMessage2 message;
    for (const char* name : {"Subject", "To", "Content-Type", "Content-Disposition", "X"})
        message.addReplaceHeaderFieldUtf8(name, text.c_str(), log);
    message.setNameUtf8(text.c_str(), log);
    message.setFilenameUtf8(text.c_str(), log);
    message.setBoundary(text.c_str(), log);
    written(message);
}

void change(const std::string& text) {
    LogNull log;
    MimeMessage2 message;
    load(message, text, /*asText*/ true);
    message.makeBinarySafeForString();
    message.restoreBinarySafeForString();
    message.convert8Bit(log);
    message.makeAttachmentFilenamesRelative(log);
    message.collapseMultiple("X", log);
    message.moveHeaderToBottom("To", log);
    message.uuDecodeAttachment(log);
    VantrelObject::deleteObject(message.cloneMimeMessage(nullptr));
}

}  // namespace

const std::vector<Operation> kOperations = {
    {"load",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, false);
     }},
    {"load as text",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, true);
     }},
    {"read",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, false);
         readAll(m);
     }},
    {"write",
     [](const std::string& text) {
         MimeMessage2 m;
         load(m, text, false);
         written(m);
     }},
    {"set", set},
    {"change", change},
    {"from XML", xmlIn},
    {"through XML", viaXml},
    {"addresses",
     [](const std::string& text) {
         LogNull log;
         ExtPtrArray list;
         _zqEmailAddress::parseAndLoadList(text.c_str(), list, 0, log);
     }},
};
