// SPDX-License-Identifier: Apache-2.0
#pragma once

// How the making and changing of messages fails: what goes wrong inside is thrown, and leaves
// the face as an Error.

#include <exception>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "foundation/bytes/MemoryWatch.h"
#include "mimetree/result.hpp"

namespace mimetree::inner {

struct Failure {
    Errc code;
    std::string text;
};

[[noreturn]] inline void fail(std::string text, Errc code = Errc::invalid_argument) {
    throw Failure{code, std::move(text)};
}

// The engine goes on when memory is refused: what it made then is not to be used.
inline void throwIfRefused(const MemoryWatch& memory) {
    if (memory.wasRefused()) throw std::bad_alloc();
}

inline Error outOfMemory() { return Error(Errc::out_of_memory, "out of memory"); }

// A copy, which may lose its text where memory runs out.
inline Error copyOf(const Error& error) { return Error(error.code(), error.message()); }

// What `work` answers, or why it did not come to an end.
template <class Work>
auto answerOf(Work&& work) noexcept -> Result<std::invoke_result_t<Work>> {
    try {
        const MemoryWatch memory;
        if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
            work();
            throwIfRefused(memory);
            return {};
        } else {
            auto made = work();
            throwIfRefused(memory);
            return made;
        }
    } catch (const Failure& failure) {
        return Error(failure.code, failure.text);
    } catch (const std::exception&) {
        return outOfMemory();
    }
}

}  // namespace mimetree::inner
