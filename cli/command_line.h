// SPDX-License-Identifier: Apache-2.0
#pragma once

// The command line that the table of commands makes.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/table.h"

class CommandLine {
public:
    CommandLine();

    // Reads the arguments, without the program's name, and does what they ask for.  Mistakes are
    // reported here.
    ExitStatus run(std::vector<std::string> arguments, Output& out);

    // What CLI11 knows of the whole line.
    const CLI::App& app() const { return m_app; }

private:
    ExitStatus runParsed(Output& out);
    ExitStatus explain(const CLI::ParseError& error, Output& out) const;
    std::string helpOf(const std::string& mistake) const;

    CLI::App m_app;
    CommonOptions m_common;
    std::vector<Run> m_runs;  // in the table's order
};
