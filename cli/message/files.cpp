// SPDX-License-Identifier: Apache-2.0

#include "cli/message/files.h"

#include <new>

#include "cli/message/contained.h"

namespace {

// Text that is shown may be a file besides.  A multipart without parts is a damaged container, and
// its text nobody's file.
bool isFile(const mimetree::Part& part) {
    if (part.is_body()) return part.disposition() == "inline" && !part.declared_name().empty();
    return !part.is_multipart();
}

template <class T>
T orOutOfMemory(mimetree::Result<T> result) {
    if (!result) throw std::bad_alloc();
    return *std::move(result);
}

}  // namespace

void forEachFile(const mimetree::Part& part, Wanted wanted, const std::function<void(File)>& take) {
    if (!part.children().empty()) return;
    if (wanted == Wanted::AllLeaves || isFile(part))
        take({part.type(), std::string(part.name()), orOutOfMemory(part.file_bytes())});
    for (ContainedFile& file : containedFiles(part))
        take({"application/octet-stream", std::move(file.name), std::move(file.bytes)});
}
