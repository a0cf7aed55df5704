// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/input/messages.h"
#include "cli/output/sink.h"

// A page of HTML that has all it needs in itself: the message and those within it, what was
// found wrong, and the attachments to save.
void writeReport(const InputMessage& message, const Sink& sink);
