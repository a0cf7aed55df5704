// SPDX-License-Identifier: Apache-2.0
#pragma once

// Work on several things at once that is told of in their order: jobs_tbb.cpp by oneTBB, or
// jobs_one.cpp in a build without.

#include <functional>
#include <memory>
#include <string>

struct Job {
    virtual ~Job() = default;
    virtual void work() = 0;    // side by side with that of others
    virtual void finish() = 0;  // one at a time, in order
};

// Gives the next job, one at a time; null when there is none.
using NextJob = std::function<std::unique_ptr<Job>()>;

// Limit: three times as many jobs as threads are held, whatever their number is.
void runJobs(const NextJob& next, unsigned threads);

// As many as the machine has cores, where there can be more than one.
unsigned mostThreads();

// "oneTBB 2021.8", or "" in a build without.
std::string jobsLibrary();
