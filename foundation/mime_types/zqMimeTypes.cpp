// SPDX-License-Identifier: Apache-2.0

// The table of content types and file-name extensions, and the two ways into it: by index,
// for whoever walks it, and by extension.  Attachments are named and typed through both.

#include "foundation/zqMimeTypes.h"

#include <string_view>

#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

struct MimeType {
    const char* type;
    std::string_view extension;
};

// Each extension occurs once; the first row of a type has the extension to prefer for it.
constexpr MimeType kMimeTypes[] = {
#include "foundation/mime_types/mime_types.inc"
};
constexpr int kCount = sizeof kMimeTypes / sizeof kMimeTypes[0];

}  // namespace

const char* zqMimeContentType(int index) {
    if (index < 0 || index / 2 >= kCount) return "";
    const MimeType& row = kMimeTypes[index / 2];
    return index % 2 == 0 ? row.type : row.extension.data();
}

const char* zqExtensionToContentType(const char* extension) {
    std::string_view wanted = extension ? extension : "";
    if (wanted.starts_with('.')) wanted.remove_prefix(1);
    for (const MimeType& row : kMimeTypes)
        if (row.extension.size() == wanted.size() &&
            bytes::equalIgnoreCase(row.extension.data(), wanted.data(), wanted.size()))
            return row.type;
    return "application/octet-stream";
}
