// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestrum {

/// Decides when a device is read. Some devices stop the machine, or a fan, for half a second at each read; they are read rarely.
/// One read can also take long because the thread waits for a core, so two reads in a row decide.
class SlowDevice {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds slowRead { 20 };
    /// Every so many times a device is read whose reads take longer than `slowRead`.
    static constexpr int slowInterval = 10;
    static constexpr std::chrono::milliseconds verySlowRead { 200 };

    /// Every `verySlowInterval` times a device is read whose reads take longer than `verySlowRead`.
    explicit SlowDevice(int verySlowInterval)
        : m_verySlowInterval(verySlowInterval)
    {
    }

    /// Whether the device is not read this time. Call it each time.
    bool isPassedOver()
    {
        if (m_passOver == 0)
            return false;
        --m_passOver;
        return true;
    }
    /// Notes how long a read took.
    void wasRead(Clock::duration time)
    {
        const auto both = std::min(std::exchange(m_lastTime, time), time);
        m_passOver = (both > verySlowRead ? m_verySlowInterval : both > slowRead ? slowInterval : 1) - 1;
    }
    /// The device was away, or asleep: it is read the next time.
    void reset() { m_passOver = 0; }

private:
    int m_verySlowInterval;
    int m_passOver = 0; ///< times until the next read
    Clock::duration m_lastTime {};
};

} // namespace kestrum
