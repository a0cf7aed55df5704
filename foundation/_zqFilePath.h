// SPDX-License-Identifier: Apache-2.0
#pragma once

// File paths as UTF-8 text.

#include "foundation/export.h"

class XString;

class MIMETREE_API _zqFilePath {
public:
    // Replaces `outPath` by `dir` and `filename`, with a "/" between them unless `dir` is
    // empty or ends with a separator.
    static bool CombineDirAndFilename(const XString& dir, const XString& filename,
                                      XString& outPath);
};
