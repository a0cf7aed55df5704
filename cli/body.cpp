// SPDX-License-Identifier: Apache-2.0
// Commands `body` (a decoded part by its number, or the text a reader wants) and
// `rewrite` (the message as the engine writes it).

#include <algorithm>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/input.h"
#include "cli/nodes.h"

namespace {

ExitStatus show(const MimeMessage2* part, Output& out) {
    out.writeContent(view(part->getMimeBodyDb()));
    return kDone;
}

ExitStatus showPart(const Message& message, const std::string& number, Output& out) {
    if (const MimeMessage2* part = findPart(message.root, number)) return show(part, out);
    reportError("no part " + number + " in " + message.path);
    return kBadUsage;
}

ExitStatus showText(const Message& message, mimetree::TextKind form, Output& out) {
    const bool isHtml = form == mimetree::TextKind::html;
    const mimetree::Parts parts = message.mail.body_parts(form);
    const bool isThere = std::any_of(parts.begin(), parts.end(), [&](const mimetree::Part& part) {
        return (part.type() == "text/html") == isHtml;
    });
    if (!isThere) {
        reportError(message.path, isHtml ? "no text/html body" : "no text/plain body");
        return kFailed;
    }
    out.writeContent(isHtml ? message.mail.html() : message.mail.text());
    return kDone;
}

ExitStatus showBest(const Message& message, Output& out) {
    const std::string_view text = message.mail.text(), html = message.mail.html();
    if (text.empty() && html.empty()) return show(&message.root, out);
    out.writeContent(text.empty() ? html : text);
    return kDone;
}

ExitStatus showBody(const Message& message, const Options& options, Output& out) {
    if (options.byPart) return showPart(message, options.part, out);
    if (options.html) return showText(message, mimetree::TextKind::html, out);
    if (options.text) return showText(message, mimetree::TextKind::plain, out);
    return showBest(message, out);
}

ExitStatus showRewritten(const Message& message, const Options&, Output& out) {
    DataBuffer text;
    message.root.getMimeTextDb(text, /*bodyOnly*/ false, message.log);
    if (text.failed()) {
        reportError(message.path, "out of memory");
        return kFailed;
    }
    out.writeContent(view(text));
    return kDone;
}

}  // namespace

void addBodyOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    CLI::Option* part = app.add_option("--part", options.part, "the part with this number")
                            ->type_name("N.N")
                            ->each([&](const std::string&) { options.byPart = true; })
                            ->check([](const std::string& number) {
                                return isPartNumber(number)
                                           ? std::string()
                                           : "\"" + number + "\" is no part number";
                            });
    CLI::Option* html = app.add_flag("--html", options.html, "the first HTML text");
    CLI::Option* text = app.add_flag("--text", options.text, "the first plain text");
    part->excludes(html)->excludes(text);
    html->excludes(text);
}

ExitStatus body(const Options& options, Output& out) {
    return forEachMessage(options, out, Heading::Path, showBody);
}

void addRewriteOptions(CLI::App& app, Options& options) {
    addFile(app, options, "message; - for stdin");
}

ExitStatus rewrite(const Options& options, Output& out) {
    return forEachMessage(options, out, Heading::Path, showRewritten);
}
