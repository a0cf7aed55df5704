// SPDX-License-Identifier: Apache-2.0
#pragma once

// The one walk over the text of a message that follows its tree: each entity is found where it
// stands, without recursion, and handed to every check.

#include <deque>
#include <vector>

#include "face/findings/entity.h"

namespace mimetree::inner::check {

class Walk {
public:
    Walk(const Message& message, const Origin& origin, Report& report);

    // Appends the messages within the message, which are to be read and walked through as well.
    void run(std::vector<Origin>& embedded);

    // How many parts of the tree were found in the text.
    size_t located() const { return m_located; }

private:
    struct Level {
        Entity entity;
        Cutter cutter;
        size_t taken = 0;  // of the children
    };

    void open(const Part& part, std::string_view whole, LineEnds ends, unsigned depth);
    bool openLevel(Entity& entity);
    void goOn();
    void close();
    void check(const Entity& entity);
    void noteEmbedded(const Entity& entity);

    const Message& m_message;
    const Origin& m_origin;
    Report& m_report;
    SourceText m_source;
    std::deque<Level> m_levels;
    std::vector<uint32_t> m_numbers;  // of the part that is looked at
    std::vector<std::string_view> m_boundaries;
    std::vector<Origin>* m_embedded = nullptr;
    size_t m_located = 0;
};

}  // namespace mimetree::inner::check
