# SPDX-License-Identifier: Apache-2.0
# Saves the attachments of a mail:  save_attachments.py mail.eml directory
import sys

import mimetree

for file in mimetree.parse(sys.argv[1]).attachments:
    print(file.save(sys.argv[2]))
