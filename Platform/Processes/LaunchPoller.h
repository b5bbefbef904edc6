#pragma once

#include "Platform/Files/RateLimiter.h"

#include <QTimer>
#include <functional>

namespace kestrum {

/// The looks by which a program is found that is about to start: some right after its file was opened, and one half a
/// second later. Main thread only.
class LaunchPoller {
public:
    /// `look` is called from the event loop.
    explicit LaunchPoller(std::function<void()> look);
    Q_DISABLE_COPY_MOVE(LaunchPoller)

    /// The file was opened. Looks that are still to come are those after this opening from now on. However often that
    /// happens, looking takes no more of a core than answering events may (`RateLimiter`), and the last opening is
    /// followed by all looks.
    void begin();

private:
    void proceed();
    void waitFor(std::chrono::milliseconds pause);

    std::function<void()> m_look;
    QTimer m_timer;
    RateLimiter m_allowance;
    RateLimiter::Instant m_restsUntil;
    qsizetype m_next = 0;
};

} // namespace kestrum
