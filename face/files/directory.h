// SPDX-License-Identifier: Apache-2.0
#pragma once

// The system's part of making new files in one directory: directory_posix.cpp and, for Windows,
// directory_windows.cpp.  What fails answers an errno value; 0 is success.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace mimetree::inner {

class Directory {
public:
    Directory() = default;
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory();

    static int make(const std::string& path);  // success, too, when it is there already
    int open(const std::string& path);

    // Whether anything goes by the name, be it a link to nowhere.
    bool has(const std::string& name) const;

    // Makes a new file with these bytes, dated as told; EEXIST when the name is taken.  A file
    // that could not be written whole is removed.
    int create(const std::string& name, std::string_view bytes,
               std::optional<std::chrono::sys_seconds> date);

    // Moves a file, so that it is in `to` all at once; EEXIST when the name is taken there.
    int move(const std::string& name, const Directory& to, const std::string& newName);

private:
#ifdef _WIN32
    std::wstring m_path;
#else
    int m_fd = -1;
#endif
};

}  // namespace mimetree::inner
