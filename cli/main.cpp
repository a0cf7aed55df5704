// SPDX-License-Identifier: Apache-2.0
// The program `mimetree`: reads the command line, runs the command that it names and answers
// its exit status.

#include <algorithm>
#include <csignal>

#include "cli/command_line.h"

int main(int argc, char** argv) {
    // A closed pipe and a file over the limit are errors of writing like any other.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Output out;
    const ExitStatus status = CommandLine().run({argv + 1, argv + argc}, out);
    return std::max(status, out.finish());
}
