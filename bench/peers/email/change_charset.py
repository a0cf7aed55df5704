# SPDX-License-Identifier: Apache-2.0
# change_charset.py with Python's own email package.
import sys
from email import message_from_binary_file, policy

with open(sys.argv[1], "rb") as file:
    mail = message_from_binary_file(file, policy=policy.default.clone(linesep="\r\n"))
for part in mail.walk():
    if part.get_content_maintype() == "text":
        text, charset = part.get_content(), sys.argv[2]
        try:
            text.encode(charset)
        except UnicodeEncodeError:
            charset = "utf-8"
        disposition = part.get("Content-Disposition")
        part.set_content(text, subtype=part.get_content_subtype(), charset=charset)
        if disposition:
            part["Content-Disposition"] = disposition
sys.stdout.buffer.write(mail.as_bytes())
