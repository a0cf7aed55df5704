// SPDX-License-Identifier: Apache-2.0
// What `tree --json` and `json` print: what the tree shows and more, as one document a message. The
// nodes stand in a flat list with their depth and parent, since a writer of nested JSON recurses,
// and a message may nest deeper than the call stack goes.

#include "cli/message/json_document.h"

#include "foundation/ExtPtrArray.h"
#include "foundation/_zqEmailAddress.h"
#include "mimetree/embedded.hpp"

namespace {

using Json = nlohmann::ordered_json;

// RFC 5322 3.6: the fields that hold addresses.
constexpr const char* kAddressFields[] = {"From",      "Sender",    "Reply-To",    "To",
                                          "Cc",        "Bcc",       "Resent-From", "Resent-Sender",
                                          "Resent-To", "Resent-Cc", "Resent-Bcc"};

// Files within a text.
Json embeddedIn(const mimetree::Part& part) {
    Json list = Json::array();
    if (const auto files = mimetree::embedded_files(part))
        for (const mimetree::EmbeddedFile& file : *files)
            list.push_back({{"name", file.name}, {"size", file.bytes.size()}});
    return list;
}

Json factsOf(const InputMessage& message, const mimetree::OpenedPart& at) {
    const MimeMessage2& mime = at.part.node();
    StringBuffer filename, contentId;
    mime.getMimeFilename(filename);
    mime.getContentId(contentId);
    return {
        {"part", jsonPartNumber(at)},
        {"depth", at.depth},
        {"parent", at.parent ? Json(*at.parent) : Json(nullptr)},
        {"children", at.is_opened ? 1 : mime.getNumParts()},
        {"contentType", view(mime.getContentType())},
        {"name", view(mime.m_contentType.m_name)},
        {"charset", view(mime.getCharset())},
        {"encoding", view(mime.getContentEncoding())},
        {"disposition", view(mime.getDisposition())},
        {"filename", view(filename)},
        {"contentId", view(contentId)},
        {"size", mime.getMimeBodyDb().getSize()},
        {"signed", mime.isMultipartSigned(message.log) || mime.isSignedData(message.log)},
        {"encrypted", mime.isSmimeEncrypted(message.log)},
        {"attachment", mime.isAttachment(message.log)},
        {"uuencoded", embeddedIn(at.part)},
    };
}

// Writes as it goes: as one value the document of a message of many small parts would take many
// times the message.
class JsonWriter {
public:
    JsonWriter(const InputMessage& message, const JsonMore* more, Output& out)
        : m_message(message), m_more(more), m_out(out) {}

    void writeMessage() {
        const mimetree::OpenedParts parts = m_message.opened();
        writeOpen({{"path", m_message.name},
                   {"signed", m_message.root.containsSignedParts(m_message.log)},
                   {"encrypted", m_message.root.containsEncryptedParts(m_message.log)}});
        if (m_more) writeJsonMessage(",", m_message.mail, *m_more, m_out);
        m_out.write(",\"nodes\":[");
        for (size_t i = 0; i < parts.size(); ++i) {
            if (i > 0) m_out.write(",");
            writeOpen(factsOf(m_message, parts[i]));
            writeHeaders(parts[i].part.node());
            writeAddresses(parts[i].part.node());
            if (m_more && parts[i].is_opened) writeWithin(*parts[i + 1].message);
            m_out.write("}");
        }
        m_out.write("]");
        if (m_more) writeJsonAttachments(parts, *m_more, m_out);
        m_out.write("}\n");
    }

private:
    // An object to which more members are added.
    void writeOpen(const Json& object) {
        std::string text = jsonText(object);
        text.pop_back();
        m_out.write(text);
    }

    void writeWithin(const mimetree::Message& message) {
        writeJsonMessage(",\"message\":{", message, *m_more, m_out);
        m_out.write("}");
    }

    void writeHeaders(const MimeMessage2& node) {
        m_out.write(",\"headers\":[");
        for (int i = 0; i < node.getNumHeaderFields(); ++i) {
            StringBuffer name, value;
            node.getHeaderFieldName(i, name, m_message.log);
            node.getHeaderFieldValue(i, /*decode*/ true, value, m_message.log);
            if (i > 0) m_out.write(",");
            m_out.write(jsonText({{"name", view(name)}, {"value", view(value)}}));
        }
        m_out.write("]");
    }

    void writeAddresses(const MimeMessage2& node) {
        const char* separator = "";
        m_out.write(",\"addresses\":{");
        for (const char* field : kAddressFields) {
            ExtPtrArray found;
            node.getEmailAddresses(field, found, m_message.log);
            if (found.getSize() == 0) continue;
            m_out.write(std::string(separator) + jsonText(field) + ":[");
            writeList(found);
            m_out.write("]");
            separator = ",";
        }
        m_out.write("}");
    }

    void writeList(const ExtPtrArray& addresses) {
        const char* separator = "";
        for (int i = 0; i < addresses.getSize(); ++i) {
            auto* const one = static_cast<_zqEmailAddress*>(addresses.elementAt(i));
            if (!one) continue;
            m_out.write(separator + jsonText({{"name", view(one->m_displayName.getUtf8Sb())},
                                              {"address", view(one->m_address.getUtf8Sb())}}));
            separator = ",";
        }
    }

    const InputMessage& m_message;
    const JsonMore* m_more;
    Output& m_out;
};

}  // namespace

// ASCII alone: no control character reaches a terminal, and what is not UTF-8 becomes U+FFFD
// instead of an exception.
std::string jsonText(const nlohmann::ordered_json& value) {
    constexpr int kOneLine = -1;
    return value.dump(kOneLine, ' ', /*ensure_ascii*/ true, Json::error_handler_t::replace);
}

Json jsonPartNumber(const mimetree::OpenedPart& at) {
    return at.parent && at.number.empty() ? Json(nullptr) : Json(at.number);
}

ExitStatus showJson(const InputMessage& message, const JsonMore* more, Output& out) {
    JsonWriter(message, more, out).writeMessage();
    return kDone;
}
