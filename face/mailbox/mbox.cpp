// SPDX-License-Identifier: Apache-2.0
// Mbox: cuts a file into messages.  separator.cpp says where one begins, Content-Length may say
// where it ends, and quoting.cpp gives its lines back.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <optional>

#include "face/files/read_file.h"
#include "face/mailbox/content_length.h"
#include "face/mailbox/from_line.h"
#include "face/mailbox/quoting.h"
#include "face/mailbox/read_ahead.h"
#include "face/mailbox/separator.h"
#include "face/message/no_mail.h"
#include "face/result/attempt.h"
#include "mimetree/mailbox.hpp"

namespace mimetree {

namespace {

using inner::LineBefore;
using inner::ReadAhead;

// Limit: a Content-Length that reaches farther past a line that begins a message is not believed,
// for all of it had to be read and held to find out.
constexpr size_t kFarthestPastSeparator = size_t{16} << 20;

// What is looked at to tell a text from anything else.
constexpr size_t kFront = inner::kSeparatorReach;

// Others come from C.
bool isKind(MboxKind kind) noexcept {
    return kind >= MboxKind::automatic && kind <= MboxKind::none;
}

class FileSource final : public ByteSource {
public:
    explicit FileSource(inner::OpenFile file) noexcept : m_file(std::move(file)) {
        std::setvbuf(m_file.get(), nullptr, _IONBF, 0);
    }

    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        errno = 0;
        const size_t got = std::fread(to, 1, size, m_file.get());
        if (got == 0 && std::ferror(m_file.get())) return errno ? -errno : -EIO;
        return static_cast<std::ptrdiff_t>(got);
    }

private:
    const inner::OpenFile m_file;
};

// The length of the line end that text begins with, or 0.
size_t lineEndAt(std::string_view text) noexcept {
    return text.starts_with('\n') ? 1 : text.starts_with("\r\n") ? 2 : 0;
}

// The text without the blank line that it ends with.
std::string_view withoutLastBlankLine(std::string_view text) noexcept {
    const size_t end = text.ends_with("\r\n") ? 2 : text.ends_with('\n') ? 1 : 0;
    const std::string_view rest = text.substr(0, text.size() - end);
    return end && (rest.empty() || rest.ends_with('\n')) ? rest : text;
}

struct Cut {
    size_t end;   // of the message, seen from its From line
    size_t next;  // where the next From line begins, or all ends
};

Error errorInMailbox(Errc code, const std::string& name, std::string_view reason) noexcept {
    try {
        return Error(code, name + ": " + std::string(reason));
    } catch (...) {
        return Error(Errc::out_of_memory, "out of memory");
    }
}

}  // namespace

struct Mbox::State {
    State(std::unique_ptr<ByteSource> source, std::string_view mailbox, MboxKind wanted)
        : ahead(std::move(source)), name(mailbox), asked(wanted), kind(wanted) {}

    bool open() noexcept;
    bool next() noexcept;

    bool hold(size_t n) noexcept { return note(ahead.fill(n)); }
    bool note(ReadAhead::Fill filled) noexcept;
    bool noteFailure() noexcept;
    void fail(Errc code, std::string_view reason) noexcept;

    size_t fromLineSize() noexcept;
    std::optional<Cut> cutBehind(size_t header) noexcept;
    std::optional<Cut> cutAtSeparator(size_t header) noexcept;
    std::optional<Cut> cutByContentLength(size_t header, size_t separator) noexcept;
    bool isMarked(size_t header) const noexcept;
    bool isBorder(size_t at) const noexcept;
    void take(size_t header, const Cut& cut) noexcept;

    ReadAhead ahead;
    const std::string name;
    const MboxKind asked;
    MboxKind kind;
    size_t offsetOfFirst = 0;
    RawMessage current;
    std::optional<Error> error;
};

// False, and the error is noted, unless all was read that was asked for or there is.
bool Mbox::State::note(ReadAhead::Fill filled) noexcept {
    switch (filled) {
        case ReadAhead::Fill::done: return true;
        case ReadAhead::Fill::out_of_memory: fail(Errc::out_of_memory, "out of memory"); break;
        case ReadAhead::Fill::too_large: fail(Errc::too_large, "a message of 4 GiB or more"); break;
    }
    return false;
}

void Mbox::State::fail(Errc code, std::string_view reason) noexcept {
    error.emplace(errorInMailbox(code, name, reason));
}

// At the end of what is held: true, and noted, if a failed read is what ended it.
bool Mbox::State::noteFailure() noexcept {
    if (ahead.failure()) fail(Errc::io, std::strerror(ahead.failure()));
    return ahead.failure();
}

// Text in front of the first From line is a message too, so that a mail alone, or what is left of
// an mbox whose beginning was lost, is read; a picture or a program is not.  Behind a From line
// anything is.
bool Mbox::State::open() noexcept {
    if (!hold(kFront)) return false;
    offsetOfFirst = inner::inFrontOfMbox(ahead.held());
    ahead.drop(offsetOfFirst);
    if (ahead.held().empty()) return !noteFailure();
    if (inner::beginsMessage(ahead.held(), LineBefore::start_of_file)) return true;
    const std::optional<Error> why = inner::whyNoMail(ahead.held().substr(0, kFront));
    if (!why || why->code() != Errc::not_mail) return true;
    fail(Errc::not_mail, "no mbox: neither a From line nor text in front");
    return false;
}

bool Mbox::State::next() noexcept {
    if (error) return false;
    ahead.drop(static_cast<size_t>(current.size));
    const size_t number = current.number + 1;
    current = {};
    if (!hold(1) || ahead.held().empty()) {
        noteFailure();
        return false;
    }
    const size_t header = fromLineSize();
    const std::optional<Cut> cut = error ? std::nullopt : cutBehind(header);
    if (!cut) return false;
    take(header, *cut);
    current.number = number;
    return true;
}

void Mbox::State::take(size_t header, const Cut& cut) noexcept {
    size_t size = inner::unquoteFromLines(ahead.data() + header, cut.end - header, kind);
    const std::string_view line = ahead.held().substr(0, header);
    current.from_line = line.substr(0, line.find_last_not_of("\r\n") + 1);
    if (current.from_line.ends_with(inner::kHasNoEnd) && kind == MboxKind::rd && size > 0) --size;
    current.bytes = ahead.held().substr(header, size);
    current.path = name;
    current.offset = ahead.offset();
    current.size = cut.next;
    if (header) ahead.data()[current.from_line.size()] = '\0';
}

// All but text in front of the first of them begin with a From line.
size_t Mbox::State::fromLineSize() noexcept {
    if (!hold(inner::kSeparatorReach)) return 0;
    const bool isFirst = ahead.offset() == offsetOfFirst;
    if (isFirst && !inner::beginsMessage(ahead.held(), LineBefore::start_of_file)) return 0;
    return std::min(ahead.held().find('\n'), ahead.held().size() - 1) + 1;
}

std::optional<Cut> Mbox::State::cutBehind(size_t header) noexcept {
    const std::optional<Cut> bySeparator = cutAtSeparator(header);
    kind = asked == MboxKind::automatic ? MboxKind::rd : asked;
    const bool isByLength =
        (asked == MboxKind::automatic && !isMarked(header)) || asked == MboxKind::content_length;
    if (!bySeparator || !isByLength) return bySeparator;
    const std::optional<Cut> byLength = cutByContentLength(header, bySeparator->next);
    if (error) return std::nullopt;
    if (!byLength) return bySeparator;
    kind = MboxKind::content_length;
    return byLength;
}

// True for a From line with which MboxWriter says that the message was quoted.
bool Mbox::State::isMarked(size_t header) const noexcept {
    std::string_view line = ahead.held().substr(0, header);
    if (line.ends_with('\n')) line.remove_suffix(1);
    return line.ends_with(inner::kIsQuoted);
}

// Tolerated: two From lines in a row; the second belongs to the message.
std::optional<Cut> Mbox::State::cutAtSeparator(size_t header) noexcept {
    size_t from = header;
    while (true) {
        const auto found = inner::findSeparator(ahead.held(), from, ahead.isAtEnd());
        if (!found.isFound && ahead.isAtEnd() && noteFailure()) return std::nullopt;
        if (found.isFound || ahead.isAtEnd()) {
            const size_t next = found.isFound ? found.at : ahead.held().size();
            const auto text = ahead.held().substr(header, next - header);
            return Cut{header + withoutLastBlankLine(text).size(), next};
        }
        from = found.at;
        if (!note(ahead.fillMore())) return std::nullopt;
    }
}

// Tolerated: the blank line behind the message is counted by some programs, and its last line end
// is not by others.  The latter looks like a length that was right before one line was quoted, so
// automatic takes it for that.
std::optional<Cut> Mbox::State::cutByContentLength(size_t header, size_t separator) noexcept {
    const auto length = inner::endByContentLength(ahead.held().substr(header, separator - header));
    if (!length || *length > separator + kFarthestPastSeparator) return std::nullopt;
    const size_t end = header + *length;
    if (!hold(end + 4 + inner::kSeparatorReach) || end > ahead.held().size()) return std::nullopt;
    size_t next = end;
    const int most = asked == MboxKind::automatic ? 1 : 2;
    for (int lineEnds = 0; lineEnds <= most; ++lineEnds) {
        if (isBorder(next)) return Cut{end, next};
        next += lineEndAt(ahead.held().substr(next));
    }
    return std::nullopt;
}

// True at the end of all, and where a From line begins.
bool Mbox::State::isBorder(size_t at) const noexcept {
    if (at == ahead.held().size()) return !ahead.failure();
    return ahead.held()[at - 1] == '\n' &&
           inner::beginsMessage(ahead.held().substr(at), LineBefore::blank_line);
}

Mbox::Mbox(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
Mbox::Mbox(Mbox&&) noexcept = default;
Mbox& Mbox::operator=(Mbox&&) noexcept = default;
Mbox::~Mbox() = default;

Result<Mbox> Mbox::open(const std::string& path, MboxKind kind) noexcept {
    return inner::attempt([&]() -> Result<Mbox> {
        inner::OpenFile file = inner::openFile(path);
        if (!file) return inner::systemError(path, errno);
        return from(std::make_unique<FileSource>(std::move(file)), path, kind);
    });
}

Result<Mbox> Mbox::from(std::unique_ptr<ByteSource> source, std::string_view name,
                        MboxKind kind) noexcept {
    return inner::attempt([&]() -> Result<Mbox> {
        if (!source) return Error(Errc::invalid_argument, std::string(name) + ": no source");
        if (!isKind(kind)) return Error(Errc::invalid_argument, "no kind of mbox");
        Mbox box(std::make_unique<State>(std::move(source), name, kind));
        if (!box.m_state->open()) return *box.m_state->error;
        return box;
    });
}

// What was moved from is at its end.
MboxKind Mbox::kind() const noexcept { return m_state ? m_state->kind : MboxKind::automatic; }
bool Mbox::next() noexcept { return m_state && m_state->next(); }
const RawMessage& Mbox::current() const noexcept {
    static constexpr RawMessage kNoMessage = {};
    return m_state ? m_state->current : kNoMessage;
}
bool Mbox::ok() const noexcept { return !m_state || !m_state->error; }
const Error& Mbox::error() const noexcept { return *m_state->error; }

}  // namespace mimetree
