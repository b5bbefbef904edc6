// SPDX-License-Identifier: MIT
#include "Platform/Machine/Worker.h"

#include <atomic>
#include <chrono>
#include <semaphore>
#include <system_error>
#include <thread>
#include <utility>

namespace kestrum {
namespace {

constexpr std::chrono::milliseconds patienceAtTheEnd { 200 };

} // namespace

/// The data that the thread and its starter share. While `isIdle` is true, only the starter uses the functions, else the
/// thread.
struct Worker::Channel {
    std::counting_semaphore<2> wake { 0 }; ///< at most 2: one for a job and one for the end
    std::binary_semaphore ended { 0 };
    std::atomic<bool> isIdle = true;
    std::atomic<bool> ends = false;
    std::function<void()> job;
    std::function<void()> done;
};

Worker::~Worker()
{
    if (!m_channel)
        return;
    const std::shared_ptr<Channel> channel = m_channel;
    leaveBehind();
    channel->ended.try_acquire_for(patienceAtTheEnd);
}

void Worker::leaveBehind()
{
    if (!m_channel)
        return;
    m_channel->ends.store(true);
    m_channel->wake.release();
    m_channel.reset();
}

bool Worker::isIdle() const
{
    return !m_channel || m_channel->isIdle.load(std::memory_order_acquire);
}

bool Worker::start(std::function<void()> job, std::function<void()> done)
{
    if (!m_channel) {
        auto channel = std::make_shared<Channel>();
        try {
            std::thread(&Worker::serve, channel).detach();
        } catch (const std::system_error&) {
            return false;
        }
        m_channel = std::move(channel);
    }
    m_channel->job = std::move(job);
    m_channel->done = std::move(done);
    m_channel->isIdle.store(false, std::memory_order_relaxed);
    m_channel->wake.release();
    return true;
}

void Worker::serve(const std::shared_ptr<Channel>& channel)
{
    for (;;) {
        channel->wake.acquire();
        if (!channel->isIdle.load(std::memory_order_relaxed)) {
            channel->job();
            channel->job = nullptr;
            const auto done = std::exchange(channel->done, nullptr);
            channel->isIdle.store(true, std::memory_order_release);
            if (done)
                done();
        }
        // A waiting job runs before the thread ends.
        if (channel->ends.load() && channel->isIdle.load()) {
            channel->ended.release();
            return;
        }
    }
}

} // namespace kestrum
