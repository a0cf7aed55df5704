// SPDX-License-Identifier: Apache-2.0
// A pipeline of oneTBB: reading, work in parallel, telling in order.

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <oneapi/tbb/version.h>

#include "cli/input/jobs.h"

namespace {

namespace tbb = oneapi::tbb;

constexpr size_t kHeldPerThread = 3;

}  // namespace

void runJobs(const NextJob& next, unsigned threads) {
    using Pointer = std::shared_ptr<Job>;
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    const auto read = tbb::make_filter<void, Pointer>(tbb::filter_mode::serial_in_order,
                                                      [&](tbb::flow_control& control) -> Pointer {
                                                          Pointer job = next();
                                                          if (!job) control.stop();
                                                          return job;
                                                      });
    const auto work =
        tbb::make_filter<Pointer, Pointer>(tbb::filter_mode::parallel, [](Pointer job) {
            job->work();
            return job;
        });
    const auto finish = tbb::make_filter<Pointer, void>(tbb::filter_mode::serial_in_order,
                                                        [](const Pointer& job) { job->finish(); });
    tbb::parallel_pipeline(kHeldPerThread * threads, read & work & finish);
}

unsigned mostThreads() { return static_cast<unsigned>(tbb::info::default_concurrency()); }

std::string jobsLibrary() {
    return "oneTBB " + std::to_string(TBB_VERSION_MAJOR) + "." + std::to_string(TBB_VERSION_MINOR);
}
