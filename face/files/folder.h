// SPDX-License-Identifier: Apache-2.0
#pragma once

// A directory in which new files are made, and nothing that is there is touched.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "face/files/directory.h"

namespace mimetree::inner {

class Folder {
public:
    enum class Mode { Write, DryRun };

    // Makes the directory when it is missing.
    Folder(const std::string& path, Mode mode);

    // 0, or the errno value that tells why the directory cannot be used.
    int error() const { return m_error; }

    // Makes a file of that name, or of "name (2).ext" and so on when it is in use, and sets
    // `name` to the one that was taken.  0, or why the file is not there.
    int save(std::string& name, std::string_view bytes,
             std::optional<std::chrono::sys_seconds> date = std::nullopt);

private:
    bool isTaken(const std::string& name) const;
    unsigned freeNumber(const std::string& wanted) const;

    const Mode m_mode;
    Directory m_directory;  // not open in a dry run without it
    int m_error = 0;
    std::unordered_set<std::string> m_planned;  // names of a dry run
};

}  // namespace mimetree::inner
