// SPDX-License-Identifier: Apache-2.0

#include "cli/message/reading.h"

#include <new>

#include "mimetree/embedded.hpp"

// The lines of the files begin and end with lines of the text.
std::string textWithoutFiles(const mimetree::Part& part) {
    const auto files = mimetree::embedded_files(part);
    if (!files) throw std::bad_alloc();
    std::string text;
    const char* at = part.text().data();
    for (const mimetree::EmbeddedFile& file : *files) {
        text.append(at, file.lines.data());
        at = file.lines.data() + file.lines.size();
    }
    return text.append(at, part.text().data() + part.text().size());
}

std::string Reading::textOf(const mimetree::OpenedPart& at) {
    if (m_places.of(at.part) != Place::Body) return {};
    if (at.part.type() != "text/html") return textWithoutFiles(at.part);
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
                           at.part.type().starts_with("image/") && at.parent &&
                           m_parts[*at.parent].part.type() != "multipart/related";
    return isPicture ? "[image: " + std::string(at.part.name()) + "]\n" : std::string();
}

std::string Reading::linkLines() const {
    std::string lines;
    for (size_t i = 0; i < m_links.list().size(); ++i)
        lines += "[" + std::to_string(i + 1) + "] " + m_links.list()[i] + "\n";
    return lines;
}
