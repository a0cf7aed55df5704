// SPDX-License-Identifier: Apache-2.0

#include "cli/message/reading.h"

std::string Reading::textOf(const mimetree::OpenedPart& at) {
    if (m_places.of(at.part) != Place::Body) return {};
    if (at.part.type() != "text/html") return std::string(at.part.text());
    if (htmlLibrary().empty()) {
        m_missesHtml = true;
        return {};
    }
    const mimetree::Message& message = *at.message;
    const HtmlForm form{m_columns, [&](std::string_view url) {
                            if (!url.starts_with("cid:")) return std::string();
                            const auto picture = message.part_by_cid(url);
                            return std::string(picture ? picture->name() : "");
                        }};
    return htmlText(at.part.text(), form, m_links);
}

// Those of a multipart/related stand in its HTML.
std::string Reading::pictureOf(const mimetree::OpenedPart& at) const {
    const bool isPicture = m_places.of(at.part) == Place::Inline &&
                           at.part.type().starts_with("image/") &&
                           at.parent && m_parts[*at.parent].part.type() != "multipart/related";
    return isPicture ? "[image: " + std::string(at.part.name()) + "]\n" : std::string();
}

std::string Reading::linkLines() const {
    std::string lines;
    for (size_t i = 0; i < m_links.list().size(); ++i)
        lines += "[" + std::to_string(i + 1) + "] " + m_links.list()[i] + "\n";
    return lines;
}
