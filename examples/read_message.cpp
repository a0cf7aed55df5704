// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "foundation/LogNull.h"
#include "mime/MimeMessage2.h"

int main() {
    LogNull log;
    StringBuffer mail, subject;
    mail.append("Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\nContent-Type: text/html\r\n\r\n<p>Hi\r\n");

    MimeMessage2 message;
    if (!message.loadMimeComplete(mail, log, /*inputIsUtf8*/ false)) return 1;
    message.getHeaderFieldUtf8("Subject", subject, log);
    const DataBuffer& body = message.getMimeBodyDb();
    std::printf("%s, %s:\n", subject.getString(), message.getContentType());
    std::fwrite(body.getData2(), 1, body.getSize(), stdout);
}
