// SPDX-License-Identifier: Apache-2.0
#pragma once

// The nodes of a message in reading order, and their part numbers: "1.2" is the second child
// of the root's first child, and the root has none.

#include <string>
#include <vector>

#include "mime/MimeMessage2.h"

// Limit: a part number grows with its depth, so a message nested without end would make
// them quadratic; deeper nodes are told by their depth alone.
constexpr unsigned kMaxNumberedDepth = 32;

struct Node {
    MimeMessage2* message;
    int parent;  // index into the list; -1 for the root
    unsigned depth;
    int number;  // among the parent's children, counted from 1
};

// Every node, a parent before its children.
std::vector<Node> nodesOf(MimeMessage2& root);

// Empty for the root and for nodes deeper than kMaxNumberedDepth.
std::string partNumber(const std::vector<Node>& nodes, size_t index);
