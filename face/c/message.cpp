// SPDX-License-Identifier: Apache-2.0
// The C interface to Message: reading, asking, changing and writing.

#include "face/c/handles.h"

using mimetree::Addresses;
using mimetree::Message;
using mimetree::Part;
using mimetree::Parts;
using mimetree::SourceBytes;
using mimetree::TextKind;
using mimetree::Tree;
using mimetree::inner::attempt;
using mimetree::inner::c::bytesOf;
using mimetree::inner::c::codeOf;
using mimetree::inner::c::give;
using mimetree::inner::c::givenBytes;
using mimetree::inner::c::handleOf;
using mimetree::inner::c::lend;
using mimetree::inner::c::orEmpty;
using mimetree::inner::c::partOf;
using mimetree::inner::c::refuseNull;

namespace {

mimetree::ParseOptions optionsOf(unsigned options) {
    return {.strict = (options & MT_STRICT) != 0,
            .source = options & MT_DROP_SOURCE     ? SourceBytes::drop
                      : options & MT_BORROW_SOURCE ? SourceBytes::borrow
                                                   : SourceBytes::keep};
}

Tree& treeOf(const mt_message* message) { return Tree::of(message->message.root()); }

Addresses addressesOf(const mt_message* message, const char* field) {
    return message ? message->message.addresses(orEmpty(field)) : Addresses();
}

const char* lendText(const mt_message* message, std::string_view (Message::*ask)() const noexcept,
                     size_t* size = nullptr) {
    if (message) return lend(treeOf(message), (message->message.*ask)(), size);
    if (size) *size = 0;
    return "";
}

Parts partsOf(const mt_message* message, Parts (Message::*ask)() const noexcept) {
    return message ? (message->message.*ask)() : Parts();
}

Parts bodyPartsOf(const mt_message* message, mt_text_kind preferred) {
    if (!message || (preferred != MT_HTML && preferred != MT_PLAIN)) return Parts();
    return message->message.body_parts(preferred == MT_HTML ? TextKind::html : TextKind::plain);
}

// A change for which the handle and `needed` must not be NULL.
template <class Work>
mt_code change(mt_message* message, const void* needed, Work work) {
    if (!message || !needed) return refuseNull();
    return codeOf(attempt([&] { return work(message->message); }));
}

}  // namespace

mt_message* mt_message_parse(const void* bytes, size_t size, unsigned options) {
    bytes = givenBytes(bytes, size);
    if (!bytes) return refuseNull(), nullptr;
    return give<mt_message>(Message::parse(bytesOf(bytes, size), optionsOf(options)));
}

mt_message* mt_message_read(const char* path, unsigned options) {
    if (!path) return refuseNull(), nullptr;
    return give<mt_message>(attempt([&] { return Message::read(path, optionsOf(options)); }));
}

const void* mt_message_source(const mt_message* message, size_t* size) {
    const auto source = message ? message->message.source() : std::string_view();
    return lend(std::as_bytes(std::span(source)), size);
}

void mt_message_free(mt_message* message) { delete message; }

int mt_message_ok(const mt_message* message) { return message && message->message.ok(); }

// -- What the header says

const char* mt_message_subject(const mt_message* message) {
    return lendText(message, &Message::subject);
}

const char* mt_message_message_id(const mt_message* message) {
    return lendText(message, &Message::message_id);
}

const char* mt_message_header(const mt_message* message, const char* name) {
    return message ? lend(treeOf(message), message->message.header(orEmpty(name))) : nullptr;
}

const char* mt_message_header_n(const mt_message* message, const char* name, size_t* size) {
    return mt_part_header_n(mt_message_part(message, 0), name, size);
}

int mt_message_date(const mt_message* message, int64_t* seconds, int* zone, int* zone_known) {
    const auto date = message ? message->message.date() : std::nullopt;
    if (!date) return 0;
    if (seconds) *seconds = date->time.time_since_epoch().count();
    if (zone) *zone = static_cast<int>(date->zone.count());
    if (zone_known) *zone_known = date->zone_known;
    return 1;
}

size_t mt_message_address_count(const mt_message* message, const char* field) {
    return addressesOf(message, field).size();
}

const char* mt_message_address(const mt_message* message, const char* field, size_t i) {
    const Addresses list = addressesOf(message, field);
    return i < list.size() ? lend(treeOf(message), std::string_view(list[i].address)) : "";
}

const char* mt_message_address_name(const mt_message* message, const char* field, size_t i) {
    const Addresses list = addressesOf(message, field);
    return i < list.size() ? lend(treeOf(message), std::string_view(list[i].name)) : "";
}

char* mt_message_addresses(const mt_message* message, const char* field) {
    if (!message) return refuseNull(), nullptr;
    return give(attempt([&] { return mimetree::Result(addressesOf(message, field).text()); }));
}

// -- What is in it

const char* mt_message_text(const mt_message* message, size_t* size) {
    return lendText(message, &Message::text, size);
}

const char* mt_message_html(const mt_message* message, size_t* size) {
    return lendText(message, &Message::html, size);
}

size_t mt_message_body_part_count(const mt_message* message, mt_text_kind preferred) {
    return bodyPartsOf(message, preferred).size();
}

const mt_part* mt_message_body_part(const mt_message* message, mt_text_kind preferred, size_t i) {
    return handleOf(bodyPartsOf(message, preferred), i);
}

size_t mt_message_attachment_count(const mt_message* message) {
    return partsOf(message, &Message::attachments).size();
}

const mt_part* mt_message_attachment(const mt_message* message, size_t i) {
    return handleOf(partsOf(message, &Message::attachments), i);
}

size_t mt_message_inline_part_count(const mt_message* message) {
    return partsOf(message, &Message::inline_parts).size();
}

const mt_part* mt_message_inline_part(const mt_message* message, size_t i) {
    return handleOf(partsOf(message, &Message::inline_parts), i);
}

size_t mt_message_part_count(const mt_message* message) {
    return partsOf(message, &Message::parts).size();
}

const mt_part* mt_message_part(const mt_message* message, size_t i) {
    return handleOf(partsOf(message, &Message::parts), i);
}

const mt_part* mt_message_part_at(const mt_message* message, const char* path) {
    return message ? handleOf(message->message.part(orEmpty(path))) : nullptr;
}

const mt_part* mt_message_part_by_cid(const mt_message* message, const char* cid) {
    return message ? handleOf(message->message.part_by_cid(orEmpty(cid))) : nullptr;
}

// -- Changing and writing it

mt_code mt_message_set_header(mt_message* message, const char* name, const char* value) {
    return change(message, name, [&](Message& m) { return m.set_header(name, orEmpty(value)); });
}

int mt_message_remove_header(mt_message* message, const char* name) {
    return message && message->message.remove_header(orEmpty(name));
}

mt_code mt_message_set_text(mt_message* message, const char* text) {
    return change(message, text, [&](Message& m) { return m.set_text(text); });
}

mt_code mt_message_remove_part(mt_message* message, const mt_part* part) {
    return change(message, part, [&](Message& m) {
        const Part own = *partOf(part);  // its place in the list goes with the change
        return m.remove_part(own);
    });
}

mt_code mt_message_attach_file(mt_message* message, const char* path, const char* name,
                               const char* type) {
    return change(message, path, [&](Message& m) {
        return m.add_attachment(std::string(path), orEmpty(name), orEmpty(type));
    });
}

mt_code mt_message_attach_bytes(mt_message* message, const void* bytes, size_t size,
                                const char* name, const char* type) {
    return change(message, givenBytes(bytes, size), [&](Message& m) {
        return m.add_attachment(bytesOf(bytes, size), orEmpty(name), orEmpty(type));
    });
}

mt_code mt_message_set_charset(mt_message* message, const char* charset) {
    return change(message, charset, [&](Message& m) { return m.set_charset(charset); });
}

char* mt_message_write(const mt_message* message, size_t* size) {
    if (message) return give(message->message.write(), size);
    if (size) *size = 0;
    return refuseNull(), nullptr;
}
