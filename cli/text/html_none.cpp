// SPDX-License-Identifier: Apache-2.0
// In place of html_libxml2.cpp in a build without libxml2.

#include "cli/text/html.h"

std::string htmlLibrary() { return {}; }

std::string htmlText(std::string_view, const HtmlForm&, Links&) { return {}; }
