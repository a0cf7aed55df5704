// SPDX-License-Identifier: Apache-2.0
// Shows the text that a person would read:  show_text mail.eml
#include <iostream>

#include "mimetree/mimetree.hpp"

int main(int argc, char** argv) {
    const auto mail = mimetree::Message::read(argc > 1 ? argv[1] : "");
    if (!mail) return std::cerr << mail.error().message() << '\n', 1;
    std::cout << mail->text();
}
