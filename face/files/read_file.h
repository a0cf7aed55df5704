// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files and streams read whole, and new ones.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "foundation/DataBuffer.h"
#include "mimetree/result.hpp"

namespace mimetree::inner {

// Appends what the file at the UTF-8 path holds to `bytes`; an error names the path.
std::optional<Error> readFile(const std::string& path, DataBuffer& bytes);

// The same for an open stream, which goes by `name`.
std::optional<Error> readStream(std::FILE* stream, const std::string& name, DataBuffer& bytes);

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

// The file at the UTF-8 path, to be read; null, and errno is set, if it cannot be opened.
OpenFile openFile(const std::string& path);

// A new file at the path, to be written; null, and errno is set, if there is one already, be it a
// link to nowhere, or none can be made.
OpenFile createFile(const std::string& path);

// Why no file can have that path; 0 if one can.
int pathError(const std::string& path);

// Paths are UTF-8 also where the system's own are not.
std::filesystem::path pathOf(const std::string& utf8);

// The reason that errno stands for, with `path` in front.
Error systemError(const std::string& path, int error);

}  // namespace mimetree::inner
