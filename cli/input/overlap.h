// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "cli/input/options.h"

// True when a directory among FILE... is the one that -o names: what is written would be read.
// Walk passes it over where it is further below.
bool isOutputRead(const CommonOptions& common);

// True when the file is where standard output goes to.
bool isStandardOutput(const std::string& path);
