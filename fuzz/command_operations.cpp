// SPDX-License-Identifier: Apache-2.0

// What the program's commands do with a file, in this process: one of its own takes longer to
// start than most of them take.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "cli/command_line.h"
#include "operations.h"

namespace {

namespace fs = std::filesystem;

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

// What a command does not like, it says.
void run(std::vector<std::string> arguments) {
    Output out;
    CommandLine().run(std::move(arguments), out);
}

void runOn(const std::string& text, std::vector<std::string> arguments) {
    arguments.push_back(fileOf(text));
    run(std::move(arguments));
}

void composeOf(const std::vector<std::string>& arguments) {
    std::vector<std::string> all{"compose", "--from=a@b.example"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    run(std::move(all));
}

std::vector<std::string> behind(const std::string& option, std::vector<std::string> values) {
    for (std::string& value : values) value.insert(0, option);
    return values;
}

// One that runs a command line with the file behind it.
Operation onFile(const char* name, std::vector<std::string> arguments) {
    return {name, [arguments](const std::string& text) { runOn(text, arguments); }};
}

// Only planned: making a hundred thousand files would measure the system.
void planAll(const std::string& text) {
    runOn(text, {"extract", "--all", "--json", "--dry-run", "-o", folder() / "parts"});
}

void composeValues(const std::string& text) {
    composeOf({"--to=" + text, "--subject=" + text, "--header=X: " + text,
               "--header=References: " + text});
}

void composeTexts(const std::string& text) {
    const std::string file = fileOf(text);
    composeOf({"--text=" + file, "--html=" + file, "--inline=" + file, "--attach=" + file});
}

}  // namespace

const std::vector<Operation> kCommandOperations = {
    onFile("tree", {"tree"}),
    onFile("tree --json", {"tree", "--json"}),
    onFile("json", {"json", "--with", "text,html,attachments=base64"}),
    onFile("tree --log", {"tree", "--log"}),
    onFile("show", {"show"}),
    onFile("check", {"check"}),
    onFile("html", {"html"}),
    onFile("grep", {"grep", "no such words"}),
    onFile("stats", {"stats"}),
    onFile("headers", {"headers"}),
    onFile("headers --raw", {"headers", "--raw"}),
    onFile("body", {"body"}),
    onFile("body --html", {"body", "--html"}),
    onFile("body --part N", {"body", "--part", "1.2"}),
    onFile("rewrite", {"rewrite"}),
    {"extract --all --json --dry-run", planAll},
    onFile("structure", {"structure"}),
    onFile("structure --xml", {"structure", "--xml"}),
    onFile("to-xml", {"to-xml"}),
    onFile("from-xml", {"from-xml"}),
    onFile("convert --to-7bit", {"convert", "--to-7bit"}),
    onFile("convert --to-8bit --charset utf-8", {"convert", "--to-8bit", "--charset", "utf-8"}),
    onFile("convert --remove-attachments --charset iso-8859-1",
           {"convert", "--remove-attachments", "--charset", "iso-8859-1"}),
    onFile("convert --only text/*", {"convert", "--only", "text/*", "--"}),
    {"compose with one value", composeValues},
    {"compose with many values",
     [](const std::string& text) {
         composeOf(behind("--cc=", linesOf(text)));
         composeOf(behind("--header=", linesOf(text)));
     }},
    {"compose with many recipients",
     [](const std::string& text) { composeOf(behind("--bcc=", linesOf(text))); }},
    {"compose with texts", composeTexts},
};

void silenceCommands() {
    for (FILE* file : {stdout, stderr})
        if (!std::freopen("/dev/null", "w", file)) std::exit(2);
}
