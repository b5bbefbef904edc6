// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace kestrum {

/// A thread for work that may hang. It sleeps between jobs and wakes once for each job: the starter holds no lock while it
/// wakes the thread, and the end of a job wakes no other thread.
class Worker {
public:
    Worker() = default;
    /// Waits a moment for a running job. A job that hangs is left running in its thread.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Whether no job is running.
    bool isIdle() const;

    /// Runs `job` on the thread, which the first call creates. Only for an idle worker. Data that the job uses must stay
    /// valid even after the worker is destroyed. False if no thread can be created.
    bool start(std::function<void()> job);

private:
    struct Channel;
    static void serve(const std::shared_ptr<Channel>& channel);
    std::shared_ptr<Channel> m_channel;
};

} // namespace kestrum
