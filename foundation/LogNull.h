// SPDX-License-Identifier: Apache-2.0
#pragma once

// A log that drops everything, for calls that need a log but must stay silent.

#include "foundation/LogBase.h"
#include "foundation/export.h"

class MIMETREE_API LogNull : public LogBase {
public:
    // Each does nothing.
    void logError(const char*) override {}
    void logInfo(const char*) override {}
    void enterContext(const char*, bool) override {}
    void leaveContext() override {}
    void logData(const char*, const char*) override {}
};
