# SPDX-License-Identifier: Apache-2.0
# save_attachments.py with Python's own email package.
import os
import re
import sys
from email import message_from_binary_file, policy

with open(sys.argv[1], "rb") as file:
    mail = message_from_binary_file(file, policy=policy.default)
os.makedirs(sys.argv[2], exist_ok=True)
for number, part in enumerate(mail.iter_attachments(), 1):
    name = os.path.basename(part.get_filename() or "").lstrip(".-")
    name = re.sub(r"[^\w. -]", "_", name)[:200] or f"part-{number}.bin"
    stem, dot, extension = name.rpartition(".")
    path, count = os.path.join(sys.argv[2], name), 1
    while os.path.lexists(path):
        count += 1
        path = os.path.join(sys.argv[2], f"{stem or name} ({count}){dot}{extension}")
    data = part.get_payload(decode=True)
    if data is None:
        data = b"".join(map(bytes, part.get_payload()))
    with open(path, "xb") as out:
        out.write(data)
    print(path)
