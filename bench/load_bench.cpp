// SPDX-License-Identifier: Apache-2.0

// Loading and writing the kinds of mail that workloads.cpp makes, in bytes of input a second,
// with the allocations that a mail costs and the most memory that it takes while it loads, as a
// multiple of its size and of what its leaves hold decoded.

#include <benchmark/benchmark.h>

#include <map>
#include <memory>

#include "allocations.h"
#include "foundation/DataBuffer.h"
#include "walk.h"
#include "workloads.h"

namespace {

const Workload& workload(const std::string& name) {
    static std::map<std::string, Workload> made;
    const auto [place, isNew] = made.try_emplace(name);
    if (isNew) place->second = makeWorkload(name);
    return place->second;
}

void loading(benchmark::State& state, const std::string& name) {
    const Workload& work = workload(name);
    for (auto _ : state)
        for (const std::string& mail : work.mails)
            benchmark::DoNotOptimize(loadAndWalk(mail.data(), mail.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(work.size()));

    const std::string& mail = work.mails[0];
    restartAllocations();
    auto message = std::make_unique<MimeMessage2>();
    loadBytes(*message, mail.data(), static_cast<unsigned>(mail.size()));
    const Allocations used = allocations();
    state.counters["allocations"] = static_cast<double>(used.taken - 1);  // less the root
    state.counters["enlarged"] = static_cast<double>(used.enlarged);
    const auto peak = static_cast<double>(used.peak);
    state.counters["peak/input"] = peak / static_cast<double>(mail.size());
    const uint64_t decoded = loadAndWalk(mail.data(), mail.size());
    state.counters["peak/decoded"] = peak / static_cast<double>(decoded);
}

void writing(benchmark::State& state, const std::string& name) {
    const Workload& work = workload(name);
    std::vector<std::unique_ptr<MimeMessage2>> loaded;
    for (const std::string& mail : work.mails) {
        loaded.push_back(std::make_unique<MimeMessage2>());
        loadBytes(*loaded.back(), mail.data(), static_cast<unsigned>(mail.size()));
    }
    LogNull log;
    for (auto _ : state)
        for (const auto& message : loaded) {
            DataBuffer out;
            message->getMimeTextDb(out, /*bodyOnly*/ false, log);
            benchmark::DoNotOptimize(out.getSize());
        }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(work.size()));
}

}  // namespace

int main(int argc, char** argv) {
    for (const std::string& name : workloadNames()) {
        benchmark::RegisterBenchmark(("load/" + name).c_str(), loading, name);
        benchmark::RegisterBenchmark(("write/" + name).c_str(), writing, name);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
}
