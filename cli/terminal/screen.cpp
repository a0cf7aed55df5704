// SPDX-License-Identifier: Apache-2.0

#include "cli/terminal/screen.h"

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>
#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>

namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// NO_COLOR counts when it is set and not empty (no-color.org).
bool wantsColour() { return environment("NO_COLOR").empty() && environment("TERM") != "dumb"; }

// COLUMNS is not exported by shells, so whoever sets it means it.
size_t columnsOfTerminal() {
    const std::string_view told = environment("COLUMNS");
    size_t columns = 0;
    if (std::from_chars(told.data(), told.data() + told.size(), columns).ec == std::errc() &&
        columns > 0)
        return columns;
    struct winsize size;
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

bool namesUtf8(std::string_view locale) {
    for (const char* form : {"UTF-8", "utf-8", "UTF8", "utf8"})
        if (locale.find(form) != locale.npos) return true;
    return false;
}

// A locale that is not installed, as in many containers, is still what the terminal was set to.
bool isUtf8Locale() {
    if (locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr)) {
        const bool isUtf8 = namesUtf8(nl_langinfo_l(CODESET, locale));
        freelocale(locale);
        return isUtf8;
    }
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"})
        if (const std::string_view value = environment(name); !value.empty())
            return namesUtf8(value);
    return false;
}

}  // namespace

Screen screenOf(const std::string& colour, bool ascii) {
    Screen screen;
    screen.isTerminal = isatty(STDOUT_FILENO) == 1;
    screen.hasColour = colour == "always" || (colour == "auto" && screen.isTerminal && wantsColour());
    screen.isAscii = ascii || !isUtf8Locale();
    screen.columns = screen.isTerminal ? columnsOfTerminal() : 0;
    return screen;
}

// Wider lines are hard to read; so are those of a few words.
size_t textColumns(const Screen& screen) {
    return screen.columns ? std::clamp<size_t>(screen.columns, 20, 100) : 78;
}
