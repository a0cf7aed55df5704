// SPDX-License-Identifier: Apache-2.0
#pragma once

// What stands behind the handles of the C interface, and how answers cross over.

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "face/message/tree.h"
#include "face/result/attempt.h"
#include "mimetree/mimetree.h"
#include "mimetree/mimetree.hpp"

struct mt_message {
    mimetree::Message message;
};
struct mt_findings {
    std::vector<mimetree::Finding> list;
};
struct mt_builder {
    mimetree::Builder builder;
    mt_code fault = MT_OK;  // why something could not be handed on to it
    const char* reason = "";
};
struct mt_mbox {
    mimetree::Mbox box;
};
struct mt_mbox_writer {
    mimetree::MboxWriter writer;
};
struct mt_maildir {
    mimetree::Maildir box;
};

namespace mimetree::inner::c {

// Keeps the reason for mt_last_error().
mt_code remember(mt_code code, std::string_view reason) noexcept;
mt_code remember(const Error& error) noexcept;
mt_code refuseNull() noexcept;
mt_code rememberNoMemory() noexcept;

inline mt_code codeOf(const Result<void>& done) noexcept {
    return done ? MT_OK : remember(done.error());
}

inline std::string_view orEmpty(const char* text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}
// What has no bytes may be NULL, as mt_part_bytes() gives it; what has some may not.
inline const void* givenBytes(const void* bytes, size_t size) noexcept {
    return bytes || size != 0 ? bytes : "";
}
inline std::span<const std::byte> bytesOf(const void* bytes, size_t size) noexcept {
    return {static_cast<const std::byte*>(bytes), size};
}

// The tree's own copy, which has a NUL behind it, and none in it unless its size is told.
const char* lend(Tree& tree, std::string_view text, size_t* size = nullptr) noexcept;
const char* lend(Tree& tree, const std::optional<std::string_view>& text,
                 size_t* size = nullptr) noexcept;
const void* lend(std::span<const std::byte> bytes, size_t* size) noexcept;

// A copy for the caller, with a NUL behind it.
char* give(const Result<std::string>& made, size_t* size = nullptr) noexcept;

// A new handle for the caller.
template <class Handle, class T>
Handle* give(Result<T>&& made) noexcept {
    if (!made) return remember(made.error()), nullptr;
    Handle* const handle = new (std::nothrow) Handle{std::move(*made)};
    if (!handle) rememberNoMemory();
    return handle;
}

// The handle of a part is its place in the list that its message keeps, so a part has but one.
inline const Part* partOf(const mt_part* handle) noexcept {
    return reinterpret_cast<const Part*>(handle);
}
inline const mt_part* handleOf(const Part& part) noexcept {
    Tree& tree = Tree::of(part);
    const Parts all = tree.answer([&] { return tree.parts(); });
    const size_t i = Tree::indexOf(part);
    return i < all.size() ? reinterpret_cast<const mt_part*>(&all[i]) : nullptr;
}
inline const mt_part* handleOf(const std::optional<Part>& part) noexcept {
    return part ? handleOf(*part) : nullptr;
}
inline const mt_part* handleOf(Parts parts, size_t i) noexcept {
    return i < parts.size() ? handleOf(parts[i]) : nullptr;
}

}  // namespace mimetree::inner::c
