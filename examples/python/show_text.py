# SPDX-License-Identifier: Apache-2.0
# Shows the text that a person would read:  show_text.py mail.eml
import sys

import mimetree

try:
    sys.stdout.buffer.write(mimetree.parse(sys.argv[1]).text.encode())
except mimetree.Error as error:
    sys.exit(str(error))
