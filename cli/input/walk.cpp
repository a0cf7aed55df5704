// SPDX-License-Identifier: Apache-2.0
// Goes through directories: plain ones, MH folders (files with numbers for names) and Maildirs
// (new/ and cur/, which mimetree::Maildir reads), with what is below them.

#include "cli/input/walk.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// Without links, as far as there is anything.
std::string realPath(const std::string& path) {
    std::error_code ignored;
    return fs::weakly_canonical(fs::absolute(path, ignored), ignored).string();
}

bool isDirectory(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

std::string below(const std::string& directory, const char* name) {
    return directory + (directory.ends_with('/') ? "" : "/") + name;
}

bool isMaildir(const std::string& path) {
    return isDirectory(below(path, "cur")) && isDirectory(below(path, "new"));
}

bool isNumber(std::string_view name) {
    return !name.empty() && name.find_first_not_of("0123456789") == name.npos;
}

// MH folders keep what is no message beside the messages, whose names are numbers.
bool isMhFolder(const std::string& path) {
    std::error_code ignored;
    return fs::exists(below(path, ".mh_sequences"), ignored);
}

std::string_view nameOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

struct Walk::Listed {
    std::vector<Entry> entries;

    // Of directories with their "/", which makes the order that of whole paths; numbers by size.
    static bool isBehind(const Entry& a, const Entry& b) {
        const std::string_view one = nameOf(a.path), other = nameOf(b.path);
        if (isNumber(one) && isNumber(other) && one.size() != other.size())
            return one.size() > other.size();
        return a.path + (a.isDirectory ? "/" : "") > b.path + (b.isDirectory ? "/" : "");
    }
};

Walk::Walk(const std::vector<std::string>& paths, const std::string& written)
    : m_written(written.empty() ? written : realPath(written)) {
    for (const std::string& path : paths) {
        const bool isFolder = path != "-" && isDirectory(path);
        m_todo.push_back({path, isFolder ? path : "", isFolder});
    }
    m_areSeveral = m_todo.size() > 1 || m_todo.front().isDirectory;
    std::ranges::reverse(m_todo);
}

bool Walk::next(Place& place) {
    while (!m_todo.empty()) {
        const Entry entry = std::move(m_todo.back());
        m_todo.pop_back();
        place = {entry.path, Kind::File, {}};
        if (!entry.isDirectory || enter(entry, place)) return true;
    }
    return false;
}

// True when there is something to tell of the directory itself.
bool Walk::enter(const Entry& directory, Place& place) {
    Listed listed;
    place.error = list(directory, listed);
    std::ranges::sort(listed.entries, Listed::isBehind);
    m_todo.insert(m_todo.end(), listed.entries.begin(), listed.entries.end());
    if (!place.error && isMaildir(directory.path)) place.kind = Kind::Maildir;
    return place.error || place.kind == Kind::Maildir;
}

// What cannot be looked at counts as a file: opening it fails, and tells why.
std::error_code Walk::list(const Entry& directory, Listed& listed) {
    const bool isInMaildir = isMaildir(directory.path), isInMh = isMhFolder(directory.path);
    const std::string front = below(realPath(directory.path), "");
    std::error_code error;
    fs::directory_iterator at(directory.path, error);
    for (; !error && at != fs::directory_iterator(); at.increment(error)) {
        const std::string path = at->path().string();
        const std::string_view name = nameOf(path);
        std::error_code unseen;
        const fs::file_type type = at->symlink_status(unseen).type();
        const Entry entry{path, directory.root, type == fs::file_type::directory};
        if (std::string(front).append(name) == m_written) {
            ++m_outputs;
        } else if (entry.isDirectory) {
            const bool isRead = isInMaildir && (name == "cur" || name == "new" || name == "tmp");
            if (!isRead) listed.entries.push_back(entry);
        } else if (isInMaildir) continue;  // what programs keep beside the messages
        else if (name.starts_with('.') || (isInMh && !isNumber(name))) ++m_hidden;
        else if (type == fs::file_type::symlink && !isFollowed(entry)) ++m_links;
        else if (type == fs::file_type::regular || type == fs::file_type::symlink || unseen)
            listed.entries.push_back(entry);
        else if (type != fs::file_type::not_found) ++m_others;
    }
    return error;
}

// Links to files are followed, once each, unless the walk comes there by itself.  Those to
// directories are not, so that no walk goes in circles.
bool Walk::isFollowed(const Entry& link) {
    std::error_code lost, ignored;
    const std::string target = fs::canonical(link.path, lost).string();
    if (lost || !fs::is_regular_file(target, ignored)) return false;
    const std::string root = fs::canonical(link.root, ignored).string();
    return !target.starts_with(below(root, "")) && m_followed.insert(target).second;
}

std::string Walk::skipped() const {
    const std::pair<size_t, const char*> kinds[] = {{m_links, "symbolic link"},
                                                    {m_hidden, "hidden file"},
                                                    {m_others, "special file"},
                                                    {m_outputs, "output"}};
    std::string text;
    for (const auto& [count, what] : kinds)
        if (count > 0)
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what +
                    (count == 1 ? "" : "s");
    return text;
}
