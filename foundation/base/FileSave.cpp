// SPDX-License-Identifier: Apache-2.0

// Writing a file through the C library.

#include "foundation/base/FileSave.h"

#include <cstdio>
#include <cstring>

#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/charset/code_pages.h"

namespace mimetree::inner {

namespace {

#ifdef _WIN32
// The system takes names of bytes in the code page of the day, which is hardly ever UTF-8.
std::FILE* create(const char* path) {
    DataBuffer wide;
    LogNull silent;
    const unsigned size = static_cast<unsigned>(std::strlen(path)) + 1;
    const bool isMade = EncodingConvert::EncConvert(
        codepage::kUtf8, codepage::kUtf16LE, reinterpret_cast<const unsigned char*>(path), size,
        wide, silent);
    return isMade ? _wfopen(reinterpret_cast<const wchar_t*>(wide.getData2()), L"wb") : nullptr;
}
#else
std::FILE* create(const char* path) { return std::fopen(path, "wb"); }
#endif

bool failedWith(const char* what, const char* path, LogBase* log) {
    if (!log) return false;
    log->logError(what);
    log->logData("path", path);
    return false;
}

}  // namespace

bool saveBytesToFile(const char* path, const void* data, unsigned int size, LogBase* log) {
    if (!path || !*path) return failedWith("No path given to save to.", "", log);
    std::FILE* file = create(path);
    if (!file) return failedWith("Failed to create the file.", path, log);
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    const bool closed = std::fclose(file) == 0;
    return (written && closed) || failedWith("Failed to write the file.", path, log);
}

}  // namespace mimetree::inner
