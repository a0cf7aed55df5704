// SPDX-License-Identifier: Apache-2.0
// Makes files for attachments, of Part::save and of the program.

#include "face/files/folder.h"

#include <cerrno>

#include "face/files/read_file.h"
#include "face/files/safe_name.h"

namespace mimetree::inner {

namespace {

std::string numbered(const std::string& wanted, unsigned number) {
    return fittedName(wanted, number == 1 ? "" : " (" + std::to_string(number) + ")");
}

}  // namespace

Folder::Folder(const std::string& path, Mode mode) : m_mode(mode) {
    m_error = pathError(path);
    if (!m_error && mode == Mode::Write) m_error = Directory::make(path);
    if (m_error) return;
    m_error = m_directory.open(path);
    if (mode == Mode::DryRun && m_error == ENOENT && !path.empty()) m_error = 0;
}

int Folder::save(std::string& name, std::string_view bytes,
                 std::optional<std::chrono::sys_seconds> date) {
    const std::string wanted = name;
    for (;;) {
        name = numbered(wanted, freeNumber(wanted));
        if (m_mode == Mode::DryRun) return m_planned.insert(name), 0;
        const int error = m_directory.create(name, bytes, date);
        if (error != EEXIST) return error;  // or else somebody was quicker
    }
}

// By doubling and halving, or ten thousand namesakes would try fifty million names.
unsigned Folder::freeNumber(const std::string& wanted) const {
    unsigned taken = 0, free = 1;
    while (isTaken(numbered(wanted, free))) {
        taken = free;
        free *= 2;
    }
    while (free - taken > 1) {
        const unsigned middle = taken + (free - taken) / 2;
        (isTaken(numbered(wanted, middle)) ? taken : free) = middle;
    }
    return free;
}

bool Folder::isTaken(const std::string& name) const {
    return m_planned.count(name) != 0 || m_directory.has(name);
}

}  // namespace mimetree::inner
