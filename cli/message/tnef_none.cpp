// SPDX-License-Identifier: Apache-2.0
// Builds without libytnef.

#include "cli/message/tnef.h"

std::string_view tnefLibrary() { return {}; }

std::vector<TnefFile> tnefFiles(std::string_view) { return {}; }
