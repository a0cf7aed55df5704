// SPDX-License-Identifier: Apache-2.0
#pragma once

// A mail message: read it, ask it, change it, write it again.
//
//     auto message = mimetree::Message::read("mail.eml");
//     if (!message) return report(message.error().message());
//     std::cout << message->subject() << '\n' << message->text();
//     for (const mimetree::Part& file : message->attachments()) file.save("downloads");
//
// Texts are UTF-8.  What answers a std::string_view, a std::span or a Part stays the
// message's: it is good until the message is changed or destroyed, and moving the message
// does not matter; what was moved from is an empty message.  Damaged
// mail is repaired rather than refused.  Nothing throws; when memory runs out, a Result says
// so, and a plain answer is empty and ok() false from then on.
// One thread at a time may use a message; different messages do not know each other.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mimetree/result.hpp"

class MimeMessage2;  // the engine's node: mime/MimeMessage2.h

namespace mimetree {

class Message;
struct Tree;  // the message's state

// A mailbox (RFC 5322 3.4).
struct Address {
    std::string name;     // display name, decoded; empty when there is none
    std::string address;  // "user@example.org", without angle brackets
};

// The addresses of a field in their order, members of groups included.
class MIMETREE_API Addresses {
public:
    // A view of these, which stay where they are.
    Addresses() = default;
    explicit Addresses(std::span<const Address> list) noexcept : m_list(list) {}

    // A range, as the standard containers are.
    auto begin() const noexcept { return m_list.begin(); }
    auto end() const noexcept { return m_list.end(); }
    size_t size() const noexcept { return m_list.size(); }
    bool empty() const noexcept { return m_list.empty(); }
    const Address& operator[](size_t i) const noexcept { return m_list[i]; }

    // The first, or an empty one.
    const Address& first() const noexcept;
    // For people, not for a header: `Ann Other <ann@example.org>, bob@example.org`.  Empty when
    // memory is exhausted.
    std::string text() const noexcept;

private:
    std::span<const Address> m_list;
};

// The Date field (RFC 5322 3.3, with the obsolete forms of 4.3).  Tolerated: forms of other
// standards and programs that mail has, such as asctime()'s and that of ISO 8601.
struct Date {
    std::chrono::sys_seconds time;  // in UTC
    std::chrono::minutes zone{};    // of the sender, east of Greenwich positive
    bool zone_known = true;         // false for none, "-0000" and military ones (RFC 5322 3.3, 4.3)
};

// A header field.
struct Header {
    std::string_view name;   // as written
    std::string_view value;  // folds opened, encoded words decoded
    std::string_view raw;    // as received, folds and encoded words in it
};

// Why a part is body, attachment, inline or none of these: a rule in docs/faq.md.
struct Rule {
    std::string_view name;  // "named-text", as it has it
    std::string_view what;  // a line for people
};

class Part;
// Several parts, in the order of the message.
using Parts = std::span<const Part>;

// A node of the tree: the message itself (the root), a multipart, or a leaf with a body.  It is
// a handle, cheap to copy, into the message that it came from.
class MIMETREE_API Part {
public:
    // "text/plain", in lower case, without parameters.  RFC 2045 5.2: "text/plain" also where
    // the header gives none; RFC 2046 5.1.5: "message/rfc822" within a multipart/digest.
    std::string_view type() const noexcept;
    // As labelled or found out; empty when there is none.  text() is UTF-8 whatever it says.
    std::string_view charset() const noexcept;
    // Transfer coding, in lower case; empty when there is none.
    std::string_view encoding() const noexcept;
    // "attachment", "inline", or what else Content-Disposition says (RFC 2183), in lower case;
    // empty without that field.
    std::string_view disposition() const noexcept;
    // Without angle brackets; empty when there is none.
    std::string_view content_id() const noexcept;
    // A parameter of Content-Type, decoded (RFC 2231): "boundary", "method".
    std::optional<std::string_view> parameter(std::string_view name) const noexcept;

    // A name that is safe to give to a file: no directories, devices, control or bidi characters,
    // no dot or dash in front, at most 255 bytes.  Made up from the type and the part's place
    // among the leaves ("part-3.png") where there is none, so never empty.
    std::string_view name() const noexcept;
    // The name as the mail has it, decoded; may be hostile.  Of a part in uuencode without any it
    // is the one on the begin line.  Empty when there is none.
    std::string_view declared_name() const noexcept;

    // The decoded body, also of uuencode; text is held as UTF-8.  Empty for a multipart.
    std::span<const std::byte> bytes() const noexcept;
    // The body of a text part, UTF-8 with the line ends that came; empty for any other part but
    // a multipart that could not be taken apart, which is then one text.
    std::string_view text() const noexcept;
    // Of a multipart/signed: its first part as it came, which is what the signature is over
    // (RFC 1847 2.1).  Kept for S/MIME only: empty for OpenPGP.
    std::span<const std::byte> signed_bytes() const noexcept;

    // The fields of this part's own header, in order.
    std::span<const Header> headers() const noexcept;
    // The first field of that name, decoded, in any letter case; nothing when there is none.
    std::optional<std::string_view> header(std::string_view name) const noexcept;

    // "2.1": the first child of the root's second child; "" for the root.
    // Limit: "" below a depth of 32, too, for a path grows with its depth.
    std::string_view path() const noexcept;
    unsigned depth() const noexcept;  // 0 for the root
    Parts children() const noexcept;

    bool is_multipart() const noexcept;  // holds parts, and no body of its own
    bool is_text() const noexcept;       // text() is its body
    // By the rules in docs/faq.md: what is an attachment, which part is the body?
    bool is_attachment() const noexcept;
    bool is_body() const noexcept;
    Rule rule() const noexcept;  // the one that decided
    // A message inside the message: message/rfc822 and message/global.
    bool is_message() const noexcept;

    // The message inside this part, read anew on each call; an error when the part is none.
    Result<Message> message() const noexcept;

    // The decoded body as it goes into a file: text in its own charset.
    Result<std::string> file_bytes() const noexcept;

    // Writes these to a new file named name() in `directory`, which is made when it is missing, and
    // which may itself be a symbolic link: it is the caller's word.  Never outside of it, never
    // over a file that is there (the new one's name gets " (2)" and so on), and no link in it is
    // followed.  Gives the path of the file.
    Result<std::string> save(const std::string& directory) const noexcept;

    // The engine's node, which stays the message's.
    MimeMessage2& node() const noexcept;

    // Whether both are the same part of the same message.
    bool operator==(const Part&) const noexcept = default;

private:
    friend class Message;
    friend struct Tree;
    Part(Tree* tree, uint32_t index) noexcept : m_tree(tree), m_index(index) {}

    Tree* m_tree;
    uint32_t m_index;
};

// The form of a text.
enum class TextKind {
    plain,  // text/plain and the like
    html,   // text/html
};

// What becomes of the bytes that a message is read from.
enum class SourceBytes {
    keep,    // the message has a copy; what it reads from a file, it keeps
    borrow,  // the caller keeps them until the message is changed or destroyed; a file's are kept
    drop,    // source() is empty, and findings() looks at the message as it would be written
};

// How to read.
struct ParseOptions {
    bool strict = false;  // refuse a multipart whose boundary is missing (Errc::damaged)
    SourceBytes source = SourceBytes::keep;  // what becomes of the bytes that were read
};

class MIMETREE_API Message {
public:
    // Reads a message out of bytes, which are copied: with CRLF, LF or CR, an mbox line in front
    // or not, without any header even.  An error for what is no mail at all.
    static Result<Message> parse(std::span<const std::byte> mail,
                                 ParseOptions options = {}) noexcept;
    static Result<Message> parse(std::string_view mail, ParseOptions options = {}) noexcept;
    // The same out of a file.  A file that holds many messages (mbox) is an error as well.
    static Result<Message> read(const std::string& path, ParseOptions options = {}) noexcept;

    // Takes over a tree of the engine's; null stands for memory that ran out.
    static Result<Message> adopt(MimeMessage2* root) noexcept;

    Message(Message&&) noexcept;
    Message& operator=(Message&&) noexcept;
    ~Message();

    // -- What it says

    // From the root's header, decoded; empty where there is no such field.
    std::string_view subject() const noexcept;
    Addresses from() const noexcept;
    Addresses to() const noexcept;
    Addresses cc() const noexcept;
    Addresses bcc() const noexcept;
    Addresses reply_to() const noexcept;
    Addresses addresses(std::string_view field) const noexcept;  // of any field
    std::optional<Date> date() const noexcept;     // nothing when missing or unreadable
    std::string_view message_id() const noexcept;  // without angle brackets
    std::span<const Header> headers() const noexcept;
    std::optional<std::string_view> header(std::string_view name) const noexcept;

    // -- What is in it

    // What a reader would show, by the rule in docs/faq.md (which part is the body?): the inline
    // texts of that kind in reading order, joined; empty when there is none.
    std::string_view text() const noexcept;
    std::string_view html() const noexcept;

    // The parts that such a reader shows: of a text in both forms the one preferred, of any other
    // the one there is.
    Parts body_parts(TextKind preferred = TextKind::plain) const noexcept;

    // Every part that is_attachment(); every other leaf that no text shows: inline pictures and
    // the like.  In reading order.
    Parts attachments() const noexcept;
    Parts inline_parts() const noexcept;

    // Depth first, the root included.
    Parts parts() const noexcept;
    Part root() const noexcept;
    std::optional<Part> part(std::string_view path) const noexcept;  // "2.1"
    // By Content-ID, with or without angle brackets or "cid:" in front (RFC 2392).
    std::optional<Part> part_by_cid(std::string_view cid) const noexcept;

    // -- Changing it.  Parts, texts and fields that were handed out before are void afterwards.
    // An error leaves the message as it was.

    // What is signed or encrypted (RFC 1847) stays as it is: to change it is an error.

    // Sets the field, in the place of the first that had the name; more of that name go.  The
    // value is text, checked as Builder does; Content- fields go with the body.
    Result<void> set_header(std::string_view name, std::string_view value) noexcept;
    // Removes all fields of that name; true when there was one.  Content-Type,
    // Content-Transfer-Encoding and MIME-Version stay.
    bool remove_header(std::string_view name) noexcept;
    // Sets the text that text() gives: the parts that it came from become one, with line ends
    // CRLF and charset utf-8 unless the part's own can hold it.  Without such a part there will
    // be one: beside the HTML as the plainer form, or else in front.
    Result<void> set_text(std::string_view text) noexcept;
    // Not the root.  A multipart that is left with one part stays; one that is left with none
    // goes as well, and where all are gone the message is an empty text.
    Result<void> remove_part(const Part& part) noexcept;
    // Attaches a file; the message becomes multipart/mixed if it is none.  The name is the path's
    // last piece and the type goes by the name, unless given.
    Result<void> add_attachment(const std::string& path, std::string_view name = {},
                                std::string_view type = {}) noexcept;
    Result<void> add_attachment(std::span<const std::byte> bytes, std::string_view name,
                                std::string_view type = {}) noexcept;
    // Writes every text part in that charset, or in utf-8 where it cannot hold the text.  What is
    // signed or encrypted, and text in a charset that is not known, is left as it is.
    Result<void> set_charset(std::string_view charset) noexcept;

    // The message as bytes, with CRLF.  Fields that were not changed are written as they came,
    // but for repairs (docs/tolerance.md); bodies mean the same, but are encoded anew.
    Result<std::string> write() const noexcept;

    // The bytes that it was read from, and what was UTF-16 as UTF-8.  Empty when they were not
    // kept, and for a message that was made, adopted or changed; changes to node() do not show.
    std::string_view source() const noexcept;

    // The engine's tree, which stays the message's.
    MimeMessage2& node() const noexcept;
    // False once memory ran out in a call that could not say so.
    bool ok() const noexcept;

private:
    friend class Builder;
    friend class Part;
    friend struct Tree;
    explicit Message(std::unique_ptr<Tree> tree) noexcept;

    Tree& tree() const noexcept;

    mutable std::unique_ptr<Tree> m_tree;  // null after it was moved from
};

}  // namespace mimetree
