// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files that stand within a plain text in uuencode, as they did before there was MIME:
//
//     begin 644 plan.pdf
//     (lines of encoded bytes)
//     end

#include <string>
#include <string_view>
#include <vector>

#include "mimetree/message.hpp"

namespace mimetree {

// One of them.
struct EmbeddedFile {
    std::string name;   // as safe as Part::name()
    std::string bytes;  // decoded
    // From its begin line through the end of its last: within Part::text(), which keeps them.
    std::string_view lines;
};

// Those in the text of a part, in their order; none in what is no plain text, or is a file itself.
MIMETREE_API Result<std::vector<EmbeddedFile>> embedded_files(const Part& part) noexcept;

}  // namespace mimetree
