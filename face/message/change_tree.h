// SPDX-License-Identifier: Apache-2.0
#pragma once

// Changes of a message's tree that happen all at once or not at all: new nodes are made aside,
// and nothing of what puts them into the place of the old ones can fail.

#include <map>
#include <vector>

#include "face/builder/failure.h"
#include "face/builder/leaves.h"
#include "face/message/tree.h"

namespace mimetree::inner {

class TreeChange {
public:
    explicit TreeChange(Tree& tree);

    // A copy of the node, which will take its place and get its children.
    MimeMessage2& edit(uint32_t index);

    // `container` will take the place of the node, which becomes its part number `at`, where a
    // null slot waits for it.  The message's own fields go with the root's place.
    void wrap(uint32_t index, NodePtr container, int at);

    // The node will go, and with it each multipart around it that holds nothing else.  A root
    // that would have no part left becomes an empty text.
    void remove(uint32_t index);

    // Adds a part now.  For a change that does nothing else afterwards.
    void insert(uint32_t parent, int at, NodePtr part);

    // Fails when a signature or encryption is over the node.
    void checkOpen(uint32_t index) const;
    bool isCovered(uint32_t index) const { return m_isCovered[index]; }

    const std::vector<Tree::Slot>& slots() const { return *m_slots; }
    Tree& tree() const { return *m_tree; }

    void commit() noexcept;

private:
    struct Edit {
        NodePtr copy, container;
        int at = 0;
    };

    void findPlaces();
    void mendBoundaries();
    void leaveEmptyRoot();
    void giveType(uint32_t related, uint32_t removed);
    void apply(uint32_t index, Edit& edit) noexcept;
    void dropRemoved() noexcept;

    Tree* m_tree;
    const MemoryWatch m_memory;
    const std::vector<Tree::Slot>* m_slots;
    std::vector<MimeMessage2*> m_nodes;  // as they will be
    std::vector<int> m_places;           // among the engine's slots of the parent
    std::vector<bool> m_isCovered;
    std::vector<bool> m_isRemoved;
    std::vector<bool> m_hasGaps;
    std::vector<uint32_t> m_partsLeft;
    bool m_rootIsEmptied = false;
    std::map<uint32_t, Edit> m_edits;  // parents first
};

// Makes what `prepare` asks for of a change.
template <class Prepare>
Result<void> changeTree(Tree& tree, Prepare prepare) noexcept {
    Result<TreeChange> change = answerOf([&] {
        TreeChange prepared(tree);
        prepare(prepared);
        return prepared;
    });
    if (!change) return copyOf(change.error());
    change->commit();
    tree.changed();
    return {};
}

}  // namespace mimetree::inner
