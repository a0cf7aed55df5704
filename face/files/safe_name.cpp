// SPDX-License-Identifier: Apache-2.0
// File names out of mail are chosen by whoever sent it.  Part::name() asks here what of them may
// name a file; folder.cpp, how a name in use is varied.

#include "face/files/safe_name.h"

#include "face/files/harm.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

// Limit: what file systems take for one name, in bytes, and what still is an extension.
constexpr size_t kMaxName = 255;
constexpr size_t kMaxExtension = 32;

// What Windows takes in no name; a colon would even write to a stream within another file.
#ifdef _WIN32
constexpr std::string_view kForbidden = "<>:\"|?*";
#else
constexpr std::string_view kForbidden;
#endif

bool equalIgnoreCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && bytes::equalIgnoreCase(a.data(), b.data(), a.size());
}

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Either system's directories, and a drive ("C:name").
std::string_view withoutDirectory(std::string_view name) {
    name.remove_prefix(name.find_last_of("/\\") + 1);  // npos + 1 is 0
    while (name.size() >= 2 && isLetter(name[0]) && name[1] == ':') name.remove_prefix(2);
    return name;
}

// Some systems drop these, and ".. ." would be "..".
std::string_view withoutTail(std::string_view name) {
    return name.substr(0, name.find_last_not_of(" .") + 1);
}

// Windows takes these for devices, whatever the extension.
bool isDevice(std::string_view name) {
    const std::string_view stem = withoutTail(name.substr(0, name.find('.')));
    for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"})
        if (equalIgnoreCase(stem, device)) return true;
    const bool isPort =
        equalIgnoreCase(stem.substr(0, 3), "COM") || equalIgnoreCase(stem.substr(0, 3), "LPT");
    const std::string_view number = isPort ? stem.substr(3) : std::string_view();
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\u00B9" ||
           number == "\u00B2" || number == "\u00B3";
}

size_t extensionAt(std::string_view name) {
    const size_t dot = name.rfind('.');
    const bool isExtension = dot != std::string_view::npos && dot > 0;
    return isExtension && name.size() - dot <= kMaxExtension ? dot : name.size();
}

}  // namespace

// Where a name begins with a dot the file is hidden and may set up a program; one that begins
// with "-" is an option to whoever writes "rm *".
std::string safeName(std::string_view name) {
    std::string safe = withoutHarm(withoutDirectory(name), '_');
    for (char& c : safe)
        if (kForbidden.find(c) != kForbidden.npos) c = '_';
    safe.resize(withoutTail(safe).size());
    const bool isSpecial = !safe.empty() && (safe[0] == '.' || safe[0] == '-' || isDevice(safe));
    return isSpecial ? "_" + safe : safe;
}

std::string fittedName(std::string_view name, std::string_view suffix) {
    const size_t dot = extensionAt(name);
    const std::string_view extension = name.substr(dot);
    std::string_view stem = name.substr(0, dot);
    const size_t room = kMaxName - extension.size() - suffix.size();
    if (stem.size() > room) {
        size_t end = room;
        while (end > 0 && (static_cast<unsigned char>(stem[end]) & 0xC0) == 0x80) --end;
        stem = withoutTail(stem.substr(0, end));
    }
    return std::string(stem) + std::string(suffix) + std::string(extension);
}

bool hasExtension(std::string_view name, std::string_view extension) {
    return name.size() > extension.size() &&
           equalIgnoreCase(name.substr(name.size() - extension.size()), extension) &&
           name[name.size() - extension.size() - 1] == '.';
}

}  // namespace mimetree::inner
