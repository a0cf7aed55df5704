// SPDX-License-Identifier: Apache-2.0
#pragma once

// Arguments that several commands take.

#include <CLI/CLI.hpp>
#include <string>

#include "cli/input/options.h"

// FILE..., messages and directories of such.
void addMessages(CLI::App& app, CommonOptions& common);

// One FILE.
void addFile(CLI::App& app, CommonOptions& common, const char* what);

void addCharset(CLI::App& app, std::string& charset, const char* what);
