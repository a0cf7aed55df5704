/* SPDX-License-Identifier: Apache-2.0
   The same in C. */

#include <mimetree/mimetree.h>
#include <string.h>

int main(void) {
    static const char mail[] = "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\n\r\nHi\r\n";
    mt_message* message = mt_message_parse(mail, sizeof mail - 1, 0);
    const int fits = message && strcmp(mt_message_subject(message), "Gr\xC3\xBC\xC3\x9F" "e") == 0;
    mt_message_free(message);
    return fits ? 0 : 1;
}
