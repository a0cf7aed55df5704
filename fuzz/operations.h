// SPDX-License-Identifier: Apache-2.0
#pragma once

// All that reads, changes or writes mail, each as one call on a text: what linear.cpp times.

#include <functional>
#include <string>
#include <vector>

struct Operation {
    const char* name;
    std::function<void(const std::string& text)> run;
};

extern const std::vector<Operation> kOperations;

// Runs commands of the program on the text in a file of their own; what they print is lost, for
// this sends standard output and standard error to nowhere.
extern const std::vector<Operation> kCommandOperations;
void silenceCommands();
