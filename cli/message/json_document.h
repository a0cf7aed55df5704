// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "cli/input/messages.h"

// A value on one line, in ASCII.
std::string jsonText(const nlohmann::ordered_json& value);

// One line: the message as a JSON document.
ExitStatus showJson(const InputMessage& message, Output& out);
