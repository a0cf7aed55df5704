// SPDX-License-Identifier: Apache-2.0
// The C interface: the last failure of a thread, and texts that change hands.

#include "face/c/handles.h"

namespace {

constexpr size_t kLongestError = 1024;
thread_local char lastError[kLongestError];
thread_local mt_code lastCode = MT_OK;

using mimetree::Errc;
constexpr bool isSame(mt_code code, Errc errc) { return int(code) == int(errc); }
static_assert(isSame(MT_OUT_OF_MEMORY, Errc::out_of_memory) && isSame(MT_IO, Errc::io) &&
              isSame(MT_NOT_MAIL, Errc::not_mail) && isSame(MT_IS_MBOX, Errc::is_mbox) &&
              isSame(MT_TOO_LARGE, Errc::too_large) && isSame(MT_NOT_FOUND, Errc::not_found) &&
              isSame(MT_INVALID_ARGUMENT, Errc::invalid_argument) &&
              isSame(MT_DAMAGED, Errc::damaged));

}  // namespace

namespace mimetree::inner::c {

// Limit: a longer reason is cut, at a whole character.
mt_code remember(mt_code code, std::string_view reason) noexcept {
    size_t size = std::min(reason.size(), kLongestError - 1);
    if (size < reason.size())
        while (size > 0 && (static_cast<unsigned char>(reason[size]) & 0xC0) == 0x80) --size;
    reason.copy(lastError, size);
    lastError[size] = '\0';
    return lastCode = code;
}

mt_code remember(const Error& error) noexcept {
    return remember(static_cast<mt_code>(error.code()), error.message());
}

mt_code refuseNull() noexcept { return remember(MT_INVALID_ARGUMENT, "NULL was handed in"); }
mt_code rememberNoMemory() noexcept { return remember(MT_OUT_OF_MEMORY, "out of memory"); }

const char* lend(Tree& tree, std::string_view text, size_t* size) noexcept {
    const std::string_view own = size ? tree.terminated(text) : tree.withoutNul(text);
    if (size) *size = own.size();
    return own.data();
}

const char* lend(Tree& tree, const std::optional<std::string_view>& text, size_t* size) noexcept {
    if (text) return lend(tree, *text, size);
    if (size) *size = 0;
    return nullptr;
}

const void* lend(std::span<const std::byte> bytes, size_t* size) noexcept {
    if (size) *size = bytes.size();
    return bytes.empty() ? nullptr : bytes.data();
}

char* give(const Result<std::string>& made, size_t* size) noexcept {
    if (size) *size = 0;
    if (!made) return remember(made.error()), nullptr;
    char* const copy = static_cast<char*>(std::malloc(made->size() + 1));
    if (!copy) return rememberNoMemory(), nullptr;
    std::memcpy(copy, made->c_str(), made->size() + 1);
    if (size) *size = made->size();
    return copy;
}

}  // namespace mimetree::inner::c

const char* mt_last_error(void) { return lastError; }
mt_code mt_last_error_code(void) { return lastCode; }
void mt_free(void* text) { std::free(text); }
const char* mt_version(void) { return MIMETREE_VERSION; }
