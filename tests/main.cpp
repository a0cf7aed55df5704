// SPDX-License-Identifier: Apache-2.0

// The tests' main(): MIMETREE_SIMD=avx2 in the environment makes the engine use the loops of that
// level.  Exit status 77, which CTest counts as skipped, when the machine lacks it.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/simd/level.h"

using namespace mimetree::inner;

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (const char* const wanted = std::getenv("MIMETREE_SIMD")) {
        unsigned level = 0;
        while (level < simd::kLevels && std::strcmp(simd::nameOf(simd::Level(level)), wanted) != 0)
            ++level;
        if (level == simd::kLevels || !simd::force(simd::Level(level))) {
            std::printf("this machine lacks %s\n", wanted);
            return 77;
        }
    }
    return RUN_ALL_TESTS();
}
