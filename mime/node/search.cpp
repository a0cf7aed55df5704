// SPDX-License-Identifier: Apache-2.0

// Searches of the tree: by object id, and by content type through multiparts.

#include "mime/node/internal.h"

using namespace mimetree::inner;

// The ids of children are compared before their markers are looked at, so that a node can be
// found whatever state it is in.
MimeMessage2* MimeMessage2::findByVantrelObjectId(int64_t id) {
    if (!isAlive()) return nullptr;
    if (m_objectId == id) return this;
    TreeWalk walk(*this);
    while (MimeMessage2* node = walk.next())
        if (node->m_objectId == id) return node;
    return nullptr;
}

MimeMessage2* MimeMessage2::findMultipartRelated() {
    TreeWalk walk(*this);
    while (MimeMessage2* node = walk.next()) {
        if (node->isMultipartRelated()) return node;
        if (!node->isMultipart()) walk.skipChildren();
    }
    return nullptr;
}

// Here, too, types are compared before markers are looked at.
MimeMessage2* MimeMessage2::findContentType(MimeMessage2** parentOut, const char* contentType) {
    TreeWalk walk(*this);
    while (MimeMessage2* node = walk.next()) {
        if (node->m_contentType.m_type.equalsIgnoreCase(contentType)) {
            if (parentOut) *parentOut = walk.parent();
            return node;
        }
        if (!node->isMultipart()) walk.skipChildren();
    }
    return nullptr;
}
