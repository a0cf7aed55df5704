// SPDX-License-Identifier: Apache-2.0
#pragma once

// The work that is measured: load a mail with every leaf decoded, messages inside messages
// opened as well, and count the decoded bytes.

#include <strings.h>

#include <cstdint>
#include <vector>

#include "foundation/DataBuffer.h"
#include "foundation/LogNull.h"
#include "mime/MimeMessage2.h"

inline bool loadBytes(MimeMessage2& node, const char* data, unsigned size) {
    LogNull log;
    StringBuffer clue;
    return node.loadMimeComplete2(data, size, /*lenientLineEndings*/ false, clue, log,
                                  /*inputIsUtf8*/ false);
}

// Limit: messages are opened this deep within one another, since each is a copy of what is left.
constexpr int kMaxOpened = 100;

// A list instead of recursion: some of the mails are nested more deeply than a stack allows.
inline uint64_t loadAndWalk(const char* data, size_t size) {
    struct Message {
        int level;
        DataBuffer text;
    };
    uint64_t decoded = 0;
    std::vector<Message> messages;
    std::vector<MimeMessage2*> open;
    for (int level = 0;;) {
        DataBuffer text;
        if (level) {
            text.takeData(messages.back().text);
            messages.pop_back();
            data = reinterpret_cast<const char*>(text.getData2());
            size = text.getSize();
        }
        MimeMessage2 root;
        if (loadBytes(root, data, static_cast<unsigned>(size))) open.push_back(&root);
        while (!open.empty()) {
            MimeMessage2& node = *open.back();
            open.pop_back();
            for (int i = node.getNumParts(); i-- > 0;) open.push_back(node.getPart(i));
            if (node.getNumParts()) continue;
            const char* const type = node.getContentType();
            if (level < kMaxOpened && type && strncasecmp(type, "message/rfc822", 14) == 0) {
                LogNull log;
                messages.push_back({level + 1, {}});
                node.extractMimeBody(messages.back().text, log);
            } else {
                decoded += node.getMimeBodyDb().getSize();
            }
        }
        if (messages.empty()) return decoded;
        level = messages.back().level;
    }
}
