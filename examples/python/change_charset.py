# SPDX-License-Identifier: Apache-2.0
# Writes a mail anew with all its texts in another charset:
#     change_charset.py mail.eml utf-8 > new.eml
import sys

import mimetree

mail = mimetree.parse(sys.argv[1])
mail.set_charset(sys.argv[2])
sys.stdout.buffer.write(mail.as_bytes())
