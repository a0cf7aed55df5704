// SPDX-License-Identifier: Apache-2.0

// Runs fuzz targets over files, without libFuzzer and under any compiler: the finds that were
// made once, and the seeds.
// usage: replay DIR    (DIR/TARGET/FILE; a target runs each of its files)

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "target.h"

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: replay DIR\n";
        return 2;
    }
    unsigned files = 0;
    for (const ReplayTarget* target = ReplayTarget::first; target; target = target->next) {
        const fs::path folder = fs::path(argv[1]) / target->name;
        if (!fs::exists(folder)) continue;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            std::ifstream in(entry.path(), std::ios::binary);
            std::ostringstream text;
            text << in.rdbuf();
            std::cout << target->name << ' ' << entry.path().filename().string() << std::endl;
            target->run(reinterpret_cast<const uint8_t*>(text.view().data()), text.view().size());
            ++files;
        }
    }
    std::cout << files << " passed, 0 failed\n";
    return files ? 0 : 1;
}
