// SPDX-License-Identifier: Apache-2.0
#pragma once

// What commands have in common on the command line.  Options of one command alone stand in its
// own file.

#include <string>
#include <vector>

#include "mimetree/mailbox.hpp"
#include "mimetree/opened.hpp"

struct CommonOptions {
    std::vector<std::string> paths;  // FILE...: files, directories, "-" for standard input
    std::string output;              // -o, of commands that write much; never read
    bool strict = false;
    bool log = false;
    mimetree::MboxKind mbox = mimetree::MboxKind::automatic;
    unsigned jobs = 0;  // 0: as many as the machine has cores
    std::string colour = "auto";
    bool ascii = false;
    bool noPager = false;
    bool closed = false;

    mimetree::Nested nested() const {
        return closed ? mimetree::Nested::closed : mimetree::Nested::opened;
    }
};
