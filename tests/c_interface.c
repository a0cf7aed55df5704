/* SPDX-License-Identifier: Apache-2.0 */
/* The C interface as a program in C meets it: a mail is built, written, read, walked, changed and
   brought through XML and an mbox; and every function bears NULL.
   usage: c_interface DIRECTORY, where a file is made and removed */

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mimetree/mimetree.h"

static int failures = 0;

static void expect(int is_right, const char* what, int line) {
    if (is_right) return;
    ++failures;
    fprintf(stderr, "line %d: %s (last error: %s)\n", line, what, mt_last_error());
}
#define EXPECT(condition) expect(!!(condition), #condition, __LINE__)
#define EXPECT_TEXT(text, wanted) expect(!strcmp(text, wanted), #text " is " #wanted, __LINE__)

static mt_message* build(void) {
    mt_builder* builder = mt_builder_new();
    mt_builder_address(builder, MT_FROM, "Other, Ann", "ann@example.org");
    mt_builder_to(builder, "bob@example.org, \"C.\" <c@example.org>");
    mt_builder_cc(builder, "d@example.org");
    mt_builder_bcc(builder, "e@example.org");
    mt_builder_reply_to(builder, "f@example.org");
    mt_builder_subject(builder,
                       "Gr\xC3\xBC\xC3\x9F"
                       "e");
    mt_builder_date(builder, 1004614496, 60);
    mt_builder_message_id(builder, "one@example.org");
    mt_builder_header(builder, "X-Other", "value");
    mt_builder_text(builder, "caf\xC3\xA9\n");
    mt_builder_html(builder, "<img src=\"cid:pic@example.org\">\n");
    mt_builder_inline_bytes(builder, "\x89PNG", 4, "pic@example.org", "image/png");
    mt_builder_attach_bytes(builder, "a\0b", 3, "n\xC3\xA4me.bin", "application/octet-stream");
    mt_builder_charset(builder, "iso-8859-1");
    mt_builder_encoding(builder, "quoted-printable");
    mt_message* message = mt_builder_build(builder);
    mt_builder_subject(builder, NULL);
    EXPECT(!mt_builder_build(builder) && mt_last_error_code() == MT_INVALID_ARGUMENT);
    mt_builder_address(builder, (mt_role)9, "a", "a@b.c");
    EXPECT(!mt_builder_build(builder) && strstr(mt_last_error(), "role"));
    mt_builder_free(builder);
    EXPECT(message);
    return message;
}

static mt_message* written_and_read(const mt_message* message) {
    size_t size = 0;
    char* bytes = mt_message_write(message, &size);
    mt_message* again = mt_message_parse(bytes, size, MT_STRICT);
    EXPECT(again && size == strlen(bytes));
    mt_free(bytes);
    return again;
}

static void check_header(const mt_message* message) {
    int64_t seconds = 0;
    int zone = 0, zone_known = 0;
    EXPECT_TEXT(mt_message_subject(message),
                "Gr\xC3\xBC\xC3\x9F"
                "e");
    EXPECT_TEXT(mt_message_message_id(message), "one@example.org");
    EXPECT_TEXT(mt_message_header(message, "x-other"), "value");
    EXPECT(!mt_message_header(message, "X-None"));
    EXPECT(mt_message_date(message, &seconds, &zone, &zone_known));
    EXPECT(seconds == 1004614496 && zone == 60 && zone_known);
    EXPECT(mt_message_address_count(message, "To") == 2);
    EXPECT_TEXT(mt_message_address(message, "From", 0), "ann@example.org");
    EXPECT_TEXT(mt_message_address_name(message, "From", 0), "Other, Ann");
    EXPECT_TEXT(mt_message_address(message, "From", 1), "");
    char* to = mt_message_addresses(message, "To");
    EXPECT(strstr(to, "c@example.org"));
    mt_free(to);
}

/* Nothing behind a NUL is lost. */
static void check_nul(void) {
    static const char kReplaced[] =
        "a\xEF\xBF\xBD"
        "b";
    static const char mail[] =
        "Subject: =?utf-8?Q?a=00b?=\nFrom: =?utf-8?Q?a=00b?= <a@b>\n"
        "Content-Type: a/b; name*=utf-8''a%00b\n\nx";
    mt_message* message = mt_message_parse(mail, sizeof mail - 1, 0);
    const mt_part* root = mt_message_part(message, 0);
    size_t size = 0;
    EXPECT_TEXT(mt_message_subject(message), kReplaced);
    EXPECT_TEXT(mt_message_address_name(message, "From", 0), kReplaced);
    EXPECT_TEXT(mt_part_parameter(root, "name"), kReplaced);
    EXPECT(!memcmp(mt_message_header_n(message, "subject", &size), "a\0b", 4) && size == 3);
    EXPECT(!memcmp(mt_part_header_n(root, "from", &size), "a\0b <a@b>", 9) && size == 9);
    EXPECT(!memcmp(mt_part_header_value_n(root, 0, &size), "a\0b", 4) && size == 3);
    EXPECT(!mt_part_header_n(root, "none", &size) && size == 0);
    mt_message_free(message);
}

/* A text has the same size for C and in the message, and the fields cover what was written. */
static void check_walk(const mt_message* message) {
    const size_t count = mt_message_part_count(message);
    size_t children = 0, leaves = 0;
    for (size_t i = 0; i < count; ++i) {
        const mt_part* part = mt_message_part(message, i);
        size_t size = 1;
        EXPECT(mt_message_part_at(message, mt_part_path(part)) == part);
        EXPECT(strlen(mt_part_text(part, &size)) == size);
        EXPECT(mt_part_text(part, NULL) == mt_part_text(part, NULL));
        EXPECT(mt_part_header(part, "content-type"));
        for (size_t k = 0; k < mt_part_header_count(part); ++k) {
            const char* raw = mt_part_header_raw(part, k, &size);
            EXPECT(size == strlen(raw) && *mt_part_header_name(part, k));
            EXPECT(*mt_part_header_value(part, k));
        }
        for (size_t k = 0; k < mt_part_child_count(part); ++k)
            EXPECT(mt_message_part_at(message, mt_part_path(mt_part_child(part, k))) ==
                   mt_part_child(part, k));
        EXPECT(mt_part_depth(part) == (i ? strlen(mt_part_path(part)) / 2 + 1 : 0));
        children += mt_part_child_count(part);
        leaves += !mt_part_is_multipart(part);
    }
    EXPECT(count == children + 1 && leaves == 4 && !mt_message_part(message, count));
    const mt_part* picture = mt_message_part_by_cid(message, "<pic@example.org>");
    EXPECT(picture && picture == mt_message_part_at(message, mt_part_path(picture)));
    EXPECT(mt_message_inline_part_count(message) == 1 && mt_message_inline_part(message, 0));
    EXPECT_TEXT(mt_part_content_id(picture), "pic@example.org");
    EXPECT_TEXT(mt_part_disposition(picture), "inline");
    EXPECT(mt_message_body_part_count(message, MT_HTML) == 1);
    const mt_part* html = mt_message_body_part(message, MT_HTML, 0);
    EXPECT(mt_part_is_body(html) && mt_part_is_text(html));
    EXPECT_TEXT(mt_part_type(html), "text/html");
    EXPECT_TEXT(mt_part_type(mt_message_body_part(message, MT_PLAIN, 0)), "text/plain");
    EXPECT_TEXT(mt_message_text(message, NULL), "caf\xC3\xA9\r\n");
    EXPECT(strstr(mt_message_html(message, NULL), "cid:"));
}

static void check_attachment(const mt_message* message, const char* directory) {
    size_t size = 0;
    EXPECT(mt_message_attachment_count(message) == 1 && !mt_message_attachment(message, 1));
    const mt_part* file = mt_message_attachment(message, 0);
    const void* bytes = mt_part_bytes(file, &size);
    EXPECT(size == 3 && !memcmp(bytes, "a\0b", 3));
    char* in_file = mt_part_file_bytes(file, &size);
    EXPECT(size == 3 && !memcmp(in_file, "a\0b", 3));
    mt_free(in_file);
    EXPECT(mt_part_is_attachment(file) && !mt_part_is_text(file) && !mt_part_is_message(file));
    EXPECT_TEXT(mt_part_type(file), "application/octet-stream");
    EXPECT_TEXT(mt_part_encoding(file), "base64");
    EXPECT_TEXT(mt_part_declared_name(file), mt_part_name(file));
    char* path = mt_part_save(file, directory);
    EXPECT(path && !strncmp(path, directory, strlen(directory)) && remove(path) == 0);
    mt_free(path);
    EXPECT(!mt_part_message(file) && mt_last_error_code() == MT_NOT_FOUND);
}

static void check_changes(mt_message* message) {
    EXPECT(mt_message_set_header(message, "Subject", "new") == MT_OK);
    EXPECT(mt_message_set_text(message, "other\n") == MT_OK);
    EXPECT(mt_message_remove_part(message, mt_message_attachment(message, 0)) == MT_OK);
    EXPECT(mt_message_attach_bytes(message, "x", 1, "x.txt", NULL) == MT_OK);
    EXPECT(mt_message_attach_bytes(message, NULL, 1, "y.txt", NULL) == MT_INVALID_ARGUMENT);
    EXPECT(mt_message_attach_bytes(message, NULL, 0, "y.txt", NULL) == MT_OK);
    EXPECT(mt_message_attach_file(message, "/none/such", NULL, NULL) == MT_IO);
    EXPECT(mt_message_remove_header(message, "X-Other"));
    EXPECT(!mt_message_remove_header(message, "X-Other"));
    EXPECT(mt_message_set_charset(message, "utf-8") == MT_OK);
    EXPECT_TEXT(mt_message_subject(message), "new");
    EXPECT_TEXT(mt_message_text(message, NULL), "other\r\n");
    EXPECT_TEXT(mt_part_name(mt_message_attachment(message, 0)), "x.txt");
    EXPECT(mt_message_ok(message));
}

static void check_xml(const mt_message* message) {
    size_t size = 0;
    char* xml = mt_message_to_xml(message, &size);
    mt_message* again = mt_message_from_xml(xml, size);
    EXPECT_TEXT(mt_message_subject(again), mt_message_subject(message));
    EXPECT_TEXT(mt_message_text(again, NULL), mt_message_text(message, NULL));
    EXPECT(!mt_message_from_xml("<a/>", 4) && mt_last_error_code() == MT_NOT_MAIL);
    mt_free(xml);
    mt_message_free(again);
}

static ptrdiff_t read_nothing(void* context, char* to, size_t size) {
    EXPECT(!context && to && size);
    return -EIO;
}

static void check_mbox(void) {
    static const char text[] =
        "From a@example.org Thu Nov  1 12:34:56 2001\nSubject: 1\n\n>From a\n\n"
        "From b@example.org Thu Nov  1 12:34:56 2001\nSubject: 2\n\nb\n\n";
    EXPECT(!mt_message_parse(text, sizeof text - 1, 0) && mt_last_error_code() == MT_IS_MBOX);
    EXPECT(!mt_mbox_from_bytes(text, 5, (mt_mbox_kind)9) && strstr(mt_last_error(), "kind"));
    EXPECT(!mt_mbox_from(read_nothing, NULL, "box", MT_MBOX_RD) && mt_last_error_code() == MT_IO);
    mt_mbox* box = mt_mbox_from_bytes(text, sizeof text - 1, MT_MBOX_AUTOMATIC);
    EXPECT(mt_mbox_next(box) && mt_mbox_kind_of(box) == MT_MBOX_RD);
    size_t size = 0;
    const void* bytes = mt_mbox_bytes(box, &size);
    EXPECT(size == 19 && !memcmp(bytes, "Subject: 1\n\nFrom a\n", size));
    EXPECT_TEXT(mt_mbox_from_line(box), "From a@example.org Thu Nov  1 12:34:56 2001");
    EXPECT(mt_mbox_number(box) == 1 && mt_mbox_offset(box) == 0);
    const uint64_t first = mt_mbox_size(box);
    EXPECT(mt_mbox_next(box) && mt_mbox_offset(box) == first);
    mt_message* message = mt_mbox_message(box, 0);
    EXPECT_TEXT(mt_message_subject(message), "2");
    mt_message_free(message);
    EXPECT(!mt_mbox_next(box) && mt_mbox_status(box) == MT_OK);
    mt_mbox_free(box);
}

static void check_findings(void) {
    const char mail[] =
        "From: a@b\r\nMessage-ID: <a@b>\r\nDate: 1 Jan 2015 10:00:00 +0000\r\n\r\n\xE9";
    size_t size = 0;
    mt_message* message = mt_message_parse(mail, sizeof mail - 1, MT_BORROW_SOURCE);
    EXPECT(mt_message_source(message, &size) == mail && size == sizeof mail - 1);
    mt_findings* found = mt_message_findings(message);
    mt_message_free(message);
    EXPECT(mt_findings_count(found) == 2 && mt_findings_number(found, 1) == 35);
    EXPECT_TEXT(mt_findings_id(found, 1), "MT035");
    EXPECT_TEXT(mt_findings_name(found, 1), "8bit-in-7bit");
    EXPECT_TEXT(mt_findings_part(found, 1), "");
    EXPECT(strstr(mt_findings_sentence(found, 1), "7bit") && mt_findings_line(found, 1) == 5);
    EXPECT(mt_findings_offset(found, 1) == sizeof mail - 2 && !mt_findings_more(found, 1));
    EXPECT(mt_findings_severity(found, 1) == MT_WARNING && !mt_findings_line(found, 2));
    EXPECT(mt_finding_explanation("mt035") == mt_finding_explanation("8bit-in-7bit"));
    EXPECT_TEXT(mt_finding_reference("MT035"), "RFC 2045 2.7");
    mt_findings_free(found);
}

static int keep(void* context, const void* bytes, size_t size) {
    return size < 200 ? memcpy(context, bytes, size), 0 : ENOSPC;
}

static void check_mbox_writer(void) {
    static const char mail[] = "From: a@example.org\nDate: 1 Nov 2001 12:34:56 +0000\n\nFrom a";
    char text[200] = "";
    mt_mbox_writer* writer = mt_mbox_writer_to(keep, text, "box");
    EXPECT(mt_mbox_writer_add(writer, mail, sizeof mail - 1) == MT_OK);
    EXPECT(!strncmp(text, "From a@example.org Thu Nov  1 12:34:56 2001\t\t\nFrom: a@", 54));
    EXPECT(strstr(text, "\n\n>From a\n\n"));
    EXPECT(mt_mbox_writer_add(writer, text, sizeof text) == MT_IO &&
           strstr(mt_last_error(), "box: "));
    EXPECT(mt_mbox_writer_close(writer) == MT_OK);
    EXPECT(mt_mbox_writer_add(writer, mail, 1) == MT_INVALID_ARGUMENT);
    mt_mbox_writer_free(writer);
    EXPECT(!mt_mbox_create("."));
    EXPECT(!mt_mbox_create(NULL) && !mt_mbox_writer_to(NULL, NULL, NULL));
    EXPECT(mt_mbox_writer_add(NULL, mail, 1) && mt_mbox_writer_close(NULL));
    mt_mbox_writer_free(NULL);
}

static void check_null(void) {
    size_t size = 1;
    mt_free(NULL), mt_message_free(NULL), mt_builder_free(NULL), mt_mbox_free(NULL);
    mt_maildir_free(NULL);
    EXPECT(!mt_message_parse(NULL, 0, 0) && mt_last_error_code() == MT_NOT_MAIL);
    EXPECT(!mt_message_parse(NULL, 1, 0) && !mt_message_read(NULL, 0) && !mt_message_ok(NULL));
    EXPECT(!*mt_message_subject(NULL) && !*mt_message_message_id(NULL));
    EXPECT(!mt_message_header(NULL, NULL) && !mt_message_date(NULL, NULL, NULL, NULL));
    EXPECT(!mt_message_address_count(NULL, NULL) && !*mt_message_address(NULL, NULL, 0));
    EXPECT(!*mt_message_address_name(NULL, NULL, 0) && !mt_message_addresses(NULL, NULL));
    EXPECT(!*mt_message_text(NULL, &size) && size == 0 && !*mt_message_html(NULL, NULL));
    EXPECT(!mt_message_attachment_count(NULL) && !mt_message_attachment(NULL, 0));
    EXPECT(!mt_message_inline_part_count(NULL) && !mt_message_inline_part(NULL, 0));
    EXPECT(!mt_message_part_count(NULL) && !mt_message_part(NULL, 0));
    EXPECT(!mt_message_part_at(NULL, NULL) && !mt_message_part_by_cid(NULL, NULL));
    EXPECT(!*mt_part_type(NULL) && !*mt_part_charset(NULL) && !*mt_part_encoding(NULL));
    EXPECT(!*mt_part_disposition(NULL) && !*mt_part_content_id(NULL) && !*mt_part_name(NULL));
    EXPECT(!mt_part_parameter(NULL, NULL) && !*mt_part_declared_name(NULL));
    EXPECT(!mt_part_bytes(NULL, NULL) && !*mt_part_text(NULL, NULL));
    EXPECT(!mt_part_signed_bytes(NULL, NULL) && !mt_part_header_count(NULL));
    EXPECT(!*mt_part_header_name(NULL, 0) && !*mt_part_header_value(NULL, 0));
    EXPECT(!*mt_part_header_raw(NULL, 0, NULL) && !mt_part_header(NULL, NULL));
    EXPECT(!*mt_part_path(NULL) && !mt_part_depth(NULL) && !mt_part_child_count(NULL));
    EXPECT(!mt_part_child(NULL, 0) && !mt_part_is_multipart(NULL) && !mt_part_is_text(NULL));
    EXPECT(!mt_part_is_attachment(NULL) && !mt_part_is_message(NULL) && !mt_part_message(NULL));
    EXPECT(!mt_part_is_body(NULL) && !mt_part_file_bytes(NULL, NULL));
    EXPECT(!mt_message_body_part_count(NULL, MT_HTML) && !mt_message_body_part(NULL, MT_HTML, 0));
    EXPECT(!mt_part_save(NULL, NULL) && mt_message_set_header(NULL, NULL, NULL));
    EXPECT(!mt_message_remove_header(NULL, NULL) && mt_message_set_text(NULL, NULL));
    EXPECT(mt_message_remove_part(NULL, NULL) && mt_message_attach_file(NULL, NULL, NULL, NULL));
    EXPECT(mt_message_attach_bytes(NULL, NULL, 0, NULL, NULL));
    EXPECT(mt_message_set_charset(NULL, NULL) && !mt_message_write(NULL, NULL));
    EXPECT(!mt_message_to_xml(NULL, NULL) && !mt_message_from_xml(NULL, 0));
    mt_builder_from(NULL, NULL), mt_builder_to(NULL, NULL), mt_builder_cc(NULL, NULL);
    mt_builder_bcc(NULL, NULL), mt_builder_reply_to(NULL, NULL), mt_builder_subject(NULL, NULL);
    mt_builder_address(NULL, MT_CC, NULL, NULL), mt_builder_date(NULL, 0, 0);
    mt_builder_message_id(NULL, NULL), mt_builder_header(NULL, NULL, NULL);
    mt_builder_text(NULL, NULL), mt_builder_html(NULL, NULL), mt_builder_charset(NULL, NULL);
    mt_builder_attach_file(NULL, NULL, NULL, NULL), mt_builder_encoding(NULL, NULL);
    mt_builder_attach_bytes(NULL, NULL, 0, NULL, NULL);
    mt_builder_inline_file(NULL, NULL, NULL, NULL);
    mt_builder_inline_bytes(NULL, NULL, 0, NULL, NULL);
    EXPECT(!mt_builder_build(NULL) && !mt_mbox_open(NULL, MT_MBOX_O));
    EXPECT(!mt_mbox_from(NULL, NULL, NULL, MT_MBOX_NONE) && !mt_mbox_next(NULL));
    EXPECT(!mt_mbox_from_bytes(NULL, 1, MT_MBOX_RD));
    EXPECT(!mt_message_header_n(NULL, NULL, NULL) && !mt_part_header_n(NULL, NULL, NULL));
    EXPECT(!*mt_part_header_value_n(NULL, 0, NULL));
    EXPECT(mt_mbox_status(NULL) && !mt_mbox_kind_of(NULL) && !mt_mbox_bytes(NULL, NULL));
    EXPECT(!*mt_mbox_from_line(NULL) && !mt_mbox_number(NULL) && !mt_mbox_offset(NULL));
    EXPECT(!mt_mbox_size(NULL) && !mt_mbox_message(NULL, 0) && !mt_maildir_open(NULL));
    EXPECT(!mt_maildir_next(NULL) && mt_maildir_status(NULL) && !mt_maildir_skipped(NULL));
    EXPECT(!mt_maildir_bytes(NULL, NULL) && !*mt_maildir_path(NULL) && !*mt_maildir_flags(NULL));
    EXPECT(!mt_message_source(NULL, NULL) && !mt_message_findings(NULL));
    EXPECT(!mt_findings_count(NULL) && !*mt_findings_name(NULL, 0) && !mt_finding_reference(NULL));
    EXPECT(!mt_maildir_message(NULL, 0) && mt_last_error_code() == MT_INVALID_ARGUMENT);
}

int main(int argc, char** argv) {
    mt_message* built = build();
    mt_message* message = written_and_read(built);
    mt_message_free(built);
    check_header(message);
    check_walk(message);
    check_attachment(message, argc > 1 ? argv[1] : ".");
    check_xml(message);
    check_changes(message);
    mt_message_free(message);
    check_mbox();
    check_mbox_writer();
    check_nul();
    check_findings();
    check_null();
    EXPECT_TEXT(mt_version(), MIMETREE_VERSION);
    return failures != 0;
}
