# SPDX-License-Identifier: Apache-2.0
# Lists the messages of an mbox:  read_mbox.py archive.mbox
import sys

import mimetree

with mimetree.Mbox(sys.argv[1]) as box:
    for number, mail in enumerate(box, 1):
        print(f"{number}: {mail.subject}")
