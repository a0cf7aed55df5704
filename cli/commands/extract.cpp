// SPDX-License-Identifier: Apache-2.0
// Command `extract`: to files goes what a reader does not show.

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/input/overlap.h"
#include "cli/message/files.h"
#include "cli/message/json_document.h"
#include "face/files/folder.h"

using mimetree::OpenedPart;
using mimetree::OpenedParts;
using mimetree::inner::Folder;

namespace {

using Json = nlohmann::ordered_json;

struct ExtractOptions {
    bool all = false;
    bool dryRun = false;
    bool json = false;
};

class Extractor {
public:
    Extractor(const InputMessage& message, const std::string& directory,
              const ExtractOptions& options, Folder& folder, Output& out)
        : m_message(message),
          m_directory(directory),
          m_options(options),
          m_folder(folder),
          m_out(out) {}

    // A message within the message is a file, and so are those that are attached to it.
    ExitStatus run(const OpenedParts& parts) {
        if (m_options.json) m_out.write("{\"path\":" + jsonText(m_message.name) + ",\"files\":[");
        for (const OpenedPart& at : parts)
            if (m_out.good())
                forEachFile(at.part, m_options.all ? Wanted::AllLeaves : Wanted::Files,
                            [&](const File& file) { save(at, file); });
        if (m_options.json) m_out.write("]}\n");
        return m_status;
    }

private:
    void save(const OpenedPart& at, const File& file) {
        std::string name = file.name;
        const int error = m_folder.save(name, file.bytes, dateOf(*at.message));
        const std::string path = m_directory + (m_directory.ends_with('/') ? "" : "/") + name;
        if (error) {
            m_out.error(path, std::strerror(error));
            m_status = kFailed;
        } else if (m_options.json) {
            m_out.write(std::exchange(m_separator, ",") + jsonText({{"part", jsonPartNumber(at)},
                                                                    {"contentType", file.type},
                                                                    {"path", path},
                                                                    {"size", file.bytes.size()}}));
        } else {
            m_out.write(oneLine(path) + "  " + std::to_string(file.bytes.size()) +
                        (file.bytes.size() == 1 ? " byte\n" : " bytes\n"));
        }
    }

    static std::optional<std::chrono::sys_seconds> dateOf(const mimetree::Message& message) {
        const std::optional<mimetree::Date> date = message.date();
        return date ? std::optional(date->time) : std::nullopt;
    }

    const InputMessage& m_message;
    const std::string& m_directory;
    const ExtractOptions& m_options;
    Folder& m_folder;
    Output& m_out;
    const char* m_separator = "";  // in front of the next file in JSON
    ExitStatus m_status = kDone;
};

ExitStatus extract(const CommonOptions& common, const ExtractOptions& options, Output& out) {
    const std::string& directory = common.output;
    if (isOutputRead(common)) {
        out.error(directory, "would be read as well; name another directory");
        return kBadUsage;
    }
    Folder folder(directory, options.dryRun ? Folder::Mode::DryRun : Folder::Mode::Write);
    if (folder.error()) return out.failed(directory, std::strerror(folder.error()));
    return forEachMessageInTurn(
        common, out, Heading::None, [&](const InputMessage& message, Output&) -> InTurn {
            const auto parts = std::make_shared<const OpenedParts>(message.opened());
            return [&, parts](Output& to) {
                return Extractor(message, directory, options, folder, to).run(*parts);
            };
        });
}

}  // namespace

Run addExtract(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<ExtractOptions>();
    addMessages(app, common);
    addClosed(app, common);
    app.add_option("-o,--output", common.output, "the directory, made when missing")
        ->required()
        ->type_name("DIR");
    app.add_flag("--all", options->all, "every part, the texts of the message too");
    app.add_flag("--dry-run", options->dryRun, "write nothing, only tell the names");
    app.add_flag("--json", options->json, "one JSON document a message, one line each");
    app.footer(
        "Parts count as attachments that say so, that are no text, or that have a file name and\n"
        "are not the message's own text; so do messages within the message, and what is attached\n"
        "to those, and files that stand uuencoded in a text or in a winmail.dat.  A part goes to\n"
        "one file in DIR, never elsewhere, over a file that is there or through a symbolic link: a\n"
        "name in use becomes \"name (2).ext\".  Text keeps its charset, and files have the date of\n"
        "the message.");
    return [options, &common](Output& out) { return extract(common, *options, out); };
}
