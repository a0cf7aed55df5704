// SPDX-License-Identifier: Apache-2.0
#pragma once

// What stands behind Message and Part in Python.

#include <memory>

#include "python/module/held.h"

namespace mimetree::python {

// A message, which lives as long as anything of it that Python holds.
struct Held : Shared, std::enable_shared_from_this<Held> {
    explicit Held(std::shared_ptr<Message> given, py::object from = py::none())
        : source(std::move(from)), owner(std::move(given)), message(*owner) {}

    const py::object source;  // the bytes object that the message borrows from
    const std::shared_ptr<Message> owner;
    Message& message;
    unsigned changes = 0;  // parts of before the last one are void
    unsigned views = 0;    // of its bytes; while there are any, it cannot be changed
};
using HeldPtr = std::shared_ptr<Held>;

// A part, with what it takes to know whether it is still one.
struct HeldPart {
    HeldPtr held;
    Part part;
    unsigned changes;
    const void* node;  // for the hash

    HeldPart(HeldPtr of, const Part& that)
        : held(std::move(of)), part(that), changes(held->changes), node(&that.node()) {}

    bool isVoid() const { return changes != held->changes; }
    // Raises mimetree.StaleError where it is void.
    const Part& get() const;
};

// Bytes of a message that Python sees where they are.
class View {
public:
    View(HeldPtr held, std::span<const std::byte> data) : m_held(std::move(held)), m_data(data) {
        ++m_held->views;
    }
    View(const View&) = delete;
    ~View() { --m_held->views; }

    py::buffer_info info() const;

private:
    HeldPtr m_held;
    std::span<const std::byte> m_data;
};

// Raises MemoryError where it has run out behind an answer.
void checkMemory(const Held& held);

// What `f`, which asks the message something, gives when it is this thread's turn.
template <class F>
auto ask(Held& held, F&& f) {
    Turn turn(held);
    auto value = f();
    checkMemory(held);
    return value;
}

// -- As Python has it

inline py::object toPython(std::string_view value) { return text(value); }
inline py::object toPython(bool value) { return py::bool_(value); }
inline py::object toPython(unsigned value) { return py::int_(value); }
py::object toPython(const Rule& rule);
py::object toPython(std::optional<std::string_view> value);
py::object toPython(std::optional<Date> value);
py::object toPython(const Addresses& list);
py::object toPython(std::span<const Header> headers);
py::object toPython(const std::vector<Finding>& findings);
py::object toPython(const FindingKind& kind);
py::object toPython(const std::vector<EmbeddedFile>& files);
py::object toPython(const HeldPtr& held, OpenedParts opened);
py::object toPython(const HeldPtr& held, std::span<const std::byte> data);  // a memoryview
py::object toPython(const HeldPtr& held, const Part& part);
py::tuple toPython(const HeldPtr& held, Parts parts);

HeldPtr hold(Result<Message> message, const py::object& source = py::none());
// How to read a message whose bytes Python keeps.
ParseOptions borrowing(bool strict, bool keepSource);
// Of bytes, which it borrows.
HeldPtr parse(const py::bytes& mail, ParseOptions options);

void addMessage(py::module_& module);
void addPart(py::module_& module);
void addBuilder(py::module_& module);
void addMailboxes(py::module_& module);
void addMboxWriter(py::module_& module);
void addFindingKinds(py::module_& module);

}  // namespace mimetree::python
