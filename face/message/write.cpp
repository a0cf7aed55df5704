// SPDX-License-Identifier: Apache-2.0
// A message back into bytes.

#include "face/message/tree.h"

namespace mimetree {

Result<std::string> Message::write() const noexcept {
    return inner::attempt([&]() -> Result<std::string> {
        DataBuffer out;
        tree().m_root->getMimeTextDb(out, /*bodyOnly*/ false, tree().m_log);
        return std::string(reinterpret_cast<const char*>(out.getData2()), out.getSize());
    });
}

std::string_view Message::source() const noexcept { return tree().source(); }
MimeMessage2& Message::node() const noexcept { return *tree().m_root; }
bool Message::ok() const noexcept { return tree().m_ok; }

}  // namespace mimetree
