// SPDX-License-Identifier: Apache-2.0
#pragma once

// What several sources of the node share and nobody else needs.

#include "foundation/bytes/GrowArray.h"
#include "foundation/charset/code_pages.h"
#include "mime/MimeMessage2.h"

namespace mimetree::inner {

// The context of an operation, its sink told whether the log is verbose.
class OperationContext : public LogContextExitor {
public:
    OperationContext(LogBase& log, const char* name) : LogContextExitor(log, name, log.m_verbose) {}
};

// The nodes below a root, depth-first in document order, on a list of its own: a message may
// nest deeper than the machine stack goes.  Null slots are skipped; nodes whose marker is
// gone are visited, but have no children.
class TreeWalk {
public:
    explicit TreeWalk(const MimeMessage2& root) { enter(root); }

    // Null at the end.  Goes below the node that it gave last unless skipChildren was called.
    MimeMessage2* next() {
        if (m_last) enter(*m_last);
        m_last = nullptr;
        while (!m_levels.isEmpty() && !m_last) {
            Level& level = m_levels.back();
            if (level.next < level.node->getNumParts()) m_last = level.node->getPart(level.next++);
            else m_levels.pop();
        }
        return m_last;
    }

    void skipChildren() { m_last = nullptr; }

    // Of the node that next() gave.
    MimeMessage2* parent() const {
        return const_cast<MimeMessage2*>(m_levels.data()[m_levels.size() - 1].node);
    }

private:
    struct Level {
        const MimeMessage2* node;
        int next;
    };

    // Without memory for another level the walk leaves that subtree out.
    void enter(const MimeMessage2& node) { m_levels.push(Level{&node, 0}); }

    GrowArray<Level, 16> m_levels;
    MimeMessage2* m_last = nullptr;
};

}  // namespace mimetree::inner
