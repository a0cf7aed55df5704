// SPDX-License-Identifier: Apache-2.0
#pragma once

// How far a long run has come, as one line that replaces itself on standard error: on a terminal
// only, and not within the first second.

#include <chrono>
#include <cstdint>
#include <functional>

class Progress {
public:
    // `total` tells how many bytes there are, 0 when nobody knows; it is asked once, if at all.
    explicit Progress(std::function<uint64_t()> total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { hide(); }

    // Another message is done, and that many bytes were read by now.
    void step(uint64_t bytes);

    // Makes room for other lines.
    void hide();

private:
    using Clock = std::chrono::steady_clock;

    void show(double seconds, uint64_t bytes);

    const std::function<uint64_t()> m_total;
    const bool m_isTerminal;
    const Clock::time_point m_start = Clock::now();
    Clock::time_point m_next = m_start + std::chrono::seconds(1);
    uint64_t m_messages = 0, m_bytes = 0;
    bool m_isAsked = false, m_isShown = false;
};
