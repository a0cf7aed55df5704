/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MIMETREE_MIMETREE_H
#define MIMETREE_MIMETREE_H

/**
 * @file
 * mimetree for C11, and from C for other languages: mail read, asked, changed, made and written,
 * mailboxes walked through, and the XML form.
 *
 *     mt_message* message = mt_message_read("mail.eml", 0);
 *     if (!message) return report(mt_last_error());
 *     printf("%s\n%s", mt_message_subject(message), mt_message_text(message, NULL));
 *     mt_message_free(message);
 *
 * What holds for all of it:
 *
 * - Texts are UTF-8.  Those that are handed in end with NUL; where one may be left out, NULL will
 *   do.  Those that are given end with NUL, too.  Where their size is given besides (`size`), they
 *   may hold NUL; without it, or where that is NULL, each NUL in a text is U+FFFD, so that nothing
 *   behind it is lost.  They are never NULL unless the function says so: a text that is not there
 *   is "".
 * - Who frees: the caller frees what a function gives as `mt_message*`, `mt_builder*`, `mt_mbox*`,
 *   `mt_mbox_writer*` or `mt_maildir*` with the function named so, and what it gives as `char*`
 *   with mt_free().  All else that is given (`const char*`, `const void*`, `const mt_part*`) stays
 *   the message's or mailbox's that it came from: it is good until that is changed, moved on or
 *   freed.
 * - Failure: a function that gives an `mt_code` gives #MT_OK or the reason; one that gives a handle
 *   or a `char*` gives NULL.  mt_last_error() then has the reason as a line for people.
 * - Bytes that are handed in may be NULL when their size is 0, as empty ones are given; a message
 *   is never empty.
 * - Handles may be NULL everywhere: nothing is done, and the answer is that of a failure, 0 or "".
 * - A part has one handle as long as that is good: parts are the same when their handles are.
 * - Truth is 1 and falsehood 0.  Numbers of parts, fields and addresses count from 0; what is out
 *   of range is NULL or "".
 * - One thread at a time may use a handle; different handles do not know each other.
 */

#include <stddef.h>
#include <stdint.h>

#include "mimetree/export.h"
#include "mimetree/version.h"

#ifdef __cplusplus
extern "C" {
#endif

/* -- Errors and memory --------------------------------------------------------------------- */

/** Why something failed. */
typedef enum mt_code {
    MT_OK = 0,            /**< it was done */
    MT_OUT_OF_MEMORY = 1, /**< all is as it was */
    MT_IO = 2,            /**< a file could not be opened, read, made or written */
    MT_NOT_MAIL = 3,      /**< empty, or bytes that are no message: a picture, a program */
    MT_IS_MBOX = 4,       /**< many messages in one file: mt_mbox_open() reads them */
    MT_TOO_LARGE = 5,     /**< 4 GiB and more */
    MT_NOT_FOUND = 6,     /**< no such part, header field or file in the message */
    MT_INVALID_ARGUMENT =
        7,         /**< NULL where something is needed; what a strict reader cannot take */
    MT_DAMAGED = 8 /**< strict parsing was asked for, and a boundary is missing */
} mt_code;

/** The reason of the last failure on this thread, one line for people; "" before the first. */
MIMETREE_API const char* mt_last_error(void);

/** The same as a code; #MT_OK before the first failure. */
MIMETREE_API mt_code mt_last_error_code(void);

/** Frees a text that a function gave as `char*`. */
MIMETREE_API void mt_free(void* text);

/** The version of the library that runs, "1.2.3"; #MIMETREE_VERSION is that of this header. */
MIMETREE_API const char* mt_version(void);

/* -- Reading a message --------------------------------------------------------------------- */

/** A message: the tree of its parts. */
typedef struct mt_message mt_message;

/** A part of a message: the message itself (the root), a multipart, or a leaf with a body. */
typedef struct mt_part mt_part;

/** Options of reading, to be joined by `|`; 0 for none. */
enum {
    MT_STRICT = 1,        /**< refuse a multipart whose boundary is missing (#MT_DAMAGED) */
    MT_BORROW_SOURCE = 2, /**< the caller keeps the bytes, unchanged, as long as the message */
    MT_DROP_SOURCE = 4    /**< the message keeps no copy of the bytes that it is read from */
};

/** Reads a message out of bytes, which are copied.  NULL for what is no mail at all. */
MIMETREE_API mt_message* mt_message_parse(const void* bytes, size_t size, unsigned options);

/** Reads a message out of a file.  NULL also for a file that holds many (#MT_IS_MBOX). */
MIMETREE_API mt_message* mt_message_read(const char* path, unsigned options);

/**
 * The bytes that it was read from, no NUL behind them.  NULL when they were not kept, and for a
 * message that was made or changed.
 */
MIMETREE_API const void* mt_message_source(const mt_message* message, size_t* size);

/** Frees a message with all that it gave. */
MIMETREE_API void mt_message_free(mt_message* message);

/** 0 once memory ran out in a call that could not say so, else 1. */
MIMETREE_API int mt_message_ok(const mt_message* message);

/* -- What the header says ------------------------------------------------------------------ */

/** The subject, decoded. */
MIMETREE_API const char* mt_message_subject(const mt_message* message);

/** The Message-ID without angle brackets. */
MIMETREE_API const char* mt_message_message_id(const mt_message* message);

/** The first field of that name, in any letter case, decoded; NULL when there is none. */
MIMETREE_API const char* mt_message_header(const mt_message* message, const char* name);

/** The same, with its size, so that it may hold NUL. */
MIMETREE_API const char* mt_message_header_n(const mt_message* message, const char* name,
                                             size_t* size);

/**
 * The date.  0 when it is missing or unreadable, and then nothing is stored.
 * @param seconds     since 1970-01-01 00:00 UTC; may be NULL
 * @param zone        of the sender, in minutes east of Greenwich; may be NULL
 * @param zone_known  0 for "-0000" and military zones; may be NULL
 */
MIMETREE_API int mt_message_date(const mt_message* message, int64_t* seconds, int* zone,
                                 int* zone_known);

/** How many addresses all fields of that name have ("From", "To"), members of groups included. */
MIMETREE_API size_t mt_message_address_count(const mt_message* message, const char* field);

/** The address with that number, "user@example.org". */
MIMETREE_API const char* mt_message_address(const mt_message* message, const char* field, size_t i);

/** Its display name, decoded. */
MIMETREE_API const char* mt_message_address_name(const mt_message* message, const char* field,
                                                 size_t i);

/** All of them for people, `Ann Other <ann@example.org>, bob@example.org`.  The caller frees it. */
MIMETREE_API char* mt_message_addresses(const mt_message* message, const char* field);

/* -- What is in it ------------------------------------------------------------------------- */

/** What a reader would show: the inline plain texts in reading order, joined. */
MIMETREE_API const char* mt_message_text(const mt_message* message, size_t* size);

/** The same of the HTML texts. */
MIMETREE_API const char* mt_message_html(const mt_message* message, size_t* size);

/** The form of a text: plain or HTML. */
typedef enum mt_text_kind MIMETREE_ENUM {
    MT_PLAIN = 0, /**< text/plain and the like */
    MT_HTML = 1   /**< text/html */
} mt_text_kind;

/**
 * How many parts such a reader shows: of a text in both forms the one that is preferred, of any
 * other the one there is.
 */
MIMETREE_API size_t mt_message_body_part_count(const mt_message* message, mt_text_kind preferred);

/** The one with that number, in reading order; NULL when there is none. */
MIMETREE_API const mt_part* mt_message_body_part(const mt_message* message, mt_text_kind preferred,
                                                 size_t i);

/** How many attachments there are. */
MIMETREE_API size_t mt_message_attachment_count(const mt_message* message);

/** The attachment with that number; NULL when there is none. */
MIMETREE_API const mt_part* mt_message_attachment(const mt_message* message, size_t i);

/** How many leaves there are that are no attachment and no text shows: inline pictures. */
MIMETREE_API size_t mt_message_inline_part_count(const mt_message* message);

/** The one with that number; NULL when there is none. */
MIMETREE_API const mt_part* mt_message_inline_part(const mt_message* message, size_t i);

/** How many parts the message has, itself included. */
MIMETREE_API size_t mt_message_part_count(const mt_message* message);

/** The part with that number, depth first; 0 is the root.  NULL when there is none. */
MIMETREE_API const mt_part* mt_message_part(const mt_message* message, size_t i);

/** The part at a path, "2.1"; "" is the root.  NULL when there is none. */
MIMETREE_API const mt_part* mt_message_part_at(const mt_message* message, const char* path);

/** The part with that Content-ID, with or without angle brackets or "cid:"; NULL when none. */
MIMETREE_API const mt_part* mt_message_part_by_cid(const mt_message* message, const char* cid);

/* -- A part -------------------------------------------------------------------------------- */

/** "text/plain", in lower case; also where the header gives none. */
MIMETREE_API const char* mt_part_type(const mt_part* part);

/** The charset as labelled or found out.  mt_part_text() gives UTF-8 whatever it is. */
MIMETREE_API const char* mt_part_charset(const mt_part* part);

/** The transfer coding, in lower case. */
MIMETREE_API const char* mt_part_encoding(const mt_part* part);

/** "attachment", "inline", or what else Content-Disposition says, in lower case. */
MIMETREE_API const char* mt_part_disposition(const mt_part* part);

/** The Content-ID without angle brackets. */
MIMETREE_API const char* mt_part_content_id(const mt_part* part);

/** A parameter of Content-Type, decoded; NULL when there is none. */
MIMETREE_API const char* mt_part_parameter(const mt_part* part, const char* name);

/** A name that is safe to give to a file; made up for a part that has none. */
MIMETREE_API const char* mt_part_name(const mt_part* part);

/** The name as the mail has it, decoded; may be hostile. */
MIMETREE_API const char* mt_part_declared_name(const mt_part* part);

/** The decoded body; text is held as UTF-8.  No NUL behind it; NULL when it is empty. */
MIMETREE_API const void* mt_part_bytes(const mt_part* part, size_t* size);

/** The body of a text part, with the line ends that came; "" for any other. */
MIMETREE_API const char* mt_part_text(const mt_part* part, size_t* size);

/**
 * Of a multipart/signed: its first part as it came, kept for S/MIME and not for OpenPGP.  No NUL
 * behind it; NULL when none was kept.
 */
MIMETREE_API const void* mt_part_signed_bytes(const mt_part* part, size_t* size);

/** How many fields the part's own header has. */
MIMETREE_API size_t mt_part_header_count(const mt_part* part);

/** The name of the field with that number, as written. */
MIMETREE_API const char* mt_part_header_name(const mt_part* part, size_t i);

/** Its value, folds opened and encoded words decoded. */
MIMETREE_API const char* mt_part_header_value(const mt_part* part, size_t i);

/** The same, with its size, so that it may hold NUL. */
MIMETREE_API const char* mt_part_header_value_n(const mt_part* part, size_t i, size_t* size);

/** Its value as received. */
MIMETREE_API const char* mt_part_header_raw(const mt_part* part, size_t i, size_t* size);

/** The first field of that name, in any letter case, decoded; NULL when there is none. */
MIMETREE_API const char* mt_part_header(const mt_part* part, const char* name);

/** The same, with its size, so that it may hold NUL. */
MIMETREE_API const char* mt_part_header_n(const mt_part* part, const char* name, size_t* size);

/** "2.1": the first child of the root's second child; "" for the root and below a depth of 32. */
MIMETREE_API const char* mt_part_path(const mt_part* part);

/** 0 for the root. */
MIMETREE_API unsigned mt_part_depth(const mt_part* part);

/** How many children it has. */
MIMETREE_API size_t mt_part_child_count(const mt_part* part);

/** The child with that number; NULL when there is none. */
MIMETREE_API const mt_part* mt_part_child(const mt_part* part, size_t i);

/** Whether it holds parts. */
MIMETREE_API int mt_part_is_multipart(const mt_part* part);

/** Whether it is a text. */
MIMETREE_API int mt_part_is_text(const mt_part* part);

/** Whether it is an attachment. */
MIMETREE_API int mt_part_is_attachment(const mt_part* part);

/** Whether it is one of those that a reader shows as the mail's text. */
MIMETREE_API int mt_part_is_body(const mt_part* part);

/** Whether it is a message inside the message, which mt_part_message() opens. */
MIMETREE_API int mt_part_is_message(const mt_part* part);

/** The message inside the part, a new one, which the caller frees. */
MIMETREE_API mt_message* mt_part_message(const mt_part* part);

/** The decoded body as it goes into a file, text in its own charset, which the caller frees. */
MIMETREE_API char* mt_part_file_bytes(const mt_part* part, size_t* size);

/**
 * Writes these to a new file named mt_part_name() in `directory`, which is made when it
 * is missing and may itself be a symbolic link: never outside of it, never over a file that is
 * there, and through no link in it.  Gives the path of the file, which the caller frees.
 */
MIMETREE_API char* mt_part_save(const mt_part* part, const char* directory);

/* -- What is wrong with it ------------------------------------------------------------------ */

/** What is wrong with a message, a list by place (docs/findings.md). */
typedef struct mt_findings mt_findings;

/** How much a finding matters. */
typedef enum mt_severity {
    MT_INFO = 1,    /**< unusual, and harmless */
    MT_WARNING = 2, /**< against a standard, and repaired */
    MT_CRITICAL = 3 /**< another reader may see a different message */
} mt_severity;

/** The findings of a message, which need it no longer, and which the caller frees. */
MIMETREE_API mt_findings* mt_message_findings(const mt_message* message);

/** Frees a list of findings. */
MIMETREE_API void mt_findings_free(mt_findings* findings);

/** How many there are. */
MIMETREE_API size_t mt_findings_count(const mt_findings* findings);

/** The number of the kind of the finding with that place in the list; 0 when there is none. */
MIMETREE_API unsigned mt_findings_number(const mt_findings* findings, size_t i);

/** The same as a text, "MT012". */
MIMETREE_API const char* mt_findings_id(const mt_findings* findings, size_t i);

/** The name of the kind, "nul-byte". */
MIMETREE_API const char* mt_findings_name(const mt_findings* findings, size_t i);

/** How much it matters; #MT_INFO when there is none. */
MIMETREE_API mt_severity mt_findings_severity(const mt_findings* findings, size_t i);

/** The bytes in front of its place, in mt_message_source() or else mt_message_write(). */
MIMETREE_API uint64_t mt_findings_offset(const mt_findings* findings, size_t i);

/** The line of its place, from 1; 0 when there is none. */
MIMETREE_API uint64_t mt_findings_line(const mt_findings* findings, size_t i);

/** The part as IMAP counts, "2.1.3", going on into messages in messages; "" for the message. */
MIMETREE_API const char* mt_findings_part(const mt_findings* findings, size_t i);

/** What is wrong, one line in which nothing of the mail stands raw. */
MIMETREE_API const char* mt_findings_sentence(const mt_findings* findings, size_t i);

/** How many more of that kind there are, which are not in the list. */
MIMETREE_API uint64_t mt_findings_more(const mt_findings* findings, size_t i);

/** What a kind is, by its name, "MT012" or "12", in several sentences; NULL when there is none such. */
MIMETREE_API const char* mt_finding_explanation(const char* name_or_id);

/** What it offends, "RFC 5322 2.2"; NULL when there is none such. */
MIMETREE_API const char* mt_finding_reference(const char* name_or_id);

/* -- Changing and writing it --------------------------------------------------------------- */
/* Parts and texts that were given before are void afterwards.  A failure changes nothing. */

/** Sets the field, in the place of the first that had the name; more of that name go. */
MIMETREE_API mt_code mt_message_set_header(mt_message* message, const char* name,
                                           const char* value);

/** Removes all fields of that name; 1 when there was one. */
MIMETREE_API int mt_message_remove_header(mt_message* message, const char* name);

/** Sets the text that mt_message_text() gives. */
MIMETREE_API mt_code mt_message_set_text(mt_message* message, const char* text);

/** Removes a part of this message, but not the root. */
MIMETREE_API mt_code mt_message_remove_part(mt_message* message, const mt_part* part);

/** Attaches a file.  The name is the path's last piece, and the type goes by it, unless given. */
MIMETREE_API mt_code mt_message_attach_file(mt_message* message, const char* path, const char* name,
                                            const char* type);

/** Attaches bytes as a file of that name.  The type goes by it unless given. */
MIMETREE_API mt_code mt_message_attach_bytes(mt_message* message, const void* bytes, size_t size,
                                             const char* name, const char* type);

/** Writes every text in that charset, or in utf-8 where it cannot hold the text. */
MIMETREE_API mt_code mt_message_set_charset(mt_message* message, const char* charset);

/** The message as bytes, with CRLF, which the caller frees. */
MIMETREE_API char* mt_message_write(const mt_message* message, size_t* size);

/** The XML form of the message, which the caller frees. */
MIMETREE_API char* mt_message_to_xml(const mt_message* message, size_t* size);

/** The message that an XML form describes. */
MIMETREE_API mt_message* mt_message_from_xml(const char* xml, size_t size);

/* -- Making one ---------------------------------------------------------------------------- */

/** Gathers a new message.  What is wrong with a piece is told by mt_builder_build(). */
typedef struct mt_builder mt_builder;

/** An empty one; NULL when memory is exhausted. */
MIMETREE_API mt_builder* mt_builder_new(void);

/** Frees a builder. */
MIMETREE_API void mt_builder_free(mt_builder* builder);

/** Adds senders: "ann@example.org", "Ann Other <ann@example.org>", or several after commas. */
MIMETREE_API void mt_builder_from(mt_builder* builder, const char* mailboxes);

/** Adds recipients. */
MIMETREE_API void mt_builder_to(mt_builder* builder, const char* mailboxes);

/** Adds recipients of copies. */
MIMETREE_API void mt_builder_cc(mt_builder* builder, const char* mailboxes);

/** Adds hidden recipients. */
MIMETREE_API void mt_builder_bcc(mt_builder* builder, const char* mailboxes);

/** Adds who gets the answers. */
MIMETREE_API void mt_builder_reply_to(mt_builder* builder, const char* mailboxes);

/** Where an address stands. */
typedef enum mt_role MIMETREE_ENUM {
    MT_FROM,    /**< From */
    MT_TO,      /**< To */
    MT_CC,      /**< Cc */
    MT_BCC,     /**< Bcc, which whoever sends the message takes out */
    MT_REPLY_TO /**< Reply-To */
} mt_role;

/** Adds an address with its display name, which may hold anything, commas included. */
MIMETREE_API void mt_builder_address(mt_builder* builder, mt_role role, const char* name,
                                     const char* address);

/** Sets the subject. */
MIMETREE_API void mt_builder_subject(mt_builder* builder, const char* subject);

/** Sets the date: seconds since 1970-01-01 00:00 UTC, and the zone in minutes. */
MIMETREE_API void mt_builder_date(mt_builder* builder, int64_t seconds, int zone);

/** Sets the Message-ID, with or without angle brackets. */
MIMETREE_API void mt_builder_message_id(mt_builder* builder, const char* id);

/** Adds any other field. */
MIMETREE_API void mt_builder_header(mt_builder* builder, const char* name, const char* value);

/** Sets the plain text.  Line ends become CRLF. */
MIMETREE_API void mt_builder_text(mt_builder* builder, const char* text);

/** Sets the HTML text. */
MIMETREE_API void mt_builder_html(mt_builder* builder, const char* html);

/** Attaches a file.  The name is the path's last piece, and the type goes by it, unless given. */
MIMETREE_API void mt_builder_attach_file(mt_builder* builder, const char* path, const char* name,
                                         const char* type);

/** Attaches bytes as a file of that name.  The type goes by it unless given. */
MIMETREE_API void mt_builder_attach_bytes(mt_builder* builder, const void* bytes, size_t size,
                                          const char* name, const char* type);

/** Adds a picture, which the HTML shows as `cid:` and that identifier. */
MIMETREE_API void mt_builder_inline_file(mt_builder* builder, const char* path, const char* cid,
                                         const char* type);

/** The same out of bytes, whose type has to be given. */
MIMETREE_API void mt_builder_inline_bytes(mt_builder* builder, const void* bytes, size_t size,
                                          const char* cid, const char* type);

/** Sets the charset of the texts: utf-8 unless given, and where that one cannot hold a text. */
MIMETREE_API void mt_builder_charset(mt_builder* builder, const char* charset);

/** Sets the transfer coding of the texts, which goes by the text unless given. */
MIMETREE_API void mt_builder_encoding(mt_builder* builder, const char* encoding);

/** The message, a new one, after which the builder is empty; NULL for the first error. */
MIMETREE_API mt_message* mt_builder_build(mt_builder* builder);

/* -- Mailboxes ----------------------------------------------------------------------------- */

/** An mbox, read front to back through a buffer as large as its largest message. */
typedef struct mt_mbox mt_mbox;

/** How an mbox tells messages apart, and what it did to lines of text that begin with "From ". */
typedef enum mt_mbox_kind MIMETREE_ENUM {
    MT_MBOX_AUTOMATIC = 0, /**< each by itself: by Content-Length where that fits, else rd */
    MT_MBOX_RD = 1,        /**< ">" in front of any number of ">" and "From ": one is taken away */
    MT_MBOX_O = 2,         /**< ">" in front of "From " alone: taken away */
    MT_MBOX_CONTENT_LENGTH = 3, /**< Content-Length says where the message ends, if it fits */
    MT_MBOX_NONE = 4            /**< lines are as they were */
} mt_mbox_kind;

/**
 * Where bytes come from: puts up to `size` into `to` and gives their number, 0 at the end, and
 * less than 0 for an error (-errno).
 */
typedef ptrdiff_t (*mt_reader)(void* context, char* to, size_t size);

/** Opens an mbox. */
MIMETREE_API mt_mbox* mt_mbox_open(const char* path, mt_mbox_kind kind);

/** Reads an mbox out of anything else, such as standard input; `name` stands in errors. */
MIMETREE_API mt_mbox* mt_mbox_from(mt_reader reader, void* context, const char* name,
                                   mt_mbox_kind kind);

/** Reads an mbox out of bytes, which must stay as they are until it is freed. */
MIMETREE_API mt_mbox* mt_mbox_from_bytes(const void* bytes, size_t size, mt_mbox_kind kind);

/** Frees an mbox. */
MIMETREE_API void mt_mbox_free(mt_mbox* box);

/** Goes on to the next message, at first to the first; 0 at the end and after an error. */
MIMETREE_API int mt_mbox_next(mt_mbox* box);

/** #MT_OK, or why reading stopped before the end. */
MIMETREE_API mt_code mt_mbox_status(const mt_mbox* box);

/** The kind that was asked for; of the current message, where that was automatic. */
MIMETREE_API mt_mbox_kind mt_mbox_kind_of(const mt_mbox* box);

/** The current message as it stands in the mailbox, its lines unquoted.  No NUL behind it. */
MIMETREE_API const void* mt_mbox_bytes(const mt_mbox* box, size_t* size);

/** The line in front of it, without its line end. */
MIMETREE_API const char* mt_mbox_from_line(const mt_mbox* box);

/** The number of the current message, from 1. */
MIMETREE_API size_t mt_mbox_number(const mt_mbox* box);

/** Where its From line begins in the file. */
MIMETREE_API uint64_t mt_mbox_offset(const mt_mbox* box);

/** How many bytes of the file belong to it. */
MIMETREE_API uint64_t mt_mbox_size(const mt_mbox* box);

/** The current message parsed, a new one, which the caller frees. */
MIMETREE_API mt_message* mt_mbox_message(const mt_mbox* box, unsigned options);

/** An mbox that is written, quoted as #MT_MBOX_RD: what is read out of it are the same bytes. */
typedef struct mt_mbox_writer mt_mbox_writer;

/** Where bytes go to: takes all of them and gives 0, or the errno value that tells why not. */
typedef int (*mt_writer)(void* context, const void* bytes, size_t size);

/** Makes an mbox; NULL when there is a file already, be it a symbolic link, which then stays. */
MIMETREE_API mt_mbox_writer* mt_mbox_create(const char* path);

/** Writes an mbox into anything else, such as standard output; `name` stands in errors. */
MIMETREE_API mt_mbox_writer* mt_mbox_writer_to(mt_writer writer, void* context, const char* name);

/** Adds a message, with a From line made out of its header. */
MIMETREE_API mt_code mt_mbox_writer_add(mt_mbox_writer* writer, const void* mail, size_t size);

/** Ends the file, which is whole only when this gives #MT_OK.  Nothing can be added any more. */
MIMETREE_API mt_code mt_mbox_writer_close(mt_mbox_writer* writer);

/** Frees it; closes a file that is not closed yet. */
MIMETREE_API void mt_mbox_writer_free(mt_mbox_writer* writer);

/** A Maildir: the messages in its new/ and cur/, by file name. */
typedef struct mt_maildir mt_maildir;

/** Opens a Maildir. */
MIMETREE_API mt_maildir* mt_maildir_open(const char* path);

/** Frees a Maildir; its files stay. */
MIMETREE_API void mt_maildir_free(mt_maildir* box);

/** Goes on to the next message; 0 at the end.  A file that cannot be read is passed over. */
MIMETREE_API int mt_maildir_next(mt_maildir* box);

/** #MT_OK, or why the last of the files that were passed over could not be read. */
MIMETREE_API mt_code mt_maildir_status(const mt_maildir* box);

/** How many files were passed over. */
MIMETREE_API size_t mt_maildir_skipped(const mt_maildir* box);

/** The current message as it stands in its file.  No NUL behind it. */
MIMETREE_API const void* mt_maildir_bytes(const mt_maildir* box, size_t* size);

/** The path of its file. */
MIMETREE_API const char* mt_maildir_path(const mt_maildir* box);

/** Its flags: "FS", the letters after ":2,". */
MIMETREE_API const char* mt_maildir_flags(const mt_maildir* box);

/** The current message parsed, a new one, which the caller frees. */
MIMETREE_API mt_message* mt_maildir_message(const mt_maildir* box, unsigned options);

#ifdef __cplusplus
}
#endif

#endif
