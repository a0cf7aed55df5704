// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the command line asked for.  main.cpp fills it; a command reads what concerns it.

#include <string>
#include <vector>

struct ComposeOptions {
    std::vector<std::string> from, to, cc, bcc;  // address lists
    std::vector<std::string> headers;            // "Name: value"
    std::string subject;
    std::string text, html;  // files; empty when there is none
    std::vector<std::string> attachments, inlines;
    std::string charset, encoding;  // empty: to be chosen
};

struct ConvertOptions {
    bool to7bit = false;
    bool to8bit = false;
    std::string charset;  // empty: no change
    bool removeAttachments = false;
    std::vector<std::string> only;  // "text/plain", "text/*"; empty: all
};

struct Options {
    std::vector<std::string> paths;  // files, directories, "-" for standard input
    bool strict = false;
    bool log = false;

    bool json = false;  // tree, extract
    bool raw = false;   // headers

    bool byPart = false;  // body
    std::string part;     // "1.2"; empty for the root
    bool html = false;
    bool text = false;

    std::string directory;  // extract
    bool all = false;
    bool dryRun = false;

    bool xml = false;  // structure

    ComposeOptions compose;
    ConvertOptions convert;
};

// The program's exit statuses; of several, the highest stands.
enum ExitStatus {
    kDone = 0,
    kFailed = 1,    // a file could not be read or done, or the output not written
    kBadUsage = 2,  // wrong arguments
};
