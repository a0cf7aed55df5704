// SPDX-License-Identifier: Apache-2.0
#pragma once

// The texts of a message as a reader shows them: which, by docs/faq.md; and HTML as text.

#include <string>

#include "cli/message/places.h"
#include "cli/text/html.h"

// The text of a part without the files that stand in it in uuencode, which are attachments.
std::string textWithoutFiles(const mimetree::Part& part);

class Reading {
public:
    // `columns`: of the lines that are made out of HTML.
    Reading(const mimetree::OpenedParts& parts, size_t columns)
        : m_parts(parts), m_places(parts), m_columns(columns) {}

    const Places& places() const { return m_places; }

    // UTF-8 as it came but for files in it, or made out of HTML; empty where the part shows no
    // text.
    std::string textOf(const mimetree::OpenedPart& at);

    // "[image: NAME]" for a picture that stands between texts; empty for any other part.
    std::string pictureOf(const mimetree::OpenedPart& at) const;

    // "[1] URL" a line, for the links of all texts so far.
    std::string linkLines() const;

    // True when a text was HTML and this build cannot read that.
    bool missesHtml() const { return m_missesHtml; }

private:
    const mimetree::OpenedParts& m_parts;
    const Places m_places;
    const size_t m_columns;
    Links m_links;
    bool m_missesHtml = false;
};
