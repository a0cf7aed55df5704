// SPDX-License-Identifier: Apache-2.0
#pragma once

// Mailboxes for address fields, written anew from what was understood, so that a quote or
// bracket which one argument leaves open cannot swallow the next.

#include <string>
#include <string_view>
#include <vector>

namespace mimetree::inner {

// Those of a list as it stands in a header (RFC 5322 3.4).  Fails when one is no address.
std::vector<std::string> mailboxesOf(std::string_view list);

// One, out of a name that may be any text and an address.
std::string mailboxOf(std::string_view name, std::string_view address);

}  // namespace mimetree::inner
