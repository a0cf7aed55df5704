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
// Texts are UTF-8.  Date, Message-ID and MIME-Version are made unless given.  The structure is
// what the pieces need (RFC 2046 5.1, RFC 2387): text and HTML are multipart/alternative, HTML
// with pictures is multipart/related, and attachments make all of it multipart/mixed.
// What a strict reader could not take is an error, which build() gives: the first that was met.

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "mimetree/message.hpp"

namespace mimetree {

class MIMETREE_API Builder {
public:
    Builder() noexcept;
    Builder(Builder&&) noexcept;
    Builder& operator=(Builder&&) noexcept;
    ~Builder();

    // Mailboxes: "ann@example.org", "Ann Other <ann@example.org>", or several after commas.
    // Each call adds; a display name that needs quotes or encoded words gets them.
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

    Builder& subject(std::string_view subject) noexcept;
    Builder& date(std::chrono::sys_seconds time, std::chrono::minutes zone = {}) noexcept;
    Builder& message_id(std::string_view id) noexcept;  // with or without angle brackets
    // Any other field; each call adds one.
    Builder& header(std::string_view name, std::string_view value) noexcept;

    // Line ends become CRLF.
    Builder& text(std::string_view text) noexcept;
    Builder& html(std::string_view html) noexcept;

    // A file, read at once.  Its name is the path's last piece unless another is given; the type
    // goes by the name unless it is given.
    Builder& attach(const std::string& path, std::string_view name = {},
                    std::string_view type = {}) noexcept;
    Builder& attach(std::span<const std::byte> bytes, std::string_view name,
                    std::string_view type = {}) noexcept;
    // A picture that the HTML shows as `cid:` and this identifier.
    Builder& inline_image(const std::string& path, std::string_view cid,
                          std::string_view type = {}) noexcept;
    Builder& inline_image(std::span<const std::byte> bytes, std::string_view cid,
                          std::string_view type) noexcept;

    // Of the texts: utf-8 unless given, and where the given one cannot hold a text.
    Builder& charset(std::string_view charset) noexcept;
    // Of the texts: "7bit", "8bit", "quoted-printable" or "base64"; chosen by the text unless given.
    Builder& encoding(std::string_view encoding) noexcept;

    // The message, after which the builder is empty; or the first error.
    Result<Message> build() noexcept;

private:
    struct Plan;
    std::unique_ptr<Plan> m_plan;
};

}  // namespace mimetree
