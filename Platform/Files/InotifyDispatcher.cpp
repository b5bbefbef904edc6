// SPDX-License-Identifier: MIT
// This file reads and delivers events; InotifyDispatcherWatches.cpp adds the watches. The events of all subscriptions are read
// before any event is delivered, so handlers may create and destroy watches.

#include "Platform/Files/InotifyDispatcher.h"

#include <QMetaObject>
#include <algorithm>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

constexpr quint32 lostMask = IN_MOVE_SELF | IN_DELETE_SELF | IN_UNMOUNT | IN_IGNORED;

constexpr std::chrono::seconds pollInterval { 2 };
// About this many `read` calls empty a full kernel queue. If more calls are needed, events arrive faster than they are read.
constexpr int mostRounds = 32;
// The estimated cost of a wake-up in the kernel and the event loop, which `handleEvents` cannot measure.
constexpr std::chrono::microseconds wakeUpCost { 20 };
constexpr std::chrono::milliseconds eventBurst { 10 };
// How long `probe` waits for events, once before it reads events and once afterwards.
constexpr std::chrono::milliseconds probeTime { 4 };

} // namespace

QByteArray DirectoryWatch::Subscription::takeNext()
{
    if (std::exchange(isAnything, false)) {
        names.clear();
        knownNames.clear();
        return {};
    }
    const QByteArray name = names.takeFirst();
    knownNames.remove(name);
    return name;
}

QByteArrayList DirectoryWatch::Subscription::takeAll()
{
    if (isAnything)
        return { takeNext() };
    knownNames.clear();
    return std::exchange(names, {});
}

InotifyDispatcher& InotifyDispatcher::shared()
{
    // Never destroyed: watches may outlive the application object.
    static auto* const dispatcher = new InotifyDispatcher;
    return *dispatcher;
}

InotifyDispatcher::InotifyDispatcher()
    : m_limiter(eventBurst, std::chrono::steady_clock::now())
{
    m_pollTimer.setInterval(pollInterval);
    connect(&m_pollTimer, &QTimer::timeout, this, &InotifyDispatcher::poll);
}

bool InotifyDispatcher::open()
{
    if (m_descriptor >= 0)
        return true;
    m_descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_descriptor < 0)
        return false;
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &InotifyDispatcher::handleEvents);
    return true;
}

void InotifyDispatcher::add(const std::shared_ptr<Subscription>& subscription)
{
    // Events that are already in the queue concern only the earlier subscriptions.
    readEvents();
    m_subscriptions.push_back(subscription);
    addWatches(*subscription);
    if (!m_ready.empty())
        deliverLater();
}

void InotifyDispatcher::remove(const std::shared_ptr<Subscription>& subscription)
{
    subscription->isAlive = false;
    replaceLinks(*subscription, {});
    std::erase(m_subscriptions, subscription);
}

QByteArrayList InotifyDispatcher::takePending(Subscription& subscription)
{
    readEvents();
    const QByteArrayList pending = subscription.takeAll();
    if (!m_ready.empty())
        deliverLater();
    return pending;
}

// Limits the processor time: a flood of events must not take more than 5 % of a core. The limit leaves about 2 % for this
// function, because handlers also start work that runs later, such as drawing.
void InotifyDispatcher::handleEvents()
{
    const auto before = RateLimiter::processorTime();
    readEvents();
    deliver();
    const auto pause = m_limiter.charge(
        RateLimiter::processorTime() - before + wakeUpCost, std::chrono::steady_clock::now());
    if (pause == RateLimiter::Duration::zero())
        return;
    m_notifier->setEnabled(false); // during the pause, the kernel queues events and merges equal events
    QTimer::singleShot(probeTime, this, [this, pause] { probe(pause); });
}

// Finds out whether there is a flood of events, or only another program that exchanges signals with this process without a
// pause. The other program sends one event and then waits for an answer. A flood continues even if this process reads no
// events. So the events are read once. If there are unread events after `probeTime`, there is a flood.
void InotifyDispatcher::probe(RateLimiter::Duration pause)
{
    const auto before = RateLimiter::processorTime();
    readEvents();
    const auto cost = RateLimiter::processorTime() - before;
    QTimer::singleShot(probeTime, this, [this, pause, cost] {
        // After a flood, one probe without events is not enough: the machine may have been too busy to run the sender.
        const bool wasFlood = std::exchange(m_isFlood, hasUnread());
        if (!m_isFlood && !wasFlood) {
            m_limiter.refill();
            resume();
            return;
        }
        (void)m_limiter.charge(cost, std::chrono::steady_clock::now());
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(pause), this, [this] { resume(); });
    });
}

void InotifyDispatcher::resume()
{
    m_notifier->setEnabled(true);
    handleEvents();
}

bool InotifyDispatcher::hasUnread() const
{
    int bytes = 0;
    return ::ioctl(m_descriptor, FIONREAD, &bytes) == 0 && bytes > 0;
}

void InotifyDispatcher::readEvents()
{
    if (m_descriptor < 0)
        return;
    constexpr size_t largestEvent = sizeof(inotify_event) + NAME_MAX + 1;
    alignas(inotify_event) static char buffer[size_t(64) * 1024]; // one thread, never re-entered
    for (int round = 0; round < mostRounds; ++round) {
        const ssize_t size = ::read(m_descriptor, buffer, sizeof buffer);
        for (const char* at = buffer; size > 0 && at < buffer + size;) {
            const auto& event = *reinterpret_cast<const inotify_event*>(at);
            record(event);
            at += sizeof event + event.len;
        }
        if (size < 0 || size_t(size) + largestEvent <= sizeof buffer)
            break; // the largest event would have fitted, so the queue is empty
    }
    for (const auto& subscription : m_subscriptions) {
        if (subscription->isLost) {
            addWatches(*subscription);
            markAnything(*subscription);
        }
    }
}

void InotifyDispatcher::record(const inotify_event& event)
{
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        for (const auto& subscription : m_subscriptions)
            subscription->isLost = true;
        return;
    }
    const auto found = m_watches.find(event.wd);
    if (found == m_watches.end())
        return; // the watch was removed before the event was read
    const auto name = QByteArray::fromRawData(event.name, event.len > 0 ? qstrlen(event.name) : 0);
    for (const Use& use : found->second.uses) {
        Subscription& subscription = *use.subscription;
        if ((event.mask & lostMask) != 0) {
            subscription.isLost = true;
        } else if ((event.mask & use.mask) == 0) {
            continue; // the event concerns only other uses of this watch
        } else if (!use.child.isEmpty()) {
            subscription.isLost |= name == use.child;
        } else if (name.isEmpty()) {
            // The directory's own mode or times changed. IN_OPEN only means that the directory was listed: nothing changed.
            subscription.isLost |= (event.mask & IN_OPEN) == 0;
        } else if (!subscription.knownNames.contains(name)) {
            const QByteArray copy(name.constData(), name.size());
            subscription.knownNames.insert(copy);
            subscription.names.append(copy);
            markReady(subscription);
        }
    }
    if ((event.mask & IN_IGNORED) != 0)
        m_watches.erase(found);
}

void InotifyDispatcher::markReady(Subscription& subscription)
{
    if (std::exchange(subscription.isReady, true))
        return;
    const auto found = std::find_if(m_subscriptions.cbegin(), m_subscriptions.cend(),
        [&subscription](const auto& known) { return known.get() == &subscription; });
    m_ready.push_back(*found);
}

void InotifyDispatcher::markAnything(Subscription& subscription)
{
    subscription.isAnything = true;
    markReady(subscription);
}

// Notifies each subscription of the changes that were pending at the start. Changes that the handlers cause are delivered in
// the next turn of the event loop.
void InotifyDispatcher::deliver()
{
    const auto ready = std::exchange(m_ready, {});
    for (const auto& subscription : ready) {
        subscription->isReady = false;
        qsizetype count = subscription->isAnything ? 1 : subscription->names.size();
        for (; count > 0 && subscription->isAlive && subscription->hasPending(); --count)
            subscription->handler(subscription->takeNext());
        if (subscription->isAlive && subscription->hasPending())
            markReady(*subscription);
    }
    if (!m_ready.empty())
        deliverLater();
}

void InotifyDispatcher::deliverLater()
{
    QMetaObject::invokeMethod(this, &InotifyDispatcher::deliver, Qt::QueuedConnection);
}

// Tries again to add kernel watches for the polled subscriptions, and notifies these subscriptions: anything may have changed.
void InotifyDispatcher::poll()
{
    bool anyPolled = false;
    for (const auto& subscription : m_subscriptions) {
        if (!subscription->isPolled)
            continue;
        addWatches(*subscription);
        anyPolled |= subscription->isPolled;
        markAnything(*subscription);
    }
    if (!anyPolled)
        m_pollTimer.stop();
    deliver();
}

} // namespace kestrum
