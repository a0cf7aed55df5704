// SPDX-License-Identifier: Apache-2.0
#pragma once

// What every fuzz target is made of.  FUZZ_TARGET(name) { ... } gets `data` and `size`; under
// libFuzzer (and AFL++, which knows the same entry) it is the program's target, in the program
// that replays finds it is one of all.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

#ifdef MIMETREE_REPLAY
struct ReplayTarget {
    using Run = void (*)(const uint8_t*, size_t);
    ReplayTarget(const char* targetName, Run runTarget)
        : name(targetName), run(runTarget), next(first) {
        first = this;
    }
    const char* name;
    Run run;
    ReplayTarget* next;
    static inline ReplayTarget* first = nullptr;
};
#define FUZZ_TARGET(name)                                \
    static void name(const uint8_t* data, size_t size);  \
    static const ReplayTarget name##Target(#name, name); \
    static void name([[maybe_unused]] const uint8_t* data, size_t size)
#else
#define FUZZ_TARGET(name)                                               \
    static void name(const uint8_t* data, size_t size);                 \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* d, size_t n);  \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* d, size_t n) { \
        name(d, n);                                                     \
        return 0;                                                       \
    }                                                                   \
    static void name(const uint8_t* data, size_t size)
#endif

// A broken law ends the run and is kept as a find.
inline void require(bool law, const char* what) {
    if (law) return;
    std::fprintf(stderr, "broken law: %s\n", what);
    std::abort();
}

// The input as a row of choices; beyond its end all of them are 0.
class Choices {
public:
    Choices(const uint8_t* data, size_t size) : m_at(data), m_end(data + size) {}

    bool atEnd() const { return m_at == m_end; }
    uint8_t byte() { return atEnd() ? uint8_t{0} : *m_at++; }
    unsigned below(unsigned n) { return byte() % n; }
    template <class T, size_t N>
    T pick(const T (&list)[N]) {
        return list[below(static_cast<unsigned>(N))];
    }

    std::string bytes(size_t n) {
        const size_t left = static_cast<size_t>(m_end - m_at), taken = n < left ? n : left;
        std::string text(reinterpret_cast<const char*>(m_at), taken);
        m_at += taken;
        return text;
    }
    std::string rest() { return bytes(static_cast<size_t>(m_end - m_at)); }

private:
    const uint8_t* m_at;
    const uint8_t* m_end;
};
