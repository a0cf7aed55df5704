// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/input.h"

// One line: the message as a JSON document.
ExitStatus showJson(const Message& message, const Options& options, Output& out);
