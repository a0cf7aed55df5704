// SPDX-License-Identifier: Apache-2.0

// What the program's commands do with a file, in this process: one of its own takes longer to
// start than most of them take.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>

#include "cli/commands.h"
#include "operations.h"

namespace {

namespace fs = std::filesystem;

using Command = ExitStatus (*)(const Options& options, Output& out);

// Holds the file "x", which is what texts of the search can call it.
const fs::path& folder() {
    static const struct Folder {
        Folder() {
            std::string name = (fs::temp_directory_path() / "linear-XXXXXX").string();
            path = mkdtemp(name.data()) ? name : "linear";
        }
        ~Folder() { fs::remove_all(path); }
        fs::path path;
    } made;
    return made.path;
}

std::string fileOf(const std::string& text) {
    const std::string path = folder() / "x";
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

// As many as fit on a command line.
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t at = 0, end; at < text.size() && lines.size() < 50000; at = end + 1) {
        end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
    }
    return lines;
}

// What a command does not like, it says or throws.
void run(Command command, const Options& options) {
    Output out;
    try {
        command(options, out);
    } catch (const std::exception&) {
    }
}

template <class Set>
void runOn(const std::string& text, Command command, Set set) {
    Options options;
    options.paths = {fileOf(text)};
    set(options);
    run(command, options);
}

template <class Set>
void composeOf(Set set) {
    Options options;
    options.compose.from = {"a@b.example"};
    set(options.compose);
    run(compose, options);
}

void nothing(Options&) {}

// Only planned: making a hundred thousand files would measure the system.
void planAll(const std::string& text) {
    runOn(text, extract, [](Options& o) {
        o.directory = folder() / "parts";
        o.all = o.json = o.dryRun = true;
    });
}

}  // namespace

const std::vector<Operation> kCommandOperations = {
    {"tree", [](const std::string& text) { runOn(text, tree, nothing); }},
    {"tree --json",
     [](const std::string& text) { runOn(text, tree, [](Options& o) { o.json = true; }); }},
    {"tree --log",
     [](const std::string& text) { runOn(text, tree, [](Options& o) { o.log = true; }); }},
    {"headers", [](const std::string& text) { runOn(text, headers, nothing); }},
    {"headers --raw",
     [](const std::string& text) { runOn(text, headers, [](Options& o) { o.raw = true; }); }},
    {"body", [](const std::string& text) { runOn(text, body, nothing); }},
    {"body --html",
     [](const std::string& text) { runOn(text, body, [](Options& o) { o.html = true; }); }},
    {"body --part N",
     [](const std::string& text) {
         runOn(text, body, [](Options& o) {
             o.byPart = true;
             o.part = "1.2";
         });
     }},
    {"rewrite", [](const std::string& text) { runOn(text, rewrite, nothing); }},
    {"extract --all --json --dry-run", planAll},
    {"structure", [](const std::string& text) { runOn(text, structure, nothing); }},
    {"structure --xml",
     [](const std::string& text) { runOn(text, structure, [](Options& o) { o.xml = true; }); }},
    {"to-xml", [](const std::string& text) { runOn(text, toXml, nothing); }},
    {"from-xml", [](const std::string& text) { runOn(text, fromXml, nothing); }},
    {"convert --to-7bit",
     [](const std::string& text) {
         runOn(text, convert, [](Options& o) { o.convert.to7bit = true; });
     }},
    {"convert --to-8bit --charset utf-8",
     [](const std::string& text) {
         runOn(text, convert, [](Options& o) {
             o.convert.to8bit = true;
             o.convert.charset = "utf-8";
         });
     }},
    {"convert --remove-attachments --charset iso-8859-1",
     [](const std::string& text) {
         runOn(text, convert, [](Options& o) {
             o.convert.removeAttachments = true;
             o.convert.charset = "iso-8859-1";
         });
     }},
    {"convert --only text/*",
     [](const std::string& text) {
         runOn(text, convert, [](Options& o) { o.convert.only = {"text/*"}; });
     }},
    {"compose with one value",
     [](const std::string& text) {
         composeOf([&](ComposeOptions& c) {
             c.to = {text};
             c.subject = text;
             c.headers = {"X: " + text, "References: " + text};
         });
     }},
    {"compose with many values",
     [](const std::string& text) {
         composeOf([&](ComposeOptions& c) {
             c.cc = linesOf(text);
             c.headers = linesOf(text);
         });
     }},
    {"compose with many recipients",
     [](const std::string& text) { composeOf([&](ComposeOptions& c) { c.bcc = linesOf(text); }); }},
    {"compose with texts",
     [](const std::string& text) {
         composeOf([&](ComposeOptions& c) {
             c.text = c.html = fileOf(text);
             c.inlines = c.attachments = {c.text};
         });
     }},
};

void silenceCommands() {
    for (FILE* file : {stdout, stderr})
        if (!std::freopen("/dev/null", "w", file)) std::exit(2);
}
