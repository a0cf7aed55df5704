// SPDX-License-Identifier: Apache-2.0
// A part as a file: what it may be called, and its bytes.

#include "face/files/folder.h"
#include "face/files/read_file.h"
#include "face/files/safe_name.h"
#include "face/message/tree.h"
#include "face/message/uuencode.h"
#include "foundation/charset/code_pages.h"
#include "foundation/zqMimeTypes.h"

namespace mimetree {

namespace {

namespace codepage = inner::codepage;

std::string_view extensionFor(std::string_view type) {
    if (type == "message/global") return "eml";
    for (int i = 0; *zqMimeContentType(i + 1); i += 2)
        if (zqMimeContentType(i) == type) return zqMimeContentType(i + 1);
    return type.starts_with("text/") ? "txt" : "bin";
}

// Text and XML are stored as UTF-8, everything else as it came; so is text that holds zero bytes
// unless a transfer coding hid them or its charset has them.
bool isStoredAsUtf8(const Part& part) {
    const std::string_view type = part.type(), coding = part.encoding();
    if (!part.is_text() && type.find("application/xml") == type.npos) return false;
    const int codePage = part.node().getCharsetCodePage();
    return codePage == codepage::kUtf16LE || codePage == codepage::kUtf16BE || coding == "base64" ||
           coding == "quoted-printable" || !part.node().getMimeBodyDb().containsChar('\0');
}

// Kept on purpose: US-ASCII is ISO-8859-1, so that no byte is lost.
int codePageFor(const Part& part) {
    if (!isStoredAsUtf8(part)) return codepage::kNone;
    const int codePage = part.node().getCharsetCodePage();
    return codePage == codepage::kAscii ? codepage::kLatin1 : codePage;
}

}  // namespace

Result<std::string> Part::file_bytes() const noexcept {
    return inner::attempt([&]() -> Result<std::string> {
        if (inner::isUuencoded(node())) {
            const std::span<const std::byte> decoded = this->bytes();
            return std::string(reinterpret_cast<const char*>(decoded.data()), decoded.size());
        }
        DataBuffer bytes;
        node().getMimeBody8Bit(bytes, codePageFor(*this), m_tree->m_log);
        return std::string(view(bytes));
    });
}

std::string_view Part::name() const noexcept {
    return m_tree
        ->text(Tree::Kind::Name, m_index, {},
               [&] {
                   std::string name = inner::safeName(declared_name());
                   if (name.empty())
                       name = "part-" + std::to_string(m_tree->slots()[m_index].leaf) + "." +
                              std::string(extensionFor(type()));
                   else if (is_message() && !inner::hasExtension(name, "eml")) name += ".eml";
                   return std::optional(inner::fittedName(name, ""));
               })
        .value_or(std::string_view());
}

Result<std::string> Part::save(const std::string& directory) const noexcept {
    return inner::attempt([&]() -> Result<std::string> {
        const Result<std::string> bytes = file_bytes();
        if (!bytes) return bytes.error();
        std::string file(name());
        if (file.empty()) throw std::bad_alloc();
        inner::Folder folder(directory, inner::Folder::Mode::Write);
        if (folder.error()) return inner::systemError(directory, folder.error());
        const int error = folder.save(file, *bytes);
        const std::string path = directory + (directory.ends_with('/') ? "" : "/") + file;
        if (error) return inner::systemError(path, error);
        return path;
    });
}

}  // namespace mimetree
