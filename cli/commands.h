// SPDX-License-Identifier: Apache-2.0
#pragma once

// The program's commands.  Each takes its options and paths, writes to `out`, reports errors
// itself and answers the exit status.

#include "cli/options.h"
#include "cli/output.h"

ExitStatus tree(const Options& options, Output& out);     // show_tree.cpp, show_json.cpp
ExitStatus headers(const Options& options, Output& out);  // headers.cpp
ExitStatus body(const Options& options, Output& out);     // body.cpp
ExitStatus rewrite(const Options& options, Output& out);  // body.cpp
ExitStatus extract(const Options& options, Output& out);  // extract.cpp
ExitStatus toXml(const Options& options, Output& out);    // xml.cpp
ExitStatus fromXml(const Options& options, Output& out);
ExitStatus structure(const Options& options, Output& out);
ExitStatus compose(const Options& options, Output& out);  // compose.cpp
ExitStatus convert(const Options& options, Output& out);  // convert.cpp
