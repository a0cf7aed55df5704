// SPDX-License-Identifier: Apache-2.0
// The program `mimetree`: reads the command line, runs the command that it names and answers
// its exit status.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <sstream>

#include "cli/commands.h"

namespace {

// The command named on the command line.
const Command& parse(CLI::App& app, int argc, char** argv, Options& options) {
    addCommands(app, options);
    app.parse(argc, argv);
    return *std::ranges::find_if(
        commands(), [&](const Command& command) { return app.got_subcommand(command.name); });
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
