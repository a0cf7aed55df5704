// SPDX-License-Identifier: Apache-2.0
#pragma once

// What standard output is, and how it wants to be written to.

#include <cstddef>
#include <string>

struct Screen {
    bool isTerminal = false;
    bool hasColour = false;
    bool isAscii = false;  // lines of "|" and "-" instead of box drawing
    size_t columns = 0;    // of the terminal; 0: no terminal, where nothing is cut
};

// `colour` is "auto" (on a terminal, unless NO_COLOR is set), "always" or "never".  Lines are in
// ASCII on demand and where the locale is not UTF-8.
Screen screenOf(const std::string& colour, bool ascii);

// How wide text for reading is at most.
size_t textColumns(const Screen& screen);
