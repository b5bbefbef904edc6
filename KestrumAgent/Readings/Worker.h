// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace kestrum {

/// A thread for work that may hang. It sleeps between two jobs and wakes once for each: no lock is held while it is woken,
/// and its end of a job wakes nobody.
class Worker {
public:
    Worker() = default;
    /// A job that is under way is waited for a moment, and one that hangs is left behind with its thread.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Whether it has nothing to do.
    bool isIdle() const;

    /// Lets the thread, which the first job makes, run `job`. Only for an idle worker. What the job holds has to outlive
    /// everybody else. False when there can be no thread.
    bool start(std::function<void()> job);

private:
    struct Channel;
    static void serve(const std::shared_ptr<Channel>& channel);
    std::shared_ptr<Channel> m_channel;
};

} // namespace kestrum
