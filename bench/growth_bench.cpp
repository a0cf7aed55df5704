// SPDX-License-Identifier: Apache-2.0

// Time and memory against size: bytes, parts, depth, fields and addresses, each from small to
// as much as an attacker sends.  Loading, walking, writing and, for addresses, reading them.
// What grows faster than its input shows as a rising time a byte.

#include <benchmark/benchmark.h>

#include "allocations.h"
#include "foundation/DataBuffer.h"
#include "foundation/ExtPtrArray.h"
#include "walk.h"
#include "workloads.h"

namespace {

void growing(benchmark::State& state, const std::string& name) {
    const std::string mail = makeGrowing(name, static_cast<size_t>(state.range(0)));
    LogNull log;
    for (auto _ : state) {
        MimeMessage2 message;
        loadBytes(message, mail.data(), static_cast<unsigned>(mail.size()));
        ExtPtrArray addresses;
        message.getEmailAddresses("To", addresses, log);
        DataBuffer out;
        message.getMimeTextDb(out, /*bodyOnly*/ false, log);
        benchmark::DoNotOptimize(out.getSize());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(mail.size()));
    restartAllocations();
    MimeMessage2 message;
    loadBytes(message, mail.data(), static_cast<unsigned>(mail.size()));
    state.counters["input"] = static_cast<double>(mail.size());
    state.counters["peak/input"] =
        static_cast<double>(allocations().peak) / static_cast<double>(mail.size());
}

int64_t most(const std::string& name) {
    if (name == "bytes") return 100'000'000;
    if (name == "parts") return 200'000;
    return name == "depth" ? 300'000 : 100'000;
}

}  // namespace

int main(int argc, char** argv) {
    for (const std::string& name : growthNames()) {
        auto* const bench = benchmark::RegisterBenchmark(name.c_str(), growing, name);
        for (int64_t n = name == "bytes" ? 1000 : 1; n < most(name); n *= 10) bench->Arg(n);
        bench->Arg(most(name))->MinTime(0.05);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
}
