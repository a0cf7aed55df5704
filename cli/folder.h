// SPDX-License-Identifier: Apache-2.0
#pragma once

// A directory in which new files are made, and nothing that is there is touched.

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

class Folder {
public:
    enum class Mode { Write, DryRun };

    // Makes the directory when it is missing.
    Folder(const std::string& path, Mode mode);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    // Null, or the reason why the directory cannot be used.
    const char* error() const { return m_error; }

    // Makes a file of that name, or of "name (2).ext" and so on when it is in use, and sets
    // `name` to the one that was taken.  Null, or the reason why the file is not there.
    const char* save(std::string& name, std::string_view bytes, std::optional<std::time_t> date);

private:
    bool isTaken(const std::string& name) const;
    int createNew(std::string& name);

    const Mode m_mode;
    int m_fd = -1;  // -1 also in a dry run without the directory
    const char* m_error = nullptr;
    std::unordered_map<std::string, unsigned> m_copies;  // of a name, the last number taken
    std::unordered_set<std::string> m_planned;           // names of a dry run
};
