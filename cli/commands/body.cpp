// SPDX-License-Identifier: Apache-2.0
// Command `body`: a decoded part by its number, or the text a reader wants.

#include <algorithm>
#include <optional>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"

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

ExitStatus showText(const InputMessage& message, mimetree::TextKind form, Output& out) {
    const bool isHtml = form == mimetree::TextKind::html;
    const mimetree::Parts parts = message.mail.body_parts(form);
    const bool isThere = std::any_of(parts.begin(), parts.end(), [&](const mimetree::Part& part) {
        return (part.type() == "text/html") == isHtml;
    });
    if (!isThere) {
        out.error(message.name, isHtml ? "no text/html body" : "no text/plain body");
        return kFailed;
    }
    out.writeContent(isHtml ? message.mail.html() : message.mail.text());
    return kDone;
}

ExitStatus showBest(const InputMessage& message, Output& out) {
    const std::string_view text = message.mail.text(), html = message.mail.html();
    if (text.empty() && html.empty()) return show(message.root, out);
    out.writeContent(text.empty() ? html : text);
    return kDone;
}

ExitStatus showBody(const InputMessage& message, const BodyOptions& options, Output& out) {
    if (options.part) return showPart(message, *options.part, out);
    if (options.html) return showText(message, mimetree::TextKind::html, out);
    if (options.text) return showText(message, mimetree::TextKind::plain, out);
    return showBest(message, out);
}

}  // namespace

Run addBody(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<BodyOptions>();
    addMessages(app, common);
    addClosed(app, common);
    CLI::Option* part = addPart(app, options->part, "the part with this number");
    CLI::Option* html = app.add_flag("--html", options->html, "the first HTML text");
    CLI::Option* text = app.add_flag("--text", options->text, "the first plain text");
    part->excludes(html)->excludes(text);
    html->excludes(text);
    return [options, &common](Output& out) {
        return forEachMessage(common, out, Heading::Name, [&](const auto& message, Output& to) {
            return showBody(message, *options, to);
        });
    };
}
