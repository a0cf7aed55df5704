// SPDX-License-Identifier: Apache-2.0
#pragma once

// HTML as text for reading.  Nothing is fetched, no entity of the document's own is known, no
// script runs.

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// The targets of links, numbered from 1 as they come.
class Links {
public:
    unsigned numberOf(const std::string& url);
    const std::vector<std::string>& list() const { return m_list; }

private:
    std::vector<std::string> m_list;
    std::map<std::string, unsigned> m_numbers;
};

struct HtmlForm {
    size_t columns = 78;  // lines are filled up to there
    // The name of a picture within the message, for "[image: NAME]"; empty when there is none.
    std::function<std::string(std::string_view url)> pictureName;
};

// The library with its version that reads HTML; empty in a build without, where no HTML becomes
// text.
std::string htmlLibrary();

// Lines that end with "\n", hostile characters and all; links as "text [1]".  `html` is UTF-8.
std::string htmlText(std::string_view html, const HtmlForm& form, Links& links);
