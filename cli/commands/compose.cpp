// SPDX-License-Identifier: Apache-2.0
// Command `compose`: a message from texts, files and header values of the command line, which
// are handed to a Builder.  HTML names inline files by their names, which become Content-IDs.

#include <algorithm>
#include <map>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/mail_reader.h"
#include "face/builder/values.h"
#include "foundation/_zqUrlEncode.h"
#include "mimetree/builder.hpp"

using namespace mimetree::inner;
using mimetree::Builder;

namespace {

struct ComposeOptions {
    std::vector<std::string> from, to, cc, bcc;  // address lists
    std::vector<std::string> headers;            // "Name: value"
    std::string subject;
    std::string text, html;  // files; empty when there is none
    std::vector<std::string> attachments, inlines;
    std::string charset, encoding;  // empty: to be chosen
};

std::string baseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// -- Mistakes in the arguments

bool isEmpty(const ComposeOptions& options) {
    for (const auto& list : {options.from, options.to, options.cc, options.bcc, options.headers,
                             options.attachments, options.inlines})
        if (!list.empty()) return false;
    return options.subject.empty() && options.text.empty() && options.html.empty();
}

std::string mistakeInFiles(const ComposeOptions& options) {
    if (options.text == "-" && options.html == "-") return "standard input holds one text only";
    for (const auto& paths : {options.attachments, options.inlines})
        if (std::find(paths.begin(), paths.end(), "-") != paths.end())
            return "standard input has no file name (- is for --text or --html)";
    std::map<std::string, int> names;
    for (const std::string& path : options.inlines)
        if (++names[baseName(path)] > 1) return "two inline files named " + baseName(path);
    return {};
}

// What the Builder names by its functions, by our options.
std::string inOptions(std::string text) {
    constexpr std::pair<std::string_view, std::string_view> kWords[] = {
        {"header()", "--header"}, {"encoding(\"8bit\")", "--encoding 8bit"}};
    for (const auto& [function, option] : kWords)
        if (const size_t at = text.find(function); at != std::string::npos)
            text.replace(at, function.size(), option);
    return text;
}

void addHeaders(Builder& builder, const ComposeOptions& options) {
    builder.subject(asLine(options.subject));
    for (const std::string& header : options.headers) {
        const size_t colon = std::min(header.find(':'), header.size());
        const std::string line = asLine(header);
        builder.header(header.substr(0, colon), bare(std::string_view(line).substr(colon + 1)));
    }
}

// Those are wrong however the addresses and files turn out.
std::string mistakeInHeaders(const ComposeOptions& options) {
    for (const std::string& header : options.headers)
        if (header.find(':') == std::string::npos) return "\"" + header + "\" is no header field";
    Builder builder;
    if (!options.from.empty()) builder.from("a@example.org");
    if (!options.to.empty()) builder.to("a@example.org");
    if (!options.cc.empty()) builder.cc("a@example.org");
    if (!options.bcc.empty()) builder.bcc("a@example.org");
    addHeaders(builder, options);
    const auto built = builder.encoding("8bit").build();
    return built ? std::string() : inOptions(built.error().message());
}

// -- Texts

std::string readText(const std::string& path) {
    std::string bytes;
    if (const char* reason = readWhole(path, bytes)) throw std::runtime_error(path + ": " + reason);
    return bytes;
}

// HTML names an inline file "cid:NAME", as it is or percent-encoded; of names that begin
// alike, the longest counts.
std::string linked(std::string_view html, const std::map<std::string, std::string>& contentIds) {
    std::map<std::string, std::string> ids;
    for (const auto& [name, id] : contentIds) {
        StringBuffer encoded;
        _zqUrlEncode::urlEncode3(reinterpret_cast<const unsigned char*>(name.data()),
                                 static_cast<unsigned>(name.size()), encoded);
        ids[name] = ids[std::string(view(encoded))] = id;
    }
    std::string text;
    while (!html.empty()) {
        const size_t name = std::min(html.find("cid:"), html.size() - 4) + 4;
        text += html.substr(0, name);
        html.remove_prefix(name);
        const auto fits = [&](const auto& id) { return html.starts_with(id.first); };
        const auto found = std::find_if(ids.rbegin(), ids.rend(), fits);
        if (found == ids.rend()) continue;
        text += found->second;
        html.remove_prefix(found->first.size());
    }
    return text;
}

void addBody(Builder& builder, const ComposeOptions& options) {
    const std::string host = options.from.empty() ? "localhost" : hostOf(options.from.front());
    std::map<std::string, std::string> contentIds;
    for (const std::string& path : options.inlines) {
        const std::string& id = contentIds[baseName(path)] = token() + "@" + host;
        builder.inline_image(path, id);
    }
    if (!options.text.empty()) builder.text(readText(options.text));
    if (!options.html.empty()) builder.html(linked(readText(options.html), contentIds));
    for (const std::string& path : options.attachments) builder.attach(path);
    if (!options.charset.empty()) builder.charset(options.charset);
    if (!options.encoding.empty()) builder.encoding(options.encoding);
}

void addAddresses(Builder& builder, const ComposeOptions& options) {
    for (const std::string& list : options.from) builder.from(asLine(list));
    for (const std::string& list : options.to) builder.to(asLine(list));
    for (const std::string& list : options.cc) builder.cc(asLine(list));
    for (const std::string& list : options.bcc) builder.bcc(asLine(list));
}

std::string valueOrThrow(mimetree::Result<std::string> text) {
    if (!text) throw std::runtime_error(inOptions(text.error().message()));
    return *std::move(text);
}

void addList(CLI::App& app, const char* name, std::vector<std::string>& list, const char* type,
             const char* what) {
    app.add_option(name, list, what)->type_name(type)->allow_extra_args(false);
}

// Several behind one option, without what CLI11 calls extra arguments: it would then take the
// name "[a]" for a list.
void addFileList(CLI::App& app, const char* name, std::vector<std::string>& list,
                 const char* what) {
    app.add_option(name, list, what)
        ->type_name("FILE ...")
        ->expected(1, 1'000'000)
        ->allow_extra_args(false);
}

ExitStatus compose(const ComposeOptions& options, Output& out) {
    std::string mistake =
        isEmpty(options)
            ? "compose needs something to send: --from, --to, --subject, --text, --attach"
            : mistakeInFiles(options);
    if (mistake.empty()) mistake = mistakeInHeaders(options);
    if (!mistake.empty()) {
        out.error(mistake + " (see mimetree compose --help)");
        return kBadUsage;
    }
    Builder builder;
    addAddresses(builder, options);
    addHeaders(builder, options);
    addBody(builder, options);
    out.writeContent(valueOrThrow(
        builder.build().and_then([](const mimetree::Message& mail) { return mail.write(); })));
    return kDone;
}

}  // namespace

Run addCompose(CLI::App& app, CommonOptions&) {
    const auto options = std::make_shared<ComposeOptions>();
    addList(app, "--from", options->from, "LIST", "the sender: addr, or 'Name <addr>'");
    addList(app, "--to", options->to, "LIST", "recipients; this and the next may be repeated");
    addList(app, "--cc", options->cc, "LIST", "those who get a copy");
    addList(app, "--bcc", options->bcc, "LIST", "those who get one unseen; the field is written");
    app.add_option("--subject", options->subject, "what it is about")->type_name("TEXT");
    app.add_option("--text", options->text, "the plain text, in UTF-8; - for stdin")
        ->type_name("FILE");
    app.add_option("--html", options->html, "the HTML text, in UTF-8; - for stdin")
        ->type_name("FILE");
    addFileList(app, "--attach", options->attachments, "attachments");
    addFileList(app, "--inline", options->inlines, "files that the HTML shows as \"cid:NAME\"");
    addList(app, "--header", options->headers, "'Name: value'", "a further field, repeatable");
    addCharset(app, options->charset, "of the texts; us-ascii or utf-8 when not given");
    app.add_option("--encoding", options->encoding, "of the texts; the shortest when not given")
        ->type_name("CODING")
        ->check(CLI::IsMember({"7bit", "8bit", "quoted-printable", "base64"}));
    app.footer(
        "The message goes to standard output, in 7 bits unless --encoding 8bit is given.  Date\n"
        "and Message-ID are made where --header does not give them, types are told by file names.\n"
        "HTML refers to an inline file by cid: and its name without directories, as it is or\n"
        "percent-encoded; the Content-ID that was made for the file takes the place of the name.");
    return [options](Output& out) { return compose(*options, out); };
}
