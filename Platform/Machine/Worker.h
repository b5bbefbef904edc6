// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace kestrum {

/// A thread for work that may hang. The thread sleeps between jobs and wakes only once for each job, because the starter
/// holds no lock that the thread would have to wait for. The end of a job wakes no other thread.
class Worker {
public:
    Worker() = default;
    /// Waits a moment for a running job. A job that hangs is left running in its thread.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    bool isIdle() const;

    /// Runs `job` on the thread, which the first call creates. The worker must be idle. When it is idle again, the thread calls
    /// `done`, which may be empty and must be short. The data that both use must stay valid even after the worker is destroyed.
    /// Returns false if no thread can be created.
    bool start(std::function<void()> job, std::function<void()> done = {});

    /// Leaves a running job to its thread, for which nobody waits any more. The worker is as new.
    void leaveBehind();

private:
    struct Channel;
    static void serve(const std::shared_ptr<Channel>& channel);
    std::shared_ptr<Channel> m_channel;
};

} // namespace kestrum
