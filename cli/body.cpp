// SPDX-License-Identifier: Apache-2.0
// Commands `body` (one decoded body: a part by its number, or the one a reader wants) and
// `rewrite` (the message as the engine writes it).

#include <strings.h>

#include <algorithm>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/input.h"
#include "cli/nodes.h"

namespace {

// RFC 2045 5.2: a part without a type is plain text.
bool hasType(const MimeMessage2& message, const char* type) {
    const std::string_view own = view(message.getContentType());
    return strcasecmp(own.empty() ? "text/plain" : own.data(), type) == 0;
}

// The first such leaf that is no attachment; null when there is none.
MimeMessage2* findText(const Message& message, const char* type) {
    for (const Node& node : nodesOf(message.root))
        if (hasType(*node.message, type) && !node.message->isAttachment(message.log))
            return node.message;
    return nullptr;
}

MimeMessage2* bestBody(const Message& message) {
    if (MimeMessage2* plain = findText(message, "text/plain")) return plain;
    if (MimeMessage2* html = findText(message, "text/html")) return html;
    return &message.root;
}

ExitStatus show(const MimeMessage2* part, Output& out) {
    out.writeContent(view(part->getMimeBodyDb()));
    return kDone;
}

ExitStatus showPart(const Message& message, const std::string& number, Output& out) {
    if (const MimeMessage2* part = findPart(message.root, number)) return show(part, out);
    reportError("no part " + number + " in " + message.path);
    return kBadUsage;
}

ExitStatus showText(const Message& message, const char* type, Output& out) {
    if (const MimeMessage2* part = findText(message, type)) return show(part, out);
    reportError(message.path, std::string("no ") + type + " body");
    return kFailed;
}

ExitStatus showBody(const Message& message, const Options& options, Output& out) {
    if (options.byPart) return showPart(message, options.part, out);
    if (options.html) return showText(message, "text/html", out);
    if (options.text) return showText(message, "text/plain", out);
    return show(bestBody(message), out);
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
