// SPDX-License-Identifier: Apache-2.0
// What result.hpp leaves to the library: the error's text and the end of a program that took a
// value which is not there.

#include "mimetree/result.hpp"

#include <cstdio>
#include <cstdlib>

namespace mimetree {

// An error is made where memory has run out as well; then its code must do.
Error::Error(Errc code, std::string_view message) noexcept : m_code(code) {
    try {
        m_message = message;
    } catch (...) {
        m_message.clear();
    }
}

void detail::fail_unchecked(const Error& error) noexcept {
    std::fprintf(stderr, "mimetree: a result without a value was used: %s\n",
                 error.message().c_str());
    std::abort();
}

}  // namespace mimetree
