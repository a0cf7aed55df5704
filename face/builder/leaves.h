// SPDX-License-Identifier: Apache-2.0
#pragma once

// New nodes of a message: texts, files, and the multiparts around them.

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mime/MimeMessage2.h"

namespace mimetree::inner {

using NodePtr = std::unique_ptr<MimeMessage2>;
using Nodes = std::vector<NodePtr>;

inline std::string_view viewOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// How a text is wanted; what is empty is chosen by the text.
struct TextForm {
    std::string charset;
    std::string coding;
};

struct File {
    std::string_view bytes;
    std::string name;  // may be empty
    std::string type;  // empty: by the name
    const char* disposition;
    std::string contentId = {};  // with its brackets, or empty
};

// Fail for a name that is not known.
_zqCharset charsetOf(std::string_view name);
std::string codingOf(std::string_view name);

DataBuffer fileBytes(const std::string& path);

NodePtr newNode();

// Sets body, charset and coding of a leaf.  `text` is UTF-8; its line ends become CRLF and a
// byte order mark in front goes.  A charset that cannot hold it gives way to utf-8.
void setLeafText(MimeMessage2& leaf, std::string_view text, const char* type, const TextForm& form);

// For a message of which no part is left.
void makeEmptyText(MimeMessage2& root);

NodePtr fileLeaf(const File& file);

// An attachment.  Its name is the path's last piece unless given, made a line of text.
NodePtr attachedFile(const std::string& path, std::string_view name, std::string_view type);
NodePtr attachedFile(std::span<const std::byte> bytes, std::string_view name,
                     std::string_view type);

// Null for none, and a single part as it is.
using NewMultipart = void (MimeMessage2::*)(LogBase&);
NodePtr wrapped(Nodes parts, NewMultipart newMultipart);

// The path's last piece, made a line of text.
std::string fileNameOf(const std::string& path);

}  // namespace mimetree::inner
