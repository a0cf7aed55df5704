/* SPDX-License-Identifier: Apache-2.0 */
/* Saves the attachments of a mail:  save_attachments mail.eml directory */
#include <stdio.h>

#include "mimetree/mimetree.h"

int main(int argc, char** argv) {
    mt_message* mail = argc > 2 ? mt_message_read(argv[1], 0) : NULL;
    if (!mail) return fprintf(stderr, "%s\n", mt_last_error()), 1;
    for (size_t i = 0; i < mt_message_attachment_count(mail); ++i) {
        char* path = mt_part_save(mt_message_attachment(mail, i), argv[2]);
        puts(path ? path : mt_last_error());
        mt_free(path);
    }
    mt_message_free(mail);
}
