// SPDX-License-Identifier: Apache-2.0
#pragma once

// File names out of mail, made fit to be created in a directory.

#include <string>
#include <string_view>

namespace mimetree::inner {

// What is left of a name when it may say nothing but the name of a file: no directories, drive
// or device, no control or bidi characters, valid UTF-8, no dot or dash at the start, no blanks
// or dots at the end.  Empty when nothing is left.
std::string safeName(std::string_view name);

// Cuts a name to what file systems take, in front of its extension and never within a UTF-8
// character, with `suffix` before the extension: "name (2).ext".
std::string fittedName(std::string_view name, std::string_view suffix);

// Ignores the case of ASCII letters.
bool hasExtension(std::string_view name, std::string_view extension);

}  // namespace mimetree::inner
