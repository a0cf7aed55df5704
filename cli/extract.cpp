// SPDX-License-Identifier: Apache-2.0
// Command `extract`: attachments to files.  What is one is decided here, what it may be called
// in safe_name.cpp; folder.cpp makes the files.

#include <strings.h>

#include <utility>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/folder.h"
#include "cli/input.h"
#include "cli/mail_date.h"
#include "cli/nodes.h"
#include "cli/safe_name.h"
#include "cli/show_json.h"
#include "foundation/charset/code_pages.h"
#include "foundation/zqMimeTypes.h"

using namespace mimetree::inner;

namespace {

using Json = nlohmann::ordered_json;

// RFC 2045 5.2: a part without a type is plain text.
std::string typeOf(const MimeMessage2& leaf) {
    const std::string_view own = view(leaf.getContentType());
    return own.empty() ? "text/plain" : std::string(own);
}

bool beginsWith(const std::string& type, std::string_view prefix) {
    return strncasecmp(type.c_str(), prefix.data(), prefix.size()) == 0;
}

std::string nameOf(const MimeMessage2& leaf) {
    StringBuffer name;
    leaf.getMimeFilename(name);
    return std::string(view(name.isEmpty() ? leaf.m_contentType.m_name : name));
}

// The texts that a reader sees as the message: the first plain text and the first HTML.
class TextBodies {
public:
    bool takes(const MimeMessage2& leaf, LogBase& log) {
        const std::string type = typeOf(leaf);
        if (leaf.isAttachment(log)) return false;
        if (strcasecmp(type.c_str(), "text/plain") == 0) return !std::exchange(m_hasPlain, true);
        if (strcasecmp(type.c_str(), "text/html") == 0) return !std::exchange(m_hasHtml, true);
        return false;
    }

private:
    bool m_hasPlain = false;
    bool m_hasHtml = false;
};

// A multipart without parts is a damaged container, and its text nobody's file.
bool isWanted(const MimeMessage2& leaf, TextBodies& bodies, const Options& options, LogBase& log) {
    const bool isBody = bodies.takes(leaf, log);
    if (options.all || leaf.isAttachment(log)) return true;
    if (isBody) return false;
    const std::string type = typeOf(leaf);
    return !nameOf(leaf).empty() || !(beginsWith(type, "text/") || leaf.isMultipart());
}

std::string extensionFor(const std::string& type) {
    for (int i = 0; *zqMimeContentType(i + 1); i += 2)
        if (strcasecmp(zqMimeContentType(i), type.c_str()) == 0) return zqMimeContentType(i + 1);
    return beginsWith(type, "text/") ? "txt" : "bin";
}

// `number` counts the leaves of the message, so that a name tells which part it is.
std::string fileNameFor(const MimeMessage2& leaf, unsigned number) {
    const std::string type = typeOf(leaf);
    std::string name = safeName(nameOf(leaf));
    if (name.empty()) return "part-" + std::to_string(number) + "." + extensionFor(type);
    const bool isMessage = strcasecmp(type.c_str(), "message/rfc822") == 0;
    return isMessage && !hasExtension(name, "eml") ? name + ".eml" : name;
}

// Text and XML are stored as UTF-8, everything else as it came; so is text that holds zero bytes
// unless a transfer coding hid them or its charset has them.
bool isStoredAsUtf8(const MimeMessage2& leaf) {
    StringBuffer type;
    type.setString(typeOf(leaf).c_str());
    if (!type.containsSubstringNoCase("text/") && !type.containsSubstringNoCase("application/xml"))
        return false;
    const int codePage = leaf.getCharsetCodePage();
    const char* const coding = leaf.getContentEncoding();
    return codePage == codepage::kUtf16LE || codePage == codepage::kUtf16BE ||
           strcasecmp(coding, "base64") == 0 || strcasecmp(coding, "quoted-printable") == 0 ||
           !leaf.getMimeBodyDb().containsChar('\0');
}

// Kept on purpose: US-ASCII is ISO-8859-1, so that no byte is lost.
int codePageFor(const MimeMessage2& leaf) {
    if (!isStoredAsUtf8(leaf)) return codepage::kNone;
    const int codePage = leaf.getCharsetCodePage();
    return codePage == codepage::kAscii ? codepage::kLatin1 : codePage;
}

std::optional<std::time_t> dateOf(const Message& message) {
    StringBuffer date;
    message.root.getHeaderFieldUtf8("Date", date, message.log);
    return parseMailDate(view(date));
}

class Extractor {
public:
    Extractor(const Message& message, const Options& options, Folder& folder)
        : m_message(message), m_options(options), m_folder(folder), m_date(dateOf(message)) {}

    ExitStatus run(Output& out) {
        const std::vector<Node> nodes = nodesOf(m_message.root);
        unsigned leaves = 0;
        if (m_options.json) out.write("{\"path\":" + jsonText(m_message.path) + ",\"files\":[");
        for (size_t i = 0; i < nodes.size() && out.good(); ++i) {
            const MimeMessage2& node = *nodes[i].message;
            if (node.getNumParts() > 0) continue;
            ++leaves;
            if (isWanted(node, m_bodies, m_options, m_message.log)) save(nodes, i, leaves, out);
        }
        if (m_options.json) out.write("]}\n");
        return m_status;
    }

private:
    void save(const std::vector<Node>& nodes, size_t index, unsigned number, Output& out) {
        const MimeMessage2& leaf = *nodes[index].message;
        DataBuffer bytes;
        leaf.getMimeBody8Bit(bytes, codePageFor(leaf), m_message.log);
        std::string name = fileNameFor(leaf, number);
        const char* error =
            bytes.failed() ? "out of memory" : m_folder.save(name, view(bytes), m_date);
        const std::string& directory = m_options.directory;
        const std::string path = directory + (directory.ends_with('/') ? "" : "/") + name;
        if (error) {
            reportError(path, error);
            m_status = kFailed;
        } else if (m_options.json) {
            out.write(std::exchange(m_separator, ",") +
                      jsonText({{"part", jsonPartNumber(nodes, index)},
                                {"contentType", typeOf(leaf)},
                                {"path", path},
                                {"size", bytes.getSize()}}));
        } else {
            out.write(oneLine(path) + "  " + std::to_string(bytes.getSize()) +
                      (bytes.getSize() == 1 ? " byte\n" : " bytes\n"));
        }
    }

    static Json jsonPartNumber(const std::vector<Node>& nodes, size_t index) {
        if (nodes[index].depth > kMaxNumberedDepth) return nullptr;
        return partNumber(nodes, index);
    }

    const Message& m_message;
    const Options& m_options;
    Folder& m_folder;
    const std::optional<std::time_t> m_date;
    TextBodies m_bodies;
    const char* m_separator = "";  // in front of the next file in JSON
    ExitStatus m_status = kDone;
};

}  // namespace

void addExtractOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    app.add_option("-o,--output", options.directory, "the directory, made when missing")
        ->required()
        ->type_name("DIR");
    app.add_flag("--all", options.all, "every part, the texts of the message too");
    app.add_flag("--dry-run", options.dryRun, "write nothing, only tell the names");
    app.add_flag("--json", options.json, "one JSON document a message, one line each");
    app.footer(
        "Parts count as attachments that say so, that are no text, or that have a file name and\n"
        "are not the message's own text.  A part goes to one file in DIR, never elsewhere, over\n"
        "a file that is there or through a symbolic link: a name in use becomes \"name (2).ext\".\n"
        "Text keeps its charset, and files have the date of the message.");
}

ExitStatus extract(const Options& options, Output& out) {
    Folder folder(options.directory, options.dryRun ? Folder::Mode::DryRun : Folder::Mode::Write);
    if (folder.error()) {
        reportError(options.directory, folder.error());
        return kFailed;
    }
    return forEachMessage(options, out, Heading::None,
                          [&](const Message& message, const Options&, Output& to) {
                              return Extractor(message, options, folder).run(to);
                          });
}
