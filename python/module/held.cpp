// SPDX-License-Identifier: Apache-2.0
// Between C++ and Python: errors, texts, bytes and paths.

#include "python/module/held.h"

namespace mimetree::python {

namespace {

template <class Object>
Object made(PyObject* object) {
    if (!object) throw py::error_already_set();
    return py::reinterpret_steal<Object>(object);
}

}  // namespace

void raise(const Error& error) {
    const py::object error_of = py::module_::import("mimetree.errors").attr("_error_of");
    const py::object exception = error_of(static_cast<int>(error.code()), path_text(error.message()));
    PyErr_SetObject(py::type::of(exception).ptr(), exception.ptr());
    throw py::error_already_set();
}

py::str text(std::string_view utf8) {
    return made<py::str>(
        PyUnicode_DecodeUTF8(utf8.data(), static_cast<py::ssize_t>(utf8.size()), "replace"));
}

py::bytes bytes(std::string_view data) { return py::bytes(data.data(), data.size()); }

std::string utf8(const py::str& text) {
    py::ssize_t size = 0;
    const char* data = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
    if (!data) throw py::error_already_set();
    return std::string(data, static_cast<size_t>(size));
}

std::string path(const py::object& path) {
    PyObject* encoded = nullptr;
    if (!PyUnicode_FSConverter(path.ptr(), &encoded)) throw py::error_already_set();
    return std::string(bytes_of(py::reinterpret_steal<py::bytes>(encoded)));
}

py::str path_text(std::string_view path) {
    return made<py::str>(PyUnicode_DecodeFSDefaultAndSize(path.data(),
                                                          static_cast<py::ssize_t>(path.size())));
}

std::string_view bytes_of(const py::bytes& data) {
    return {PyBytes_AS_STRING(data.ptr()), static_cast<size_t>(PyBytes_GET_SIZE(data.ptr()))};
}

}  // namespace mimetree::python
