/* SPDX-License-Identifier: Apache-2.0 */
/* Writes a mail with HTML, an inline picture, an attachment and international names:
       build_mail PICTURE FILE > mail.eml */
#include <stdio.h>

#include "mimetree/mimetree.h"

int main(int argc, char** argv) {
    if (argc < 3) return fputs("usage: build_mail PICTURE FILE > mail.eml\n", stderr), 1;
    mt_builder* builder = mt_builder_new();
    mt_builder_address(builder, MT_FROM, "Zo\u00EB M\u00FCller", "zoe@example.org");
    mt_builder_address(builder, MT_TO, "\u5C71\u7530\u82B1\u5B50", "hanako@example.com");
    mt_builder_subject(builder, "\u5C71\u7530\u82B1\u5B50: the report");
    mt_builder_text(builder, "Here it is.\n");
    mt_builder_html(builder, "<p>Here <img src=\"cid:logo@example.org\"> it is.</p>\n");
    mt_builder_inline_file(builder, argv[1], "logo@example.org", NULL);
    mt_builder_attach_file(builder, argv[2], NULL, NULL);
    mt_message* mail = mt_builder_build(builder);
    mt_builder_free(builder);
    size_t size;
    char* bytes = mt_message_write(mail, &size);
    if (!bytes) return fprintf(stderr, "%s\n", mt_last_error()), 1;
    fwrite(bytes, 1, size, stdout);
    mt_free(bytes);
    mt_message_free(mail);
}
