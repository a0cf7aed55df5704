// SPDX-License-Identifier: Apache-2.0
#pragma once

// Kinds of mail that the benchmarks load and write, made from a seed: the same bytes each time.

#include <string>
#include <vector>

struct Workload {
    std::string name;
    std::string what;  // for the table
    std::vector<std::string> mails;

    size_t size() const;  // bytes of all mails
};

// Every kind, in the order of the table.
std::vector<std::string> workloadNames();
Workload makeWorkload(const std::string& name);

// A megabyte or so of what a coder is given: "random" bytes, "western" text in UTF-8, or the text
// of a language that uses it in the charset of that name.
std::string makeCodecText(const std::string& name);

// One mail of a kind that grows: "bytes" (of text), "parts", "depth", "fields", "addresses".
std::vector<std::string> growthNames();
std::string makeGrowing(const std::string& name, size_t n);
