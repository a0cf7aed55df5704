// SPDX-License-Identifier: Apache-2.0
// Maildir: one file a message, in new/ and cur/, while other programs deliver, rename and delete.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <optional>
#include <vector>

#include "face/files/read_file.h"
#include "face/result/attempt.h"
#include "mimetree/mailbox.hpp"

namespace mimetree {

namespace {

namespace fs = std::filesystem;

// Where the flags begin, ":2,FS", or the name ends.  Tolerated: ";" and "!" where file systems
// refuse the colon.
size_t infoOf(std::string_view name) noexcept {
    const size_t at = name.size() < 3 ? std::string_view::npos : name.rfind("2,");
    const bool hasInfo = at != std::string_view::npos && at > 0 &&
                         std::string_view(":;!").find(name[at - 1]) != std::string_view::npos;
    return hasInfo ? at - 1 : name.size();
}

struct Entry {
    std::string name;
    bool isNew;

    // What stays the same when the file moves from new/ to cur/ or its flags change.
    std::string_view unique() const noexcept { return {name.data(), infoOf(name)}; }
};

// A file that is moved while the folders are listed stands in both: cur/ first.
bool isEarlier(const Entry& a, const Entry& b) noexcept {
    const int order = a.unique().compare(b.unique());
    return order < 0 || (order == 0 && a.isNew < b.isNew);
}

bool isListedTwice(const Entry& a, const Entry& b) noexcept {
    return a.unique() == b.unique() && a.isNew != b.isNew;
}

std::string utf8Of(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::error_code listInto(std::vector<Entry>& entries, const fs::path& directory, bool isNew) {
    std::error_code failure;
    fs::directory_iterator files(directory, failure);
    for (; !failure && files != fs::directory_iterator(); files.increment(failure)) {
        std::string name = utf8Of(files->path().filename());
        if (name.front() != '.') entries.push_back({std::move(name), isNew});
    }
    std::sort(entries.begin(), entries.end(), isEarlier);
    entries.erase(std::unique(entries.begin(), entries.end(), isListedTwice), entries.end());
    return failure;
}

// The content of a regular file; a pipe or a directory is EINVAL.
std::error_code readInto(std::string& content, const std::string& name) {
    const fs::path path = inner::pathOf(name);
    std::error_code failure;
    if (!fs::is_regular_file(path, failure))
        return failure ? failure : std::make_error_code(std::errc::invalid_argument);
    const std::uintmax_t size = fs::file_size(path, failure);
    if (failure) return failure;
    if (size > 0xFFFFFFFFu) return std::make_error_code(std::errc::file_too_large);
    errno = 0;
    const inner::OpenFile file = inner::openFile(name);
    if (!file) return {errno, std::generic_category()};
    content.resize(static_cast<size_t>(size));
    content.resize(std::fread(content.data(), 1, content.size(), file.get()));
    return std::ferror(file.get()) ? std::error_code(errno, std::generic_category()) : failure;
}

}  // namespace

struct Maildir::State {
    explicit State(const std::string& directory) : path(directory) {}

    bool next();
    bool take(const Entry& entry);
    const Entry* findMoved(const Entry& gone);
    void skip(const std::error_code& reason);

    const std::string path;
    std::vector<Entry> entries;
    size_t at = 0;                            // of the entry that next() takes
    std::optional<std::vector<Entry>> moved;  // cur/ once more, after a file was gone
    std::string file, content;
    RawMessage current;
    size_t skipped = 0;
    std::optional<Error> error;
};

bool Maildir::State::next() {
    while (at < entries.size())
        if (take(entries[at++])) return true;
    current = {};
    return false;
}

bool Maildir::State::take(const Entry& entry) {
    const Entry* found = &entry;
    file = path + (entry.isNew ? "/new/" : "/cur/") + entry.name;
    std::error_code failure = readInto(content, file);
    if (failure == std::errc::no_such_file_or_directory && (found = findMoved(entry))) {
        file = path + "/cur/" + found->name;
        failure = readInto(content, file);
    }
    if (failure) {
        skip(failure);
        return false;
    }
    const size_t info = found->unique().size();
    current.bytes = content;
    current.path = file;
    current.flags = std::string_view(found->name).substr(std::min(info + 3, found->name.size()));
    current.number += 1;
    current.size = content.size();
    return true;
}

// Limit: cur/ is listed again only once, at the first file that is gone.
const Entry* Maildir::State::findMoved(const Entry& gone) {
    if (!moved) listInto(moved.emplace(), inner::pathOf(path + "/cur"), false);
    const auto isBelow = [](const Entry& entry, std::string_view unique) {
        return entry.unique() < unique;
    };
    const auto hit = std::lower_bound(moved->begin(), moved->end(), gone.unique(), isBelow);
    return hit != moved->end() && hit->unique() == gone.unique() ? &*hit : nullptr;
}

void Maildir::State::skip(const std::error_code& reason) {
    ++skipped;
    error.emplace(Errc::io, file + ": " + reason.message());
}

Maildir::Maildir(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
Maildir::Maildir(Maildir&&) noexcept = default;
Maildir& Maildir::operator=(Maildir&&) noexcept = default;
Maildir::~Maildir() = default;

Result<Maildir> Maildir::open(const std::string& path) noexcept {
    return inner::attempt([&]() -> Result<Maildir> {
        if (const int error = inner::pathError(path)) return inner::systemError(path, error);
        auto state = std::make_unique<State>(path);
        const std::error_code inNew = listInto(state->entries, inner::pathOf(path + "/new"), true);
        const std::error_code inCur = listInto(state->entries, inner::pathOf(path + "/cur"), false);
        // Tolerated: one of the two is missing.
        const std::error_code failure =
            inNew != std::errc::no_such_file_or_directory ? inNew : inCur;
        if (failure) return Error(Errc::io, path + ": no Maildir: " + failure.message());
        return Maildir(std::move(state));
    });
}

// What was moved from is at its end.
bool Maildir::next() noexcept {
    try {
        return m_state && m_state->next();
    } catch (...) {
        m_state->error.emplace(Errc::out_of_memory, "out of memory");
        return false;
    }
}

const RawMessage& Maildir::current() const noexcept {
    static constexpr RawMessage kNoMessage = {};
    return m_state ? m_state->current : kNoMessage;
}
bool Maildir::ok() const noexcept { return !m_state || !m_state->error; }
size_t Maildir::skipped() const noexcept { return m_state ? m_state->skipped : 0; }
const Error& Maildir::error() const noexcept { return *m_state->error; }

}  // namespace mimetree
