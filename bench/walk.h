// SPDX-License-Identifier: Apache-2.0
#pragma once

// The work that is measured: load a mail with every leaf decoded, messages inside messages
// opened as well, and count the decoded bytes.

#include <strings.h>

#include <cstdint>
#include <vector>

#include "foundation/LogNull.h"
#include "mime/MimeMessage2.h"

inline bool loadBytes(MimeMessage2& node, const char* data, unsigned size) {
    LogNull log;
    StringBuffer clue;
    return node.loadMimeComplete2(data, size, /*lenientLineEndings*/ false, clue, log,
                                  /*inputIsUtf8*/ false);
}

// Limit: messages are opened this deep within one another.  Each is a copy of what is left.
constexpr int kMaxOpened = 100;

// No recursion over parts: some of the mails are nested more deeply than a stack allows.
inline uint64_t loadAndWalk(const char* data, size_t size, int level = 0) {
    MimeMessage2 root;
    if (!loadBytes(root, data, static_cast<unsigned>(size))) return 0;
    uint64_t decoded = 0;
    std::vector<const MimeMessage2*> open{&root};
    while (!open.empty()) {
        const MimeMessage2& node = *open.back();
        open.pop_back();
        for (int i = node.getNumParts(); i-- > 0;) open.push_back(node.getPart(i));
        if (node.getNumParts()) continue;
        const DataBuffer& body = node.getMimeBodyDb();
        const char* const type = node.getContentType();
        if (level < kMaxOpened && type && strncasecmp(type, "message/rfc822", 14) == 0)
            decoded += loadAndWalk(reinterpret_cast<const char*>(body.getData2()), body.getSize(),
                                   level + 1);
        else decoded += body.getSize();
    }
    return decoded;
}
