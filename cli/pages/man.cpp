// SPDX-License-Identifier: Apache-2.0
// mimetree.1, in the macros that man(7) has everywhere.

#include <mimetree/version.h>
#include <algorithm>
#include <sstream>
#include <utility>

#include "cli/pages/page.h"

namespace {

// A hyphen that is typed is not the one that is printed, and a line that begins with a dot or an
// apostrophe is a macro.
std::string roff(const std::string& text) {
    std::string out = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
    out = replaced(replaced(out, "\n.", "\n\\&."), "\n'", "\n\\&'");
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

// In lines of less than 80 columns, as the tools that check such pages want them.
std::string filled(const std::string& text) {
    constexpr size_t kColumns = 72;  // before hyphens are escaped
    std::istringstream words(text);
    std::string lines, line;
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + 1 + word.size() > kColumns)
            lines += std::exchange(line, "") + "\n";
        line += (line.empty() ? "" : " ") + word;
    }
    return roff(lines + line);
}

std::string bold(const std::string& text) { return "\\fB" + roff(text) + "\\fR"; }

std::string optionText(const OptionRow& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.names) names.push_back(bold(name));
    std::string text = ".TP\n" + joined(names, ", ");
    if (!option.value.empty()) text += " \\fI" + roff(option.value) + "\\fR";
    text +=
        "\n" + filled(option.choices.empty() ? option.what
                                             : option.what + ": " + joined(option.choices, ", "));
    return text + "\n";
}

std::string examplesText(const CommandRow& command) {
    std::string text;
    for (const Example& example : command.examples)
        text += ".PP\n" + filled(example.what) + ":\n.RS 4\n" + bold(example.line) + "\n.RE\n";
    return text;
}

// What every command takes stands once, in front.
bool isCommon(const OptionRow& option, const Page& page) {
    return std::ranges::any_of(
        page.options, [&](const OptionRow& common) { return common.names == option.names; });
}

std::string commandText(const CommandRow& command, const Page& page) {
    std::string text = ".SS " +
                       roff("mimetree " + command.name + " [OPTION]... " +
                            (command.files.empty() ? "" : command.arguments)) +
                       "\n";
    text = replaced(text, " \n", "\n") + filled(command.summary) + ".\n";
    if (!command.files.empty()) text += ".TP\n\\fIFILE\\fR\n" + filled(command.files) + "\n";
    for (const OptionRow& option : command.options)
        if (!isCommon(option, page)) text += optionText(option);
    if (!command.notes.empty()) text += ".PP\n" + filled(command.notes) + "\n";
    return text + examplesText(command);
}

constexpr char kHead[] =
    ".SH NAME\n"
    "mimetree \\- look into MIME messages\n"
    ".SH SYNOPSIS\n"
    ".B mimetree\n"
    ".I COMMAND\n"
    "[\\fIOPTION\\fR]...\n"
    "[\\fIFILE\\fR]...\n"
    ".SH DESCRIPTION\n"
    "Reads mail into its tree of parts, shows and saves what is in it, and makes\n"
    "and changes messages.\n"
    "Damaged mail is repaired rather than refused, and nothing in a mail reaches a\n"
    "terminal unescaped.\n"
    ".SH OPTIONS\n"
    "Each command takes these too, but for \\-\\-version.\n";

constexpr char kTail[] =
    ".SH EXIT STATUS\n"
    ".TP\n.B 0\nAll was done.\n"
    ".TP\n.B 1\nA file could not be read or done, or the output not written, which a line on "
    "standard error tells; or, without such, nothing was found.\n"
    ".TP\n.B 2\nThe arguments were wrong.\n"
    ".TP\n.B 3\nThe check found something that is against a standard.\n"
    ".TP\n.B 4\nThe check found that another reader may see a different message.\n"
    ".TP\n.B 141\nNobody read the output to its end; nothing is said of that.\n"
    ".PP\n"
    "Of several messages, the highest stands.\n"
    ".SH ENVIRONMENT\n"
    ".TP\n.B NO_COLOR\nWhen it is set and not empty, no colours are written.\n";

}  // namespace

std::string manPage(const Page& page, const std::string& date) {
    std::string text = ".\\\" Made by mimetree-pages from the program's table of commands.\n";
    text += ".TH MIMETREE 1 " + date + " \"mimetree " MIMETREE_VERSION "\" \"User Commands\"\n";
    text += kHead;
    for (const OptionRow& option : page.options) text += optionText(option);
    text += ".SH COMMANDS\n";
    for (const CommandRow& command : page.commands) text += commandText(command, page);
    return text + kTail;
}
