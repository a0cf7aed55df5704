// SPDX-License-Identifier: Apache-2.0
#pragma once

// The engine's one use of the operating system: writing a file.

class LogBase;

namespace mimetree::inner {

// Writes `size` bytes to the file named by the UTF-8 `path`, created or overwritten, and
// checks that they arrived.  `log` may be null.
bool saveBytesToFile(const char* path, const void* data, unsigned int size, LogBase* log);

}  // namespace mimetree::inner
