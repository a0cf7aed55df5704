// SPDX-License-Identifier: Apache-2.0

// libetpan: leaves are decoded, texts that are neither UTF-8 nor ASCII go through iconv.

#include <libetpan/libetpan.h>
#include <strings.h>

#include "peer.h"

namespace {

bool isText(const mailmime* part) {
    const mailmime_content* const type = part->mm_content_type;
    return !type ||
           (type->ct_type->tp_type == MAILMIME_TYPE_DISCRETE_TYPE &&
            type->ct_type->tp_data.tp_discrete_type->dt_type == MAILMIME_DISCRETE_TYPE_TEXT);
}

uint64_t leaf(mailmime* part) {
    const mailmime_data* const data = part->mm_data.mm_single;
    if (!data) return 0;
    size_t at = 0, size = 0;
    char* bytes = nullptr;
    if (mailmime_part_parse(data->dt_data.dt_text.dt_data, data->dt_data.dt_text.dt_length, &at,
                            data->dt_encoding, &bytes, &size) != MAILIMF_NO_ERROR)
        return 0;
    const char* const charset =
        part->mm_content_type ? mailmime_content_charset_get(part->mm_content_type) : "us-ascii";
    char* utf8 = nullptr;
    size_t utf8Size = 0;
    const bool converted =
        isText(part) && charset && strcasecmp(charset, "utf-8") &&
        strcasecmp(charset, "us-ascii") &&
        charconv_buffer("utf-8", charset, bytes, size, &utf8, &utf8Size) == MAIL_CHARCONV_NO_ERROR;
    if (converted) charconv_buffer_free(utf8);
    mmap_string_unref(bytes);
    return converted ? utf8Size : size;
}

uint64_t decoded(mailmime* part) {
    uint64_t sum = 0;
    switch (part->mm_type) {
        case MAILMIME_SINGLE: return leaf(part);
        case MAILMIME_MESSAGE:
            return part->mm_data.mm_message.mm_msg_mime
                       ? decoded(part->mm_data.mm_message.mm_msg_mime)
                       : 0;
        default:
            for (clistiter* i = clist_begin(part->mm_data.mm_multipart.mm_mp_list); i;
                 i = clist_next(i))
                sum += decoded(static_cast<mailmime*>(clist_content(i)));
            return sum;
    }
}

void* keep(std::string_view mail) {
    size_t at = 0;
    mailmime* message = nullptr;
    mailmime_parse(mail.data(), mail.size(), &at, &message);
    return message;
}

void drop(void* kept) {
    if (kept) mailmime_free(static_cast<mailmime*>(kept));
}

uint64_t load(std::string_view mail) {
    void* const kept = keep(mail);
    const uint64_t sum = kept ? decoded(static_cast<mailmime*>(kept)) : 0;
    drop(kept);
    return sum;
}

uint64_t write(void* kept) {
    MMAPString* const out = mmap_string_new("");
    int column = 0;
    mailmime_write_mem(out, &column, static_cast<mailmime*>(kept));
    const uint64_t written = out->len;
    mmap_string_free(out);
    return written;
}

}  // namespace

int main(int argc, char** argv) { return measureAll({load, keep, write, drop}, argc, argv); }
