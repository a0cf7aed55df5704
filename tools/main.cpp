// SPDX-License-Identifier: Apache-2.0
// The program `mimetree`: reads the command line, runs the command that it names and answers
// its exit status.  A further command is a row in kCommands and a function in commands.h.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <sstream>

#include "tools/commands.h"
#include "tools/nodes.h"

namespace {

struct Command {
    const char* name;
    const char* summary;
    void (*addOptions)(CLI::App& app, Options& options);
    ExitStatus (*run)(const Options& options, Output& out);
};

CLI::Option* addFiles(CLI::App& app, Options& options, const char* what) {
    return app.add_option("FILE", options.paths, what)->required()->type_name("");
}

void addMessages(CLI::App& app, Options& options) {
    addFiles(app, options, "messages; directories stand for all files below, - for stdin");
}

void addTreeOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    app.add_flag("--json", options.json, "one JSON document a message, one line each");
    app.footer(
        "JSON: \"nodes\" is a flat list, each node before its children.  \"depth\" counts from\n"
        "0 at the root, \"parent\" is an index into the list (null at the root), and \"part\" is\n"
        "the number that body --part takes: \"\" at the root, \"1.2\" for the second child of its\n"
        "first child, null below depth 32.");
}

void addHeadersOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    app.add_flag("--raw", options.raw, "as stored, neither decoded nor unfolded");
}

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

void addRewriteOptions(CLI::App& app, Options& options) {
    addFiles(app, options, "message; - for stdin")->expected(1);
}

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

void addToXmlOptions(CLI::App& app, Options& options) {
    addFiles(app, options, "message; - for stdin")->expected(1);
    app.footer("One message a call: several XML documents in a row would not be XML.");
}

void addFromXmlOptions(CLI::App& app, Options& options) {
    addFiles(app, options, "XML as to-xml writes it; - for stdin")->expected(1);
    app.footer("Of several messages in one document, the first is written.");
}

void addStructureOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    app.add_flag("--xml", options.xml, "in the manner of XML, with closing lines");
    app.footer(
        "The outline indents by four blanks a level; messages nested deeper than 1000 levels,\n"
        "or whose indentation takes more than 256 MiB, are refused (see tree).");
}

constexpr Command kCommands[] = {
    {"tree", "Outline the parts of messages", addTreeOptions, tree},
    {"headers", "Show the header fields of messages, decoded", addHeadersOptions, headers},
    {"body", "Show a body of messages, decoded", addBodyOptions, body},
    {"rewrite", "Write a message as the engine does", addRewriteOptions, rewrite},
    {"extract", "Save attachments to files", addExtractOptions, extract},
    {"to-xml", "Write a message as XML", addToXmlOptions, toXml},
    {"from-xml", "Write the message that XML describes", addFromXmlOptions, fromXml},
    {"structure", "Outline the content types of messages", addStructureOptions, structure},
};

void addCommonOptions(CLI::App& app, Options& options) {
    app.add_flag("--strict", options.strict, "refuse multiparts with missing boundaries");
    app.add_flag("--log", options.log, "print the engine's log to standard error");
}

// The command named on the command line.
const Command& parse(CLI::App& app, int argc, char** argv, Options& options) {
    app.set_version_flag("--version", "mimetree " MIMETREE_VERSION);
    app.require_subcommand(1);
    addCommonOptions(app, options);
    for (const Command& command : kCommands) {
        CLI::App* sub = app.add_subcommand(command.name, command.summary);
        command.addOptions(*sub, options);
        addCommonOptions(*sub, options);
    }
    app.parse(argc, argv);
    return *std::find_if(std::begin(kCommands), std::end(kCommands),
                         [&](const Command& command) { return app.got_subcommand(command.name); });
}

std::string mistakeIn(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty()) return "no command " + unknown.front();
    return error.what();
}

// Help and version on standard output; a mistake as one line on standard error.
ExitStatus explain(const CLI::App& app, const CLI::ParseError& error, Output& out) {
    if (error.get_exit_code() != 0) {
        reportError(mistakeIn(app, error) + " (see mimetree --help)");
        return kBadUsage;
    }
    std::ostringstream text;
    app.exit(error, text, text);
    out.write(text.str());
    return kDone;
}

ExitStatus runCommandLine(int argc, char** argv, Output& out) {
    CLI::App app("Looks into MIME messages.", "mimetree");
    Options options;
    try {
        const Command& command = parse(app, argc, argv, options);
        return command.run(options, out);
    } catch (const CLI::ParseError& error) {
        return explain(app, error, out);
    } catch (const std::exception& error) {
        reportError(error.what());
        return kFailed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is an error like any other
    Output out;
    const ExitStatus status = runCommandLine(argc, argv, out);
    return out.finish() ? status : std::max(status, kFailed);
}
