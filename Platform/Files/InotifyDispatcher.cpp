// How events are read and told; how directories come to be watched stands in InotifyDispatcherWatches.cpp.
//
// Events are first collected for all subscriptions and then told, so that handlers may make and destroy
// watches.

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

constexpr std::chrono::seconds lookInterval { 2 };
// A kernel queue of the usual length is read out in about this many rounds; more means that somebody is
// faster than we.
constexpr int roundsAtMost = 32;
// Being woken costs about this much in the kernel and the event loop, where we do not see it.
constexpr std::chrono::microseconds wakeUpCost { 20 };
constexpr std::chrono::milliseconds savedForEvents { 10 };
// Whoever waits for our answer has sent the next event by then, and who does not wait has had a turn of the processor.
constexpr std::chrono::milliseconds probeTime { 4 };

} // namespace

QByteArray DirectoryWatch::Subscription::takeNext()
{
    if (std::exchange(everything, false)) {
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
    if (everything)
        return { takeNext() };
    knownNames.clear();
    return std::exchange(names, {});
}

InotifyDispatcher& InotifyDispatcher::shared()
{
    // Never destroyed: watches that live until the process ends may outlast the application object.
    static auto* const hub = new InotifyDispatcher;
    return *hub;
}

InotifyDispatcher::InotifyDispatcher()
    : m_allowance(savedForEvents, std::chrono::steady_clock::now())
{
    m_lookTimer.setInterval(lookInterval);
    connect(&m_lookTimer, &QTimer::timeout, this, &InotifyDispatcher::look);
}

bool InotifyDispatcher::open()
{
    if (m_descriptor >= 0)
        return true;
    m_descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_descriptor < 0)
        return false;
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &InotifyDispatcher::answer);
    return true;
}

void InotifyDispatcher::add(const std::shared_ptr<Subscription>& subscription)
{
    // What happened so far belongs to those who listen already.
    collect();
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
    collect();
    const QByteArrayList pending = subscription.takeAll();
    if (!m_ready.empty())
        deliverLater();
    return pending;
}

void InotifyDispatcher::answer()
{
    const auto before = RateLimiter::processorTime();
    collect();
    deliver();
    const auto pause = m_allowance.spend(
        RateLimiter::processorTime() - before + wakeUpCost, std::chrono::steady_clock::now());
    if (pause == RateLimiter::Duration::zero())
        return;
    m_notifier->setEnabled(false); // the kernel keeps, and where it can merges, what comes meanwhile
    QTimer::singleShot(probeTime, this, [this, pause] { probe(pause); });
}

// Two programs that answer each other without a rest look like a flood. But who waits for us sends one event and then
// falls silent, while a flood goes on though nobody listens.
void InotifyDispatcher::probe(RateLimiter::Duration pause)
{
    const auto before = RateLimiter::processorTime();
    collect();
    const auto cost = RateLimiter::processorTime() - before;
    QTimer::singleShot(probeTime, this, [this, pause, cost] {
        // After a flood, one silence may only mean that the machine was too busy for its sender.
        const bool wasFlood = std::exchange(m_isFlood, isBacklogged());
        if (!m_isFlood && !wasFlood) {
            m_allowance.refill();
            resume();
            return;
        }
        m_allowance.spend(cost, std::chrono::steady_clock::now());
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(pause), this, [this] { resume(); });
    });
}

void InotifyDispatcher::resume()
{
    m_notifier->setEnabled(true);
    answer();
}

// Whether anything has happened that was not collected.
bool InotifyDispatcher::isBacklogged() const
{
    int bytes = 0;
    return ::ioctl(m_descriptor, FIONREAD, &bytes) == 0 && bytes > 0;
}

void InotifyDispatcher::collect()
{
    if (m_descriptor < 0)
        return;
    constexpr size_t largestEvent = sizeof(inotify_event) + NAME_MAX + 1;
    alignas(inotify_event) static char buffer[size_t(64) * 1024]; // one thread, never re-entered
    for (int round = 0; round < roundsAtMost; ++round) {
        const ssize_t size = ::read(m_descriptor, buffer, sizeof buffer);
        for (const char* at = buffer; size > 0 && at < buffer + size;) {
            const auto& event = *reinterpret_cast<const inotify_event*>(at);
            note(event);
            at += sizeof event + event.len;
        }
        if (size < 0 || size_t(size) + largestEvent <= sizeof buffer)
            break; // there was room for one more, so there was none
    }
    for (const auto& subscription : m_subscriptions) {
        if (subscription->isLost) {
            addWatches(*subscription);
            markEverything(*subscription);
        }
    }
}

void InotifyDispatcher::note(const inotify_event& event)
{
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        for (const auto& subscription : m_subscriptions)
            subscription->isLost = true;
        return;
    }
    const auto found = m_watches.find(event.wd);
    if (found == m_watches.end())
        return; // given back before the event was read
    const auto name = QByteArray::fromRawData(event.name, event.len > 0 ? qstrlen(event.name) : 0);
    for (const Use& use : found->second.uses) {
        Subscription& subscription = *use.subscription;
        if ((event.mask & lostMask) != 0) {
            subscription.isLost = true;
        } else if ((event.mask & use.mask) == 0) {
            continue; // of interest to another use only
        } else if (!use.child.isEmpty()) {
            subscription.isLost |= name == use.child;
        } else if (name.isEmpty()) {
            // The directory's own mode or times; that somebody lists it changes nothing.
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

void InotifyDispatcher::markEverything(Subscription& subscription)
{
    subscription.everything = true;
    markReady(subscription);
}

// Tells each subscription what was pending when the delivery began; what handlers bring about is told in the
// next turn.
void InotifyDispatcher::deliver()
{
    const auto ready = std::exchange(m_ready, {});
    for (const auto& subscription : ready) {
        subscription->isReady = false;
        qsizetype count = subscription->everything ? 1 : subscription->names.size();
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

// Without the kernel's help anything may have changed at any time.
void InotifyDispatcher::look()
{
    bool anyPolled = false;
    for (const auto& subscription : m_subscriptions) {
        if (!subscription->isPolled)
            continue;
        addWatches(*subscription);
        anyPolled |= subscription->isPolled;
        markEverything(*subscription);
    }
    if (!anyPolled)
        m_lookTimer.stop();
    deliver();
}

} // namespace kestrum
