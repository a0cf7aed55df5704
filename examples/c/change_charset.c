/* SPDX-License-Identifier: Apache-2.0 */
/* Writes a mail anew with all its texts in another charset:
       change_charset mail.eml utf-8 > new.eml */
#include <stdio.h>

#include "mimetree/mimetree.h"

int main(int argc, char** argv) {
    if (argc < 3) return fputs("usage: change_charset mail.eml CHARSET > new.eml\n", stderr), 1;
    mt_message* mail = mt_message_read(argv[1], 0);
    size_t size;
    char* bytes = mail && mt_message_set_charset(mail, argv[2]) == MT_OK
                      ? mt_message_write(mail, &size) : NULL;
    if (!bytes) return fprintf(stderr, "%s\n", mt_last_error()), 1;
    fwrite(bytes, 1, size, stdout);
    mt_free(bytes);
    mt_message_free(mail);
}
