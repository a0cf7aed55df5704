# SPDX-License-Identifier: Apache-2.0
# Writes a mail with HTML, an inline picture, an attachment and international names:
#     build_mail.py PICTURE FILE > mail.eml
import sys

import mimetree

mail = (
    mimetree.Builder()
    .from_("Zo\u00eb M\u00fcller", "zoe@example.org")
    .to("\u0395\u03bb\u03ad\u03bd\u03b7 \u03a0\u03b1\u03c0\u03c0\u03ac", "eleni@example.com")
    .cc("Ngata, Wiremu", "wiremu@example.nz")
    .subject("\u5c71\u7530\u82b1\u5b50: the report")
    .text("Here it is.\n")
    .html('<p>Here <img src="cid:logo@example.org"> it is.</p>\n')
    .inline_image(sys.argv[1], "logo@example.org")
    .attach(sys.argv[2])
    .build()
)
sys.stdout.buffer.write(mail.as_bytes())
