// SPDX-License-Identifier: Apache-2.0
// OpenedParts: walks a message by a list of its own instead of the call stack, and reads the
// messages that it comes across.

#include "mimetree/opened.hpp"

#include <algorithm>
#include <new>
#include <vector>

#include "face/result/attempt.h"

namespace mimetree {

namespace {

// Limit: a message within a message is held once more, and so is all that is within it.
constexpr unsigned kMostLevels = 32;
constexpr size_t kMostBytesPerByte = 8;

// Limit: a number grows with its depth, so a message nested without end would make them
// quadratic.
constexpr unsigned kMostNumberedDepth = 32;

struct Todo {
    Part part;
    const Message* message;
    std::optional<size_t> parent;
    unsigned depth;
    unsigned ordinal;  // among its parent's children, from 1; 0 for the root of a message
    unsigned level;    // of messages around it
};

size_t sizeOf(const Message& message) {
    size_t size = 0;
    for (const Part& part : message.parts()) size += part.bytes().size();
    return size;
}

}  // namespace

struct OpenedParts::State {
    void walk(const Message& outermost, Nested nested);
    void take(const Todo& todo, Nested nested);
    void open(const Todo& todo);
    std::string numberOf(const Todo& todo) const;
    std::string prefixBelow(size_t index) const;

    std::vector<OpenedPart> list;
    std::vector<std::unique_ptr<Message>> messages;  // those within
    std::vector<Todo> todos;                         // the next one last
    size_t bytesLeft = 0;                            // of messages that may still be opened
};

void OpenedParts::State::walk(const Message& outermost, Nested nested) {
    bytesLeft = kMostBytesPerByte * sizeOf(outermost);
    todos.push_back({outermost.root(), &outermost, std::nullopt, 0, 0, 0});
    while (!todos.empty()) {
        const Todo todo = todos.back();
        todos.pop_back();
        take(todo, nested);
    }
}

void OpenedParts::State::take(const Todo& todo, Nested nested) {
    list.push_back({todo.part, todo.message, numberOf(todo), todo.depth, todo.parent});
    const size_t index = list.size() - 1;
    const Parts children = todo.part.children();
    for (size_t i = children.size(); i > 0; --i)
        todos.push_back({children[i - 1], todo.message, index, todo.depth + 1,
                         static_cast<unsigned>(i), todo.level});
    if (children.empty() && nested == Nested::opened && todo.part.is_message()) open(todo);
}

void OpenedParts::State::open(const Todo& todo) {
    const size_t size = todo.part.bytes().size();
    if (todo.level == kMostLevels || size > bytesLeft) return;
    Result<Message> message = todo.part.message();
    if (!message && message.error().code() == Errc::out_of_memory) throw std::bad_alloc();
    if (!message) return;
    bytesLeft -= size;
    messages.push_back(std::make_unique<Message>(*std::move(message)));
    list.back().is_opened = true;
    todos.push_back({messages.back()->root(), messages.back().get(), list.size() - 1,
                     todo.depth + 1, 0, todo.level + 1});
}

std::string OpenedParts::State::numberOf(const Todo& todo) const {
    if (!todo.parent || todo.depth > kMostNumberedDepth) return {};
    const bool isRoot = todo.ordinal == 0;
    if (isRoot && !todo.part.children().empty()) return {};
    const std::string prefix = prefixBelow(*todo.parent);
    return prefix + (prefix.empty() ? "" : ".") + std::to_string(isRoot ? 1 : todo.ordinal);
}

// What the numbers of the parts within a part begin with.
std::string OpenedParts::State::prefixBelow(size_t index) const {
    const OpenedPart& at = list[index];
    if (!at.number.empty()) return at.number;
    if (at.parent) return prefixBelow(*at.parent);  // of a message, which has a number
    return at.is_opened ? "1" : "";
}

OpenedParts::OpenedParts(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
OpenedParts::OpenedParts(OpenedParts&&) noexcept = default;
OpenedParts& OpenedParts::operator=(OpenedParts&&) noexcept = default;
OpenedParts::~OpenedParts() = default;

Result<OpenedParts> OpenedParts::of(const Message& message, Nested nested) noexcept {
    return inner::attempt([&]() -> Result<OpenedParts> {
        auto state = std::make_unique<State>();
        state->walk(message, nested);
        return OpenedParts(std::move(state));
    });
}

std::span<const OpenedPart> OpenedParts::list() const noexcept {
    if (!m_state) return {};
    return m_state->list;
}

const OpenedPart* OpenedParts::find(std::string_view number) const noexcept {
    const std::span<const OpenedPart> all = list();
    const auto found = std::find_if(
        all.begin(), all.end(), [&](const OpenedPart& part) { return part.number == number; });
    if (found != all.end()) return &*found;
    const bool isLeaf = !all.empty() && all.front().part.children().empty();
    return isLeaf && number == "1" ? all.data() : nullptr;
}

}  // namespace mimetree
