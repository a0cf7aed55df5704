// SPDX-License-Identifier: Apache-2.0
// Uses the installed headers and library the way a user does, C++17 included.

#include <cstring>

#ifdef SINGLE_FILE
#include "mimetree.h"
#else
#include <mimetree/version.h>

#include "foundation/LogNull.h"
#include "mime/MimeMessage2.h"
#endif

static_assert(MIMETREE_VERSION_NUMBER >= MIMETREE_VERSION_OF(0, 1, 0));

int main() {
    LogNull log;
    StringBuffer mail;
    mail.append("Content-Type: Text/HTML\r\n\r\n<p>");
    MimeMessage2 message;
    const bool loaded = message.loadMimeComplete(mail, log, false);
    return loaded && std::strcmp(message.getContentType(), "text/html") == 0 ? 0 : 1;
}
