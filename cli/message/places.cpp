// SPDX-License-Identifier: Apache-2.0

#include "cli/message/places.h"

Places::Places(const mimetree::OpenedParts& parts) {
    for (const mimetree::OpenedPart& at : parts)
        if (at.part == at.message->root()) addMessage(*at.message);
}

// The first that is said of a part counts.
void Places::addMessage(const mimetree::Message& message) {
    const auto add = [&](mimetree::Parts parts, Place place) {
        for (const mimetree::Part& part : parts) m_places.emplace(&part.node(), place);
    };
    add(message.body_parts(mimetree::TextKind::plain), Place::Body);
    add(message.body_parts(mimetree::TextKind::html), Place::Variant);
    add(message.attachments(), Place::Attached);
    add(message.inline_parts(), Place::Inline);
}

Place Places::of(const mimetree::Part& part) const {
    const auto found = m_places.find(&part.node());
    return found == m_places.end() ? Place::None : found->second;
}
