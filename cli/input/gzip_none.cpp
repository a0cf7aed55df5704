// SPDX-License-Identifier: Apache-2.0
// A build without zlib tells gzip and refuses it.

#include "cli/input/gzip.h"

namespace {

class Refusal : public GzipSource {
public:
    std::ptrdiff_t read(char*, size_t) noexcept override { return -kGzipUnknown; }
};

}  // namespace

std::unique_ptr<GzipSource> unzipped(std::unique_ptr<mimetree::ByteSource>) {
    return std::make_unique<Refusal>();
}

std::string_view gzipLibrary() { return {}; }
