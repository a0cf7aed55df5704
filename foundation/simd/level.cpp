// SPDX-License-Identifier: Apache-2.0

// Asks the processor, once while the program starts, what it can do.

#include "foundation/simd/level.h"

// The highest level that the build allows: its number in enum Level.
#ifndef MIMETREE_SIMD_LEVEL
#define MIMETREE_SIMD_LEVEL 3
#endif

namespace mimetree::inner::simd {
namespace {

#if defined(SIMD_X86)
Level levelOfMachine() {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") ||
        !__builtin_cpu_supports("bmi2") || !__builtin_cpu_supports("popcnt"))
        return Level::Base;
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                   __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                   __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2")
               ? Level::Avx512
               : Level::Avx2;
}
constexpr const char* kBaseName = "sse2";
#elif defined(SIMD_NEON)
Level levelOfMachine() { return Level::Base; }
constexpr const char* kBaseName = "neon";
#else
Level levelOfMachine() { return Level::Plain; }
constexpr const char* kBaseName = "none";
#endif

[[maybe_unused]] const bool g_isChosen = force(highest());

}  // namespace

constinit std::atomic<Level> g_level{Level::Plain};

const char* nameOf(Level level) {
    constexpr const char* kNames[kLevels] = {"plain", kBaseName, "avx2", "avx512"};
    return kNames[static_cast<unsigned>(level)];
}

Level highest() {
    const Level allowed = Level{MIMETREE_SIMD_LEVEL}, there = levelOfMachine();
    return there < allowed ? there : allowed;
}

bool force(Level level) {
    if (level > highest()) return false;
    g_level.store(level, std::memory_order_relaxed);
    return true;
}

}  // namespace mimetree::inner::simd
