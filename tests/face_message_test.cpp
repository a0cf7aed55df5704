// SPDX-License-Identifier: Apache-2.0

// The face's Message: what it refuses, what it says of a mail, which parts are the body and
// which are attachments.

#include <gtest/gtest.h>

#include "mimetree/mimetree.hpp"
#include "tests/support.h"

using namespace mimetree;
using namespace std::string_view_literals;

namespace {

Message parsed(std::string_view mail) { return Message::parse(mail).value(); }

TEST(FaceMessage, Parses) {
    const Message m = parsed(
        "Subject: =?utf-8?Q?caf=C3=A9?=\r\nFrom: \"Other, Ann\" <ann@example.org>\r\n"
        "To: a@example.org\r\nTo: b@example.org\r\nMessage-ID: <x@example.org>\r\n"
        "Content-Type: text/plain; charset=iso-8859-1\r\n\r\n\xE4\r\n");
    EXPECT_EQ(m.subject(), "caf\xC3\xA9");
    EXPECT_EQ(m.from().text(), "Other, Ann <ann@example.org>");
    EXPECT_EQ(m.to().size(), 2u);
    EXPECT_EQ(m.message_id(), "x@example.org");
    EXPECT_EQ(m.text(), "\xC3\xA4\r\n");
    EXPECT_EQ(m.headers()[0].raw, "=?utf-8?Q?caf=C3=A9?=");
    EXPECT_EQ(m.header("x-none"), std::nullopt);
}

}  // namespace
