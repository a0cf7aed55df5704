// SPDX-License-Identifier: Apache-2.0
// Command `body`: a decoded part by its number, or the text a reader wants.

#include <optional>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/reading.h"

namespace {

struct BodyOptions {
    std::optional<std::string> part;  // "1.2"; empty for the root
    bool html = false;
    bool text = false;
};

ExitStatus show(const MimeMessage2& part, Output& out) {
    out.writeContent(view(part.getMimeBodyDb()));
    return kDone;
}

ExitStatus showPart(const InputMessage& message, const std::string& number, Output& out) {
    const mimetree::OpenedParts parts = message.opened();
    if (const mimetree::OpenedPart* at = parts.find(number)) return show(at->part.node(), out);
    out.error("no part " + number + " in " + message.name);
    return kBadUsage;
}

// Texts one behind the other, each beginning on a line of its own.
class Texts {
public:
    void add(std::string_view text) {
        if (!m_all.empty() && m_all.back() != '\n' && !text.empty()) m_all += '\n';
        m_all += text;
    }
    bool isBlank() const { return m_all.find_first_not_of(" \t\r\n") == std::string::npos; }
    const std::string& all() const { return m_all; }

private:
    std::string m_all;
};

// The texts in one form, as they came.
ExitStatus showForm(const InputMessage& message, mimetree::TextKind form, Output& out) {
    const bool isHtml = form == mimetree::TextKind::html;
    bool isThere = false;
    Texts texts;
    for (const mimetree::OpenedPart& at : message.opened()) {
        if (at.part != at.message->root()) continue;
        for (const mimetree::Part& part : at.message->body_parts(form))
            isThere = isThere || (part.type() == "text/html") == isHtml;
        texts.add(isHtml ? at.message->html() : at.message->text());
    }
    if (!isThere)
        return out.failed(message.name, isHtml ? "no text/html body" : "no text/plain body");
    out.writeContent(texts.all());
    return kDone;
}

ExitStatus showBest(const InputMessage& message, Output& out) {
    const mimetree::OpenedParts parts = message.opened();
    Reading reading(parts, textColumns(out.screen()));
    Texts texts;
    for (const mimetree::OpenedPart& at : parts) texts.add(reading.textOf(at));
    if (texts.isBlank())
        return out.failed(message.name,
                          reading.missesHtml()
                              ? "HTML alone, which this build cannot show (body --html)"
                              : "no text");
    if (const std::string links = reading.linkLines(); !links.empty()) texts.add("\n" + links);
    out.writeContent(texts.all());
    return kDone;
}

ExitStatus showBody(const InputMessage& message, const BodyOptions& options, Output& out) {
    if (options.part) return showPart(message, *options.part, out);
    if (options.html) return showForm(message, mimetree::TextKind::html, out);
    if (options.text) return showForm(message, mimetree::TextKind::plain, out);
    return showBest(message, out);
}

}  // namespace

Run addBody(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<BodyOptions>();
    addMessages(app, common);
    addClosed(app, common);
    CLI::Option* part = addPart(app, options->part, "the part with this number");
    CLI::Option* html = app.add_flag("--html", options->html, "the HTML, as it came");
    CLI::Option* text = app.add_flag("--text", options->text, "the plain text alone");
    part->excludes(html)->excludes(text);
    html->excludes(text);
    app.footer(
        "Without options: every text that is no attachment, in reading order; of several forms\n"
        "the plain one, and HTML as text where there is nothing else.  The status is 1 when there\n"
        "is no text.");
    return [options, &common](Output& out) {
        return forEachMessage(common, out, Heading::Name, [&](const auto& message, Output& to) {
            return showBody(message, *options, to);
        });
    };
}
