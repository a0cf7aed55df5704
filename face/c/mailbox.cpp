// SPDX-License-Identifier: Apache-2.0
// The C interface to Mbox, MboxWriter and Maildir.

#include "face/c/handles.h"

using mimetree::Maildir;
using mimetree::Mbox;
using mimetree::MboxKind;
using mimetree::MboxWriter;
using mimetree::RawMessage;
using mimetree::inner::attempt;
using mimetree::inner::c::codeOf;
using mimetree::inner::c::give;
using mimetree::inner::c::givenBytes;
using mimetree::inner::c::lend;
using mimetree::inner::c::orEmpty;
using mimetree::inner::c::refuseNull;
using mimetree::inner::c::remember;

namespace {

constexpr bool isSame(mt_mbox_kind kind, MboxKind same) { return int(kind) == int(same); }
static_assert(isSame(MT_MBOX_AUTOMATIC, MboxKind::automatic) && isSame(MT_MBOX_RD, MboxKind::rd) &&
              isSame(MT_MBOX_O, MboxKind::o) && isSame(MT_MBOX_NONE, MboxKind::none) &&
              isSame(MT_MBOX_CONTENT_LENGTH, MboxKind::content_length));

class ReaderSource final : public mimetree::ByteSource {
public:
    ReaderSource(mt_reader reader, void* context) : m_reader(reader), m_context(context) {}
    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        return m_reader(m_context, to, size);
    }

private:
    const mt_reader m_reader;
    void* const m_context;
};

class BytesSource final : public mimetree::ByteSource {
public:
    BytesSource(const void* bytes, size_t size) : m_rest(static_cast<const char*>(bytes), size) {}
    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        const size_t n = m_rest.copy(to, size);
        m_rest.remove_prefix(n);
        return static_cast<std::ptrdiff_t>(n);
    }

private:
    std::string_view m_rest;
};

class WriterSink final : public mimetree::ByteSink {
public:
    WriterSink(mt_writer writer, void* context) : m_writer(writer), m_context(context) {}
    int write(std::string_view bytes) noexcept override {
        return m_writer(m_context, bytes.data(), bytes.size());
    }

private:
    const mt_writer m_writer;
    void* const m_context;
};

template <class Handle>
RawMessage currentOf(const Handle* box) {
    return box ? box->box.current() : RawMessage();
}

template <class Handle>
mt_code statusOf(const Handle* box) {
    if (!box) return refuseNull();
    return box->box.ok() ? MT_OK : remember(box->box.error());
}

template <class Handle>
const void* lendMessage(const Handle* box, size_t* size) {
    return lend(std::as_bytes(std::span(currentOf(box).bytes)), size);
}

template <class Handle>
mt_message* parseMessage(const Handle* box, unsigned options) {
    if (!box) return refuseNull(), nullptr;
    return give<mt_message>(currentOf(box).parse({.strict = (options & MT_STRICT) != 0}));
}

// The mailboxes put a NUL behind these.
const char* lendTerminated(std::string_view text) { return text.empty() ? "" : text.data(); }

}  // namespace

mt_mbox* mt_mbox_open(const char* path, mt_mbox_kind kind) {
    if (!path) return refuseNull(), nullptr;
    return give<mt_mbox>(attempt([&] { return Mbox::open(path, static_cast<MboxKind>(kind)); }));
}

mt_mbox* mt_mbox_from(mt_reader reader, void* context, const char* name, mt_mbox_kind kind) {
    if (!reader) return refuseNull(), nullptr;
    return give<mt_mbox>(attempt([&] {
        return Mbox::from(std::make_unique<ReaderSource>(reader, context), orEmpty(name),
                          static_cast<MboxKind>(kind));
    }));
}

mt_mbox* mt_mbox_from_bytes(const void* bytes, size_t size, mt_mbox_kind kind) {
    bytes = givenBytes(bytes, size);
    if (!bytes) return refuseNull(), nullptr;
    return give<mt_mbox>(attempt([&] {
        return Mbox::from(std::make_unique<BytesSource>(bytes, size), "mbox",
                          static_cast<MboxKind>(kind));
    }));
}

void mt_mbox_free(mt_mbox* box) { delete box; }
int mt_mbox_next(mt_mbox* box) { return box && box->box.next(); }
mt_code mt_mbox_status(const mt_mbox* box) { return statusOf(box); }

mt_mbox_kind mt_mbox_kind_of(const mt_mbox* box) {
    return box ? static_cast<mt_mbox_kind>(box->box.kind()) : MT_MBOX_AUTOMATIC;
}

const void* mt_mbox_bytes(const mt_mbox* box, size_t* size) { return lendMessage(box, size); }

const char* mt_mbox_from_line(const mt_mbox* box) {
    return lendTerminated(currentOf(box).from_line);
}

size_t mt_mbox_number(const mt_mbox* box) { return currentOf(box).number; }
uint64_t mt_mbox_offset(const mt_mbox* box) { return currentOf(box).offset; }
uint64_t mt_mbox_size(const mt_mbox* box) { return currentOf(box).size; }

mt_message* mt_mbox_message(const mt_mbox* box, unsigned options) {
    return parseMessage(box, options);
}

mt_mbox_writer* mt_mbox_create(const char* path) {
    if (!path) return refuseNull(), nullptr;
    return give<mt_mbox_writer>(attempt([&] { return MboxWriter::create(path); }));
}

mt_mbox_writer* mt_mbox_writer_to(mt_writer writer, void* context, const char* name) {
    if (!writer) return refuseNull(), nullptr;
    return give<mt_mbox_writer>(attempt([&] {
        return MboxWriter::to(std::make_unique<WriterSink>(writer, context), orEmpty(name));
    }));
}

mt_code mt_mbox_writer_add(mt_mbox_writer* writer, const void* mail, size_t size) {
    mail = givenBytes(mail, size);
    if (!writer || !mail) return refuseNull();
    return codeOf(writer->writer.add({static_cast<const char*>(mail), size}));
}

mt_code mt_mbox_writer_close(mt_mbox_writer* writer) {
    return writer ? codeOf(writer->writer.close()) : refuseNull();
}

void mt_mbox_writer_free(mt_mbox_writer* writer) { delete writer; }

mt_maildir* mt_maildir_open(const char* path) {
    if (!path) return refuseNull(), nullptr;
    return give<mt_maildir>(attempt([&] { return Maildir::open(path); }));
}

void mt_maildir_free(mt_maildir* box) { delete box; }
int mt_maildir_next(mt_maildir* box) { return box && box->box.next(); }
mt_code mt_maildir_status(const mt_maildir* box) { return statusOf(box); }
size_t mt_maildir_skipped(const mt_maildir* box) { return box ? box->box.skipped() : 0; }
const void* mt_maildir_bytes(const mt_maildir* box, size_t* size) { return lendMessage(box, size); }
const char* mt_maildir_path(const mt_maildir* box) { return lendTerminated(currentOf(box).path); }
const char* mt_maildir_flags(const mt_maildir* box) { return lendTerminated(currentOf(box).flags); }

mt_message* mt_maildir_message(const mt_maildir* box, unsigned options) {
    return parseMessage(box, options);
}
