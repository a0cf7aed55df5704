// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

// The library that makes digests; empty in a build without.
std::string_view digestLibrary();

// 64 hexadecimal digits in lower case (FIPS 180-4); empty in a build without a library.
std::string sha256(std::string_view bytes);
