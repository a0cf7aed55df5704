// SPDX-License-Identifier: Apache-2.0
// Lists the messages of an mbox:  read_mbox archive.mbox
#include <iostream>

#include "mimetree/mimetree.hpp"

int main(int argc, char** argv) {
    auto box = mimetree::Mbox::open(argc > 1 ? argv[1] : "");
    if (!box) return std::cerr << box.error().message() << '\n', 1;
    for (const mimetree::RawMessage& raw : *box) {
        const auto mail = raw.parse();
        std::cout << raw.number << ": " << (mail ? mail->subject() : mail.error().message()) << '\n';
    }
    if (!box->ok()) return std::cerr << box->error().message() << '\n', 1;
}
