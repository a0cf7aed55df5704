// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "cli/input/messages.h"
#include "cli/message/json_message.h"

// A value on one line, in ASCII.
std::string jsonText(const nlohmann::ordered_json& value);

// The number of a part; null where it has none.
nlohmann::ordered_json jsonPartNumber(const mimetree::OpenedPart& at);

// One line: the message as a JSON document; with what `json` adds unless `more` is null.
ExitStatus showJson(const InputMessage& message, const JsonMore* more, Output& out);
