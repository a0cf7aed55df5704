// SPDX-License-Identifier: Apache-2.0
#pragma once

// Many messages: mbox files and Maildirs, message by message, never held whole.  A mailbox that
// was moved from is at its end.
//
//     auto box = mimetree::Mbox::open("archive.mbox");
//     if (!box) return report(box.error().message());
//     for (const mimetree::RawMessage& raw : *box)
//         if (auto message = raw.parse()) std::cout << message->subject() << '\n';
//     if (!box->ok()) return report(box->error().message());

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree {

// A message as it stands in a mailbox, not parsed yet.
struct RawMessage {
    std::string_view bytes;      // good until the next one is taken
    std::string_view from_line;  // mbox: the line in front, without its line end; else empty
    std::string_view path;       // Maildir: of the file; mbox: of the mailbox
    std::string_view flags;      // Maildir: "FS", the letters after ":2,"; else empty
    size_t number = 0;           // from 1
    uint64_t offset = 0;         // mbox: where its From line begins in the file
    uint64_t size = 0;           // in the file; mbox: up to where the next one begins

    // The message itself.
    Result<Message> parse(ParseOptions options = {}) const noexcept {
        return Message::parse(bytes, options);
    }
};

// How an mbox tells messages apart, and what it did to lines of text that begin with "From ".
// In all kinds a message begins with a line "From ", a sender and a date, in any form that is
// known to have been written.  It follows a blank line, which belongs to it; where there is none,
// a header field must follow.  An address without a known date will do between a blank line and
// a header field, and whatever stands behind "From " in front of the file and a header field.
enum class MboxKind {
    // Each message by itself: content_length where that fits, else rd, which also takes away what
    // kind o put in front of a line.
    automatic,
    rd,  // ">" in front of any number of ">" and "From ": one is taken away
    o,   // ">" in front of "From " alone: taken away
    // The field Content-Length says where the message ends, if the end of the file or a From
    // line follows there; else the next From line does.  Lines are as they were.
    content_length,
    none,  // lines are as they were
};

// Where bytes come from, front to back.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    // Puts up to `size` bytes into `to` and answers their number; 0 at the end, and -errno for an
    // error.
    virtual std::ptrdiff_t read(char* to, size_t size) noexcept = 0;
};

namespace detail {

// Walks a mailbox once: each of its iterators is at the same message.
template <class Mailbox>
class MailboxIterator {
public:
    using iterator_concept = std::input_iterator_tag;
    using value_type = RawMessage;
    using difference_type = std::ptrdiff_t;

    MailboxIterator() = default;
    explicit MailboxIterator(Mailbox& box) noexcept : m_box(&box) { ++*this; }

    const RawMessage& operator*() const noexcept { return m_box->current(); }
    const RawMessage* operator->() const noexcept { return &m_box->current(); }
    MailboxIterator& operator++() noexcept {
        if (!m_box->next()) m_box = nullptr;
        return *this;
    }
    void operator++(int) noexcept { ++*this; }
    bool operator==(std::default_sentinel_t) const noexcept { return !m_box; }

private:
    Mailbox* m_box = nullptr;
};

}  // namespace detail

// An mbox (RFC 4155 and its kin), read front to back through a buffer as large as its largest
// message.  Text in front of the first From line is a message without one; an empty file has no
// messages, and what begins with no text is an error.
class MIMETREE_API Mbox {
public:
    // A file.
    static Result<Mbox> open(const std::string& path, MboxKind kind = MboxKind::automatic) noexcept;

    // Out of anything else: standard input, a compressed file.
    static Result<Mbox> from(std::unique_ptr<ByteSource> source, std::string_view name,
                             MboxKind kind = MboxKind::automatic) noexcept;

    Mbox(Mbox&&) noexcept;
    Mbox& operator=(Mbox&&) noexcept;
    ~Mbox();

    // As asked for; of the current message, where that was automatic.
    MboxKind kind() const noexcept;

    // Goes on to the next message; false at the end and after an error.
    bool next() noexcept;
    const RawMessage& current() const noexcept;

    // The messages that are left, as a range that can be walked once.
    auto begin() noexcept { return detail::MailboxIterator<Mbox>(*this); }
    auto end() const noexcept { return std::default_sentinel; }

    // False when reading stopped before the end; the reason why.
    bool ok() const noexcept;
    const Error& error() const noexcept;  // only when not ok()

private:
    struct State;
    explicit Mbox(std::unique_ptr<State> state) noexcept;
    std::unique_ptr<State> m_state;
};

// Where bytes go to, front to back.
class ByteSink {
public:
    virtual ~ByteSink() = default;

    // Takes all of the bytes; 0, or the errno value that tells why not.
    virtual int write(std::string_view bytes) noexcept = 0;
};

// Writes an mbox of kind rd (RFC 4155), out of which Mbox reads the same bytes again.
//
//     auto box = mimetree::MboxWriter::create("new.mbox");
//     if (!box) return report(box.error().message());
//     for (const std::string& mail : mails)
//         if (auto done = box->add(mail); !done) return report(done.error().message());
//     if (auto done = box->close(); !done) return report(done.error().message());
class MIMETREE_API MboxWriter {
public:
    // A new file; one that is there, be it a symbolic link, stays as it is and is an error.
    static Result<MboxWriter> create(const std::string& path) noexcept;

    // Into anything else; `name` stands in errors.  Each message is written at once.
    static Result<MboxWriter> to(std::unique_ptr<ByteSink> sink, std::string_view name) noexcept;

    MboxWriter(MboxWriter&&) noexcept;
    MboxWriter& operator=(MboxWriter&&) noexcept;
    ~MboxWriter();

    // Adds a message with any bytes, whatever its line ends are.  The From line has the sender and
    // the time of delivery, in UTC, that the header tells (Return-Path or From, the first Received
    // or Date), or else MAILER-DAEMON and 1970.  A tab behind them is for Mbox: not to believe a
    // Content-Length; a second one, that the last line end is not the message's, which had none.
    // What was moved from or closed takes none.
    Result<void> add(std::string_view mail) noexcept;

    // The file is whole only when this says so.  Nothing can be added any more.
    Result<void> close() noexcept;

private:
    struct State;
    explicit MboxWriter(std::unique_ptr<State> state) noexcept;
    std::unique_ptr<State> m_state;
};

// A Maildir: the messages in its new/ and cur/, by file name.
class MIMETREE_API Maildir {
public:
    // The directory that holds new/ and cur/.
    static Result<Maildir> open(const std::string& path) noexcept;

    Maildir(Maildir&&) noexcept;
    Maildir& operator=(Maildir&&) noexcept;
    ~Maildir();

    // As in Mbox.  A file that cannot be read ends nothing: skipped() counts it, error() names
    // the last of them.
    bool next() noexcept;
    const RawMessage& current() const noexcept;
    auto begin() noexcept { return detail::MailboxIterator<Maildir>(*this); }
    auto end() const noexcept { return std::default_sentinel; }
    bool ok() const noexcept;
    size_t skipped() const noexcept;
    const Error& error() const noexcept;

private:
    struct State;
    explicit Maildir(std::unique_ptr<State> state) noexcept;
    std::unique_ptr<State> m_state;
};

}  // namespace mimetree
