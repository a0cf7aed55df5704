// SPDX-License-Identifier: Apache-2.0
// The C interface to Part.

#include "face/c/handles.h"

using mimetree::Header;
using mimetree::Part;
using mimetree::Tree;
using mimetree::inner::attempt;
using mimetree::inner::c::give;
using mimetree::inner::c::handleOf;
using mimetree::inner::c::lend;
using mimetree::inner::c::orEmpty;
using mimetree::inner::c::partOf;
using mimetree::inner::c::refuseNull;

namespace {

const char* lendText(const mt_part* part, std::string_view (Part::*ask)() const noexcept,
                     size_t* size = nullptr) {
    if (part) return lend(Tree::of(*partOf(part)), (partOf(part)->*ask)(), size);
    if (size) *size = 0;
    return "";
}

const void* lendBytes(const mt_part* part, std::span<const std::byte> (Part::*ask)() const noexcept,
                      size_t* size) {
    return lend(part ? (partOf(part)->*ask)() : std::span<const std::byte>(), size);
}

const char* lendField(const mt_part* part, size_t i, std::string_view Header::*piece,
                      size_t* size = nullptr) {
    if (i < mt_part_header_count(part))
        return lend(Tree::of(*partOf(part)), partOf(part)->headers()[i].*piece, size);
    if (size) *size = 0;
    return "";
}

bool isTrue(const mt_part* part, bool (Part::*ask)() const noexcept) {
    return part && (partOf(part)->*ask)();
}

}  // namespace

const char* mt_part_type(const mt_part* part) { return lendText(part, &Part::type); }
const char* mt_part_charset(const mt_part* part) { return lendText(part, &Part::charset); }
const char* mt_part_encoding(const mt_part* part) { return lendText(part, &Part::encoding); }
const char* mt_part_disposition(const mt_part* part) { return lendText(part, &Part::disposition); }
const char* mt_part_content_id(const mt_part* part) { return lendText(part, &Part::content_id); }
const char* mt_part_name(const mt_part* part) { return lendText(part, &Part::name); }
const char* mt_part_path(const mt_part* part) { return lendText(part, &Part::path); }

const char* mt_part_declared_name(const mt_part* part) {
    return lendText(part, &Part::declared_name);
}

const char* mt_part_parameter(const mt_part* part, const char* name) {
    if (!part) return nullptr;
    return lend(Tree::of(*partOf(part)), partOf(part)->parameter(orEmpty(name)));
}

const void* mt_part_bytes(const mt_part* part, size_t* size) {
    return lendBytes(part, &Part::bytes, size);
}

const char* mt_part_text(const mt_part* part, size_t* size) {
    return lendText(part, &Part::text, size);
}

const void* mt_part_signed_bytes(const mt_part* part, size_t* size) {
    return lendBytes(part, &Part::signed_bytes, size);
}

size_t mt_part_header_count(const mt_part* part) {
    return part ? partOf(part)->headers().size() : 0;
}

const char* mt_part_header_name(const mt_part* part, size_t i) {
    return lendField(part, i, &Header::name);
}

const char* mt_part_header_value(const mt_part* part, size_t i) {
    return lendField(part, i, &Header::value);
}

const char* mt_part_header_value_n(const mt_part* part, size_t i, size_t* size) {
    return lendField(part, i, &Header::value, size);
}

const char* mt_part_header_raw(const mt_part* part, size_t i, size_t* size) {
    return lendField(part, i, &Header::raw, size);
}

const char* mt_part_header(const mt_part* part, const char* name) {
    if (!part) return nullptr;
    return lend(Tree::of(*partOf(part)), partOf(part)->header(orEmpty(name)));
}

const char* mt_part_header_n(const mt_part* part, const char* name, size_t* size) {
    if (part) return lend(Tree::of(*partOf(part)), partOf(part)->header(orEmpty(name)), size);
    if (size) *size = 0;
    return nullptr;
}

unsigned mt_part_depth(const mt_part* part) { return part ? partOf(part)->depth() : 0; }

size_t mt_part_child_count(const mt_part* part) {
    return part ? partOf(part)->children().size() : 0;
}

const mt_part* mt_part_child(const mt_part* part, size_t i) {
    return part ? handleOf(partOf(part)->children(), i) : nullptr;
}

int mt_part_is_multipart(const mt_part* part) { return isTrue(part, &Part::is_multipart); }
int mt_part_is_text(const mt_part* part) { return isTrue(part, &Part::is_text); }
int mt_part_is_attachment(const mt_part* part) { return isTrue(part, &Part::is_attachment); }
int mt_part_is_body(const mt_part* part) { return isTrue(part, &Part::is_body); }
int mt_part_is_message(const mt_part* part) { return isTrue(part, &Part::is_message); }

mt_message* mt_part_message(const mt_part* part) {
    if (!part) return refuseNull(), nullptr;
    return give<mt_message>(partOf(part)->message());
}

char* mt_part_file_bytes(const mt_part* part, size_t* size) {
    if (part) return give(partOf(part)->file_bytes(), size);
    if (size) *size = 0;
    return refuseNull(), nullptr;
}

char* mt_part_save(const mt_part* part, const char* directory) {
    if (!part || !directory) return refuseNull(), nullptr;
    return give(attempt([&] { return partOf(part)->save(directory); }));
}
