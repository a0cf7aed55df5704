/* SPDX-License-Identifier: Apache-2.0 */
/* Lists the messages of an mbox:  read_mbox archive.mbox */
#include <stdio.h>

#include "mimetree/mimetree.h"

int main(int argc, char** argv) {
    mt_mbox* box = argc > 1 ? mt_mbox_open(argv[1], MT_MBOX_AUTOMATIC) : NULL;
    while (mt_mbox_next(box)) {
        mt_message* mail = mt_mbox_message(box, 0);
        printf("%zu: %s\n", mt_mbox_number(box), mail ? mt_message_subject(mail) : mt_last_error());
        mt_message_free(mail);
    }
    mt_code status = mt_mbox_status(box);
    if (status != MT_OK) fprintf(stderr, "%s\n", mt_last_error());
    mt_mbox_free(box);
    return status != MT_OK;
}
