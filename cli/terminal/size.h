// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

// For people: "812 B", "1.4 kB", "12 MB"; a kilobyte has a thousand bytes.
std::string humanSize(uint64_t bytes);
