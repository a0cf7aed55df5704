// SPDX-License-Identifier: Apache-2.0

// An mbox of any kind: however its bytes come in, the same messages come out, and each byte of the
// file belongs to one of them.

#include <algorithm>
#include <memory>
#include <string_view>

#include "face/mailbox/separator.h"
#include "laws.h"
#include "mimetree/mailbox.hpp"

namespace {

class Pieces final : public mimetree::ByteSource {
public:
    Pieces(std::string_view text, size_t piece) : m_text(text), m_piece(piece) {}
    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        const size_t n = m_text.copy(to, std::min(size, m_piece));
        m_text.remove_prefix(n);
        return static_cast<std::ptrdiff_t>(n);
    }

private:
    std::string_view m_text;
    const size_t m_piece;
};

// The messages, a line end behind each.
std::string messagesOf(std::string_view text, mimetree::MboxKind kind, size_t piece) {
    auto box = mimetree::Mbox::from(std::make_unique<Pieces>(text, piece), "box", kind);
    if (!box) return "";
    std::string all;
    uint64_t next = mimetree::inner::inFrontOfMbox(text);
    for (const mimetree::RawMessage& raw : *box) {
        require(raw.offset == next, "a message begins where the last one ended");
        require(raw.from_line.size() + raw.bytes.size() <= raw.size, "a message is in its place");
        next += raw.size;
        all.append(raw.from_line).append("\n").append(raw.bytes) += '\n';
    }
    require(box->ok() && next == text.size(), "the messages cover the file");
    return all;
}

}  // namespace

FUZZ_TARGET(mbox_fuzz) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (int kind = 0; kind <= 4; ++kind) {
        const auto asKind = static_cast<mimetree::MboxKind>(kind);
        require(messagesOf(text, asKind, 1 + size % 7) == messagesOf(text, asKind, size + 1),
                "pieces do not matter");
    }
}
