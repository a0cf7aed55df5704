// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/output/sink.h"
#include "mimetree/message.hpp"

// What pages may load: pictures and styles that are in them, and nothing else.
constexpr char kPolicy[] =
    "default-src 'none'; img-src data:; style-src 'unsafe-inline'; base-uri 'none'; "
    "form-action 'none'";

// The HTML of the message as an <iframe> in which nothing runs and into which nothing is fetched.
void writeFrame(const mimetree::Message& message, const Sink& sink);
