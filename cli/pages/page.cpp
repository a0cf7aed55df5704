// SPDX-License-Identifier: Apache-2.0
// From the table of commands to the rows that every page is made of.

#include "cli/pages/page.h"

#include "cli/command_line.h"

namespace {

// "CODING:{7bit,8bit}" is a value with choices.
std::vector<std::string> choicesIn(const std::string& type) {
    const size_t open = type.find('{'), close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) return {};
    return CLI::detail::split(type.substr(open + 1, close - open - 1), ',');
}

Value kindOf(const OptionRow& row) {
    if (row.value.empty()) return Value::None;
    if (!row.choices.empty()) return Value::Choice;
    if (row.value.starts_with("FILE")) return Value::File;
    return row.value == "DIR" ? Value::Directory : Value::Text;
}

OptionRow rowOf(const CLI::Option& option) {
    OptionRow row;
    for (const std::string& name : option.get_snames()) row.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) row.names.push_back("--" + name);
    const std::string type = option.get_items_expected_max() ? option.get_type_name() : "";
    row.value = type.substr(0, type.find(":{"));
    row.what = option.get_description();
    row.choices = choicesIn(type);
    row.kind = kindOf(row);
    return row;
}

// Positional arguments have no names.
std::vector<OptionRow> optionsOf(const CLI::App& app) {
    std::vector<OptionRow> rows;
    for (const CLI::Option* option : app.get_options())
        if (option->nonpositional()) rows.push_back(rowOf(*option));
    return rows;
}

std::string filesOf(const CLI::App& app) {
    const CLI::Option* files = app.get_option_no_throw("FILE");
    return files ? files->get_description() : std::string();
}

}  // namespace

Page readPage() {
    const CommandLine line;
    const CLI::App& app = line.app();
    Page page;
    page.options = optionsOf(app);
    for (const Command& command : commands()) {
        const CLI::App& sub = *app.get_subcommand(command.name);
        page.commands.push_back({command.name, command.arguments, command.summary, filesOf(sub),
                                 optionsOf(sub), sub.get_footer(), command.examples});
    }
    return page;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}
