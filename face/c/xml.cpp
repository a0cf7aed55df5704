// SPDX-License-Identifier: Apache-2.0
// The C interface to the XML form, which the engine writes and reads.

#include "face/c/handles.h"

using mimetree::Errc;
using mimetree::Error;
using mimetree::Message;
using mimetree::Result;
using mimetree::view;
using mimetree::inner::attempt;
using mimetree::inner::c::give;
using mimetree::inner::c::refuseNull;

char* mt_message_to_xml(const mt_message* message, size_t* size) {
    if (size) *size = 0;
    if (!message) return refuseNull(), nullptr;
    return give(attempt([&]() -> Result<std::string> {
                    StringBuffer xml;
                    LogNull log;
                    message->message.node().getMimeXml(xml, log);
                    return std::string(view(xml));
                }),
                size);
}

mt_message* mt_message_from_xml(const char* xml, size_t size) {
    if (!xml) return refuseNull(), nullptr;
    return give<mt_message>(attempt([&]() -> Result<Message> {
        if (size > 0xFFFFFFFFu) return Error(Errc::too_large, "4 GiB of XML and more");
        const mimetree::inner::MemoryWatch watch;
        StringBuffer text;
        LogNull log;
        text.appendN(xml, static_cast<unsigned>(size));
        MimeMessage2* const root =
            MimeMessage2::createMimeFromXml(text, "mime_message", /*addPreamble*/ false, log);
        if (!root && !watch.wasRefused())
            return Error(Errc::not_mail, "no mime_message element with header and body");
        return Message::adopt(root);
    }));
}
