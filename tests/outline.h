// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the tests over whole mails share: the sample mails, how they are loaded and written,
// and a tree printed as text, so that two trees are compared by eye and by diff.

#include <vector>

#include "foundation/LogBase.h"
#include "tests/node_support.h"

struct Sample {
    std::string name;  // "multipart/nest"
    std::string path;  // the whole path, without ".eml"
    std::string bytes;
};

// All of tests/samples/, sorted by name.
std::vector<Sample> loadSamples();

// How a mail is handed over: loadMimeCompleteDb or loadMimeComplete.
enum class As { Bytes, Text };

bool load(MimeMessage2& node, std::string_view mail, As as, LogBase& log);
bool load(MimeMessage2& node, std::string_view mail, As as);

// `node` and the nodes under it, in document order.
std::vector<MimeMessage2*> nodesOf(MimeMessage2& node);

// Printable ASCII, everything else as \r, \n, \t or \x and two hex digits.
std::string escaped(std::string_view text);

// A line a node, in document order and indented by level, with what the node holds; then the
// decoded header fields of the root.
std::string wholeOutline(const MimeMessage2& root);
