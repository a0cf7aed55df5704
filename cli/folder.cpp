// SPDX-License-Identifier: Apache-2.0
// Makes files for extract.cpp.  Names are looked up relative to the directory that was opened,
// so that nobody swaps it underneath; a file is only ever created, so neither a file that is
// there nor the target of a symbolic link is written to.

#include "cli/folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "cli/safe_name.h"

namespace {

const char* errorText() { return std::strerror(errno); }

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t done = write(fd, bytes.data(), bytes.size());
        if (done < 0 && errno != EINTR) return false;
        if (done > 0) bytes.remove_prefix(static_cast<size_t>(done));
    }
    return true;
}

// A date that the file system cannot hold is no reason to lose the file.
void setDate(int fd, std::time_t date) {
    const timespec times[2] = {{0, UTIME_OMIT}, {date, 0}};
    (void)futimens(fd, times);
}

}  // namespace

Folder::Folder(const std::string& path, Mode mode) : m_mode(mode) {
    const bool exists = mode == Mode::DryRun || mkdir(path.c_str(), 0777) == 0 || errno == EEXIST;
    if (exists) m_fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isPlanned = mode == Mode::DryRun && errno == ENOENT && !path.empty();
    if (m_fd < 0 && !isPlanned) m_error = errorText();
}

Folder::~Folder() {
    if (m_fd >= 0) close(m_fd);
}

const char* Folder::save(std::string& name, std::string_view bytes,
                         std::optional<std::time_t> date) {
    const int fd = createNew(name);
    if (m_mode == Mode::DryRun) return nullptr;
    if (fd < 0) return errorText();
    const char* error = writeAll(fd, bytes) ? nullptr : errorText();
    if (date) setDate(fd, *date);
    if (close(fd) != 0 && !error) error = errorText();
    if (error) unlinkat(m_fd, name.c_str(), 0);  // half a file looks like a whole one
    return error;
}

// Each name goes on counting where it stopped, or a thousand namesakes would try a million.
// Names too long to tell apart once they have a number share one count.
int Folder::createNew(std::string& name) {
    constexpr const char* kLongestSuffix = " (4294967295)";
    const std::string wanted = name;
    unsigned& copies = m_copies.try_emplace(fittedName(wanted, kLongestSuffix), 1).first->second;
    for (unsigned number = 1;; number = ++copies) {
        name = fittedName(wanted, number == 1 ? "" : " (" + std::to_string(number) + ")");
        if (m_mode == Mode::DryRun) {
            if (!isTaken(name) && m_planned.insert(name).second) return -1;
            continue;
        }
        constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        const int fd = openat(m_fd, name.c_str(), kFlags, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
}

bool Folder::isTaken(const std::string& name) const {
    struct stat info;
    return m_fd >= 0 && fstatat(m_fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}
