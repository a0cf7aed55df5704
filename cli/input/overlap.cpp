// SPDX-License-Identifier: Apache-2.0
// Commands ask, so that none reads what it writes without end.

#include "cli/input/overlap.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

bool isOutputRead(const CommonOptions& common) {
    return std::ranges::any_of(common.paths, [&](const std::string& path) {
        std::error_code ignored;
        return fs::is_directory(path, ignored) && fs::equivalent(path, common.output, ignored);
    });
}

bool isStandardOutput(const std::string& path) {
    struct stat file, output;
    return fstat(STDOUT_FILENO, &output) == 0 && S_ISREG(output.st_mode) &&
           stat(path.c_str(), &file) == 0 && file.st_dev == output.st_dev &&
           file.st_ino == output.st_ino;
}
