// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <chrono>
#include <utility>

namespace Veltrand {

/// A stopwatch on the steady clock; it runs from its construction on.
class Timer {
public:
    /// Starts anew from zero; returns the time until now.
    std::chrono::nanoseconds restart() {
        const auto now = Clock::now();
        return now - std::exchange(m_start, now);
    }

    /// Since construction or the last `restart`.
    [[nodiscard]] std::chrono::nanoseconds elapsed() const { return Clock::now() - m_start; }
    /// The same in seconds.
    [[nodiscard]] double elapsedSeconds() const { return std::chrono::duration<double>(elapsed()).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

} // namespace Veltrand
