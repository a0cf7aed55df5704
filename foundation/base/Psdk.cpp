// SPDX-License-Identifier: Apache-2.0

// Boundaries, and the count of corrupt objects.

#include "foundation/Psdk.h"

#include <atomic>
#include <chrono>
#include <cstdint>

#include "foundation/StringBuffer.h"

namespace {

std::atomic<unsigned> corruptObjects{0};

// Steele, Lea, Flood: the finaliser of SplitMix64, which spreads every input bit over the
// whole result and never maps two inputs to one.
uint64_t mixed(uint64_t x) {
    x += 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

uint64_t ticks() {
    using namespace std::chrono;
    return static_cast<uint64_t>(system_clock::now().time_since_epoch().count()) ^
           mixed(static_cast<uint64_t>(steady_clock::now().time_since_epoch().count()));
}

// What tells this process from others: when it first asked, and where it was loaded.
uint64_t processSeed() {
    static const uint64_t seed =
        mixed(ticks()) ^ mixed(static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&corruptObjects)));
    return seed;
}

void appendHex(uint64_t value, StringBuffer& out) {
    for (int shift = 60; shift >= 0; shift -= 4)
        out.appendChar("0123456789abcdef"[(value >> shift) & 15]);
}

}  // namespace

// The number of the call, mixed, makes it unique within the process; the seed and the time
// tell processes apart.  All boundaries have one length, so none is the prefix of another,
// and their digits are of one case.  RFC 2045 6.7, 6.8: "=_" occurs in no quoted-printable
// text and, as "_" does not, in no base64 text.
bool Psdk::generateBoundary(StringBuffer& out, LogBase&) {
    static std::atomic<uint64_t> calls{0};
    const uint64_t call = calls.fetch_add(1, std::memory_order_relaxed);
    out.clear();
    out.append("----=_");
    appendHex(mixed(processSeed() + call), out);
    out.appendChar('_');
    appendHex(mixed(processSeed() ^ ticks()), out);
    if (out.failed()) out.clear();
    return !out.isEmpty();
}

void Psdk::corruptObjectFound(const char*) {
    corruptObjects.fetch_add(1, std::memory_order_relaxed);
}

unsigned int Psdk::numCorruptObjects() { return corruptObjects.load(std::memory_order_relaxed); }
