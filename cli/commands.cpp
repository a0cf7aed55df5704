// SPDX-License-Identifier: Apache-2.0
// The table of the program's commands, and the command line that it makes.

#include "cli/commands.h"

#include <CLI/CLI.hpp>
#include <mimetree/version.h>

namespace {

constexpr Command kCommands[] = {
    {"tree", "FILE...", "A line a part: type, charset, coding, disposition, size, file name",
     addTreeOptions, tree},
    {"headers", "FILE...", "The header fields, decoded", addHeadersOptions, headers},
    {"body", "FILE...", "The text that a reader wants, or any part, decoded", addBodyOptions, body},
    {"rewrite", "FILE", "The message as the engine writes it", addRewriteOptions, rewrite},
    {"extract", "FILE...", "Attachments to files in a folder, never outside it",
     addExtractOptions, extract},
    {"structure", "FILE...", "The content types, indented", addStructureOptions, structure},
    {"to-xml", "FILE", "The message as XML", addToXmlOptions, toXml},
    {"from-xml", "FILE", "The message that such XML describes", addFromXmlOptions, fromXml},
    {"compose", "...", "A message from texts, files and addresses given as arguments",
     addComposeOptions, compose},
    {"convert", "FILE", "The message in 7 or 8 bits, another charset, without attachments",
     addConvertOptions, convert},
};

void addCommonOptions(CLI::App& app, Options& options) {
    app.add_flag("--strict", options.strict, "refuse multiparts with missing boundaries");
    app.add_flag("--log", options.log, "print the engine's log to standard error");
}

}  // namespace

std::span<const Command> commands() { return kCommands; }

void addCommands(CLI::App& app, Options& options) {
    app.set_help_flag("-h,--help", "print this help");
    app.set_version_flag("--version", "mimetree " MIMETREE_VERSION, "print the version");
    app.require_subcommand(1);
    addCommonOptions(app, options);
    for (const Command& command : kCommands) {
        CLI::App* sub = app.add_subcommand(command.name, command.summary);
        command.addOptions(*sub, options);
        addCommonOptions(*sub, options);
    }
}
