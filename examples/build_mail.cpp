// SPDX-License-Identifier: Apache-2.0
// Writes a mail with HTML, an inline picture, an attachment and international names:
//     build_mail PICTURE FILE > mail.eml
#include <iostream>

#include "mimetree/mimetree.hpp"

int main(int argc, char** argv) {
    if (argc < 3) return std::cerr << "usage: build_mail PICTURE FILE > mail.eml\n", 1;
    mimetree::Builder mail;
    mail.from("Zo\u00EB M\u00FCller", "zoe@example.org");
    mail.to("\u0395\u03BB\u03AD\u03BD\u03B7 \u03A0\u03B1\u03C0\u03C0\u03AC", "eleni@example.com");
    mail.cc("Ngata, Wiremu", "wiremu@example.nz");
    mail.subject("\u5C71\u7530\u82B1\u5B50: the report").text("Here it is.\n");
    mail.html("<p>Here <img src=\"cid:logo@example.org\"> it is.</p>\n");
    mail.inline_image(argv[1], "logo@example.org").attach(argv[2]);
    const auto made = mail.build();
    if (!made) return std::cerr << made.error().message() << '\n', 1;
    std::cout << made->write().value();
}
