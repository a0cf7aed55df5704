// SPDX-License-Identifier: Apache-2.0
#pragma once

// Result<T>: a value, or the Error that says why there is none.  It has the shape of
// std::expected (C++23), which takes its place when compilers have it.  Nothing here throws:
// value() on a Result without a value prints the error and aborts.

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "mimetree/export.h"

namespace mimetree {

// The kind of a failure.
enum class Errc {
    out_of_memory = 1,  // the message is as it was
    io,                // a file could not be opened, read, made or written; the text has the reason
    not_mail,          // empty, or bytes that are no message: a picture, a program
    is_mbox,           // many messages in one file: Mbox reads them
    too_large,         // 4 GiB and more
    not_found,         // no such part, header field or file in the message
    invalid_argument,  // what was asked for cannot be written so that a strict reader takes it
    damaged,           // strict parsing was asked for, and a boundary is missing
};

// Why something failed.
class MIMETREE_API Error {
public:
    // `message` is one line of UTF-8 for people.
    Error(Errc code, std::string_view message) noexcept;

    // What it was made of.
    Errc code() const noexcept { return m_code; }
    const std::string& message() const noexcept { return m_message; }

private:
    Errc m_code;
    std::string m_message;
};

namespace detail {
// Prints the error on standard error and aborts.
[[noreturn]] MIMETREE_API void fail_unchecked(const Error& error) noexcept;
}  // namespace detail

template <class T>
class [[nodiscard]] Result {
public:
    // As in std::expected.
    using value_type = T;
    using error_type = Error;

    // Of either; so that a function says `return value;` and `return error;`.
    Result(T value) noexcept : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) noexcept : m_state(std::in_place_index<1>, std::move(error)) {}

    // Whether there is a value.
    bool has_value() const noexcept { return m_state.index() == 0; }
    explicit operator bool() const noexcept { return has_value(); }

    // The value; without one, the error is printed and the program aborted.
    T& value() & noexcept { return checked(); }
    const T& value() const& noexcept { return const_cast<Result*>(this)->checked(); }
    T&& value() && noexcept { return std::move(checked()); }

    // The same.
    T& operator*() & noexcept { return checked(); }
    const T& operator*() const& noexcept { return value(); }
    T&& operator*() && noexcept { return std::move(checked()); }
    T* operator->() noexcept { return &checked(); }
    const T* operator->() const noexcept { return &value(); }

    // The error; only of a Result without a value.
    const Error& error() const noexcept { return *std::get_if<1>(&m_state); }

    // The value, or else the other one.
    template <class U>
    T value_or(U&& other) const& {
        return has_value() ? value() : static_cast<T>(std::forward<U>(other));
    }
    template <class U>
    T value_or(U&& other) && {
        return has_value() ? std::move(checked()) : static_cast<T>(std::forward<U>(other));
    }

    // What `f`, which gives a Result, makes of the value; or the error.
    template <class F>
    auto and_then(F&& f) && -> std::invoke_result_t<F, T&&> {
        if (!has_value()) return error();
        return std::forward<F>(f)(std::move(checked()));
    }
    // What `f` makes of the value, as a Result; or the error.
    template <class F>
    auto transform(F&& f) && -> Result<std::invoke_result_t<F, T&&>> {
        if (!has_value()) return error();
        return std::forward<F>(f)(std::move(checked()));
    }

private:
    T& checked() noexcept {
        if (!has_value()) detail::fail_unchecked(error());
        return *std::get_if<0>(&m_state);
    }

    std::variant<T, Error> m_state;
};

// Whether something was done, or why not.
template <>
class [[nodiscard]] Result<void> {
public:
    // As in std::expected.
    using value_type = void;
    using error_type = Error;

    // Done; or not, and why.
    Result() noexcept = default;
    Result(Error error) noexcept : m_error(std::in_place_index<1>, std::move(error)) {}

    // Whether it was done.
    bool has_value() const noexcept { return m_error.index() == 0; }
    explicit operator bool() const noexcept { return has_value(); }
    // Prints the error and aborts where it was not done.
    void value() const noexcept {
        if (!has_value()) detail::fail_unchecked(error());
    }
    // The error; only where it was not done.
    const Error& error() const noexcept { return *std::get_if<1>(&m_error); }

private:
    std::variant<std::monostate, Error> m_error;
};

}  // namespace mimetree
