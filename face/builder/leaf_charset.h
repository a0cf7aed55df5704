// SPDX-License-Identifier: Apache-2.0
#pragma once

// Text leaves that were read, in another charset.

#include <string_view>

#include "foundation/_zqCharset.h"
#include "mime/MimeMessage2.h"

namespace mimetree::inner {

// RFC 2045 5.2: a part without a type is plain text; RFC 2046 5.1.5: but a message where `parent`,
// which may be null, is a digest.
std::string_view typeOf(const MimeMessage2& part, const MimeMessage2* parent);
bool isText(const MimeMessage2& part, const MimeMessage2* parent);

// RFC 1847: whether a signature or encryption is over the bytes below as they are.
bool isSealed(const MimeMessage2& part);

// Gives a charset to text that is 8-bit and names none.
void nameCharset(MimeMessage2& leaf, LogBase& log);

enum class Recoded { Done, AsUtf8, Unknown };

// Has a text leaf written in that charset, or in utf-8 when it cannot hold the text.  What is in
// no charset that is known stays as it is.  Throws where memory runs out.
Recoded recode(MimeMessage2& leaf, const _zqCharset& wanted, LogBase& log);

}  // namespace mimetree::inner
