// SPDX-License-Identifier: Apache-2.0
#pragma once

// Text out of a mail within HTML of ours.

#include <string>
#include <string_view>

#include "cli/output/sink.h"

// As text or as a quoted value, on one line and many: harmless as oneLine() and manyLines() make
// it, with nothing in it that is markup.
std::string markup(std::string_view text);
std::string markupLines(std::string_view text);

// The value of a quoted attribute that stands for exactly `text`, which is UTF-8.
void writeValue(std::string_view text, const Sink& sink);
