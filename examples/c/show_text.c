/* SPDX-License-Identifier: Apache-2.0 */
/* Shows the text that a person would read:  show_text mail.eml */
#include <stdio.h>

#include "mimetree/mimetree.h"

int main(int argc, char** argv) {
    mt_message* mail = mt_message_read(argc > 1 ? argv[1] : NULL, 0);
    if (!mail) return fprintf(stderr, "%s\n", mt_last_error()), 1;
    fputs(mt_message_text(mail, NULL), stdout);
    mt_message_free(mail);
}
