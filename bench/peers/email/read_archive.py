# SPDX-License-Identifier: Apache-2.0
# usage: read_archive.py grep|extract MBOX_OR_MAILDIR
# Python's email package: looks for a word in all texts and the subject, or decodes all attachments.
import email.policy
import mailbox
import os
import sys


def read(file):
    return email.message_from_binary_file(file, policy=email.policy.default)


def has_word(message, word):
    if word in (message["Subject"] or "").casefold():
        return True
    texts = (p.get_content() for p in message.walk() if p.get_content_maintype() == "text")
    return any(word in text.casefold() for text in texts)


def archive(path):
    kind = mailbox.Maildir if os.path.isdir(path) else mailbox.mbox
    return kind(path, factory=read, create=False)


if sys.argv[1] == "grep":
    print(sum(has_word(message, "no such word") for message in archive(sys.argv[2])))
else:
    for message in archive(sys.argv[2]):
        for part in message.iter_attachments():
            content = part.get_payload(decode=True)
            print(part.get_filename(), len(content or b""))
