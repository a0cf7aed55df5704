// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a part has in it that a reader offers as files, or shows within a text.

#include <functional>
#include <string>

#include "mimetree/message.hpp"

struct File {
    std::string_view type;
    std::string name;   // safe
    std::string bytes;  // text in its own charset
};

enum class Wanted { Files, AllLeaves };

// The part itself, and those contained in it.
void forEachFile(const mimetree::Part& part, Wanted wanted, const std::function<void(File)>& take);
