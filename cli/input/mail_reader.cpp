// SPDX-License-Identifier: Apache-2.0
// Finds the files that the paths name, and reads each whole (readWhole).

#include "cli/input/mail_reader.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

bool isDirectory(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

}  // namespace

MailReader::MailReader(const CommonOptions& common) {
    for (const std::string& path : common.paths)
        m_todo.push_back({path, path != "-" && isDirectory(path)});
    m_areSeveral = m_todo.size() > 1 || m_todo.front().isDirectory;
    std::ranges::reverse(m_todo);
}

bool MailReader::next(RawMail& raw) {
    raw = {};
    raw.isOneOfSeveral = m_areSeveral;
    while (!m_todo.empty()) {
        const Entry entry = std::move(m_todo.back());
        m_todo.pop_back();
        raw.name = entry.path;
        if (!entry.isDirectory) {
            if (const char* reason = readWhole(entry.path, raw.bytes)) raw.failure = reason;
            return true;
        }
        const std::error_code error = openDirectory(entry.path);
        if (error) raw.failure = std::strerror(error.value());
        if (error) return true;
    }
    return false;
}

// Regular files and directories; symbolic links are neither, so no walk goes in circles.  What
// cannot be looked at counts as a file: opening it fails, and tells why.
std::error_code MailReader::list(const std::string& path, std::vector<Entry>& entries) {
    std::error_code error;
    fs::directory_iterator at(path, error);
    for (; !error && at != fs::directory_iterator(); at.increment(error)) {
        std::error_code unseen;
        const fs::file_status status = at->symlink_status(unseen);
        const bool isGone = status.type() == fs::file_type::not_found;
        if (fs::is_directory(status)) entries.push_back({at->path().string(), true});
        else if (fs::is_regular_file(status) || (unseen && !isGone))
            entries.push_back({at->path().string(), false});
    }
    return error;
}

std::error_code MailReader::openDirectory(const std::string& path) {
    std::vector<Entry> entries;
    const std::error_code error = list(path, entries);
    std::ranges::sort(entries, std::greater(), &Entry::sortKey);
    m_todo.insert(m_todo.end(), entries.begin(), entries.end());
    return error;
}
