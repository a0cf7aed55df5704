// SPDX-License-Identifier: Apache-2.0
// The progress line of commands over many messages; input/messages.cpp steps it.

#include "cli/terminal/progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kBetweenLines{200};

}  // namespace

Progress::Progress(std::function<uint64_t()> total)
    : m_total(std::move(total)), m_isTerminal(isatty(STDERR_FILENO) == 1) {}

void Progress::step(uint64_t bytes) {
    ++m_messages;
    if (!m_isTerminal || Clock::now() < m_next) return;
    if (!std::exchange(m_isAsked, true)) m_bytes = m_total();
    m_next = Clock::now() + kBetweenLines;
    show(std::chrono::duration<double>(Clock::now() - m_start).count(), bytes);
}

void Progress::show(double seconds, uint64_t bytes) {
    const double rate = static_cast<double>(bytes) / seconds;
    std::fprintf(stderr, "\r\x1B[K%llu messages, %.1f MB/s",
                 static_cast<unsigned long long>(m_messages), rate / 1e6);
    if (m_bytes > bytes && rate > 0)
        std::fprintf(stderr, ", %.0f s left", static_cast<double>(m_bytes - bytes) / rate);
    std::fflush(stderr);
    m_isShown = true;
}

void Progress::hide() {
    if (std::exchange(m_isShown, false)) std::fputs("\r\x1B[K", stderr);
}
