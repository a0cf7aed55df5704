# SPDX-License-Identifier: Apache-2.0
# read_mbox.py with Python's own mailbox and email packages.
import mailbox
import sys
from email import message_from_binary_file, policy


def read(file):
    return message_from_binary_file(file, policy=policy.default)


for number, mail in enumerate(mailbox.mbox(sys.argv[1], read, create=False), 1):
    print(f"{number}: {mail['Subject'] or ''}")
