// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the document of `json` holds besides the tree.

#include "cli/output/output.h"
#include "mimetree/opened.hpp"

struct JsonMore {
    bool text = false, html = false;
    bool base64 = false, sha256 = false;  // of attachments
};

// The members of a message, behind `opening`.
void writeJsonMessage(const char* opening, const mimetree::Message& message, const JsonMore& more,
                      Output& out);

// The member "attachments" with a comma in front.
void writeJsonAttachments(const mimetree::OpenedParts& parts, const JsonMore& more, Output& out);
