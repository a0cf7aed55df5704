// SPDX-License-Identifier: Apache-2.0
#pragma once

// The findings as they are gathered: what is listed of each kind, where it stands, and its
// sentence, in which nothing of the mail stands raw.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mimetree/findings.hpp"

namespace mimetree::inner::check {

// A piece of a mail in a sentence: quoted, cut, one line, what could harm a terminal spelled.
struct Quoted {
    explicit Quoted(std::string_view t) : text(t) {}
    std::string_view text;
};
std::string quoted(std::string_view text);

// Where the text of a message stands in the input.
struct Origin {
    std::string_view text;
    uint64_t offset = 0;     // of its first byte
    std::string part;        // the number of the part that it is in, "" for the outermost
    unsigned depth = 0;      // of messages in messages
    unsigned partDepth = 0;  // of its root among all parts
    // What the text stands in if it was encoded: all of it is then at one place.
    std::shared_ptr<const std::string> decoded;

    bool isOutermost() const { return depth == 0; }
};

class Report {
public:
    // Limit: places listed of one kind.  An input has as many as its sender likes.
    static constexpr unsigned kListed = 20;

    // What is found from here on is of that kind, and in that part.
    void setKind(const FindingKind& kind) { m_kind = &kind; }
    // `numbers` lead from the root of its message to it.
    enum class Holds { Parts, Nothing };
    void setPart(const Origin& origin, const std::vector<uint32_t>& numbers, Holds holds);

    // A finding at `place` in the origin's text; the pieces of its sentence are joined.
    template <class... Pieces>
    void operator()(const char* place, const Pieces&... pieces) {
        if (!isListed()) return;
        std::string sentence;
        (append(sentence, pieces), ...);
        list(place, std::move(sentence));
    }

    // "2.1.3", the part that was set last, or the nearest around it that has a number.
    const std::string& partNumber() const { return m_part; }

    // What was found, in the order of the places, with the lines of `text`.
    std::vector<Finding> take(std::string_view text);

private:
    static void append(std::string& sentence, std::string_view text) { sentence += text; }
    static void append(std::string& sentence, const Quoted& piece) {
        sentence += quoted(piece.text);
    }
    static void append(std::string& sentence, size_t number) { sentence += std::to_string(number); }

    bool isListed();
    void list(const char* place, std::string sentence);

    struct Count {
        unsigned listed = 0;
        size_t last = 0;  // in m_found
    };

    const FindingKind* m_kind = nullptr;
    const Origin* m_origin = nullptr;
    std::string m_part;           // its number
    std::vector<Count> m_counts;  // by number
    std::vector<Finding> m_found;
};

}  // namespace mimetree::inner::check
