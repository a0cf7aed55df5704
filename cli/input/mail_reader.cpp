// SPDX-License-Identifier: Apache-2.0
// Opens the places that Walk finds: a mail alone, an mbox, one message of an mbox, a Maildir.

#include "cli/input/mail_reader.h"

#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <optional>

#include "cli/input/overlap.h"
#include "cli/input/source.h"
#include "face/mailbox/separator.h"
#include "mimetree/mailbox.hpp"

using mimetree::Maildir;
using mimetree::Mbox;

namespace {

// As much as tells an mbox: blank lines and a line "From " with the field behind it.
constexpr size_t kFront = 4096;

// One mail, or why it cannot be read.
class OneMail : public MailStream {
public:
    explicit OneMail(RawMail mail) : m_mail(std::move(mail)) {}

    bool next(RawMail& mail) override {
        if (!m_mail) return false;
        mail = *std::move(m_mail);
        m_mail.reset();
        return true;
    }

private:
    std::optional<RawMail> m_mail;
};

std::unique_ptr<MailStream> failed(const std::string& name, std::string_view reason) {
    RawMail mail;
    mail.name = name;
    mail.failure = reason;
    return std::make_unique<OneMail>(std::move(mail));
}

// What mailboxes say, without their name, which stands in front of it.
std::string reasonOf(const mimetree::Error& error, const std::string& name) {
    const std::string& text = error.message();
    return text.starts_with(name + ": ") ? text.substr(name.size() + 2) : text;
}

// An mbox.  Its messages have numbers, unless there is one only.
class MboxMails : public MailStream {
public:
    MboxMails(Mbox box, const Source& source, const std::string& name)
        : m_box(std::move(box)), m_source(source), m_name(name) {}

    bool next(RawMail& mail) override {
        if (m_ahead) {
            mail = *std::move(m_ahead);
            m_ahead.reset();
            return true;
        }
        const bool isFirst = !m_isBegun;
        if (!read(mail)) return false;
        if (!isFirst || !mail.failure.empty()) return true;
        RawMail second;
        if (read(second)) m_ahead = std::move(second);
        else mail.name = m_name;
        mail.isOneOfSeveral = m_ahead.has_value();
        return true;
    }

    // The one with that number.
    std::unique_ptr<MailStream> only(size_t number) {
        RawMail mail;
        for (size_t i = 1; i < number && m_box.next();) ++i;
        if (!read(mail)) return failed(m_name, "no message #" + std::to_string(number));
        mail.isOneOfSeveral = false;
        return std::make_unique<OneMail>(std::move(mail));
    }

private:
    bool read(RawMail& mail) {
        m_isBegun = true;
        m_source.beginMessage();
        mail = {};
        mail.isOneOfSeveral = true;
        if (m_box.next()) {
            const mimetree::RawMessage& raw = m_box.current();
            mail.name = m_name + "#" + std::to_string(raw.number);
            mail.bytes = raw.bytes;
            mail.fromLine = raw.from_line;
            return true;
        }
        if (m_box.ok() || m_isTold) return false;
        m_isTold = true;
        mail.name = m_name;
        mail.failure = m_source.error() ? m_source.error() : reasonOf(m_box.error(), m_name);
        return true;
    }

    Mbox m_box;
    const Source& m_source;  // of the box
    const std::string m_name;
    std::optional<RawMail> m_ahead;  // the second, which tells whether there are several
    bool m_isBegun = false, m_isTold = false;
};

class MaildirMails : public MailStream {
public:
    MaildirMails(Maildir box, std::atomic<uint64_t>& bytesRead)
        : m_box(std::move(box)), m_bytesRead(bytesRead) {}

    bool next(RawMail& mail) override {
        mail = {};
        mail.isOneOfSeveral = true;
        const size_t skipped = m_box.skipped();
        if (!m_isHeld && !m_box.next() && m_box.skipped() == skipped) return false;
        m_isHeld = !m_isHeld && m_box.skipped() > skipped && !m_box.current().path.empty();
        if (m_box.skipped() > skipped) mail.failure = m_box.error().message();
        else take(mail);
        return true;
    }

private:
    void take(RawMail& mail) {
        m_bytesRead += m_box.current().size;
        mail.name = m_box.current().path;
        mail.bytes = m_box.current().bytes;
        if (!isGzip(mail.bytes)) return;
        std::string bytes;
        if (const char* reason = sourceOf(mail.bytes)->readAll(bytes)) mail.failure = reason;
        mail.bytes = std::move(bytes);
    }

    Maildir m_box;
    std::atomic<uint64_t>& m_bytesRead;
    bool m_isHeld = false;  // the current one is not given yet, for others before it failed
};

bool isMbox(std::string_view front) {
    front.remove_prefix(mimetree::inner::inFrontOfMbox(front));
    return mimetree::inner::beginsMessage(front, mimetree::inner::LineBefore::start_of_file);
}

constexpr size_t kAll = 0;

// All messages of a file, or the one with that number.
std::unique_ptr<MailStream> openFile(const std::string& path, mimetree::MboxKind kind,
                                     size_t number, std::atomic<uint64_t>& bytesRead) {
    if (isStandardOutput(path)) return failed(path, "what is written goes there");
    std::unique_ptr<Source> source = openSource(path, &bytesRead);
    if (!source) return failed(path, std::strerror(errno));
    if (!isMbox(source->front(kFront))) {
        RawMail mail;
        mail.name = path;
        if (number > 1) return failed(path, "no mbox");
        if (const char* reason = source->readAll(mail.bytes)) return failed(path, reason);
        return std::make_unique<OneMail>(std::move(mail));
    }
    const Source& opened = *source;
    auto box = Mbox::from(std::move(source), path, kind);
    if (!box) return failed(path, reasonOf(box.error(), path));
    auto mails = std::make_unique<MboxMails>(*std::move(box), opened, path);
    return number == kAll ? std::move(mails) : mails->only(number);
}

// "archive.mbox#17", where no file has that name.
struct Numbered {
    std::string path;
    size_t number = 0;
};

std::optional<Numbered> numbered(const std::string& name) {
    struct stat info;
    const size_t mark = name.rfind('#');
    if (mark == name.npos || mark == 0 || stat(name.c_str(), &info) == 0) return std::nullopt;
    Numbered found{name.substr(0, mark), 0};
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data() + mark + 1, end, found.number);
    const bool isNumber = error == std::errc() && stop == end && found.number > 0;
    return isNumber ? std::optional(found) : std::nullopt;
}

uint64_t sizeBelow(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::is_regular_file(path, error)) return fs::file_size(path, error);
    uint64_t size = 0;
    fs::recursive_directory_iterator at(path, error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        std::error_code unseen;
        if (at->is_regular_file(unseen)) size += at->file_size(unseen);
    }
    return size;
}

}  // namespace

MailReader::MailReader(const CommonOptions& common)
    : m_common(common), m_walk(common.paths, common.output) {}

bool MailReader::areSeveral() {
    RawMail first;
    if (!m_first && next(first)) m_first = std::move(first);
    return m_first && m_first->isOneOfSeveral;
}

bool MailReader::next(RawMail& mail) {
    if (m_first) {
        mail = *std::move(m_first);
        m_first.reset();
        return true;
    }
    while (true) {
        if (m_stream && m_stream->next(mail)) break;
        Walk::Place place;
        if (!m_walk.next(place)) return false;
        m_stream = open(place);
    }
    mail.isOneOfSeveral |= m_walk.areSeveral();
    return true;
}

std::unique_ptr<MailStream> MailReader::open(const Walk::Place& place) {
    if (place.error) return failed(place.path, std::strerror(place.error.value()));
    if (place.kind == Walk::Kind::Maildir) {
        auto box = Maildir::open(place.path);
        if (!box) return failed(place.path, reasonOf(box.error(), place.path));
        return std::make_unique<MaildirMails>(*std::move(box), m_bytesRead);
    }
    if (const std::optional<Numbered> one = numbered(place.path))
        return openFile(one->path, m_common.mbox, one->number, m_bytesRead);
    return openFile(place.path, m_common.mbox, kAll, m_bytesRead);
}

uint64_t MailReader::bytesInAll() const {
    uint64_t size = 0;
    for (const std::string& path : m_common.paths) size += sizeBelow(path);
    return size;
}

const char* readWhole(const std::string& path, std::string& bytes) {
    const std::unique_ptr<Source> source = openSource(path);
    return source ? source->readAll(bytes) : std::strerror(errno);
}
