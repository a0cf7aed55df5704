# SPDX-License-Identifier: Apache-2.0
# build_mail.py with Python's own email package.
import mimetypes
import os
import sys
from email import policy
from email.headerregistry import Address
from email.message import EmailMessage
from email.utils import localtime, make_msgid


def content(path):
    kind = (mimetypes.guess_type(path)[0] or "application/octet-stream").split("/")
    with open(path, "rb") as file:
        return {"maintype": kind[0], "subtype": kind[1]}, file.read()


mail = EmailMessage(policy=policy.SMTP)
mail["From"] = Address("Zo\u00eb M\u00fcller", addr_spec="zoe@example.org")
mail["To"] = Address(
    "\u0395\u03bb\u03ad\u03bd\u03b7 \u03a0\u03b1\u03c0\u03c0\u03ac", addr_spec="eleni@example.com"
)
mail["Cc"] = Address("Ngata, Wiremu", addr_spec="wiremu@example.nz")
mail["Subject"] = "\u5c71\u7530\u82b1\u5b50: the report"
mail["Date"] = localtime()
mail["Message-ID"] = make_msgid(domain="example.org")
mail.set_content("Here it is.\n")
mail.add_alternative('<p>Here <img src="cid:logo@example.org"> it is.</p>\n', subtype="html")
kind, picture = content(sys.argv[1])
mail.get_body(("html",)).add_related(picture, cid="<logo@example.org>", **kind)
kind, data = content(sys.argv[2])
mail.add_attachment(data, filename=os.path.basename(sys.argv[2]), **kind)
sys.stdout.buffer.write(mail.as_bytes())
