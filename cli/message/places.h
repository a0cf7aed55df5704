// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a reader makes of each part: the rules of docs/faq.md, with plain text preferred.

#include <unordered_map>

#include "mimetree/opened.hpp"

enum class Place {
    None,      // holds parts, or shows nothing
    Body,      // shown
    Variant,   // another form of what is shown
    Inline,    // belongs to what is shown
    Attached,  // offered as a file
};

class Places {
public:
    explicit Places(const mimetree::OpenedParts& parts);

    Place of(const mimetree::Part& part) const;

private:
    void addMessage(const mimetree::Message& message);

    std::unordered_map<const MimeMessage2*, Place> m_places;
};
