// SPDX-License-Identifier: Apache-2.0
#pragma once

// mimetree for C++20, all of it: Message (read, ask, change, write), Builder (make), Mbox and
// Maildir (archives), OpenedParts (messages in messages), and the
// Result and Error that they answer with.

#include "mimetree/builder.hpp"   // IWYU pragma: export
#include "mimetree/embedded.hpp"  // IWYU pragma: export
#include "mimetree/findings.hpp"  // IWYU pragma: export
#include "mimetree/mailbox.hpp"   // IWYU pragma: export
#include "mimetree/message.hpp"   // IWYU pragma: export
#include "mimetree/opened.hpp"    // IWYU pragma: export
#include "mimetree/result.hpp"    // IWYU pragma: export
