// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the tests of the node operations share: nodes from texts, and what is in them as
// plain strings.

#include <memory>

#include "foundation/LogNull.h"
#include "foundation/LogText.h"
#include "foundation/_zqEmailAddress.h"
#include "mime/MimeMessage2.h"
#include "tests/support.h"

using namespace std::string_view_literals;

using NodePtr = std::unique_ptr<MimeMessage2>;

inline LogNull noLog;

inline NodePtr fromText(std::string_view text, LogBase& log = noLog) {
    NodePtr node(MimeMessage2::createNewObject());
    node->loadMimeComplete(sb(text), log, false);
    return node;
}

inline NodePtr fromBytes(std::string_view bytes, LogBase& log = noLog) {
    NodePtr node(MimeMessage2::createNewObject());
    DataBuffer data = db(bytes);
    node->loadMimeCompleteDb(data, log);
    return node;
}

// A leaf with this header and this body, as a loader would make it.
inline NodePtr leaf(const std::string& header, std::string_view body = "") {
    NodePtr node = fromBytes(header + "\r\n\r\n");
    node->setMimeBodyBinary2(raw(body), static_cast<unsigned>(body.size()), noLog);
    node->m_modified = false;
    return node;
}

inline std::string bodyOf(const MimeMessage2& node) { return str(node.getMimeBodyDb()); }

inline std::string headerOf(const MimeMessage2& node) {
    StringBuffer out;
    node.getMimeHeader(out, noLog);
    return str(out);
}

inline std::string written(const MimeMessage2& node) {
    DataBuffer out;
    node.getMimeTextDb(out, false, noLog);
    return str(out);
}

// The bodies of a tree: "text", or "[part|part]" for a node with parts.
inline std::string outline(const MimeMessage2& node) {
    if (node.getNumParts() == 0) return bodyOf(node);
    std::string text;
    for (int i = 0; i < node.getNumParts(); ++i)
        text += (i ? "|" : "[") + outline(*node.getPart(i));
    return text + "]";
}

// All that a load leaves in a tree: "header|facts|body|signed bytes(part)(part)".
inline std::string contentOf(const MimeMessage2& node) {
    std::string text = headerOf(node) + "|" + node.getContentType() + ";" + node.getCharset();
    for (const StringBuffer* fact :
         {&node.m_contentType.m_boundary, &node.m_contentType.m_name, &node.m_disposition,
          &node.m_filename, &node.m_contentId, &node.m_contentTransferEncoding})
        text += ";" + str(*fact);
    text += "|" + bodyOf(node) + "|" + str(node.m_signedData);
    for (int i = 0; i < node.getNumParts(); ++i)
        text += "(" + (node.getPart(i) ? contentOf(*node.getPart(i)) : "") + ")";
    return text;
}

// "name<address>" for each of a list, "-" for a slot without one.
inline std::string mailboxesIn(const ExtPtrArray& list) {
    std::string text;
    for (int i = 0; i < list.getSize(); ++i) {
        const auto* one = static_cast<_zqEmailAddress*>(list.elementAt(i));
        text +=
            one ? str(one->m_displayName.getUtf8Sb()) + "<" + one->m_address.getUtf8() + ">" : "-";
    }
    return text;
}

inline std::string mailboxesOf(const MimeMessage2& node, const char* field) {
    ExtPtrArray list;
    node.getEmailAddresses(field, list, noLog);
    return mailboxesIn(list);
}

// RFC 5322 3.2.4.
inline std::string inQuotes(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) out.append(c == '"' || c == '\\' ? "\\" : "") += c;
    return out + "\"";
}

// "|" for a line break, so that a header fits its row; and back.
inline std::string crlf(std::string_view text) {
    StringBuffer out = sb(text);
    out.replaceAllOccurances("|", "\r\n");
    return str(out);
}

inline std::string barred(std::string_view text) {
    StringBuffer out = sb(text);
    out.replaceAllOccurances("\r\n", "|");
    return str(out);
}

// What a getter puts behind "<", then ">" where it answers true and "!" where not.
template <typename Getter>
std::string got(Getter get) {
    StringBuffer out = sb("<");
    out.append(get(out) ? ">" : "!");
    return str(out);
}

// The lines of a log without contexts, indentation and empty ones, "|" behind each.
inline std::string linesOf(const LogText& log) {
    std::string text;
    std::string_view rest(log.text().getString(), log.text().getSize());
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(line.size() + 1);
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        if (!line.empty() && !line.ends_with(':')) text.append(line).append("|");
    }
    return text;
}

// What a log is told by `work`.
template <typename Work>
std::string told(Work work, bool verbose = true) {
    LogText log;
    log.m_verbose = verbose;
    work(log);
    return linesOf(log);
}
