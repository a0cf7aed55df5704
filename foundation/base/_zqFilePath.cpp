// SPDX-License-Identifier: Apache-2.0

// Joining file paths.

#include "foundation/_zqFilePath.h"

#include "foundation/XString.h"

bool _zqFilePath::CombineDirAndFilename(const XString& dir, const XString& filename,
                                        XString& outPath) {
    StringBuffer path(dir.getUtf8Sb());
    const char last = path.lastChar();
    if (!path.isEmpty() && last != '/' && last != '\\') path.appendChar('/');
    path.append(filename.getUtf8Sb());
    return !path.failed() && outPath.getUtf8Sb_rw().setString(path);
}
