// SPDX-License-Identifier: Apache-2.0
// The same by the face for C++20.

#ifdef SINGLE_FILE
#include "mimetree.h"
#else
#include <mimetree/mimetree.hpp>
#endif

int main() {
    const auto message = mimetree::Message::parse("Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\n\r\nHi\r\n");
    return message && message->subject() == "Gr\xC3\xBC\xC3\x9F" "e" ? 0 : 1;
}
