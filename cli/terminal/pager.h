// SPDX-License-Identifier: Apache-2.0
#pragma once

// Standard output through $PAGER, or else less.

#include <sys/types.h>

class Pager {
public:
    Pager() = default;
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;
    ~Pager() { wait(); }

    // From here on what is written to standard output goes through the pager; false when there
    // is none, and all stays as it was.  An empty $PAGER and "cat" are none.
    bool start();

    bool isRunning() const { return m_process > 0; }

    // Until the reader has left it; standard output is closed by then.
    void wait();

private:
    pid_t m_process = 0;
};
