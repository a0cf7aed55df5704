// SPDX-License-Identifier: Apache-2.0
// Saves the attachments of a mail:  save_attachments mail.eml directory
#include <iostream>

#include "mimetree/mimetree.hpp"

int main(int argc, char** argv) {
    const auto mail = mimetree::Message::read(argc > 2 ? argv[1] : "");
    if (!mail) return std::cerr << mail.error().message() << '\n', 1;
    for (const mimetree::Part& file : mail->attachments()) {
        const auto path = file.save(argv[2]);
        std::cout << (path ? *path : path.error().message()) << '\n';
    }
}
