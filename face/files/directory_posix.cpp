// SPDX-License-Identifier: Apache-2.0
// Names are looked up relative to the directory that was opened, so that nobody swaps it
// underneath; a file is only ever created, so neither a file that is there nor the target of a
// symbolic link is written to.

#ifndef _WIN32

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "face/files/directory.h"

namespace mimetree::inner {

namespace {

int writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t done = write(fd, bytes.data(), bytes.size());
        if (done < 0 && errno != EINTR) return errno;
        if (done > 0) bytes.remove_prefix(static_cast<size_t>(done));
    }
    return 0;
}

// A date that the file system cannot hold is no reason to lose the file.
void setDate(int fd, std::chrono::sys_seconds date) {
    const timespec times[2] = {{0, UTIME_OMIT},
                               {static_cast<time_t>(date.time_since_epoch().count()), 0}};
    (void)futimens(fd, times);
}

}  // namespace

Directory::~Directory() {
    if (m_fd >= 0) close(m_fd);
}

int Directory::make(const std::string& path) {
    return mkdir(path.c_str(), 0777) == 0 || errno == EEXIST ? 0 : errno;
}

int Directory::open(const std::string& path) {
    m_fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return m_fd >= 0 ? 0 : errno;
}

bool Directory::has(const std::string& name) const {
    struct stat info;
    return m_fd >= 0 && fstatat(m_fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

int Directory::create(const std::string& name, std::string_view bytes,
                      std::optional<std::chrono::sys_seconds> date) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const int fd = openat(m_fd, name.c_str(), kFlags, 0666);
    if (fd < 0) return errno;
    int error = writeAll(fd, bytes);
    if (date) setDate(fd, *date);
    if (close(fd) != 0 && error == 0) error = errno;
    if (error) unlinkat(m_fd, name.c_str(), 0);  // half a file looks like a whole one
    return error;
}

// A link, other than a new name, is never in the place of a file.  Some file systems know none.
int Directory::move(const std::string& name, const Directory& to, const std::string& newName) {
    if (linkat(m_fd, name.c_str(), to.m_fd, newName.c_str(), 0) == 0)
        return unlinkat(m_fd, name.c_str(), 0) == 0 ? 0 : errno;
    if (errno != EPERM && errno != EOPNOTSUPP) return errno;
    if (to.has(newName)) return EEXIST;
    return renameat(m_fd, name.c_str(), to.m_fd, newName.c_str()) == 0 ? 0 : errno;
}

}  // namespace mimetree::inner

#endif
