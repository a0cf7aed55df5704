// SPDX-License-Identifier: Apache-2.0
// mimetree.Mbox, mimetree.Maildir and mimetree.RawMessage.

#include <cerrno>
#include <optional>
#include <utility>

#include "python/module/message.h"
#include "python/module/python_file.h"

namespace mimetree::python {

namespace {

// -- Where an mbox comes from

// A file of Python's: whatever has read().
class PythonFile : public ByteSource {
public:
    PythonFile(const py::object& file, RaisedPtr raised)
        : m_read(file.attr("read")), m_raised(std::move(raised)) {}
    ~PythonFile() override {
        py::gil_scoped_acquire python;
        m_read = py::object();
    }

    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        std::ptrdiff_t got = 0;
        return m_raised->attempt([&] { got = copy(m_read(size), to, size); }) ? got : -EIO;
    }

private:
    static std::ptrdiff_t copy(const py::object& piece, char* to, size_t size) {
        if (!PyBytes_Check(piece.ptr()) || bytes_of(py::bytes(piece)).size() > size) {
            PyErr_SetString(PyExc_TypeError, "read() gave no bytes, or more than asked for: a file "
                                             "must be opened in binary mode");
            throw py::error_already_set();
        }
        const std::string_view got = bytes_of(py::bytes(piece));
        return static_cast<std::ptrdiff_t>(got.copy(to, size));
    }

    py::object m_read;
    const RaisedPtr m_raised;
};

constexpr std::pair<const char*, MboxKind> kKinds[] = {
    {"automatic", MboxKind::automatic}, {"rd", MboxKind::rd},     {"o", MboxKind::o},
    {"content-length", MboxKind::content_length}, {"none", MboxKind::none}};

MboxKind kindOf(const std::string& name) {
    for (const auto& [known, kind] : kKinds)
        if (name == known) return kind;
    throw py::value_error("no kind of mbox: " + name);
}

const char* nameOf(MboxKind wanted) {
    for (const auto& [name, kind] : kKinds)
        if (wanted == kind) return name;
    return "";
}

// -- A message as it stands in a mailbox

struct Raw {
    py::bytes content, from_line;
    std::string path, flags;
    size_t number;
    uint64_t offset, size;

    explicit Raw(const RawMessage& raw)
        : content(bytes(raw.bytes)),
          from_line(bytes(raw.from_line)),
          path(raw.path),
          flags(raw.flags),
          number(raw.number),
          offset(raw.offset),
          size(raw.size) {}
};

using RawPtr = std::shared_ptr<Raw>;

template <auto Field>
auto of(const Given<Raw>& raw) {
    return (*raw).*Field;
}

HeldPtr parseRaw(const Given<Raw>& raw, bool strict, bool keepSource) {
    return parse(raw->content, borrowing(strict, keepSource));
}

// -- Mailboxes

// Whether its errors are but of files that were left out.
bool isSkipping(const Mbox&) { return false; }
bool isSkipping(const Maildir& box) { return box.skipped() > 0; }

template <class Mailbox>
struct Box : Shared {
    std::optional<Mailbox> box;  // nothing once it is closed
    RaisedPtr raised = std::make_shared<Raised>();
    ParseOptions options;

    // Goes on to the next message, and raises what ends the walk.
    void next() {
        if (!box) throw py::value_error("the mailbox is closed");
        if (aside([&] { return box->next(); })) return;
        if (!box->ok() && !isSkipping(*box)) raised->fail(box->error());
        throw py::stop_iteration();
    }
};

template <class Mailbox>
using BoxPtr = std::shared_ptr<Box<Mailbox>>;

template <class Mailbox>
HeldPtr nextMessage(const Given<Box<Mailbox>>& self) {
    Turn turn(*self, Turn::For::changing);
    self->next();
    return hold(aside([&] { return self->box->current().parse(self->options); }));
}

template <class Mailbox>
RawPtr nextRaw(const Given<Box<Mailbox>>& self) {
    Turn turn(*self, Turn::For::changing);
    self->next();
    return std::make_shared<Raw>(self->box->current());
}

template <class Mailbox>
void close(const Given<Box<Mailbox>>& self) {
    Turn turn(*self, Turn::For::changing);
    self->box.reset();
}

// The bytes are those of a mailbox, which goes on.
ParseOptions copying(bool strict, bool keepSource) {
    return {strict, keepSource ? SourceBytes::keep : SourceBytes::drop};
}

BoxPtr<Mbox> openMbox(const py::object& file, const std::string& kind, bool strict, bool keepSource) {
    auto self = std::make_shared<Box<Mbox>>();
    self->options = copying(strict, keepSource);
    Result<Mbox> box =
        py::hasattr(file, "read")
            ? Mbox::from(std::make_unique<PythonFile>(file, self->raised),
                         fileName(file), kindOf(kind))
            : Mbox::open(path(file), kindOf(kind));
    if (!box) self->raised->fail(box.error());
    self->box = std::move(*box);
    return self;
}

BoxPtr<Maildir> openMaildir(const py::object& directory, bool strict, bool keepSource) {
    auto self = std::make_shared<Box<Maildir>>();
    self->options = copying(strict, keepSource);
    self->box = taken(Maildir::open(path(directory)));
    return self;
}

std::string kindNow(const Given<Box<Mbox>>& self) {
    Turn turn(*self);
    if (!self->box) throw py::value_error("the mailbox is closed");
    return nameOf(self->box->kind());
}

// The messages of a mailbox as they stand in it, in the mailbox's own walk.
template <class Mailbox>
struct RawWalk {
    BoxPtr<Mailbox> box;
};

template <class Mailbox>
py::class_<Box<Mailbox>, BoxPtr<Mailbox>> addMailbox(py::module_& module, const char* name, const char* walk, const char* doc) {
    using Walk = std::shared_ptr<RawWalk<Mailbox>>;
    py::class_<RawWalk<Mailbox>, Walk>(module, walk)
        .def("__iter__", [](py::object self) { return self; })
        .def("__next__", [](const Given<RawWalk<Mailbox>>& self) { return nextRaw<Mailbox>({self->box}); });
    return py::class_<Box<Mailbox>, BoxPtr<Mailbox>>(module, name, doc)
        .def("__iter__", [](py::object self) { return self; })
        .def("__next__", &nextMessage<Mailbox>)
        .def("raw", [](const Given<Box<Mailbox>>& self) { return RawWalk<Mailbox>{self}; },
             "The messages that are left, as RawMessage, not parsed yet.")
        .def("close", &close<Mailbox>, "Closes the files; twice does not matter.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](const Given<Box<Mailbox>>& self, const py::args&) { close<Mailbox>(self); });
}

void addRaw(py::module_& module) {
    py::class_<Raw, RawPtr>(module, "RawMessage", "A message as it stands in a mailbox, not parsed yet.")
        .def_property_readonly("bytes", &of<&Raw::content>, "The message.")
        .def_property_readonly("from_line", &of<&Raw::from_line>, "Of an mbox: the line in front; else empty.")
        .def_property_readonly("path", [](const Given<Raw>& raw) { return path_text(raw->path); },
                               "Of a Maildir: the file; of an mbox: the mailbox.")
        .def_property_readonly("flags", [](const Given<Raw>& raw) { return text(raw->flags); },
                               "Of a Maildir: \"FS\", the letters after \":2,\"; else empty.")
        .def_property_readonly("number", &of<&Raw::number>, "From 1.")
        .def_property_readonly("offset", &of<&Raw::offset>, "Of an mbox: where its From line begins in the file.")
        .def_property_readonly("size", &of<&Raw::size>, "In the file; of an mbox: up to where the next one begins.")
        .def("parse", &parseRaw, py::kw_only(), py::arg("strict") = false, py::arg("keep_source") = true,
             "The message itself.")
        .def("__repr__", [](const Given<Raw>& raw) {
            return py::str("<mimetree.RawMessage {} of {!r}, {} bytes>")
                .format(raw->number, path_text(raw->path), bytes_of(raw->content).size());
        });
}

}  // namespace

void addMailboxes(py::module_& module) {
    addRaw(module);
    addMailbox<Mbox>(module, "Mbox", "_MboxWalk",
                     "The messages of an mbox, a path or a file in binary mode, front to back, never held "
                     "whole.\n\nIterating gives Message objects; one that cannot be parsed raises, and the "
                     "walk can go on behind it.  kind: \"automatic\", \"rd\", \"o\", \"content-length\" "
                     "or \"none\".")
        .def(py::init(&openMbox), py::arg("file"), py::arg("kind") = "automatic", py::kw_only(),
             py::arg("strict") = false, py::arg("keep_source") = true)
        .def_property_readonly("kind", &kindNow,
                               "As asked for; of the current message, where that was automatic.");
    addMailbox<Maildir>(module, "Maildir", "_MaildirWalk",
                        "The messages in new/ and cur/ of a Maildir, by file name.\n\nA file that cannot "
                        "be read is left out: `skipped` counts them.")
        .def(py::init(&openMaildir), py::arg("directory"), py::kw_only(), py::arg("strict") = false,
             py::arg("keep_source") = true)
        .def_property_readonly("skipped", [](const Given<Box<Maildir>>& self) {
            Turn turn(*self);
            return self->box ? self->box->skipped() : 0;
        }, "How many files could not be read so far.")
        .def_property_readonly("error", [](const Given<Box<Maildir>>& self) -> py::object {
            Turn turn(*self);
            if (!self->box || self->box->ok()) return py::none();
            return path_text(self->box->error().message());
        }, "Why the last of them could not be read; None when all could.");
}

}  // namespace mimetree::python
