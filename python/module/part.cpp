// SPDX-License-Identifier: Apache-2.0
// mimetree.Part.

#include "python/module/message.h"

namespace mimetree::python {

namespace {

// What a member function of Part gives.
template <auto Get>
py::object of(const Given<HeldPart>& self) {
    return ask(*self->held, [&] { return toPython((self->get().*Get)()); });
}

template <auto Get>
py::object viewOf(const Given<HeldPart>& self) {
    return ask(*self->held, [&] { return toPython(self->held, (self->get().*Get)()); });
}

template <auto Get>
py::object named(const Given<HeldPart>& self, const py::str& name) {
    return ask(*self->held, [&] { return toPython((self->get().*Get)(utf8(name))); });
}

py::tuple children(const Given<HeldPart>& self) {
    return ask(*self->held, [&] { return toPython(self->held, self->get().children()); });
}

HeldPtr message(const Given<HeldPart>& self) {
    Turn turn(*self->held);
    const Part& part = self->get();
    return hold(aside([&] { return part.message(); }));
}

py::bytes fileBytes(const Given<HeldPart>& self) {
    Turn turn(*self->held);
    const Part& part = self->get();
    return bytes(taken(aside([&] { return part.file_bytes(); })));
}

py::object embeddedFiles(const Given<HeldPart>& self) {
    Turn turn(*self->held);
    const Part& part = self->get();
    return toPython(taken(aside([&] { return embedded_files(part); })));
}

py::str save(const Given<HeldPart>& self, const py::object& directory) {
    Turn turn(*self->held);
    const Part& part = self->get();
    const std::string to = path(directory);
    return path_text(taken(aside([&] { return part.save(to); })));
}

py::bytes copied(const Given<HeldPart>& self) {
    return ask(*self->held, [&] {
        const std::span<const std::byte> data = self->get().bytes();
        return bytes({reinterpret_cast<const char*>(data.data()), data.size()});
    });
}

py::str repr(const Given<HeldPart>& self) {
    if (self->isVoid()) return py::str("<mimetree.Part of a message that was changed>");
    return py::str("<mimetree.Part {!r} {} {!r}>")
        .format(of<&Part::path>(self), of<&Part::type>(self), of<&Part::name>(self));
}

bool isSame(const Given<HeldPart>& self, const Given<HeldPart>& that) {
    return self->held == that->held && self->changes == that->changes && self->part == that->part;
}

// The buffer protocol has no shared pointer to ask for.
void noConstructor(PyHeapTypeObject* type) {
    type->ht_type.tp_new = [](PyTypeObject*, PyObject*, PyObject*) -> PyObject* {
        PyErr_SetString(PyExc_TypeError, "views are made by the message");
        return nullptr;
    };
}

}  // namespace

void addPart(py::module_& module) {
    py::class_<View>(module, "_View", py::buffer_protocol(), py::custom_type_setup(noConstructor))
        .def_buffer(&View::info);
    py::class_<HeldPart, std::shared_ptr<HeldPart>>(module, "Part",
                         "A node of a message: the message itself (the root), a multipart, or a leaf "
                         "with a body.\n\nIt keeps its message alive.  Once that was changed, the part "
                         "is void, and using it raises StaleError.")
        .def_property_readonly("type", &of<&Part::type>,
                               "\"text/plain\", in lower case, without parameters.")
        .def_property_readonly("charset", &of<&Part::charset>,
                               "As labelled or found out; empty when there is none.")
        .def_property_readonly("encoding", &of<&Part::encoding>,
                               "Transfer coding, in lower case; empty when there is none.")
        .def_property_readonly("disposition", &of<&Part::disposition>,
                               "\"attachment\", \"inline\" or another; empty without the field.")
        .def_property_readonly("content_id", &of<&Part::content_id>,
                               "Without angle brackets; empty when there is none.")
        .def_property_readonly("name", &of<&Part::name>,
                               "A name that is safe to give to a file; never empty.")
        .def_property_readonly("declared_name", &of<&Part::declared_name>,
                               "The name as the mail has it, which may be hostile; or empty.")
        .def_property_readonly("bytes", &viewOf<&Part::bytes>,
                               "The decoded body, a memoryview of the message's own memory; text is "
                               "UTF-8.\n\nWhile it is in use the message cannot be changed "
                               "(BufferError).  bytes(part) is a copy.")
        .def_property_readonly("text", &of<&Part::text>,
                               "The body of a text part; empty for any other.")
        .def_property_readonly("signed_bytes", &viewOf<&Part::signed_bytes>,
                               "Of a multipart/signed: its first part as it came, as a memoryview.")
        .def_property_readonly("headers", &of<&Part::headers>,
                               "The fields of this part's own header, in order.")
        .def_property_readonly("path", &of<&Part::path>,
                               "\"2.1\": the first child of the root's second child; \"\" for the root "
                               "and below a depth of 32.")
        .def_property_readonly("depth", &of<&Part::depth>, "0 for the root.")
        .def_property_readonly("children", &children, "The parts of a multipart.")
        .def_property_readonly("is_multipart", &of<&Part::is_multipart>,
                               "Whether it holds parts, and no body of its own.")
        .def_property_readonly("is_text", &of<&Part::is_text>, "Whether `text` is its body.")
        .def_property_readonly("is_attachment", &of<&Part::is_attachment>,
                               "Whether a reader would list it as a file.")
        .def_property_readonly("is_body", &of<&Part::is_body>, "Whether a reader would show it.")
        .def_property_readonly("rule", &of<&Part::rule>,
                               "The rule that decided whether it is body, attachment, inline or none "
                               "of these.")
        .def_property_readonly("is_message", &of<&Part::is_message>,
                               "Whether it is a message inside the message.")
        .def("parameter", &named<&Part::parameter>, py::arg("name"),
             "A parameter of Content-Type, decoded; None when there is none.")
        .def("header", &named<&Part::header>, py::arg("name"),
             "The first field of that name, decoded, in any letter case; None when there is none.")
        .def("message", &message, "The message inside this part, read anew on each call.")
        .def("embedded_files", &embeddedFiles,
             "The files that stand in a plain text in uuencode, in their order.")
        .def("file_bytes", &fileBytes,
             "The decoded body as it goes into a file: text in its own charset.")
        .def("save", &save, py::arg("directory"),
             "Writes file_bytes() to a new file named `name` in the directory, which is made when it "
             "is missing; never outside of it, never over a file.  Gives the file's path.")
        .def("__bytes__", &copied)
        .def("__iter__", [](const Given<HeldPart>& self) { return py::iter(children(self)); })
        .def("__eq__", &isSame, py::is_operator())
        .def("__hash__", [](const Given<HeldPart>& self) { return std::hash<const void*>()(self->node); })
        .def("__repr__", &repr);
}

}  // namespace mimetree::python
