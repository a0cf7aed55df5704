// SPDX-License-Identifier: Apache-2.0
// mimetree.Message.

#include "python/module/message.h"

namespace mimetree::python {

namespace {

// What a member function of Message gives.
template <auto Get>
py::object of(const Given<Held>& self) {
    return ask(*self, [&] { return toPython((self->message.*Get)()); });
}

template <auto Get>
py::object named(const Given<Held>& self, const py::str& name) {
    return ask(*self, [&] { return toPython((self->message.*Get)(utf8(name))); });
}

template <auto Get>
py::tuple partsOf(const Given<Held>& self) {
    return ask(*self, [&] { return toPython(self, (self->message.*Get)()); });
}

template <auto Get>
py::object foundPart(const Given<Held>& self, const py::str& key) {
    return ask(*self, [&] {
        const std::optional<Part> part = (self->message.*Get)(utf8(key));
        return part ? toPython(self, *part) : py::none();
    });
}

py::object root(const Given<Held>& self) {
    Turn turn(*self);
    return toPython(self, self->message.root());
}

py::tuple bodyParts(const Given<Held>& self, const py::str& preferred) {
    const std::string kind = utf8(preferred);
    if (kind != "plain" && kind != "html") throw py::value_error("neither \"plain\" nor \"html\"");
    const TextKind which = kind == "html" ? TextKind::html : TextKind::plain;
    return ask(*self, [&] { return toPython(self, self->message.body_parts(which)); });
}

// -- Changes

// To be called when it is this thread's turn.
template <class F>
auto changeNow(const HeldPtr& self, F&& f) {
    if (self->views > 0)
        throw py::buffer_error("views of this message's bytes are in use: release or copy them "
                               "before it is changed");
    ++self->changes;
    return aside([&] { return f(self->message); });
}

template <class F>
auto change(const HeldPtr& self, F&& f) {
    Turn turn(*self, Turn::For::changing);
    return changeNow(self, f);
}

void setHeader(const Given<Held>& self, const py::str& name, const py::str& value) {
    const std::string to = utf8(name), what = utf8(value);
    taken(change(self, [&](Message& message) { return message.set_header(to, what); }));
}

bool removeHeader(const Given<Held>& self, const py::str& name) {
    const std::string which = utf8(name);
    return change(self, [&](Message& message) { return message.remove_header(which); });
}

void setText(const Given<Held>& self, const py::str& text) {
    const std::string what = utf8(text);
    taken(change(self, [&](Message& message) { return message.set_text(what); }));
}

void removePart(const Given<Held>& self, const Given<HeldPart>& part) {
    if (part->held.get() != self.get()) throw py::value_error("the part is of another message");
    Turn turn(*self, Turn::For::changing);
    const Part which = part->get();
    taken(changeNow(self, [&](Message& message) { return message.remove_part(which); }));
}

void addFile(const Given<Held>& self, const py::object& file, const py::str& name, const py::str& type) {
    const std::string from = path(file), called = utf8(name), what = utf8(type);
    taken(change(self, [&](Message& message) { return message.add_attachment(from, called, what); }));
}

void addBytes(const Given<Held>& self, const py::bytes& data, const py::str& name, const py::str& type) {
    const std::string called = utf8(name), what = utf8(type);
    const auto content = std::as_bytes(std::span(bytes_of(data)));
    taken(change(self, [&](Message& message) { return message.add_attachment(content, called, what); }));
}

void setCharset(const Given<Held>& self, const py::str& charset) {
    const std::string which = utf8(charset);
    taken(change(self, [&](Message& message) { return message.set_charset(which); }));
}

// -- Reading and writing

HeldPtr read(const py::object& file, bool strict, bool keepSource) {
    const std::string from = path(file);
    const ParseOptions options = borrowing(strict, keepSource);
    return hold(aside([&] { return Message::read(from, options); }));
}

py::bytes write(const Given<Held>& self) {
    Turn turn(*self);
    return bytes(taken(aside([&] { return self->message.write(); })));
}

py::object source(const Given<Held>& self) {
    Turn turn(*self);
    return toPython(self, std::as_bytes(std::span(self->message.source())));
}

Nested nestedIf(bool nested) { return nested ? Nested::opened : Nested::closed; }

py::object findingsOf(const Given<Held>& self, bool nested) {
    Turn turn(*self);
    return toPython(taken(aside([&] { return findings(self->message, nestedIf(nested)); })));
}

py::object openedParts(const Given<Held>& self, bool nested) {
    Turn turn(*self);
    return toPython(
        self, taken(aside([&] { return OpenedParts::of(self->message, nestedIf(nested)); })));
}

py::tuple reduce(const Given<Held>& self) {
    Turn turn(*self);
    const std::string_view source = self->message.source();
    return py::make_tuple(py::module_::import("mimetree").attr("parse"),
                          py::make_tuple(source.empty() ? write(self) : bytes(source)));
}

py::str repr(const Given<Held>& self) {
    Turn turn(*self);
    return py::str("<mimetree.Message {!r} from {!r}, {} parts>")
        .format(text(self->message.subject()), text(self->message.from().text()),
                self->message.parts().size());
}

void addReading(py::class_<Held, HeldPtr>& message) {
    message.def_property_readonly("subject", &of<&Message::subject>, "Decoded; empty when there is none.")
        .def_property_readonly("from_", &of<&Message::from>, "The addresses in From.")
        .def_property_readonly("to", &of<&Message::to>, "The addresses in To.")
        .def_property_readonly("cc", &of<&Message::cc>, "The addresses in Cc.")
        .def_property_readonly("bcc", &of<&Message::bcc>, "The addresses in Bcc.")
        .def_property_readonly("reply_to", &of<&Message::reply_to>, "The addresses in Reply-To.")
        .def("addresses", &named<&Message::addresses>, py::arg("field"), "The addresses in any field.")
        .def_property_readonly("date", &of<&Message::date>,
                               "An aware datetime in the sender's zone, or in UTC where that is not "
                               "known; None when missing or unreadable.")
        .def_property_readonly("message_id", &of<&Message::message_id>, "Without angle brackets.")
        .def_property_readonly("headers", &of<&Message::headers>, "The header fields, in order.")
        .def("header", &named<&Message::header>, py::arg("name"),
             "The first field of that name, decoded, in any letter case; None when there is none.")
        .def_property_readonly("text", &of<&Message::text>,
                               "The plain text that a reader would show; empty when there is none.")
        .def_property_readonly("html", &of<&Message::html>,
                               "The HTML that a reader would show; empty when there is none.");
}

void addParts(py::class_<Held, HeldPtr>& message) {
    message
        .def("body_parts", &bodyParts, py::arg("preferred") = "plain",
             "The parts that a reader shows, of a text in both forms the one preferred: \"plain\" or "
             "\"html\".")
        .def_property_readonly("attachments", &partsOf<&Message::attachments>,
                               "Every part that is an attachment, in reading order.")
        .def_property_readonly("inline_parts", &partsOf<&Message::inline_parts>,
                               "Every other leaf that no text shows: inline pictures and the like.")
        .def_property_readonly("parts", &partsOf<&Message::parts>, "Depth first, the root included.")
        .def_property_readonly("root", &root, "The part that is the message itself.")
        .def("part", &foundPart<&Message::part>, py::arg("path"),
             "The part at a path like \"2.1\"; None when there is none.")
        .def("part_by_cid", &foundPart<&Message::part_by_cid>, py::arg("cid"),
             "By Content-ID, with or without angle brackets or \"cid:\"; None when there is none.")
        .def("opened_parts", &openedParts, py::kw_only(), py::arg("nested") = true,
             "The parts, and those of the messages within unless not `nested`, with numbers that go on.")
        .def("__iter__", [](const Given<Held>& self) { return py::iter(partsOf<&Message::parts>(self)); });
}

void addChanges(py::class_<Held, HeldPtr>& message) {
    message
        .def("set_header", &setHeader, py::arg("name"), py::arg("value"),
             "Sets the field, in the place of the first that had the name; more of that name go.")
        .def("remove_header", &removeHeader, py::arg("name"),
             "Removes all fields of that name; True when there was one.")
        .def("set_text", &setText, py::arg("text"), "Sets the text that `text` gives.")
        .def("remove_part", &removePart, py::arg("part"), "Removes a part, which is not the root.")
        .def("set_charset", &setCharset, py::arg("charset"),
             "Writes every text part in that charset, or in utf-8 where it cannot hold the text.")
        .def("_add_file", &addFile)
        .def("_add_bytes", &addBytes)
        .def_property_readonly("source", &source,
                               "The bytes that it was read from, as a memoryview; empty for a message "
                               "that was made or changed.")
        .def("findings", &findingsOf, py::kw_only(), py::arg("nested") = true,
             "What is wrong with the message, and with those within unless not `nested`, in the order of "
             "the places.")
        .def("as_bytes", &write, "The message as bytes, with CRLF.")
        .def("__bytes__", &write)
        .def("__reduce__", &reduce)
        .def("__repr__", &repr);
}

}  // namespace

ParseOptions borrowing(bool strict, bool keepSource) {
    return {strict, keepSource ? SourceBytes::borrow : SourceBytes::drop};
}

HeldPtr parse(const py::bytes& mail, ParseOptions options) {
    const std::string_view data = bytes_of(mail);
    Result<Message> message = aside([&] { return Message::parse(data, options); });
    const bool isBorrowed = options.source == SourceBytes::borrow;
    return hold(std::move(message), isBorrowed ? py::object(mail) : py::none());
}

void addMessage(py::module_& module) {
    py::class_<Held, HeldPtr> message(
        module, "Message",
        "A mail message, as parse() and Builder.build() give it.\n\nThreads may use one message at the "
        "same time: one waits for the other.  A change makes the parts void that were taken before.");
    addReading(message);
    addParts(message);
    addChanges(message);
    module.def("_parse", [](const py::bytes& mail, bool strict, bool keepSource) {
        return parse(mail, borrowing(strict, keepSource));
    });
    module.def("_read", &read);
}

}  // namespace mimetree::python
