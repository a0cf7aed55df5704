// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where XML is printed: into a text, or by way of one to whoever takes it in pieces.

#include "foundation/StringBuffer.h"

namespace mimetree::inner {

struct XmlOutput {
    using Take = bool (*)(void* context, const char* piece, unsigned size);

    explicit XmlOutput(StringBuffer& t) : text(t) {}
    XmlOutput(StringBuffer& t, Take taker, void* takersOwn)
        : text(t), take(taker), context(takersOwn) {}

    // Hands on what has gathered, as soon as that is much.
    bool pass() { return !take || text.getSize() < kPiece || passAll(); }

    bool passAll() {
        const bool isTaken = !take || take(context, text.getString(), text.getSize());
        if (take) text.weakClear();
        return isTaken;
    }

    static constexpr unsigned kPiece = 64 * 1024;

    StringBuffer& text;
    const Take take = nullptr;
    void* const context = nullptr;
};

}  // namespace mimetree::inner
