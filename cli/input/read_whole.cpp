// SPDX-License-Identifier: Apache-2.0
// Reads a file, or standard input, whole.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "cli/input/mail_reader.h"

namespace {

// Limit: the engine counts bytes in 32 bits.
constexpr uint64_t kTooLarge = uint64_t{1} << 32;
constexpr size_t kReadSize = size_t{1} << 20;

class File {
public:
    explicit File(const std::string& path)
        : m_fd(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (m_fd > STDIN_FILENO) close(m_fd);
    }

    const char* readAll(std::string& bytes) const {
        struct stat info;
        if (m_fd < 0 || fstat(m_fd, &info) != 0) return std::strerror(errno);
        const uint64_t size = S_ISREG(info.st_mode) ? static_cast<uint64_t>(info.st_size) : 0;
        if (size < kTooLarge) bytes.reserve(static_cast<size_t>(size) + kReadSize);
        ssize_t got = 1;
        for (uint64_t done = 0; size < kTooLarge && got > 0 && done < kTooLarge;
             done += static_cast<uint64_t>(got)) {
            bytes.resize(done + kReadSize);
            got = readSome(bytes.data() + done, kReadSize);
            if (got < 0) return std::strerror(errno);
            bytes.resize(done + static_cast<size_t>(got));
        }
        return got > 0 ? "larger than 4 GiB" : nullptr;
    }

private:
    ssize_t readSome(char* to, size_t size) const {
        ssize_t got;
        do got = read(m_fd, to, size);
        while (got < 0 && errno == EINTR);
        return got;
    }

    int m_fd;
};

}  // namespace

const char* readWhole(const std::string& path, std::string& bytes) {
    return File(path).readAll(bytes);
}
