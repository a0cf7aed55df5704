// SPDX-License-Identifier: Apache-2.0
#pragma once

// One library under measurement: what it does with a mail, and the loop around that.  A program
// is given files as write_workloads makes them, and prints a line each:
//   load NAME MB/s DECODED     (MB/s of processor time; DECODED: bytes of all leaves in one pass)
//   write NAME MB/s WRITTEN
// With MIMETREE_BENCH_ONCE set it does each file once and prints nothing: for peak memory.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

struct Peer {
    uint64_t (*load)(std::string_view mail);         // parse, decode every leaf, free
    void* (*keep)(std::string_view mail) = nullptr;  // parse for writing; `mail` outlives it
    uint64_t (*write)(void* kept) = nullptr;
    void (*drop)(void* kept) = nullptr;
};

inline double processorSeconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline std::vector<std::string> readMails(const char* path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> mails;
    for (size_t n; in >> n && in.get() == '\n';) {
        mails.emplace_back(n, '\0');
        in.read(mails.back().data(), static_cast<std::streamsize>(n));
    }
    return mails;
}

// Repeats one pass for at least a fifth of a second, after one to warm up, and prints the rate.  The
// clock is a system call that takes as long as a small mail: it is asked once in some milliseconds.
inline void measure(const std::string& what, double bytes, const std::function<uint64_t()>& pass) {
    const uint64_t out = pass();
    if (std::getenv("MIMETREE_BENCH_ONCE")) return;
    const double start = processorSeconds();
    double elapsed = 0;
    unsigned passes = 0;
    for (unsigned upTo = 1; elapsed < 0.2; upTo += elapsed < 0.01 ? upTo : upTo / 8 + 1) {
        for (; passes < upTo; ++passes) pass();
        elapsed = processorSeconds() - start;
    }
    std::printf("%s %.2f %llu\n", what.c_str(), bytes * passes / elapsed / 1e6,
                static_cast<unsigned long long>(out));
    std::fflush(stdout);
}

inline int measureAll(const Peer& peer, int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::vector<std::string> mails = readMails(argv[i]);
        double bytes = 0;
        for (const std::string& mail : mails) bytes += static_cast<double>(mail.size());
        std::string name = argv[i];
        name = name.substr(name.rfind('/') + 1);
        name.resize(name.find('.'));
        measure("load " + name, bytes, [&] {
            uint64_t decoded = 0;
            for (const std::string& mail : mails) decoded += peer.load(mail);
            return decoded;
        });
        if (!peer.write || std::getenv("MIMETREE_BENCH_ONCE")) continue;
        std::vector<void*> kept;
        for (const std::string& mail : mails) kept.push_back(peer.keep(mail));
        measure("write " + name, bytes, [&] {
            uint64_t written = 0;
            for (void* message : kept) written += peer.write(message);
            return written;
        });
        for (void* message : kept) peer.drop(message);
    }
    return 0;
}
