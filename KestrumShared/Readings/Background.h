// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/Worker.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace kestrum {

/// A reading that a worker does, one at a time, for a main thread that never waits.
template <class Result> class Background {
public:
    /// Whether a result is on its way, or not taken yet.
    bool isBusy() const { return m_run != nullptr; }

    /// Runs `read` on the worker. Then the worker calls `done`, which may be empty. Both may still run after this object is
    /// destroyed. Returns false if there is no thread and while the last result is not taken.
    bool begin(std::function<Result()> read, std::function<void()> done)
    {
        if (isBusy())
            return false;
        const auto run = std::make_shared<Run>();
        const bool isStarted = m_worker.start([run, read = std::move(read)] { run->result = read(); },
            [run, done = std::move(done)] {
                // The worker is idle by now: whoever takes the result can begin the next reading.
                run->isDone.store(true, std::memory_order_release);
                if (done)
                    done();
            });
        if (isStarted)
            m_run = run;
        return isStarted;
    }

    /// The result of the last reading, once; nothing while there is no new one.
    std::optional<Result> take()
    {
        if (!m_run || !m_run->isDone.load(std::memory_order_acquire))
            return std::nullopt;
        return std::move(std::exchange(m_run, nullptr)->result);
    }

    /// Leaves the running reading behind. Its result is lost, and another one can begin on a thread of its own. Returns false
    /// while one that was left behind before still runs: not every reading that hangs gets a thread.
    bool leaveBehind()
    {
        if (m_leftBehind && !m_leftBehind->isDone.load(std::memory_order_acquire))
            return false;
        m_worker.leaveBehind();
        m_leftBehind = std::exchange(m_run, nullptr);
        return true;
    }

private:
    /// Until `isDone`, only the worker uses `result`.
    struct Run {
        Result result {};
        std::atomic<bool> isDone = false;
    };
    std::shared_ptr<Run> m_run;
    std::shared_ptr<const Run> m_leftBehind; ///< the last one
    Worker m_worker;
};

} // namespace kestrum
