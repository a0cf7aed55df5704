// SPDX-License-Identifier: Apache-2.0
#pragma once

// The command line as those who describe it see it: what CLI11 knows of each command, as rows.

#include <span>
#include <string>
#include <vector>

#include "cli/commands/table.h"

enum class Value { None, Text, File, Directory, Choice };

struct OptionRow {
    std::vector<std::string> names;  // "-o", "--output"
    std::string value;               // "DIR"; empty for a flag
    std::string what;
    Value kind = Value::None;
    std::vector<std::string> choices;
};

struct CommandRow {
    std::string name, arguments, summary;
    std::string files;  // what FILE is
    std::vector<OptionRow> options;
    std::string notes;
    std::span<const Example> examples;
};

struct Page {
    std::vector<CommandRow> commands;
    std::vector<OptionRow> options;  // of the program without a command
};

Page readPage();

// The files that mimetree-pages makes.
std::string manPage(const Page& page, const std::string& date);  // man.cpp
std::string bashCompletion(const Page& page);                    // completion.cpp
std::string zshCompletion(const Page& page);
std::string fishCompletion(const Page& page);

std::string replaced(std::string text, const std::string& from, const std::string& to);
std::string joined(const std::vector<std::string>& words, const std::string& separator);
