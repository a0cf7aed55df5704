// SPDX-License-Identifier: Apache-2.0
// The program `mimetree`: reads the command line, runs the command that it names and answers
// its exit status.  A further command is a row in kCommands and a function in commands.h.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <mimetree/version.h>
#include <sstream>

#include "cli/commands.h"
#include "cli/nodes.h"
#include "foundation/EncodingConvert.h"
#include "foundation/_zqCharset.h"

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

std::string notAKnownCharset(const std::string& name) {
    _zqCharset charset;
    const bool isKnown =
        charset.setByName(name.c_str()) && EncodingConvert::isKnown(charset.getCodePage());
    return isKnown ? std::string() : "no charset \"" + name + "\"";
}

void addCharset(CLI::App& app, std::string& charset, const char* what) {
    app.add_option("--charset", charset, what)->type_name("NAME")->check(notAKnownCharset);
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

void addComposeOptions(CLI::App& app, Options& options) {
    ComposeOptions& compose = options.compose;
    addList(app, "--from", compose.from, "LIST", "the sender: addr, or 'Name <addr>'");
    addList(app, "--to", compose.to, "LIST", "recipients; this and the next may be repeated");
    addList(app, "--cc", compose.cc, "LIST", "those who get a copy");
    addList(app, "--bcc", compose.bcc, "LIST", "those who get one unseen; the field is written");
    app.add_option("--subject", compose.subject)->type_name("TEXT");
    app.add_option("--text", compose.text, "the plain text, in UTF-8; - for stdin")
        ->type_name("FILE");
    app.add_option("--html", compose.html, "the HTML text, in UTF-8; - for stdin")
        ->type_name("FILE");
    addFileList(app, "--attach", compose.attachments, "attachments");
    addFileList(app, "--inline", compose.inlines, "files that the HTML shows as \"cid:NAME\"");
    addList(app, "--header", compose.headers, "'Name: value'", "a further field, repeatable");
    addCharset(app, compose.charset, "of the texts; us-ascii or utf-8 when not given");
    app.add_option("--encoding", compose.encoding, "of the texts; the shortest when not given")
        ->type_name("CODING")
        ->check(CLI::IsMember({"7bit", "8bit", "quoted-printable", "base64"}));
    app.footer(
        "The message goes to standard output, in 7 bits unless --encoding 8bit is given.  Date\n"
        "and Message-ID are made where --header does not give them, types are told by file names.\n"
        "HTML refers to an inline file by cid: and its name without directories, as it is or\n"
        "percent-encoded; the Content-ID that was made for the file takes the place of the name.");
}

void addConvertOptions(CLI::App& app, Options& options) {
    ConvertOptions& convert = options.convert;
    addFiles(app, options, "message; - for stdin")->expected(1);
    CLI::Option* to7bit =
        app.add_flag("--to-7bit", convert.to7bit, "8-bit parts in quoted-printable or base64");
    app.add_flag("--to-8bit", convert.to8bit, "texts without a coding, where lines allow it")
        ->excludes(to7bit);
    addCharset(app, convert.charset, "texts in this charset, or else in utf-8");
    app.add_flag("--remove-attachments", convert.removeAttachments, "drop what is attached");
    app.add_option("--only", convert.only, "drop all parts but of these types")
        ->type_name("TYPE")
        ->check([](const std::string& type) {
            const size_t slash = type.find('/');
            return slash != 0 && slash + 1 < type.size() && slash != std::string::npos
                       ? std::string()
                       : "\"" + type + "\" is no type like text/plain or text/*";
        });
    app.footer(
        "At least one option must say what to change; they combine.  Parts of multipart/signed\n"
        "and multipart/encrypted stay as they are.");
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
    {"compose", "Make a message from texts and files", addComposeOptions, compose},
    {"convert", "Change codings, charset or parts of a message", addConvertOptions, convert},
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
    // A closed pipe and a file over the limit are errors of writing like any other.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Output out;
    const ExitStatus status = runCommandLine(argc, argv, out);
    return out.finish() ? status : std::max(status, kFailed);
}
