// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the command line's paths name, message by message and not looked into yet.

#include <string>
#include <system_error>
#include <vector>

#include "cli/input/options.h"

struct RawMail {
    std::string name;
    std::string bytes;
    std::string failure;  // why there are no bytes; empty when there are
    bool isOneOfSeveral = false;
};

class MailReader {
public:
    explicit MailReader(const CommonOptions& common);

    // The next one; false when there is none.
    bool next(RawMail& raw);

private:
    struct Entry {
        std::string path;
        bool isDirectory;

        // Directories count with their "/", which makes the order that of whole paths.
        std::string sortKey() const { return isDirectory ? path + "/" : path; }
    };

    static std::error_code list(const std::string& path, std::vector<Entry>& entries);
    std::error_code openDirectory(const std::string& path);

    std::vector<Entry> m_todo;  // the next one last
    bool m_areSeveral = false;
};

// Appends what a file ("-": standard input) holds; the reason why it could not be read, or null.
const char* readWhole(const std::string& path, std::string& bytes);
