// SPDX-License-Identifier: Apache-2.0
// Opens files and standard input, and tells gzip by its first bytes.

#include "cli/input/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

// Limit: the engine counts bytes in 32 bits.
constexpr size_t kLargest = 0xFFFFFFFFu;
constexpr size_t kReadSize = size_t{1} << 20;

class FileSource : public mimetree::ByteSource {
public:
    FileSource(int fd, std::atomic<uint64_t>* counter) : m_fd(fd), m_counter(counter) {}
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    ~FileSource() override {
        if (m_fd > STDIN_FILENO) close(m_fd);
    }

    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        ssize_t got;
        do got = ::read(m_fd, to, size);
        while (got < 0 && errno == EINTR);
        if (got < 0) return -errno;
        if (m_counter) *m_counter += static_cast<uint64_t>(got);
        return got;
    }

private:
    const int m_fd;
    std::atomic<uint64_t>* const m_counter;
};

class MemorySource : public mimetree::ByteSource {
public:
    explicit MemorySource(std::string_view bytes) : m_bytes(bytes) {}

    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        const size_t taken = m_bytes.copy(to, size);
        m_bytes.remove_prefix(taken);
        return static_cast<std::ptrdiff_t>(taken);
    }

private:
    std::string_view m_bytes;
};

std::unique_ptr<Source> decompressed(std::unique_ptr<Source> source) {
    if (!isGzip(source->front(3))) return source;
    return std::make_unique<Source>(unzipped(std::move(source)));
}

}  // namespace

// RFC 1952 2.3.1, with the only method there is.
bool isGzip(std::string_view front) { return front.starts_with("\x1F\x8B\x08"); }

std::ptrdiff_t Source::read(char* to, size_t size) noexcept {
    if (m_front.empty()) return m_last > 0 ? m_last = m_from->read(to, size) : m_last;
    const size_t taken = m_front.copy(to, size);
    m_front.erase(0, taken);
    return static_cast<std::ptrdiff_t>(taken);
}

std::string_view Source::front(size_t size) {
    while (m_front.size() < size && m_last > 0) {
        char piece[4096];
        m_last = m_from->read(piece, std::min(sizeof piece, size - m_front.size()));
        if (m_last > 0) m_front.append(piece, static_cast<size_t>(m_last));
    }
    return std::string_view(m_front).substr(0, size);
}

const char* Source::error() const {
    if (m_last >= 0) return nullptr;
    switch (const int error = static_cast<int>(-m_last)) {
        case kGzipDamaged: return "damaged gzip data";
        case kGzipBomb: return "a message in gzip data that grows more than a hundredfold";
        case kGzipUnknown: return "gzip data, and this mimetree was built without zlib";
        default: return std::strerror(error);
    }
}

const char* Source::readAll(std::string& bytes) {
    if (m_expected > kLargest) return "larger than 4 GiB";
    bytes.reserve(static_cast<size_t>(m_expected) + kReadSize);
    while (bytes.size() <= kLargest) {
        const size_t size = bytes.size();
        bytes.resize(size + kReadSize);
        const std::ptrdiff_t got = read(bytes.data() + size, kReadSize);
        bytes.resize(size + static_cast<size_t>(std::max<std::ptrdiff_t>(got, 0)));
        if (got <= 0) return error();
    }
    return "larger than 4 GiB";
}

std::unique_ptr<Source> openSource(const std::string& path, std::atomic<uint64_t>* counter) {
    const int fd = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat info;
    const bool isSized = fd != STDIN_FILENO && fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    const uint64_t size = isSized ? static_cast<uint64_t>(info.st_size) : 0;
    return decompressed(std::make_unique<Source>(std::make_unique<FileSource>(fd, counter), size));
}

std::unique_ptr<Source> sourceOf(std::string_view bytes) {
    auto source = std::make_unique<MemorySource>(bytes);
    return decompressed(std::make_unique<Source>(std::move(source), bytes.size()));
}
