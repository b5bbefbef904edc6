#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>

namespace kestrum {

/// How much of a core answering events may take: a small share of the time that passes, with something saved
/// up for bursts. Whoever overdraws it is told how long to pause, so that a flood of events costs its sender
/// more than us.
class RateLimiter {
public:
    using Duration = std::chrono::nanoseconds;
    using Instant = std::chrono::steady_clock::time_point;

    /// What this thread has spent so far. The difference of two is a cost to book.
    static Duration processorTime()
    {
        timespec time {};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    /// Begins with `savedAtMost` saved up, which is also the most that a quiet time gives back.
    RateLimiter(Duration savedAtMost, Instant now)
        : m_savedAtMost(savedAtMost)
        , m_saved(savedAtMost)
        , m_last(now)
    {
    }

    /// Books `cost` of processor time that was spent up to `now`. Returns how long to rest; zero as long as
    /// there is something left.
    Duration spend(Duration cost, Instant now)
    {
        m_saved = std::min(m_savedAtMost, m_saved + (now - m_last) / restPerWork) - cost;
        m_last = now;
        if (m_saved >= Duration::zero())
            return Duration::zero();
        const Duration pause = std::clamp(-m_saved * restPerWork, shortestPause, longestPause);
        // What one long pause does not pay back is forgiven: a single dear handler must not slow later
        // signals.
        m_saved = std::max(m_saved, -longestPause / restPerWork);
        return pause;
    }

    /// As if a quiet time had passed.
    void refill() { m_saved = m_savedAtMost; }

    static constexpr int restPerWork = 30; ///< a little more than 3 % of a core
    static constexpr Duration shortestPause = std::chrono::milliseconds(20);
    static constexpr Duration longestPause = std::chrono::milliseconds(200);

private:
    Duration m_savedAtMost;
    Duration m_saved;
    Instant m_last;
};

} // namespace kestrum
