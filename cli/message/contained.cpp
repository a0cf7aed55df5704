// SPDX-License-Identifier: Apache-2.0

#include "cli/message/contained.h"

#include <new>

#include "cli/message/tnef.h"
#include "face/files/safe_name.h"
#include "face/message/tnef.h"
#include "mimetree/embedded.hpp"

namespace inner = mimetree::inner;

namespace {

std::vector<ContainedFile> winmailFiles(const mimetree::Part& part) {
    std::vector<ContainedFile> found;
    const std::string_view container(reinterpret_cast<const char*>(part.bytes().data()),
                                     part.bytes().size());
    for (TnefFile& file : tnefFiles(container)) {
        std::string name = inner::safeName(file.name);
        if (name.empty()) name = "file-" + std::to_string(found.size() + 1) + ".bin";
        found.push_back({"in winmail.dat", inner::fittedName(name, ""), std::move(file.bytes)});
    }
    return found;
}

}  // namespace

std::vector<ContainedFile> containedFiles(const mimetree::Part& part) {
    if (inner::isTnef(part)) return winmailFiles(part);
    std::vector<ContainedFile> found;
    auto files = mimetree::embedded_files(part);
    if (!files) throw std::bad_alloc();
    for (mimetree::EmbeddedFile& file : *files)
        found.push_back({"uuencoded", std::move(file.name), std::move(file.bytes)});
    return found;
}
