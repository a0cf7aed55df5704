// SPDX-License-Identifier: Apache-2.0
// The C interface to Builder.  What cannot even be handed on to it is kept for build().

#include "face/c/handles.h"

using mimetree::Builder;
using mimetree::inner::c::bytesOf;
using mimetree::inner::c::give;
using mimetree::inner::c::givenBytes;
using mimetree::inner::c::orEmpty;
using mimetree::inner::c::refuseNull;
using mimetree::inner::c::remember;
using mimetree::inner::c::rememberNoMemory;

namespace {

using TakeText = Builder& (Builder::*)(std::string_view) noexcept;

void noteFault(mt_builder* builder, mt_code code, const char* reason) {
    if (builder->fault == MT_OK) builder->fault = code, builder->reason = reason;
}

// A step for which the handle and `needed` must not be NULL; it may throw.
template <class Work>
void add(mt_builder* builder, const void* needed, Work work) noexcept {
    if (!builder) return;
    if (!needed) return noteFault(builder, MT_INVALID_ARGUMENT, "NULL was handed in");
    try {
        work(builder->builder);
    } catch (...) {
        noteFault(builder, MT_OUT_OF_MEMORY, "out of memory");
    }
}

void addText(mt_builder* builder, const char* text, TakeText take) {
    add(builder, text, [&](Builder& b) { (b.*take)(text); });
}

}  // namespace

mt_builder* mt_builder_new(void) {
    mt_builder* const builder = new (std::nothrow) mt_builder;
    if (!builder) rememberNoMemory();
    return builder;
}

void mt_builder_free(mt_builder* builder) { delete builder; }

void mt_builder_from(mt_builder* builder, const char* mailboxes) {
    addText(builder, mailboxes, &Builder::from);
}

void mt_builder_to(mt_builder* builder, const char* mailboxes) {
    addText(builder, mailboxes, &Builder::to);
}

void mt_builder_cc(mt_builder* builder, const char* mailboxes) {
    addText(builder, mailboxes, &Builder::cc);
}

void mt_builder_bcc(mt_builder* builder, const char* mailboxes) {
    addText(builder, mailboxes, &Builder::bcc);
}

void mt_builder_reply_to(mt_builder* builder, const char* mailboxes) {
    addText(builder, mailboxes, &Builder::reply_to);
}

void mt_builder_address(mt_builder* builder, mt_role role, const char* name, const char* address) {
    add(builder, address, [&](Builder& b) {
        switch (role) {
            case MT_FROM: return void(b.from(orEmpty(name), address));
            case MT_TO: return void(b.to(orEmpty(name), address));
            case MT_CC: return void(b.cc(orEmpty(name), address));
            case MT_BCC: return void(b.bcc(orEmpty(name), address));
            case MT_REPLY_TO: return void(b.reply_to(orEmpty(name), address));
        }
        noteFault(builder, MT_INVALID_ARGUMENT, "no role of an address (mt_role)");
    });
}

void mt_builder_subject(mt_builder* builder, const char* subject) {
    addText(builder, subject, &Builder::subject);
}

void mt_builder_date(mt_builder* builder, int64_t seconds, int zone) {
    if (!builder) return;
    builder->builder.date(std::chrono::sys_seconds(std::chrono::seconds(seconds)),
                          std::chrono::minutes(zone));
}

void mt_builder_message_id(mt_builder* builder, const char* id) {
    addText(builder, id, &Builder::message_id);
}

void mt_builder_header(mt_builder* builder, const char* name, const char* value) {
    add(builder, name, [&](Builder& b) { b.header(name, orEmpty(value)); });
}

void mt_builder_text(mt_builder* builder, const char* text) {
    addText(builder, text, &Builder::text);
}

void mt_builder_html(mt_builder* builder, const char* html) {
    addText(builder, html, &Builder::html);
}

void mt_builder_attach_file(mt_builder* builder, const char* path, const char* name,
                            const char* type) {
    add(builder, path,
        [&](Builder& b) { b.attach(std::string(path), orEmpty(name), orEmpty(type)); });
}

void mt_builder_attach_bytes(mt_builder* builder, const void* bytes, size_t size, const char* name,
                             const char* type) {
    add(builder, givenBytes(bytes, size),
        [&](Builder& b) { b.attach(bytesOf(bytes, size), orEmpty(name), orEmpty(type)); });
}

void mt_builder_inline_file(mt_builder* builder, const char* path, const char* cid,
                            const char* type) {
    add(builder, path,
        [&](Builder& b) { b.inline_image(std::string(path), orEmpty(cid), orEmpty(type)); });
}

void mt_builder_inline_bytes(mt_builder* builder, const void* bytes, size_t size, const char* cid,
                             const char* type) {
    add(builder, givenBytes(bytes, size),
        [&](Builder& b) { b.inline_image(bytesOf(bytes, size), orEmpty(cid), orEmpty(type)); });
}

void mt_builder_charset(mt_builder* builder, const char* charset) {
    addText(builder, charset, &Builder::charset);
}

void mt_builder_encoding(mt_builder* builder, const char* encoding) {
    addText(builder, encoding, &Builder::encoding);
}

mt_message* mt_builder_build(mt_builder* builder) {
    if (!builder) return refuseNull(), nullptr;
    auto built = builder->builder.build();
    const mt_code fault = std::exchange(builder->fault, MT_OK);
    if (fault != MT_OK) return remember(fault, builder->reason), nullptr;
    return give<mt_message>(std::move(built));
}
