// SPDX-License-Identifier: Apache-2.0
// Reads files for messages, builders and mailboxes.

#include "face/files/read_file.h"

#include <cerrno>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#endif

namespace mimetree::inner {

namespace {

// Limit: the engine counts bytes in 32 bits.
constexpr unsigned kMost = 0xFFFFFFFFu - 1;
constexpr unsigned kReadSize = 1u << 20;

Error outOfMemory(const std::string& path) {
    return Error(Errc::out_of_memory, path + ": out of memory");
}

}  // namespace

OpenFile openFile(const std::string& path) {
    if (const int error = pathError(path)) return errno = error, nullptr;
#ifdef _WIN32
    return OpenFile(_wfopen(pathOf(path).c_str(), L"rb"));
#else
    return OpenFile(std::fopen(path.c_str(), "rbe"));
#endif
}

OpenFile createFile(const std::string& path) {
    if (const int error = pathError(path)) return errno = error, nullptr;
#ifdef _WIN32
    const int fd = _wopen(pathOf(path).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY,
                          _S_IREAD | _S_IWRITE);
    return OpenFile(fd < 0 ? nullptr : _fdopen(fd, "wb"));
#else
    return OpenFile(std::fopen(path.c_str(), "wbxe"));
#endif
}

// The system would take the text in front of the NUL for the path.
int pathError(const std::string& path) { return path.find('\0') == path.npos ? 0 : EINVAL; }

std::filesystem::path pathOf(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

Error systemError(const std::string& path, int error) {
    return Error(Errc::io, path + ": " + std::generic_category().message(error));
}

std::optional<Error> readFile(const std::string& path, DataBuffer& bytes) {
    const OpenFile file = openFile(path);
    if (!file) return systemError(path, errno);
    std::error_code unknown;
    const uint64_t size = std::filesystem::file_size(pathOf(path), unknown);
    if (!unknown && size < kMost && !bytes.reserve(static_cast<unsigned>(size) + kReadSize))
        return outOfMemory(path);
    return readStream(file.get(), path, bytes);
}

std::optional<Error> readStream(std::FILE* stream, const std::string& name, DataBuffer& bytes) {
    std::setvbuf(stream, nullptr, _IONBF, 0);
    for (;;) {
        if (bytes.getSize() > kMost - kReadSize)
            return Error(Errc::too_large, name + ": larger than 4 GiB");
        unsigned char* const to = bytes.extend(kReadSize);
        if (!to) return outOfMemory(name);
        errno = 0;
        const size_t got = std::fread(to, 1, kReadSize, stream);
        bytes.shorten(kReadSize - static_cast<unsigned>(got));
        if (got == kReadSize) continue;
        if (!std::ferror(stream)) return std::nullopt;
        if (errno != EINTR) return systemError(name, errno);
        std::clearerr(stream);
    }
}

}  // namespace mimetree::inner
