// SPDX-License-Identifier: Apache-2.0
#pragma once

// The pictures of a message that its HTML names by their Content-ID (RFC 2392).

#include <map>
#include <string>
#include <string_view>

#include "cli/output/sink.h"
#include "mimetree/message.hpp"

class Pictures {
public:
    // The message outlives this.
    explicit Pictures(const mimetree::Message& message);

    // Writes a data: URI of the picture that "cid:" and this stand for; false where there is
    // none, or where it has been written often enough.
    bool write(std::string_view cid, const Sink& sink);

private:
    struct Picture {
        std::string_view type, bytes;
    };

    std::map<std::string, Picture, std::less<>> m_pictures;
    size_t m_bytesLeft = 0;
};
