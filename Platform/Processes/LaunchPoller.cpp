// SPDX-License-Identifier: MIT
#include "Platform/Processes/LaunchPoller.h"

#include <iterator>
#include <utility>

namespace kestrum {

namespace {

using std::chrono::milliseconds;

// The times of the polls, counted from the opening of the program's file. A program usually runs after less than a millisecond.
// The last poll is for slow disks.
constexpr milliseconds pollTimes[] { milliseconds(0), milliseconds(1), milliseconds(5), milliseconds(50),
    milliseconds(500) };

// Processor time for a dozen starts in a row on a machine with some hundred processes.
constexpr milliseconds burst { 20 };

} // namespace

LaunchPoller::LaunchPoller(std::function<void()> poll)
    : m_poll(std::move(poll))
    , m_limiter(burst, std::chrono::steady_clock::now())
    , m_pausedUntil(std::chrono::steady_clock::now())
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { pollOnce(); });
}

void LaunchPoller::restart()
{
    m_next = 0;
    waitFor(pollTimes[0]);
}

void LaunchPoller::pollOnce()
{
    const auto before = RateLimiter::processorTime();
    m_poll();
    const auto now = std::chrono::steady_clock::now();
    m_pausedUntil = now + m_limiter.charge(RateLimiter::processorTime() - before, now);
    if (++m_next < std::ssize(pollTimes))
        waitFor(pollTimes[m_next] - pollTimes[m_next - 1]);
}

void LaunchPoller::waitFor(milliseconds pause)
{
    const auto remaining = std::chrono::ceil<milliseconds>(m_pausedUntil - std::chrono::steady_clock::now());
    m_timer.start(std::max(pause, remaining));
}

} // namespace kestrum
