// SPDX-License-Identifier: Apache-2.0
// Makes the command line out of the table of commands, reads it and runs the command named.

#include "cli/command_line.h"

#include <mimetree/version.h>

#include <algorithm>
#include <exception>
#include <sstream>

#include "cli/input/gzip.h"
#include "cli/input/jobs.h"
#include "cli/message/tnef.h"
#include "cli/output/sha256.h"
#include "cli/text/html.h"
#include "cli/text/pattern.h"

namespace {

void addCommonOptions(CLI::App& app, CommonOptions& common) {
    app.add_flag("--strict", common.strict, "refuse multiparts with missing boundaries");
    app.add_flag("--log", common.log, "print the engine's log to standard error");
    app.add_option("--color", common.colour, "colours: on a terminal (auto), always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    app.add_flag("--ascii", common.ascii, "draw lines with ASCII characters");
}

// With the libraries that a build may lack.
std::string versionText() {
    std::string with, without;
    const std::pair<std::string, const char*> libraries[] = {
        {std::string(gzipLibrary()), "zlib"},
        {jobsLibrary(), "oneTBB"},
        {htmlLibrary(), "libxml2"},
        {std::string(digestLibrary()), "nettle"},
        {std::string(tnefLibrary()), "libytnef"},
        {patternLibrary(), "RE2"}};
    for (const auto& [found, name] : libraries) {
        std::string& list = found.empty() ? without : with;
        list += (list.empty() ? "" : ", ") + (found.empty() ? name : found);
    }
    return "mimetree " MIMETREE_VERSION + (with.empty() ? with : "\nwith " + with) +
           (without.empty() ? without : "\nwithout " + without);
}

std::string examplesOf(const Command& command) {
    std::string text = "Examples:";
    for (const Example& example : command.examples)
        text += std::string("\n  ") + example.what + ":\n    " + example.line;
    return text;
}

// Names are names: an argument such as "[a]", which CLI11 would take for a list, goes through it
// with a NUL behind, which no argument can have.
std::string marked(std::string argument) {
    if (argument.starts_with('[') && argument.ends_with(']')) argument += '\0';
    return argument;
}

std::string unmarked(std::string argument) {
    if (argument.ends_with('\0')) argument.pop_back();
    return argument;
}

bool isCommand(std::string_view name) {
    return std::ranges::any_of(commands(), [&](const Command& c) { return c.name == name; });
}

const Command& commandOf(const CLI::App& sub) {
    return *std::ranges::find(commands(), sub.get_name(), &Command::name);
}

}  // namespace

CommandLine::CommandLine() : m_app("Looks into MIME messages.", "mimetree") {
    m_app.set_help_flag("-h,--help", "print this help");
    m_app.set_version_flag("-V,--version", versionText(), "print the version");
    m_app.footer("mimetree help COMMAND, or COMMAND --help, tells of a command with examples.");
    m_app.require_subcommand(1);
    addCommonOptions(m_app, m_common);
    for (const Command& command : commands()) {
        CLI::App* sub = m_app.add_subcommand(command.name, command.summary);
        m_runs.push_back(command.add(*sub, m_common));
        addCommonOptions(*sub, m_common);
        for (CLI::Option* option : sub->get_options())
            if (option->get_items_expected_max() > 0) option->transform(unmarked);
    }
}

ExitStatus CommandLine::run(std::vector<std::string> arguments, Output& out) {
    if (!arguments.empty() && arguments.front() == "help") {
        arguments.erase(arguments.begin());
        if (!arguments.empty() && !isCommand(arguments.front())) {
            reportError("no command " + arguments.front() + " (see mimetree --help)");
            return kBadUsage;
        }
        arguments.push_back("--help");
    }
    std::ranges::reverse(arguments);  // as CLI11 wants them
    std::ranges::transform(arguments, arguments.begin(), marked);
    try {
        m_app.parse(std::move(arguments));
        out.setScreen(screenOf(m_common.colour, m_common.ascii));
        return runParsed(out);
    } catch (const CLI::ParseError& error) {
        return explain(error, out);
    } catch (const std::exception& error) {
        reportError(error.what());
        return kFailed;
    }
}

ExitStatus CommandLine::runParsed(Output& out) {
    for (size_t i = 0; i < m_runs.size(); ++i)
        if (m_app.got_subcommand(commands()[i].name)) return m_runs[i](out);
    return kBadUsage;
}

// A mistake with the help that tells how to do it right.
std::string CommandLine::helpOf(const std::string& mistake) const {
    const auto named = m_app.get_subcommands();
    if (!named.empty()) return mistake + " (see mimetree " + named.front()->get_name() + " --help)";
    const std::vector<std::string> unknown = m_app.remaining();
    return (unknown.empty() ? mistake : "no command " + unknown.front()) + " (see mimetree --help)";
}

// Help and version on standard output; a mistake as one line on standard error.
ExitStatus CommandLine::explain(const CLI::ParseError& error, Output& out) const {
    if (error.get_exit_code() != 0) {
        reportError(helpOf(error.what()));
        return kBadUsage;
    }
    std::ostringstream text;
    m_app.exit(error, text, text);
    const auto named = m_app.get_subcommands();
    if (!named.empty()) text << "\n" << examplesOf(commandOf(*named.front())) << "\n";
    out.write(text.str());
    return kDone;
}
