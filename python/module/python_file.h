// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files of Python's: what reading and writing them raises, and their names.

#include <optional>
#include <utility>

#include "python/module/held.h"

namespace mimetree::python {

// What a file of Python's raised, which the library knows as an error number only.
class Raised {
public:
    // Calls `f`, with Python's lock held; false where it raised.
    template <class F>
    bool attempt(F&& f) noexcept {
        py::gil_scoped_acquire python;
        try {
            f();
            return true;
        } catch (py::error_already_set& error) {
            m_error.emplace(error);
        } catch (...) {
        }
        return false;
    }

    // Raises it, or else the error.
    [[noreturn]] void fail(const Error& error) {
        if (m_error) throw *std::exchange(m_error, std::nullopt);
        raise(error);
    }

private:
    std::optional<py::error_already_set> m_error;
};
using RaisedPtr = std::shared_ptr<Raised>;

inline std::string fileName(const py::object& file) {
    return utf8(py::str(py::getattr(file, "name", py::str(""))));
}

}  // namespace mimetree::python
