// SPDX-License-Identifier: Apache-2.0
// Answers of the library as objects of Python.

#include <unordered_map>

#include "python/module/message.h"

namespace mimetree::python {

namespace {

// A name of the package's Python part.
py::object named(const char* name) { return py::module_::import("mimetree.values").attr(name); }

}  // namespace

py::object toPython(std::optional<std::string_view> value) {
    return value ? toPython(*value) : py::object(py::none());
}

py::object toPython(std::optional<Date> value) {
    if (!value) return py::none();
    return named("_date_of")(value->time.time_since_epoch().count(),
                             value->zone_known ? value->zone.count() : 0);
}

py::object toPython(const Addresses& list) {
    const py::object Address = named("Address");
    py::list addresses;
    for (const mimetree::Address& one : list)
        addresses.append(Address(text(one.name), text(one.address)));
    return named("Addresses")(addresses);
}

py::object toPython(std::span<const Header> headers) {
    const py::object Header = named("Header");
    py::list fields;
    for (const mimetree::Header& one : headers)
        fields.append(Header(text(one.name), text(one.value), bytes(one.raw)));
    return py::tuple(fields);
}

py::object toPython(const std::vector<Finding>& findings) {
    const py::object Finding = named("Finding");
    py::list list;
    for (const mimetree::Finding& one : findings)
        list.append(Finding(one.number, text(one.id), text(one.name), text(severity_name(one.severity)), one.offset,
                            one.line, text(one.part), text(one.sentence), one.more));
    return py::tuple(list);
}

py::object toPython(const FindingKind& kind) {
    return named("FindingKind")(kind.number, text(kind.id), text(kind.name),
                                text(severity_name(kind.severity)), text(kind.reference),
                                text(kind.explanation));
}

py::object toPython(const Rule& rule) { return named("Rule")(text(rule.name), text(rule.what)); }

py::object toPython(const std::vector<EmbeddedFile>& files) {
    const py::object EmbeddedFile = named("EmbeddedFile");
    py::list list;
    for (const mimetree::EmbeddedFile& one : files)
        list.append(EmbeddedFile(text(one.name), bytes(one.bytes), text(one.lines)));
    return py::tuple(list);
}

// The messages within live as long as anything of them that Python holds.
py::object toPython(const HeldPtr& held, OpenedParts opened) {
    const auto owner = std::make_shared<OpenedParts>(std::move(opened));
    std::unordered_map<const Message*, HeldPtr> messages{{&held->message, held}};
    const py::object OpenedPart = named("OpenedPart");
    py::list list;
    for (const mimetree::OpenedPart& one : *owner) {
        HeldPtr& message = messages[one.message];
        if (!message)
            message = std::make_shared<Held>(
                std::shared_ptr<Message>(owner, const_cast<Message*>(one.message)));
        const py::object parent = one.parent ? py::object(py::int_(*one.parent)) : py::none();
        list.append(OpenedPart(toPython(message, one.part), message, text(one.number), one.depth,
                               parent, one.is_opened));
    }
    return named("OpenedParts")(list);
}

py::object toPython(const HeldPtr& held, std::span<const std::byte> data) {
    return py::memoryview(py::cast(std::make_unique<View>(held, data)));
}

py::object toPython(const HeldPtr& held, const Part& part) {
    return py::cast(std::make_shared<HeldPart>(held, part));
}

py::tuple toPython(const HeldPtr& held, Parts parts) {
    py::list all;
    for (const Part& part : parts) all.append(toPython(held, part));
    return py::tuple(all);
}

py::buffer_info View::info() const {
    static const std::byte kNone{};
    const void* data = m_data.empty() ? &kNone : m_data.data();
    return py::buffer_info(const_cast<void*>(data), 1, "B", static_cast<py::ssize_t>(m_data.size()),
                           /*readonly*/ true);
}

const Part& HeldPart::get() const {
    if (!isVoid()) return part;
    const py::object error = py::module_::import("mimetree.errors").attr("StaleError");
    PyErr_SetString(error.ptr(), "the message was changed since this part was taken from it");
    throw py::error_already_set();
}

void checkMemory(const Held& held) {
    if (!held.message.ok()) raise(Error(Errc::out_of_memory, "out of memory"));
}

HeldPtr hold(Result<Message> message, const py::object& source) {
    return std::make_shared<Held>(std::make_shared<Message>(taken(std::move(message))), source);
}

void addFindingKinds(py::module_& module) {
    module.def("finding_kinds", [] {
        py::list kinds;
        for (const FindingKind& kind : finding_kinds()) kinds.append(toPython(kind));
        return py::tuple(kinds);
    }, "All kinds of findings, by number.");
    module.def("finding_kind", [](const py::str& which) {
        const FindingKind* const kind = finding_kind(utf8(which));
        return kind ? toPython(*kind) : py::none();
    }, py::arg("name"), "The kind that \"nul-byte\", \"MT012\" or \"12\" names; None when there is none.");
}

}  // namespace mimetree::python
