// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/RateLimiter.h"

#include <QTimer>
#include <functional>

namespace kestrum {

/// Polls for a program that is about to start: several times right after its file was opened, and once half a second later.
/// Main thread only.
class LaunchPoller {
public:
    /// `poll` is called from the event loop.
    explicit LaunchPoller(std::function<void()> poll);
    Q_DISABLE_COPY_MOVE(LaunchPoller)

    /// Starts the series of polls again. Call this when the program's file was opened. Even with many calls, polling uses no
    /// more processor time than `RateLimiter` allows. The whole series follows the last call.
    void restart();

private:
    void pollOnce();
    void waitFor(std::chrono::milliseconds pause);

    std::function<void()> m_poll;
    QTimer m_timer;
    RateLimiter m_limiter;
    RateLimiter::Instant m_pausedUntil;
    qsizetype m_next = 0;
};

} // namespace kestrum
