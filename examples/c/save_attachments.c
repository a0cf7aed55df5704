/* SPDX-License-Identifier: Apache-2.0 */
/* Saves the attachments of a mail:  save_attachments mail.eml directory */
#include <stdio.h>

#include "mimetree/mimetree.h"

int main(int argc, char** argv) {
    if (argc < 3) return fputs("usage: save_attachments mail.eml DIRECTORY\n", stderr), 1;
    mt_message* mail = mt_message_read(argv[1], 0);
    if (!mail) return fprintf(stderr, "%s\n", mt_last_error()), 1;
    for (size_t i = 0; i < mt_message_attachment_count(mail); ++i) {
        char* path = mt_part_save(mt_message_attachment(mail, i), argv[2]);
        puts(path ? path : mt_last_error());
        mt_free(path);
    }
    mt_message_free(mail);
}
