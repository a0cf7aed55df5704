// SPDX-License-Identifier: Apache-2.0
// The program `mimetree-pages`, used by the build: makes what describes the program `mimetree`.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>

#include "cli/pages/page.h"

namespace {

// A line a command.
std::string readmeList(const Page& page) {
    size_t width = 0;
    for (const CommandRow& command : page.commands)
        width = std::max(width, command.name.size() + command.arguments.size());
    std::string text;
    for (const CommandRow& command : page.commands) {
        const std::string use = command.name + " " + command.arguments;
        text += "    mimetree " + use + std::string(width + 3 - use.size(), ' ') + command.summary;
        text += "\n";
    }
    return text;
}

std::string contentOf(const std::string& name, const std::string& date) {
    const Page page = readPage();
    if (name == "mimetree.1") return manPage(page, date);
    if (name == "mimetree.bash") return bashCompletion(page);
    if (name == "_mimetree") return zshCompletion(page);
    if (name == "mimetree.fish") return fishCompletion(page);
    if (name == "README.md") return readmeList(page);
    return {};
}

}  // namespace

int main(int argc, char** argv) {
    const std::string content = argc == 4 ? contentOf(argv[1], argv[3]) : std::string();
    if (content.empty()) {
        std::cerr << "usage: mimetree-pages NAME FILE DATE\n"
                     "NAME: mimetree.1, mimetree.bash, _mimetree, mimetree.fish, README.md\n";
        return 2;
    }
    std::ofstream file(argv[2], std::ios::binary);
    file << content << std::flush;
    return file ? 0 : 1;
}
