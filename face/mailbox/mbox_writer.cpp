// SPDX-License-Identifier: Apache-2.0
// MboxWriter: a message is its From line, its lines with "From " quoted, and a blank line.

#include <cerrno>
#include <new>

#include "face/files/read_file.h"
#include "face/mailbox/content_length.h"
#include "face/mailbox/from_line.h"
#include "face/mailbox/quoting.h"
#include "face/result/attempt.h"
#include "mimetree/mailbox.hpp"

namespace mimetree {

namespace {

class FileSink final : public ByteSink {
public:
    explicit FileSink(inner::OpenFile file) noexcept : m_file(std::move(file)) {}

    int write(std::string_view bytes) noexcept override {
        errno = 0;
        const size_t done = std::fwrite(bytes.data(), 1, bytes.size(), m_file.get());
        return done == bytes.size() ? 0 : errno ? errno : EIO;
    }

    // Some systems tell of a full disk on closing only.
    int close() noexcept {
        errno = 0;
        return std::fclose(m_file.release()) == 0 ? 0 : errno ? errno : EIO;
    }

private:
    inner::OpenFile m_file;
};

bool hasEnd(std::string_view mail) { return mail.empty() || mail.ends_with('\n'); }

// A header without a blank line gets one from the mbox.
std::string_view markOf(std::string_view mail) {
    if (!hasEnd(mail)) return inner::kHasNoEnd;
    const std::string header = std::string(inner::headerOf(mail)) + "\n";
    return inner::endByContentLength(header) ? inner::kIsQuoted : std::string_view();
}

}  // namespace

struct MboxWriter::State {
    void put(std::string_view mail);

    std::unique_ptr<ByteSink> sink;
    FileSink* file;  // the sink, if it is one
    const std::string name;
    std::string text;  // of a message; its memory is used again
};

// All of it is there before any of it is written.
void MboxWriter::State::put(std::string_view mail) {
    const inner::MemoryWatch watch;
    text = inner::fromLineOf(mail);
    text.append(markOf(mail)) += '\n';
    inner::appendQuoted(text, mail);
    text += hasEnd(mail) ? "\n" : "\n\n";
    if (watch.wasRefused()) throw std::bad_alloc();
}

MboxWriter::MboxWriter(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
MboxWriter::MboxWriter(MboxWriter&&) noexcept = default;
MboxWriter& MboxWriter::operator=(MboxWriter&&) noexcept = default;
MboxWriter::~MboxWriter() = default;

Result<MboxWriter> MboxWriter::create(const std::string& path) noexcept {
    return inner::attempt([&]() -> Result<MboxWriter> {
        inner::OpenFile opened = inner::createFile(path);
        if (!opened) return inner::systemError(path, errno);
        auto sink = std::make_unique<FileSink>(std::move(opened));
        FileSink* const file = sink.get();
        return MboxWriter(std::make_unique<State>(State{std::move(sink), file, path, {}}));
    });
}

Result<MboxWriter> MboxWriter::to(std::unique_ptr<ByteSink> sink, std::string_view name) noexcept {
    return inner::attempt([&]() -> Result<MboxWriter> {
        if (!sink) return Error(Errc::invalid_argument, std::string(name) + ": no sink");
        return MboxWriter(
            std::make_unique<State>(State{std::move(sink), nullptr, std::string(name), {}}));
    });
}

Result<void> MboxWriter::add(std::string_view mail) noexcept {
    return inner::attempt([&]() -> Result<void> {
        if (!m_state) return Error(Errc::invalid_argument, "the mbox is closed");
        m_state->put(mail);
        const int error = m_state->sink->write(m_state->text);
        return error ? inner::systemError(m_state->name, error) : Result<void>();
    });
}

Result<void> MboxWriter::close() noexcept {
    return inner::attempt([&]() -> Result<void> {
        if (!m_state) return Error(Errc::invalid_argument, "the mbox is closed");
        const std::unique_ptr<State> state = std::move(m_state);
        const int error = state->file ? state->file->close() : 0;
        return error ? inner::systemError(state->name, error) : Result<void>();
    });
}

}  // namespace mimetree
