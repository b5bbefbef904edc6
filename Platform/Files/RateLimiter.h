// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>

namespace kestrum {

/// Limits the share of a processor core that event handling uses. The budget of processor time grows steadily, up to a maximum.
/// If the budget is overdrawn, the caller must pause. So a flood of events costs its sender more than its receiver.
class RateLimiter {
public:
    using Duration = std::chrono::nanoseconds;
    using Instant = std::chrono::steady_clock::time_point;

    /// The processor time that this thread has used so far. The cost of some work is the difference between two calls.
    static Duration processorTime()
    {
        timespec time {};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    /// `burst` is the initial budget, and also the maximum.
    RateLimiter(Duration burst, Instant now)
        : m_burst(burst)
        , m_budget(burst)
        , m_last(now)
    {
    }

    /// Subtracts `cost`, the processor time used up to `now`. Returns how long to pause; zero if some of the budget is left.
    [[nodiscard]] Duration charge(Duration cost, Instant now)
    {
        m_budget = std::min(m_burst, m_budget + (now - m_last) / restPerWork) - cost;
        m_last = now;
        if (m_budget >= Duration::zero())
            return Duration::zero();
        const Duration pause = std::clamp(-m_budget * restPerWork, shortestPause, longestPause);
        // The debt is limited to one long pause, so that one expensive handler does not delay later signals.
        m_budget = std::max(m_budget, -longestPause / restPerWork);
        return pause;
    }

    void refill() { m_budget = m_burst; }

    static constexpr int restPerWork = 45; ///< ns of pause per ns of work
    static constexpr Duration shortestPause = std::chrono::milliseconds(20);
    static constexpr Duration longestPause = std::chrono::milliseconds(200);

private:
    Duration m_burst;
    Duration m_budget;
    Instant m_last;
};

} // namespace kestrum
