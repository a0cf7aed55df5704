// SPDX-License-Identifier: Apache-2.0
#pragma once

// Which instruction set the vectorised loops use, chosen once at run time, so that one build
// runs everywhere and is fast where it can be.  A loop has a form for each level
// (each_level.inc); a Kernel holds them and gives the one in use:
//   constexpr auto kFind = SIMD_KERNEL(find);    kFind.now()(p, n, needle, m)

#include <atomic>

#if defined(__GNUC__) && defined(__x86_64__)
#define SIMD_X86 1
#elif defined(__GNUC__) && defined(__aarch64__) && !defined(__AARCH64EB__)
#define SIMD_NEON 1
#endif

namespace mimetree::inner::simd {

// Each level has what those in front of it have.  Base is what every machine of its kind has:
// SSE2 on x86-64, NEON on 64-bit ARM.  Avx512 means what came with Ice Lake and Zen 4: bytes
// looked up in tables of 128 and squeezed together (VBMI, VBMI2).
enum class Level : unsigned char { Plain, Base, Avx2, Avx512 };
constexpr unsigned kLevels = 4;

const char* nameOf(Level level);

// The highest level of this machine that the build allows.
Level highest();

// Makes a level that the machine has the one in use, for tests and benchmarks; false for
// another.  Must not run beside other uses of the engine.
bool force(Level level);

// Set before main() runs.  What runs earlier still gets the plain forms, so that no call needs
// to ask whether the choice was made.
extern std::atomic<Level> g_level;

template <class Function>
struct Kernel {
    Function* forms[kLevels];

    Function* now() const {
        return forms[static_cast<unsigned>(g_level.load(std::memory_order_relaxed))];
    }
};

}  // namespace mimetree::inner::simd

// All forms of a function: the plain one, and those of its name in the namespaces of
// each_level.inc.
#if defined(SIMD_X86)
#define SIMD_KERNEL_OVER(plain, name)                   \
    simd::Kernel<decltype(plain)> {                     \
        { plain, base::name, avx2::name, avx512::name } \
    }
#elif defined(SIMD_NEON)
#define SIMD_KERNEL_OVER(plain, name)                 \
    simd::Kernel<decltype(plain)> {                   \
        { plain, base::name, base::name, base::name } \
    }
#else
#define SIMD_KERNEL_OVER(plain, name)  \
    simd::Kernel<decltype(plain)> {    \
        { plain, plain, plain, plain } \
    }
#endif
#define SIMD_KERNEL(name) SIMD_KERNEL_OVER(scalar::name, name)
