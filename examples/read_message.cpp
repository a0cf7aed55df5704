// SPDX-License-Identifier: Apache-2.0
#include <iostream>

#include "mimetree/mimetree.hpp"

int main(int count, char** arguments) {
    auto mail = mimetree::Message::read(count > 1 ? arguments[1] : "examples/welcome.eml");
    if (!mail) {
        std::cerr << mail.error().message() << '\n';
        return 1;
    }
    std::cout << mail->subject() << "\nfrom " << mail->from().text() << "\n\n" << mail->text();
    for (const mimetree::Part& file : mail->attachments())
        std::cout << file.name() << ", " << file.bytes().size() << " bytes\n";
}
