// SPDX-License-Identifier: Apache-2.0
// The same with what Windows has: a file is only ever created, by the directory's path.

#ifdef _WIN32

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "face/files/directory.h"
#include "face/files/read_file.h"

namespace mimetree::inner {

namespace {

// A text behind which there are no more than an int counts.
int writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto piece = static_cast<unsigned>(std::min<size_t>(bytes.size(), 1u << 30));
        const int done = _write(fd, bytes.data(), piece);
        if (done < 0) return errno;
        bytes.remove_prefix(static_cast<size_t>(done));
    }
    return 0;
}

}  // namespace

Directory::~Directory() = default;

int Directory::make(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directory(pathOf(path), error);
    return error ? error.default_error_condition().value() : 0;
}

int Directory::open(const std::string& path) {
    std::error_code error;
    const std::filesystem::path at = pathOf(path);
    if (!std::filesystem::is_directory(at, error))
        return error ? error.default_error_condition().value() : ENOTDIR;
    m_path = (at / "").wstring();
    return 0;
}

bool Directory::has(const std::string& name) const {
    std::error_code error;
    return !m_path.empty() && std::filesystem::exists(std::filesystem::symlink_status(
                                  m_path + pathOf(name).wstring(), error));
}

int Directory::create(const std::string& name, std::string_view bytes,
                      std::optional<std::chrono::sys_seconds>) {
    const std::wstring path = m_path + pathOf(name).wstring();
    const int fd =
        _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    if (fd < 0) return errno;
    int error = writeAll(fd, bytes);
    if (_close(fd) != 0 && error == 0) error = errno;
    if (error) _wunlink(path.c_str());
    return error;
}

int Directory::move(const std::string& name, const Directory& to, const std::string& newName) {
    const std::wstring from = m_path + pathOf(name).wstring();
    return _wrename(from.c_str(), (to.m_path + pathOf(newName).wstring()).c_str()) == 0 ? 0 : errno;
}

}  // namespace mimetree::inner

#endif
