// SPDX-License-Identifier: Apache-2.0
// mimetree.Builder.

#include "python/module/message.h"

namespace mimetree::python {

namespace {

struct HeldBuilder : Shared {
    Builder builder;
};
using Self = std::shared_ptr<HeldBuilder>;

// Calls a member function with texts that have been made UTF-8.
template <auto Set, class... Texts>
Self set(const Given<HeldBuilder>& self, const Texts&... texts) {
    Turn turn(*self, Turn::For::changing);
    (self->builder.*Set)(utf8(texts)...);
    return self;
}

using OneText = Builder& (Builder::*)(std::string_view) noexcept;
using TwoTexts = Builder& (Builder::*)(std::string_view, std::string_view) noexcept;

// A field of mailboxes: "Ann <ann@example.org>, bob@example.org", or a name and an address.
template <OneText One, TwoTexts Two>
Self setMailboxes(const Given<HeldBuilder>& self, const py::str& mailboxes, const py::object& address) {
    if (address.is_none()) return set<One>(self, mailboxes);
    return set<Two>(self, mailboxes, address.cast<py::str>());
}

Self setDate(const Given<HeldBuilder>& self, int64_t seconds, int minutes) {
    Turn turn(*self, Turn::For::changing);
    self->builder.date(std::chrono::sys_seconds(std::chrono::seconds(seconds)),
                      std::chrono::minutes(minutes));
    return self;
}

void attachFile(const Given<HeldBuilder>& self, const py::object& file, const py::str& name, const py::str& type) {
    const std::string from = path(file), called = utf8(name), what = utf8(type);
    Turn turn(*self, Turn::For::changing);
    aside([&] { self->builder.attach(from, called, what); });
}

void attachBytes(const Given<HeldBuilder>& self, const py::bytes& data, const py::str& name, const py::str& type) {
    const std::string called = utf8(name), what = utf8(type);
    Turn turn(*self, Turn::For::changing);
    self->builder.attach(std::as_bytes(std::span(bytes_of(data))), called, what);
}

void inlineFile(const Given<HeldBuilder>& self, const py::object& file, const py::str& cid, const py::str& type) {
    const std::string from = path(file), id = utf8(cid), what = utf8(type);
    Turn turn(*self, Turn::For::changing);
    aside([&] { self->builder.inline_image(from, id, what); });
}

void inlineBytes(const Given<HeldBuilder>& self, const py::bytes& data, const py::str& cid, const py::str& type) {
    const std::string id = utf8(cid), what = utf8(type);
    Turn turn(*self, Turn::For::changing);
    self->builder.inline_image(std::as_bytes(std::span(bytes_of(data))), id, what);
}

HeldPtr build(const Given<HeldBuilder>& self) {
    Turn turn(*self, Turn::For::changing);
    return hold(aside([&] { return self->builder.build(); }));
}

using Class = py::class_<HeldBuilder, Self>;

template <OneText One, TwoTexts Two>
void addMailboxes(Class& builder, const char* name) {
    builder.def(name, &setMailboxes<One, Two>, py::arg("mailboxes"), py::arg("address") = py::none(),
                "Adds mailboxes, \"Ann Other <ann@example.org>\" or several after commas; or, with a "
                "second argument, a name and an address apart.");
}

}  // namespace

void addBuilder(py::module_& module) {
    Class builder(module, "Builder",
                  "A new message out of texts, files and addresses.  Its methods give the builder, and "
                  "build() the message.\n\nDate, Message-ID and MIME-Version are made unless given; the "
                  "structure is what the pieces need.");
    builder.def(py::init<>());
    addMailboxes<&Builder::from, &Builder::from>(builder, "from_");
    addMailboxes<&Builder::to, &Builder::to>(builder, "to");
    addMailboxes<&Builder::cc, &Builder::cc>(builder, "cc");
    addMailboxes<&Builder::bcc, &Builder::bcc>(builder, "bcc");
    addMailboxes<&Builder::reply_to, &Builder::reply_to>(builder, "reply_to");
    builder.def("subject", &set<&Builder::subject, py::str>, py::arg("subject"), "Once.")
        .def("message_id", &set<&Builder::message_id, py::str>, py::arg("id"),
             "With or without angle brackets.")
        .def("header", &set<&Builder::header, py::str, py::str>, py::arg("name"), py::arg("value"),
             "Any other field but Content- ones; each call adds one.")
        .def("text", &set<&Builder::text, py::str>, py::arg("text"), "The plain text, once.")
        .def("html", &set<&Builder::html, py::str>, py::arg("html"), "The same as HTML, once.")
        .def("charset", &set<&Builder::charset, py::str>, py::arg("charset"),
             "Of the texts: us-ascii or utf-8, as they need, unless given.")
        .def("encoding", &set<&Builder::encoding, py::str>, py::arg("encoding"),
             "Of the texts: \"7bit\", \"8bit\", \"quoted-printable\" or \"base64\".")
        .def("build", &build, "The message, or the first error; the builder is empty afterwards.")
        .def("_date", &setDate)
        .def("_attach_file", &attachFile)
        .def("_attach_bytes", &attachBytes)
        .def("_inline_file", &inlineFile)
        .def("_inline_bytes", &inlineBytes);
}

}  // namespace mimetree::python
