// SPDX-License-Identifier: Apache-2.0
#pragma once

// The parts of a message and of the messages within it (message/rfc822, message/global, and the
// parts of a digest that have no type), as one list with numbers that go on:
//
//     auto opened = mimetree::OpenedParts::of(message);
//     if (!opened) return report(opened.error().message());
//     for (const mimetree::OpenedPart& at : *opened)
//         std::cout << at.number << ' ' << at.part.type() << '\n';

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree {

// A part, and where it stands in all that was opened.
struct OpenedPart {
    Part part;               // a handle into that message
    const Message* message;  // whose part it is: the one that was asked for, or one within it
    // RFC 3501 6.4.5: the parts of the message that is part 2 are 2.1, 2.2 and so on; a message
    // that has no parts has one, 2.1, which is its text.  Empty for the outermost root, for a
    // multipart that is the whole of a message within another, and below a depth of 32.
    std::string number;
    unsigned depth = 0;            // messages within messages count on
    std::optional<size_t> parent;  // its place in the list; nothing for the outermost root
    bool is_opened = false;        // the root of the message within it comes next
};

// Whether messages within a message are looked into.
enum class Nested { opened, closed };

// The list of them; it keeps the messages within.  What was moved from is empty.
class MIMETREE_API OpenedParts {
public:
    // What was handed out is good as long as the message and this are.
    // Limit: messages that are nested deeper than 32 stay shut, and so do further ones when those
    // within messages have come to eight times the size of what they are within.
    static Result<OpenedParts> of(const Message& message, Nested nested = Nested::opened) noexcept;

    OpenedParts(OpenedParts&&) noexcept;
    OpenedParts& operator=(OpenedParts&&) noexcept;
    ~OpenedParts();

    // In reading order, a part before those within it, the outermost root first.
    std::span<const OpenedPart> list() const noexcept;
    auto begin() const noexcept { return list().begin(); }
    auto end() const noexcept { return list().end(); }
    size_t size() const noexcept { return list().size(); }
    const OpenedPart& operator[](size_t i) const noexcept { return list()[i]; }

    // The part with this number, "" for the outermost root, which is "1", too, if it has no
    // parts; null when there is none.
    const OpenedPart* find(std::string_view number) const noexcept;

private:
    struct State;
    explicit OpenedParts(std::unique_ptr<State> state) noexcept;
    std::unique_ptr<State> m_state;
};

}  // namespace mimetree
