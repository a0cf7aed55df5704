// SPDX-License-Identifier: Apache-2.0
// Walks a message by a list of its own instead of the call stack, which a message nested
// without end would exhaust: for commands that work on the engine's nodes.

#include "cli/message/nodes.h"

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
