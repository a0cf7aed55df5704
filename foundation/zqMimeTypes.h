// SPDX-License-Identifier: Apache-2.0
#pragma once

// Content types and the file-name extensions that go with them.

#include "foundation/export.h"

// Entry 2k is a MIME type, entry 2k + 1 its extension without the dot, in lower case.  The
// list ends at an entry whose extension is empty; beyond it, and below 0, entries are empty.
MIMETREE_API const char* zqMimeContentType(int index);

// The content type for an extension in any letter case, with or without its dot;
// "application/octet-stream" for one that is not known.
MIMETREE_API const char* zqExtensionToContentType(const char* extension);
