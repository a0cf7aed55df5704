// SPDX-License-Identifier: Apache-2.0
// Writes a mail anew with all its texts in another charset:
//     change_charset mail.eml utf-8 > new.eml
#include <iostream>

#include "mimetree/mimetree.hpp"

int main(int argc, char** argv) {
    if (argc < 3) return std::cerr << "usage: change_charset mail.eml CHARSET > new.eml\n", 1;
    auto mail = mimetree::Message::read(argv[1]);
    if (!mail) return std::cerr << mail.error().message() << '\n', 1;
    if (auto done = mail->set_charset(argv[2]); !done)
        return std::cerr << done.error().message() << '\n', 1;
    std::cout << mail->write().value();
}
