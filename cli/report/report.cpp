// SPDX-License-Identifier: Apache-2.0
// The page's headings are its outline, tables have heads, and all works without scripts and by
// keyboard.  Everything out of the mail goes through markup().

#include "cli/report/report.h"

#include <algorithm>
#include <new>

#include "cli/message/files.h"
#include "cli/message/reading.h"
#include "cli/report/frame.h"
#include "cli/report/markup.h"
#include "cli/report/style.h"
#include "cli/terminal/size.h"
#include "mimetree/findings.hpp"

using mimetree::Message;
using mimetree::OpenedPart;
using mimetree::OpenedParts;

namespace {

constexpr const char* kChiefFields[] = {"From", "To", "Cc", "Date", "Subject"};

// Limit: a message nested without end would make the indentation endless.
constexpr unsigned kMaxIndent = 12;

// Of a language and a direction of its own.
std::string foreign(std::string_view text) { return "<bdi lang=\"\">" + markup(text) + "</bdi>"; }

// Its extension stands at the right end in every script.
std::string fileName(std::string_view name) {
    return "<bdi lang=\"\" dir=\"ltr\">" + markup(name) + "</bdi>";
}

std::string cell(const std::string& content) { return "<td>" + content + "</td>"; }

class ReportWriter {
public:
    ReportWriter(const InputMessage& message, const Sink& sink)
        : m_message(message), m_parts(message.opened()), m_sink(sink) {}

    void run() {
        writeHead();
        for (const OpenedPart& at : m_parts)
            if (at.part == at.message->root()) writeMessage(at);
        writeAttachments();
        writeTree();
        writeFindings();
        m_sink("</main>\n</body>\n</html>\n");
    }

private:
    void writeHead() {
        const std::string subject(m_message.mail.subject());
        const std::string title = markup(subject.empty() ? "(no subject)" : subject);
        m_sink(
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"");
        m_sink(kPolicy);
        m_sink(
            "\">\n<meta name=\"referrer\" content=\"no-referrer\">\n"
            "<meta http-equiv=\"x-dns-prefetch-control\" content=\"off\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
            title + "</title>\n<style>\n");
        m_sink(kStyle);
        m_sink("</style>\n</head>\n<body>\n<main>\n<h1><bdi lang=\"\">" + title + "</bdi></h1>\n");
        if (m_message.name != "-") m_sink("<p>" + foreign(m_message.name) + "</p>\n");
    }

    void writeMessage(const OpenedPart& at) {
        const bool isOutermost = &at == &m_parts[0];
        m_sink(isOutermost ? "<section>\n<h2>Message</h2>\n"
                           : "<section>\n<h2>Message within: " + placeOf(at) + "</h2>\n");
        writeHeader(*at.message);
        writeText(*at.message);
        if (!at.message->html().empty()) {
            m_sink(
                "<h3>HTML</h3>\n<p>Shown without scripts, forms, links and anything remote.</p>\n");
            writeFrame(*at.message, m_sink);
        }
        m_sink("</section>\n");
    }

    void writeText(const Message& message) {
        std::string text;
        for (const mimetree::Part& part : message.body_parts(mimetree::TextKind::plain))
            if (part.type() != "text/html") {
                if (!text.empty() && text.back() != '\n') text += '\n';
                text += textWithoutFiles(part);
            }
        if (text.empty()) return;
        m_sink("<h3>Text</h3>\n<pre lang=\"\" dir=\"auto\">");
        m_sink(markupLines(text));
        m_sink("</pre>\n");
    }

    // Of the part that the message is.
    std::string placeOf(const OpenedPart& root) const {
        const std::string& number = m_parts[*root.parent].number;
        return number.empty() ? "deep inside" : "part " + number;
    }

    void writeHeader(const Message& message) {
        m_sink("<table class=\"fields\">\n<caption>Header</caption>\n");
        for (const char* name : kChiefFields)
            if (const auto value = message.header(name)) writeField(name, *value);
        m_sink(
            "</table>\n<details>\n<summary>All fields</summary>\n<table class=\"fields\">\n"
            "<caption>All fields, decoded</caption>\n");
        for (const mimetree::Header& field : message.headers()) writeField(field.name, field.value);
        m_sink("</table>\n</details>\n");
    }

    void writeField(std::string_view name, std::string_view value) {
        m_sink("<tr><th scope=\"row\">" + markup(name) + "</th>" + cell(foreign(value)) +
               "</tr>\n");
    }

    void openTable(const char* title, std::initializer_list<const char*> columns) {
        m_sink("<section>\n<h2>" + std::string(title) +
               "</h2>\n<div class=\"wide\" tabindex=\"0\" role=\"region\" "
               "aria-label=\"" +
               title + "\">\n<table>\n<thead><tr>");
        for (const char* column : columns)
            m_sink("<th scope=\"col\">" + std::string(column) + "</th>");
        m_sink("</tr></thead>\n<tbody>\n");
    }

    void closeTable() { m_sink("</tbody>\n</table>\n</div>\n</section>\n"); }

    void writeAttachments() {
        bool isOpen = false;
        for (const OpenedPart& at : m_parts) {
            forEachFile(at.part, Wanted::Files, [&](const File& file) {
                if (!isOpen) openTable("Attachments", {"Name", "Type", "Size", "Part"});
                isOpen = true;
                writeAttachment(at, file);
            });
        }
        if (isOpen) closeTable();
    }

    // The type tells the browser nothing, so that it saves and never opens.
    void writeAttachment(const OpenedPart& at, const File& file) {
        m_sink("<tr><th scope=\"row\"><a download=\"" + markup(file.name) +
               "\" href=\"data:application/octet-stream;base64,");
        writeBase64(file.bytes, m_sink);
        m_sink("\">" + fileName(file.name) + "</a></th>" + cell(foreign(file.type)) +
               cell(humanSize(file.bytes.size())) + cell(at.number) + "</tr>\n");
    }

    void writeTree() {
        openTable("Parts", {"Type", "Part", "Charset", "Coding", "Size", "Name"});
        for (const OpenedPart& at : m_parts) {
            const mimetree::Part& part = at.part;
            const unsigned indent = std::min(at.depth, kMaxIndent);
            m_sink("<tr><th scope=\"row\"><span style=\"padding-left:" + std::to_string(indent) +
                   "em\">" + foreign(part.type()) + "</span></th>" + cell(at.number) +
                   cell(foreign(part.charset())) + cell(foreign(part.encoding())) +
                   cell(part.is_multipart() ? "" : humanSize(part.bytes().size())) +
                   cell(fileName(part.declared_name())) + "</tr>\n");
        }
        closeTable();
    }

    void writeFindings() {
        const auto found = mimetree::findings(m_message.mail, m_message.nested);
        if (!found) throw std::bad_alloc();
        if (found->empty()) return;
        openTable("Findings", {"Finding", "Severity", "Part", "Line", "What"});
        for (const mimetree::Finding& one : *found)
            m_sink("<tr><th scope=\"row\">" + markup(one.name) + "</th>" +
                   cell(std::string(severity_name(one.severity))) + cell(markup(one.part)) +
                   cell(std::to_string(one.line)) + cell(foreign(one.sentence)) + "</tr>\n");
        closeTable();
    }

    const InputMessage& m_message;
    const OpenedParts m_parts;
    const Sink& m_sink;
};

}  // namespace

void writeReport(const InputMessage& message, const Sink& sink) {
    ReportWriter(message, sink).run();
}
