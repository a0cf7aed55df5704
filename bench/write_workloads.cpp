// SPDX-License-Identifier: Apache-2.0

// Writes every workload into a folder, so that other libraries can read it: NAME.mails holds
// mails one after the other, each behind its size in decimal digits and a line feed; NAME.what
// says what they are.  The inputs of the codecs go to codec/.
// usage: write_workloads DIR

#include <filesystem>
#include <fstream>
#include <iostream>

#include "workloads.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_workloads DIR\n";
        return 2;
    }
    const std::filesystem::path dir = argv[1];
    std::filesystem::create_directories(dir);
    for (const std::string& name : workloadNames()) {
        const Workload workload = makeWorkload(name);
        std::ofstream out(dir / (name + ".mails"), std::ios::binary);
        for (const std::string& mail : workload.mails) out << mail.size() << '\n' << mail;
        std::ofstream(dir / (name + ".what")) << workload.what << '\n';
        if (!out.flush()) return 1;
    }
}
