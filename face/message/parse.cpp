// SPDX-License-Identifier: Apache-2.0
// Bytes and files into messages.  What is no mail is refused here; everything else the engine
// repairs.

#include <utility>

#include "face/files/read_file.h"
#include "face/message/no_mail.h"
#include "face/message/parse.h"
#include "face/message/tree.h"
#include "foundation/EncodingConvert.h"
#include "foundation/charset/code_pages.h"

namespace mimetree {

namespace {

// Limit: the engine counts bytes in 32 bits.
constexpr uint64_t kTooLarge = uint64_t{1} << 32;

std::string_view chars(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Tolerated: a mail that an editor saved as UTF-16.  0 for any other.
int codePageByMark(std::string_view mail) {
    if (mail.starts_with("\xFF\xFE")) return inner::codepage::kUtf16LE;
    return mail.starts_with("\xFE\xFF") ? inner::codepage::kUtf16BE : inner::codepage::kNone;
}

void makeUtf8(std::string_view mail, int codePage, DataBuffer& utf8) {
    LogNull log;
    EncodingConvert::EncConvert(codePage, inner::codepage::kUtf8,
                                reinterpret_cast<const unsigned char*>(mail.data()) + 2,
                                static_cast<unsigned>(mail.size() - 2), utf8, log);
}

using Root = std::unique_ptr<MimeMessage2>;

// What a strict reader stops at: read tolerantly, a multipart without parts, or else the outermost
// one, which is not closed.
std::string whatIsDamaged(std::string_view mail) {
    const Result<Message> message = Message::parse(mail);
    if (!message) return message.error().message();
    for (const Part& part : message->parts())
        if (inner::isCut(part)) return inner::boundaryFault(part);
    return inner::boundaryFault(message->root());
}

// A text without a header is all body, for which the engine needs the blank line that ends an
// empty header.
Result<Root> load(std::string_view mail, ParseOptions options, LogBase& log) {
    const inner::MemoryWatch watch;
    std::string text;
    Root root(MimeMessage2::createNewObject());
    if (inner::hasNoHeader(mail)) mail = text.append("\r\n").append(inner::behindFront(mail));
    if (options.strict) log.m_options.setString("StrictMimeParsing");
    StringBuffer charsetClue;
    const bool loaded =
        root && root->loadMimeComplete2(mail.data(), static_cast<unsigned>(mail.size()),
                                        /*lenientLineEndings*/ false, charsetClue, log,
                                        /*inputIsUtf8*/ false);
    if (loaded) return root;
    if (watch.wasRefused()) return Error(Errc::out_of_memory, "out of memory");
    if (options.strict) return Error(Errc::damaged, whatIsDamaged(mail));
    return Error(Errc::not_mail, "not a mail message");
}

// The source is what the caller has, or, unless that is null, what is in `own`.
Result<std::unique_ptr<Tree>> makeTree(std::string_view mail, DataBuffer* own, ParseOptions options,
                                       LogBase& log) {
    if (uint64_t{mail.size()} >= kTooLarge) return Error(Errc::too_large, "larger than 4 GiB");
    DataBuffer utf8;
    if (const int codePage = codePageByMark(mail)) {
        makeUtf8(mail, codePage, utf8);
        mail = view(utf8);
        own = &utf8;
    }
    if (const std::optional<Error> no = inner::whyNoMail(mail)) return *no;
    Result<Root> root = load(mail, options, log);
    if (!root) return root.error();
    auto tree = std::make_unique<Tree>(*std::move(root));
    if (options.source == SourceBytes::drop) return tree;
    if (own) tree->takeSource(*own);
    else if (options.source == SourceBytes::borrow) tree->borrowSource(mail);
    else tree->keepSource(mail);
    return tree;
}

Error withPath(const Error& error, const std::string& path) {
    return Error(error.code(), path + ": " + error.message());
}

}  // namespace

Message Tree::messageOf(std::unique_ptr<Tree> tree) { return Message(std::move(tree)); }

Result<Message> inner::parseMail(std::string_view mail, ParseOptions options, LogBase& log) {
    return makeTree(mail, nullptr, options, log).transform(Tree::messageOf);
}

bool inner::isCut(const Part& part) { return part.is_multipart() && part.children().empty(); }

std::string inner::boundaryFault(const Part& part) {
    const std::string number(part.path()), type(part.type());
    return (number.empty() ? "" : "part " + number + ": ") + "a " + type +
           (isCut(part) ? " whose boundary is missing: \""
                        : " that is not closed by its boundary: \"") +
           std::string(part.parameter("boundary").value_or("")) + "\"";
}

Message::Message(std::unique_ptr<Tree> tree) noexcept : m_tree(std::move(tree)) {}
Message::Message(Message&&) noexcept = default;
Message& Message::operator=(Message&&) noexcept = default;
Message::~Message() = default;

// What was moved from gets an empty tree when it is used again, and not when it is moved from.
Tree& Message::tree() const noexcept {
    if (!m_tree) m_tree = std::move(adopt(MimeMessage2::createNewObject()).value().m_tree);
    return *m_tree;
}

Result<Message> Message::parse(std::span<const std::byte> mail, ParseOptions options) noexcept {
    return parse(chars(mail), options);
}

Result<Message> Message::parse(std::string_view mail, ParseOptions options) noexcept {
    return inner::attempt([&] {
        LogNull log;
        return inner::parseMail(mail, options, log);
    });
}

Result<Message> Message::adopt(MimeMessage2* root) noexcept {
    return inner::attempt([&]() -> Result<Message> {
        return Message(std::make_unique<Tree>(std::unique_ptr<MimeMessage2>(root)));
    });
}

Result<Message> Message::read(const std::string& path, ParseOptions options) noexcept {
    return inner::attempt([&]() -> Result<Message> {
        DataBuffer bytes;
        if (const std::optional<Error> failed = inner::readFile(path, bytes)) return *failed;
        LogNull log;
        auto tree = makeTree(view(bytes), &bytes, options, log);
        if (!tree) return withPath(tree.error(), path);
        return Message(std::move(*tree));
    });
}

}  // namespace mimetree
