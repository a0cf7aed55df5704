// SPDX-License-Identifier: Apache-2.0
// A build without oneTBB does one job after another.

#include "cli/input/jobs.h"

void runJobs(const NextJob& next, unsigned) {
    while (const std::unique_ptr<Job> job = next()) {
        job->work();
        job->finish();
    }
}

unsigned mostThreads() { return 1; }

std::string jobsLibrary() { return {}; }
