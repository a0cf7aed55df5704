// SPDX-License-Identifier: Apache-2.0
#pragma once

// The program's exit statuses; of several, the highest stands.  The man page lists them
// (pages/man.cpp).
enum ExitStatus {
    kDone = 0,
    kFailed = 1,        // a file could not be read or done, or the output not written
    kNothingFound = 1,  // what was asked for is not there; nothing is said of that
    kBadUsage = 2,      // wrong arguments
    kWarned = 3,        // check: something is against a standard
    kCritical = 4,      // check: another reader may see a different message
    kClosedPipe = 141,  // nobody reads the output any more; as a shell tells of SIGPIPE
};
