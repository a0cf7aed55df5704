// SPDX-License-Identifier: Apache-2.0
// Walks a message by a list of its own instead of the call stack, which a message nested
// without end would exhaust.  Every command that looks at parts starts here.

#include "cli/message/nodes.h"

#include <charconv>

namespace {

// Takes the first number off `text`, with the dot behind it; 0 when there is none.
int takeNumber(std::string_view& text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || (stop != end && (*stop != '.' || stop + 1 == end))) return 0;
    text.remove_prefix(static_cast<size_t>(stop - text.data()) + (stop != end));
    return number > 0 ? number : 0;
}

}  // namespace

std::vector<Node> nodesOf(MimeMessage2& root) {
    std::vector<Node> nodes, todo{{&root, -1, 0, 0}};
    while (!todo.empty()) {
        const Node node = todo.back();
        todo.pop_back();
        const int index = static_cast<int>(nodes.size());
        nodes.push_back(node);
        for (int i = node.message->getNumParts(); i > 0; --i)
            if (MimeMessage2* child = node.message->getPart(i - 1))
                todo.push_back({child, index, node.depth + 1, i});
    }
    return nodes;
}

std::string partNumber(const std::vector<Node>& nodes, size_t index) {
    std::string text;
    if (nodes[index].depth > kMaxNumberedDepth) return text;
    for (const Node* node = &nodes[index]; node->parent >= 0;
         node = &nodes[static_cast<size_t>(node->parent)]) {
        if (!text.empty()) text.insert(0, ".");
        text.insert(0, std::to_string(node->number));
    }
    return text;
}

bool isPartNumber(std::string_view text) {
    while (!text.empty())
        if (takeNumber(text) == 0) return false;
    return true;
}

MimeMessage2* findPart(MimeMessage2& root, std::string_view number) {
    MimeMessage2* at = &root;
    while (at && !number.empty()) at = at->getPart(takeNumber(number) - 1);
    return at;
}
