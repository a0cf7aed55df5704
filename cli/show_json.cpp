// SPDX-License-Identifier: Apache-2.0
// `tree --json`: what the tree shows and more, as one document a message.  The nodes stand in
// a flat list with their depth and parent, since a writer of nested JSON recurses, and a
// message may nest deeper than the call stack goes.

#include "cli/show_json.h"

#include <nlohmann/json.hpp>

#include "foundation/ExtPtrArray.h"
#include "foundation/_zqEmailAddress.h"
#include "cli/nodes.h"

namespace {

using Json = nlohmann::ordered_json;

// RFC 5322 3.6: the fields that hold addresses.
constexpr const char* kAddressFields[] = {"From",      "Sender",    "Reply-To",    "To",
                                          "Cc",        "Bcc",       "Resent-From", "Resent-Sender",
                                          "Resent-To", "Resent-Cc", "Resent-Bcc"};

Json addressesIn(const char* field, const Message& message, const MimeMessage2& node) {
    Json list = Json::array();
    ExtPtrArray found;
    node.getEmailAddresses(field, found, message.log);
    for (int i = 0; i < found.getSize(); ++i)
        if (auto* one = static_cast<_zqEmailAddress*>(found.elementAt(i)))
            list.push_back({{"name", view(one->m_displayName.getUtf8Sb())},
                            {"address", view(one->m_address.getUtf8Sb())}});
    return list;
}

Json addressesOf(const Message& message, const MimeMessage2& node) {
    Json fields = Json::object();
    for (const char* field : kAddressFields) {
        Json list = addressesIn(field, message, node);
        if (!list.empty()) fields[field] = std::move(list);
    }
    return fields;
}

Json headersOf(const Message& message, const MimeMessage2& node) {
    Json list = Json::array();
    for (int i = 0; i < node.getNumHeaderFields(); ++i) {
        StringBuffer name, value;
        node.getHeaderFieldName(i, name, message.log);
        node.getHeaderFieldValue(i, /*decode*/ true, value, message.log);
        list.push_back({{"name", view(name)}, {"value", view(value)}});
    }
    return list;
}

Json partOf(const std::vector<Node>& nodes, size_t index) {
    if (nodes[index].depth > kMaxNumberedDepth) return nullptr;
    return partNumber(nodes, index);
}

Json nodeOf(const Message& message, const std::vector<Node>& nodes, size_t index) {
    const Node& node = nodes[index];
    const MimeMessage2& mime = *node.message;
    StringBuffer filename, contentId;
    mime.getMimeFilename(filename);
    mime.getContentId(contentId);
    return {
        {"part", partOf(nodes, index)},
        {"depth", node.depth},
        {"parent", node.parent < 0 ? Json(nullptr) : Json(node.parent)},
        {"children", mime.getNumParts()},
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
        {"headers", headersOf(message, mime)},
        {"addresses", addressesOf(message, mime)},
    };
}

}  // namespace

ExitStatus showJson(const Message& message, const Options&, Output& out) {
    const std::vector<Node> nodes = nodesOf(message.root);
    Json list = Json::array();
    for (size_t i = 0; i < nodes.size(); ++i) list.push_back(nodeOf(message, nodes, i));
    const Json document = {
        {"path", message.path},
        {"signed", message.root.containsSignedParts(message.log)},
        {"encrypted", message.root.containsEncryptedParts(message.log)},
        {"nodes", std::move(list)},
    };
    // ASCII alone: no control character reaches a terminal, and what is not UTF-8 becomes
    // U+FFFD instead of an exception.
    constexpr int kOneLine = -1;
    out.write(document.dump(kOneLine, ' ', /*ensure_ascii*/ true, Json::error_handler_t::replace) +
              "\n");
    return kDone;
}
