// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the classes of the Python module share: whose turn it is at an object, what becomes of
// errors, and texts and bytes as Python has them.

#include <pybind11/pybind11.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

#include "mimetree/mimetree.hpp"

namespace mimetree::python {

namespace py = pybind11;

// Raises the class of mimetree.errors that stands for the error.
[[noreturn]] void raise(const Error& error);

template <class T>
T taken(Result<T> result) {
    if (!result) raise(result.error());
    if constexpr (!std::is_void_v<T>) return std::move(*result);
}

// What `f`, which touches nothing of Python's, gives; other threads run meanwhile.
template <class F>
auto aside(F&& f) {
    py::gil_scoped_release others;
    return f();
}

// UTF-8; bytes that are none become U+FFFD.
py::str text(std::string_view utf8);
py::bytes bytes(std::string_view data);

// Of a str: its UTF-8.
std::string utf8(const py::str& text);
// Of a str, bytes or os.PathLike.
std::string path(const py::object& path);
// Of a path as str.
py::str path_text(std::string_view path);
// The bytes of an object with a buffer, which stay the object's.
std::string_view bytes_of(const py::bytes& data);

// An argument that is an object of that class: neither None, for which pybind11 gives a null pointer,
// nor an object whose constructor was not called, for which it gives a reference to memory that nobody
// wrote.
template <class T>
struct Given : std::shared_ptr<T> {};

class Turn;

// An object that one thread at a time uses.
class Shared {
public:
    Shared() = default;
    Shared(const Shared&) = delete;

private:
    friend class Turn;
    std::recursive_mutex m_mutex;
    int m_depth = 0;
};

// A thread's turn at an object.  It may wait for others to end theirs, and lets Python go on then.
// A finaliser may look at an object while the same thread does; only one of them may change it.
class Turn {
public:
    enum class For { looking, changing };

    explicit Turn(Shared& shared, For what = For::looking) : m_lock(shared.m_mutex, std::try_to_lock) {
        if (!m_lock) aside([&] { m_lock.lock(); });
        if (what == For::changing && shared.m_depth > 0)
            throw std::runtime_error("this object is in use by the function that calls this one");
        m_depth = &++shared.m_depth;
    }
    ~Turn() { --*m_depth; }
    Turn(const Turn&) = delete;

private:
    std::unique_lock<std::recursive_mutex> m_lock;
    int* m_depth = nullptr;
};

}  // namespace mimetree::python

namespace pybind11::detail {

template <class T>
struct type_caster<mimetree::python::Given<T>> {
    using Holder = make_caster<std::shared_ptr<T>>;
    PYBIND11_TYPE_CASTER(mimetree::python::Given<T>, Holder::name);

    bool load(handle source, bool convert) {
        Holder holder;
        if (source.is_none() || !holder.load(source, convert)) return false;
        static_cast<std::shared_ptr<T>&>(value) = cast_op<std::shared_ptr<T>>(holder);
        return true;
    }
};

}  // namespace pybind11::detail
