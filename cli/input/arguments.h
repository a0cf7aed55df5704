// SPDX-License-Identifier: Apache-2.0
#pragma once

// Arguments that several commands take.

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "cli/input/options.h"

// FILE..., messages, archives and directories of such, with --jobs and --mbox.
void addMessages(CLI::App& app, CommonOptions& common);

// One FILE that is a message.
void addMessage(CLI::App& app, CommonOptions& common);

// One FILE of any kind.
void addFile(CLI::App& app, CommonOptions& common, const char* what);

// --closed, for commands that look into messages within messages.
void addClosed(CLI::App& app, CommonOptions& common);

// --no-pager, for commands that write through one.
void addPager(CLI::App& app, CommonOptions& common);

// The number of a part, as tree shows it.
CLI::Option* addPart(CLI::App& app, std::optional<std::string>& part, const char* what);

void addCharset(CLI::App& app, std::string& charset, const char* what);
