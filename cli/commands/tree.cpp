// SPDX-License-Identifier: Apache-2.0
// Command `tree`: a line a node, indented by depth.  With --json, the document of json_document.h.

#include <algorithm>
#include <new>
#include <string>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/json_document.h"
#include "mimetree/embedded.hpp"

namespace {

struct TreeOptions {
    bool json = false;
};

// Limit: a message nested without end would make the indentation quadratic.
constexpr unsigned kMaxIndent = 40;

void addField(std::string& line, std::string_view field) {
    if (!field.empty()) line += "  " + std::string(field);
}

std::string indentation(unsigned depth) {
    std::string text(2 * std::min(depth, kMaxIndent), ' ');
    if (depth > kMaxIndent) text += "(depth " + std::to_string(depth) + ") ";
    return text;
}

std::string counted(unsigned n, const char* unit) {
    return std::to_string(n) + " " + unit + (n == 1 ? "" : "s");
}

std::string sizeOf(const MimeMessage2& message) {
    const int parts = message.getNumParts();
    return parts ? counted(static_cast<unsigned>(parts), "part")
                 : counted(message.getMimeBodyDb().getSize(), "byte");
}

// The name in Content-Disposition, or else the older one in Content-Type.
std::string fileNameOf(const MimeMessage2& message) {
    StringBuffer name;
    message.getMimeFilename(name);
    if (name.isEmpty()) name = message.m_contentType.m_name;
    return name.isEmpty() ? std::string() : '"' + oneLine(view(name)) + '"';
}

std::string lineOf(const mimetree::OpenedPart& at, const Output& out) {
    const MimeMessage2& message = at.part.node();
    const std::string type = oneLine(view(message.getContentType()));
    const std::string charset = oneLine(view(message.getCharset()));
    const std::string disposition = oneLine(view(message.getDisposition()));

    std::string line = indentation(at.depth);
    if (!at.number.empty()) line += out.coloured(Colour::Dim, at.number) + " ";
    line += out.coloured(Colour::Cyan, type.empty() ? "(no type)" : type);
    addField(line, charset.empty() ? charset : "charset=" + charset);
    addField(line, oneLine(view(message.getContentEncoding())));
    addField(line, out.coloured(Colour::Yellow, disposition));
    addField(line, sizeOf(message));
    addField(line, out.coloured(Colour::Green, fileNameOf(message)));
    return line + "\n";
}

// Files that stand uuencoded in a text.
void writeEmbedded(const mimetree::OpenedPart& at, Output& out) {
    const auto files = mimetree::embedded_files(at.part);
    if (!files) throw std::bad_alloc();
    for (const mimetree::EmbeddedFile& file : *files)
        out.write(indentation(at.depth + 1) + "uuencoded  attachment  " +
                  counted(static_cast<unsigned>(file.bytes.size()), "byte") + "  " +
                  out.coloured(Colour::Green, '"' + oneLine(file.name) + '"') + "\n");
}

ExitStatus showTree(const InputMessage& message, const TreeOptions& options, Output& out) {
    if (options.json) return showJson(message, out);
    const mimetree::OpenedParts parts = message.opened();
    for (const mimetree::OpenedPart& at : parts) {
        out.write(lineOf(at, out));
        writeEmbedded(at, out);
    }
    return kDone;
}

}  // namespace

Run addTree(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<TreeOptions>();
    addMessages(app, common);
    addClosed(app, common);
    app.add_flag("--json", options->json, "one JSON document a message, one line each");
    app.footer(
        "JSON: \"nodes\" is a flat list, each node before its children.  \"depth\" counts from\n"
        "0 at the root, \"parent\" is an index into the list (null at the root), and \"part\" is\n"
        "the number that body --part takes: \"\" at the root, \"1.2\" for the second child of its\n"
        "first child, null below depth 32 and for a multipart that is the whole of a message "
        "within\n"
        "another.");
    return [options, &common](Output& out) {
        const Heading heading = options->json ? Heading::None : Heading::Name;
        return forEachMessage(common, out, heading, [&](const auto& message, Output& to) {
            return showTree(message, *options, to);
        });
    };
}
