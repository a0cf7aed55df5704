// SPDX-License-Identifier: Apache-2.0
// Answers of the library as objects of Python.

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
        list.append(Finding(text(one.id), text(one.name), text(severity_name(one.severity)), one.offset,
                            one.line, text(one.part), text(one.sentence), one.more));
    return py::tuple(list);
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
    return std::make_shared<Held>(taken(std::move(message)), source);
}

}  // namespace mimetree::python
