// SPDX-License-Identifier: Apache-2.0
// mimetree.MboxWriter.

#include <cerrno>
#include <utility>

#include "python/module/message.h"
#include "python/module/python_file.h"

namespace mimetree::python {

namespace {

// A file of Python's: whatever has write().
class PythonSink final : public ByteSink {
public:
    PythonSink(const py::object& file, RaisedPtr raised)
        : m_write(file.attr("write")), m_raised(std::move(raised)) {}
    ~PythonSink() override {
        py::gil_scoped_acquire python;
        m_write = py::object();
    }

    int write(std::string_view data) noexcept override {
        return m_raised->attempt([&] { writeAll(data); }) ? 0 : EIO;
    }

private:
    // An unbuffered file may take less than it is given.
    void writeAll(std::string_view data) const {
        while (!data.empty()) {
            const py::object taken = m_write(bytes(data));
            const size_t size = py::isinstance<py::int_>(taken) ? taken.cast<size_t>() : 0;
            if (size == 0 || size > data.size()) {
                PyErr_SetString(PyExc_OSError, "write() took nothing, or more than it was given");
                throw py::error_already_set();
            }
            data.remove_prefix(size);
        }
    }

    py::object m_write;
    const RaisedPtr m_raised;
};

struct Writer : Shared {
    std::optional<MboxWriter> box;  // nothing once it is closed
    RaisedPtr raised = std::make_shared<Raised>();
};
using WriterPtr = std::shared_ptr<Writer>;

WriterPtr openWriter(const py::object& file) {
    auto self = std::make_shared<Writer>();
    self->box = taken(py::hasattr(file, "write")
                          ? MboxWriter::to(std::make_unique<PythonSink>(file, self->raised), fileName(file))
                          : MboxWriter::create(path(file)));
    return self;
}

void add(const Given<Writer>& self, const py::bytes& mail) {
    Turn turn(*self, Turn::For::changing);
    if (!self->box) throw py::value_error("the mbox is closed");
    const std::string_view data = bytes_of(mail);
    const Result<void> done = aside([&] { return self->box->add(data); });
    if (!done) self->raised->fail(done.error());
}

void close(const Given<Writer>& self) {
    Turn turn(*self, Turn::For::changing);
    std::optional<MboxWriter> box = std::exchange(self->box, std::nullopt);
    if (box) taken(aside([&] { return box->close(); }));
}

}  // namespace

void addMboxWriter(py::module_& module) {
    py::class_<Writer, WriterPtr>(
        module, "MboxWriter",
        "Writes an mbox of kind \"rd\", out of which Mbox reads the same bytes again: a new file, which "
        "is not there yet, or into a file in binary mode, which stays open.")
        .def(py::init(&openWriter), py::arg("file"))
        .def("_add", &add)
        .def("close", &close, "The file is whole only when this has not raised; twice does not matter.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](const Given<Writer>& self, const py::args&) { close(self); });
}

}  // namespace mimetree::python
