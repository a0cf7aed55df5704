// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files within a part that are no parts themselves.

#include <string>
#include <string_view>
#include <vector>

#include "mimetree/message.hpp"

struct ContainedFile {
    std::string_view how;  // for people
    std::string name;      // safe
    std::string bytes;
};

// Those in uuencode in a text, or in a winmail.dat.
std::vector<ContainedFile> containedFiles(const mimetree::Part& part);
