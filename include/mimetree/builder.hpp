// SPDX-License-Identifier: Apache-2.0
#pragma once

// A new message out of texts, files and addresses:
//
//     auto message = mimetree::Builder()
//         .from("Ann Other <ann@example.org>").to("bob@example.org")
//         .subject("The report").text("Here it is.\n").attach("report.pdf")
//         .build();
//     if (!message) return report(message.error().message());
//
// Texts are UTF-8.  Date (local time), Message-ID and MIME-Version are made unless given; From is
// not, and a message without it is a draft.  The structure is what the pieces need (RFC 2046 5.1,
// RFC 2387): text and HTML are multipart/alternative, HTML with pictures is multipart/related,
// and attachments make all of it multipart/mixed.
//
// What a strict reader could not take is an error, which build() gives: the first that was met.
// That is an address that is none; a line break, a control character or bytes that are not
// UTF-8 in what goes into a header; a second text, subject or other field that may stand once
// (RFC 5322 3.6); names of fields, types, charsets and identifiers that are none; a date before
// 1900 or behind 9999; a coding that cannot hold the text; a file that cannot be read.  All is
// written in 7 bits but where encoding("8bit") allows more.

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree {

// What was moved from is empty.
class MIMETREE_API Builder {
public:
    // Nothing given yet.
    Builder() noexcept;
    Builder(Builder&&) noexcept;
    Builder& operator=(Builder&&) noexcept;
    ~Builder();

    // Mailboxes: "ann@example.org", "Ann Other <ann@example.org>", or several after commas; nobody
    // is "Undisclosed recipients:;", and a group that has members is an error.
    // Each call adds; a display name that needs quotes or encoded words gets them.  Where From has
    // several, the first is the Sender (RFC 5322 3.6.2) unless header() names one.  Bcc is
    // written like the others: who sends the message takes it out.
    Builder& from(std::string_view mailboxes) noexcept;
    Builder& to(std::string_view mailboxes) noexcept;
    Builder& cc(std::string_view mailboxes) noexcept;
    Builder& bcc(std::string_view mailboxes) noexcept;
    Builder& reply_to(std::string_view mailboxes) noexcept;
    // The same for a name and an address apart: the name may hold anything, commas included.
    Builder& from(std::string_view name, std::string_view address) noexcept;
    Builder& to(std::string_view name, std::string_view address) noexcept;
    Builder& cc(std::string_view name, std::string_view address) noexcept;
    Builder& bcc(std::string_view name, std::string_view address) noexcept;
    Builder& reply_to(std::string_view name, std::string_view address) noexcept;

    // Once each; the zone is in minutes east of Greenwich.
    Builder& subject(std::string_view subject) noexcept;
    Builder& date(std::chrono::sys_seconds time, std::chrono::minutes zone = {}) noexcept;
    Builder& message_id(std::string_view id) noexcept;  // with or without angle brackets
    // Any other field; each call adds one.  The value is text and reads back as it is, blanks at
    // its ends included; that of a field with a grammar, such as To and References, is checked, and
    // such blanks are none of it.  Content- fields are none of these: they go with the body.
    Builder& header(std::string_view name, std::string_view value) noexcept;

    // Line ends become CRLF, and a byte order mark in front goes.
    Builder& text(std::string_view text) noexcept;
    Builder& html(std::string_view html) noexcept;

    // A file, read at once.  Its name is the path's last piece unless another is given; the type,
    // "image/png", goes by the name unless it is given.  The bytes stay as they are, but for the
    // line ends of a file given as "message/rfc822", which has no coding of its own.
    Builder& attach(const std::string& path, std::string_view name = {},
                    std::string_view type = {}) noexcept;
    Builder& attach(std::span<const std::byte> bytes, std::string_view name,
                    std::string_view type = {}) noexcept;
    // A picture that the HTML shows as `cid:` and this identifier ("logo@example.org", with or
    // without angle brackets), which no other has.
    Builder& inline_image(const std::string& path, std::string_view cid,
                          std::string_view type = {}) noexcept;
    Builder& inline_image(std::span<const std::byte> bytes, std::string_view cid,
                          std::string_view type) noexcept;

    // Of the texts: us-ascii or utf-8, as they need, unless given; and utf-8 where the given one
    // cannot hold a text.
    Builder& charset(std::string_view charset) noexcept;
    // Of the texts: "7bit", "8bit", "quoted-printable" or "base64"; chosen by the text unless
    // given.
    Builder& encoding(std::string_view encoding) noexcept;

    // The message, or the first error; the builder is empty afterwards.
    Result<Message> build() noexcept;

private:
    struct Plan;
    std::unique_ptr<Plan> m_plan;
};

}  // namespace mimetree
