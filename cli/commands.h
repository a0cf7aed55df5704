// SPDX-License-Identifier: Apache-2.0
#pragma once

// The program's commands.  A further one is a source with the two functions that are declared
// here, and a row in commands.cpp: --help, the man page, completion and the README's list are
// made from that.

#include <span>

#include "cli/options.h"
#include "cli/output.h"

namespace CLI {
class App;
}

struct Command {
    const char* name;
    const char* arguments;  // as the README's list shows them
    const char* summary;
    void (*addOptions)(CLI::App& app, Options& options);  // FILE, options, a footer
    ExitStatus (*run)(const Options& options, Output& out);
};

std::span<const Command> commands();

// The whole command line: every command with its options.
void addCommands(CLI::App& app, Options& options);

// Each takes its options and paths, writes to `out`, reports errors itself and answers the exit
// status.
ExitStatus tree(const Options& options, Output& out);     // show_tree.cpp, show_json.cpp
ExitStatus headers(const Options& options, Output& out);  // headers.cpp
ExitStatus body(const Options& options, Output& out);     // body.cpp
ExitStatus rewrite(const Options& options, Output& out);
ExitStatus extract(const Options& options, Output& out);  // extract.cpp
ExitStatus toXml(const Options& options, Output& out);    // xml.cpp
ExitStatus fromXml(const Options& options, Output& out);
ExitStatus structure(const Options& options, Output& out);
ExitStatus compose(const Options& options, Output& out);  // compose.cpp
ExitStatus convert(const Options& options, Output& out);  // convert.cpp

void addTreeOptions(CLI::App& app, Options& options);
void addHeadersOptions(CLI::App& app, Options& options);
void addBodyOptions(CLI::App& app, Options& options);
void addRewriteOptions(CLI::App& app, Options& options);
void addExtractOptions(CLI::App& app, Options& options);
void addToXmlOptions(CLI::App& app, Options& options);
void addFromXmlOptions(CLI::App& app, Options& options);
void addStructureOptions(CLI::App& app, Options& options);
void addComposeOptions(CLI::App& app, Options& options);
void addConvertOptions(CLI::App& app, Options& options);
