// SPDX-License-Identifier: Apache-2.0

// Writing a file through the C library.

#include "foundation/base/FileSave.h"

#include <cstdio>

#include "foundation/LogBase.h"

namespace mimetree::inner {

namespace {

bool failedWith(const char* what, const char* path, LogBase* log) {
    if (!log) return false;
    log->logError(what);
    log->logData("path", path);
    return false;
}

}  // namespace

bool saveBytesToFile(const char* path, const void* data, unsigned int size, LogBase* log) {
    if (!path || !*path) return failedWith("No path given to save to.", "", log);
    std::FILE* file = std::fopen(path, "wb");
    if (!file) return failedWith("Failed to create the file.", path, log);
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    const bool closed = std::fclose(file) == 0;
    return (written && closed) || failedWith("Failed to write the file.", path, log);
}

}  // namespace mimetree::inner
