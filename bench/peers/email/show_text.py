# SPDX-License-Identifier: Apache-2.0
# show_text.py with Python's own email package.
import sys
from email import message_from_binary_file, policy

with open(sys.argv[1], "rb") as file:
    mail = message_from_binary_file(file, policy=policy.default)
body = mail.get_body(("plain",))
if body is not None:
    sys.stdout.buffer.write(body.get_content().encode("utf-8", "replace"))
