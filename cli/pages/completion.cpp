// SPDX-License-Identifier: Apache-2.0
// Completion for bash, zsh and fish: the commands, their options, the choices of an option, and
// files or directories where they are wanted.

#include "cli/pages/page.h"

namespace {

constexpr char kMadeBy[] = "# Made by mimetree-pages from the program's table of commands.\n";

std::string commandNames(const Page& page) {
    std::vector<std::string> names;
    for (const CommandRow& command : page.commands) names.push_back(command.name);
    return joined(names, " ");
}

std::string optionNames(const std::vector<OptionRow>& options) {
    std::vector<std::string> names;
    for (const OptionRow& option : options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    return joined(names, " ");
}

// -- bash

std::string bashAction(const OptionRow& option) {
    switch (option.kind) {
        case Value::Choice: return "_mimetree_words '" + joined(option.choices, " ") + "'; return";
        case Value::File: return "_mimetree_files; return";
        case Value::Directory: return "_mimetree_directories; return";
        default: return "return";
    }
}

std::string bashValues(const CommandRow& command) {
    std::string text;
    for (const OptionRow& option : command.options) {
        if (option.kind == Value::None) continue;
        std::vector<std::string> patterns;
        for (const std::string& name : option.names) patterns.push_back(command.name + ":" + name);
        text += "        " + joined(patterns, " | ") + ") " + bashAction(option) + " ;;\n";
    }
    return text;
}

constexpr char kBashHelpers[] = R"(
_mimetree_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word"); }
_mimetree_files() { mapfile -t COMPREPLY < <(compgen -f -- "$word"); }
_mimetree_directories() { mapfile -t COMPREPLY < <(compgen -d -- "$word"); }

_mimetree() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' i
    # "--name=value" comes as three words.
    if [[ $word == = ]]; then
        word=''
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for ((i = 1; i < COMP_CWORD; ++i)); do
        if [[ ${COMP_WORDS[i]} != -* ]]; then
            command=${COMP_WORDS[i]}
            break
        fi
    done
    COMPREPLY=()
    compopt -o filenames
    case $command:$before in
)";

// -- zsh

// Within single quotes, where _arguments reads brackets and colons itself.
std::string zshText(const std::string& text) {
    std::string out = text;
    for (const char* special : {"\\", "[", "]", ":"})
        out = replaced(out, special, std::string("\\") + special);
    return replaced(out, "'", "'\\''");
}

std::string zshAction(const OptionRow& option) {
    switch (option.kind) {
        case Value::None: return "";
        case Value::Choice: return ":value:(" + joined(option.choices, " ") + ")";
        case Value::File: return ":file:_files";
        case Value::Directory: return ":directory:_files -/";
        case Value::Text: break;
    }
    return ":" + zshText(option.value) + ": ";
}

std::string zshOption(const OptionRow& option) {
    const std::string rest = "[" + zshText(option.what) + "]" + zshAction(option) + "'";
    const std::string alone = option.kind == Value::None ? "" : "*";
    std::string text;
    for (const std::string& name : option.names) {
        const bool isLong = name.starts_with("--");
        const std::string suffix = option.kind == Value::None ? "" : isLong ? "=" : "+";
        text += " \\\n            '" + alone + name + suffix + rest;
    }
    return text;
}

std::string zshOptions(const std::vector<OptionRow>& options) {
    std::string text;
    for (const OptionRow& option : options) text += zshOption(option);
    return text;
}

// -- fish

std::string fishText(const std::string& text) {
    return "'" + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string fishAction(const OptionRow& option) {
    switch (option.kind) {
        case Value::None: return "";
        case Value::Choice: return " -x -a " + fishText(joined(option.choices, " "));
        case Value::File: return " -r -F";
        case Value::Directory: return " -x -a '(__fish_complete_directories)'";
        case Value::Text: break;
    }
    return " -x";
}

std::string fishOption(const OptionRow& option, const std::string& condition) {
    std::string text = "complete -c mimetree -n " + fishText(condition);
    for (const std::string& name : option.names)
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    return text + fishAction(option) + " -d " + fishText(option.what) + "\n";
}

}  // namespace

std::string bashCompletion(const Page& page) {
    std::string text = kMadeBy + std::string(kBashHelpers);
    for (const CommandRow& command : page.commands) text += bashValues(command);
    text += "    esac\n    case $command:$word in\n";
    text += "        :-*) _mimetree_words '" + optionNames(page.options) + "' ;;\n";
    text += "        :*) _mimetree_words '" + commandNames(page) + "' ;;\n";
    for (const CommandRow& command : page.commands)
        text += "        " + command.name + ":-*) _mimetree_words '" +
                optionNames(command.options) + "' ;;\n";
    return text + "        *) _mimetree_files ;;\n    esac\n}\n\ncomplete -F _mimetree mimetree\n";
}

std::string zshCompletion(const Page& page) {
    std::string text = "#compdef mimetree\n" + std::string(kMadeBy);
    text += "\n_mimetree() {\n    local state line\n    local -a commands=(\n";
    for (const CommandRow& command : page.commands)
        text += "        '" + zshText(command.name) + ":" + zshText(command.summary) + "'\n";
    text += "    )\n    _arguments -C";
    text += zshOptions(page.options);
    text += " \\\n            '1:command:->command' \\\n            '*::argument:->argument'\n";
    text += "    case $state in\n        command) _describe command commands; return ;;\n";
    text += "        argument) ;;\n        *) return ;;\n    esac\n    case $line[1] in\n";
    for (const CommandRow& command : page.commands)
        text += "        " + command.name + ") _arguments" + zshOptions(command.options) +
                " \\\n            '*:file:_files' ;;\n";
    return text + "    esac\n}\n\n_mimetree \"$@\"\n";
}

std::string fishCompletion(const Page& page) {
    std::string text = kMadeBy;
    text += "complete -c mimetree -n __fish_use_subcommand -f\n";
    for (const OptionRow& option : page.options)
        text += fishOption(option, "__fish_use_subcommand");
    for (const CommandRow& command : page.commands) {
        text += "complete -c mimetree -n __fish_use_subcommand -a " + command.name + " -d " +
                fishText(command.summary) + "\n";
        for (const OptionRow& option : command.options)
            text += fishOption(option, "__fish_seen_subcommand_from " + command.name);
    }
    return text;
}
