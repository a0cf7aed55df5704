// SPDX-License-Identifier: Apache-2.0
// Finds the files that the paths name, reads each whole (readWhole), loads it and hands it to
// the command: forEachMessage, called by every command that reads mail.

#include "cli/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <vector>

#include "cli/error_log.h"
#include "foundation/LogNull.h"

namespace fs = std::filesystem;

namespace {

// Limit: the engine counts bytes in 32 bits.
constexpr uint64_t kTooLarge = uint64_t{1} << 32;
constexpr unsigned kReadSize = 1u << 20;
constexpr const char* kTooLargeText = "larger than 4 GiB";

const char* errorText() { return std::strerror(errno); }

class File {
public:
    explicit File(const std::string& path)
        : m_fd(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (m_fd > STDIN_FILENO) close(m_fd);
    }

    const char* readAll(DataBuffer& bytes) const {
        struct stat info;
        if (m_fd < 0 || fstat(m_fd, &info) != 0) return errorText();
        if (S_ISREG(info.st_mode) && static_cast<uint64_t>(info.st_size) >= kTooLarge)
            return kTooLargeText;
        const bool sizeIsKnown = S_ISREG(info.st_mode) && m_fd != STDIN_FILENO && info.st_size > 0;
        return sizeIsKnown ? readKnown(bytes, static_cast<unsigned>(info.st_size))
                           : readToEnd(bytes);
    }

private:
    const char* readKnown(DataBuffer& bytes, unsigned size) const {
        unsigned char* to = bytes.extend(size);
        if (!to) return "out of memory";
        unsigned done = 0;
        while (done < size) {
            const ssize_t got = readSome(to + done, size - done);
            if (got < 0) return errorText();
            if (got == 0) break;  // the file has shrunk since
            done += static_cast<unsigned>(got);
        }
        bytes.shorten(size - done);
        return nullptr;
    }

    const char* readToEnd(DataBuffer& bytes) const {
        for (;;) {
            if (bytes.getSize() > kTooLarge - 1 - kReadSize) return kTooLargeText;
            unsigned char* to = bytes.extend(kReadSize);
            if (!to) return "out of memory";
            const ssize_t got = readSome(to, kReadSize);
            if (got < 0) return errorText();
            bytes.shorten(kReadSize - static_cast<unsigned>(got));
            if (got == 0) return nullptr;
        }
    }

    ssize_t readSome(unsigned char* to, unsigned size) const {
        ssize_t got;
        do got = read(m_fd, to, size);
        while (got < 0 && errno == EINTR);
        return got;
    }

    int m_fd;
};

struct Entry {
    std::string path;
    bool isDirectory;

    // Directories count with their "/", which makes the order that of whole paths.
    std::string sortKey() const { return isDirectory ? path + "/" : path; }
};

// Regular files and directories; symbolic links are neither, so no walk goes in circles.  What
// cannot be looked at counts as a file: opening it fails, and tells why.
std::error_code listDirectory(const std::string& path, std::vector<Entry>& entries) {
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

class MessageReader {
public:
    MessageReader(const Options& options, Output& out, Heading heading, const ShowMessage& show)
        : m_options(options),
          m_out(out),
          m_heading(heading),
          m_show(show),
          m_log(makeLog(options)) {}

    ExitStatus run() {
        m_todo.reserve(m_options.paths.size());
        for (const std::string& path : m_options.paths)
            m_todo.push_back({path, path != "-" && isDirectory(path)});
        m_severalMessages = m_todo.size() > 1 || m_todo.front().isDirectory;
        std::reverse(m_todo.begin(), m_todo.end());
        while (!m_todo.empty() && m_out.good()) next();
        return m_status;
    }

private:
    static bool isDirectory(const std::string& path) {
        std::error_code ignored;
        return fs::is_directory(path, ignored);
    }

    void next() {
        const Entry entry = std::move(m_todo.back());
        m_todo.pop_back();
        if (entry.isDirectory) return openDirectory(entry.path);
        try {
            showFile(entry.path);
        } catch (const std::bad_alloc&) {
            fail(entry.path, "out of memory");
        }
    }

    void openDirectory(const std::string& path) {
        std::vector<Entry> entries;
        if (const std::error_code error = listDirectory(path, entries))
            fail(path, std::strerror(error.value()));
        std::sort(entries.begin(), entries.end(),
                  [](const Entry& a, const Entry& b) { return a.sortKey() > b.sortKey(); });
        m_todo.insert(m_todo.end(), entries.begin(), entries.end());
    }

    void showFile(const std::string& path) {
        auto root = std::make_unique<MimeMessage2>();
        {
            DataBuffer bytes;
            if (const char* reason = readWhole(path, bytes)) return fail(path, reason);
            if (!root->loadMimeCompleteDb(bytes, *m_log)) return fail(path, "not a MIME message");
        }
        const auto mail = mimetree::Message::adopt(root.release());
        if (!mail) return fail(path, mail.error().message().c_str());
        if (m_severalMessages && m_heading == Heading::Path) writeHeading(path);
        m_status =
            std::max(m_status, m_show({path, *mail, mail->node(), *m_log}, m_options, m_out));
    }

    void writeHeading(const std::string& path) {
        if (!m_isFirst) m_out.write("\n");
        m_isFirst = false;
        m_out.write(m_out.coloured(Colour::Bold, oneLine(path)) + "\n");
    }

    void fail(const std::string& path, const char* reason) {
        reportError(path, reason);
        m_status = std::max(m_status, kFailed);
    }

    const Options& m_options;
    Output& m_out;
    const Heading m_heading;
    const ShowMessage& m_show;
    const std::unique_ptr<LogBase> m_log;
    std::vector<Entry> m_todo;  // the next one last
    bool m_severalMessages = false;
    bool m_isFirst = true;
    ExitStatus m_status = kDone;
};

}  // namespace

ExitStatus forEachMessage(const Options& options, Output& out, Heading heading,
                          const ShowMessage& show) {
    return MessageReader(options, out, heading, show).run();
}

std::unique_ptr<LogBase> makeLog(const Options& options) {
    std::unique_ptr<LogBase> log(options.log ? static_cast<LogBase*>(new ErrorLog) : new LogNull);
    log->m_verbose = options.log;
    if (options.strict) log->m_options.setString("StrictMimeParsing");
    return log;
}

const char* readWhole(const std::string& path, DataBuffer& bytes) {
    return File(path).readAll(bytes);
}
