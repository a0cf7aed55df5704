// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The library that opens winmail.dat; empty in a build without.
std::string_view tnefLibrary();

struct TnefFile {
    std::string name;  // as it stands there, in UTF-8
    std::string bytes;
};

// The files in a winmail.dat, those in front of any damage to it; none in a build without a
// library.
std::vector<TnefFile> tnefFiles(std::string_view container);
