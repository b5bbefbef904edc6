// How a directory is followed.
//
// The kernel watches inodes, we follow a path. So a subscription watches not only its directory but the way
// to it: the directory (or, while it is absent, its nearest existing ancestor) and the parent of that for
// their entries, because a directory that any process holds open dies without a word of its own; the
// ancestors further up only for being moved away, which is silent otherwise. Whatever breaks the way marks
// the subscription as lost: it is armed anew from the root down, and its handler is told that anything may
// have changed. A watch is always set before the check that relies on it, so there is no moment at which a
// change is seen by neither.
//
// Events are first collected for all subscriptions and then told, so that handlers may make and destroy
// watches.

#include "Platform/WatchHub.h"

#include "Platform/Log.h"

#include <QMetaObject>
#include <algorithm>
#include <cerrno>
#include <ctime>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

constexpr quint32 selfMask = IN_MOVE_SELF | IN_DELETE_SELF;
constexpr quint32 wayMask = selfMask | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr quint32 contentMask = wayMask | IN_CLOSE_WRITE;
constexpr quint32 lostMask = selfMask | IN_UNMOUNT | IN_IGNORED;

constexpr std::chrono::seconds lookInterval { 2 };
// A kernel queue of the usual length is read out in about this many rounds; more means that somebody is
// faster than we.
constexpr int roundsAtMost = 32;
constexpr int armingsAtMost = 16;
// Being woken costs about this much in the kernel and the event loop, where we do not see it.
constexpr std::chrono::microseconds wakeUpCost { 20 };
constexpr std::chrono::milliseconds savedForBursts { 10 };
// Whoever waits for our answer has sent the next event by then, and who does not wait has had a turn of the processor.
constexpr std::chrono::milliseconds probeTime { 4 };

quint32 maskOf(DirectoryWatch::Interest interest)
{
    switch (interest) {
    case DirectoryWatch::Interest::content:
        break;
    case DirectoryWatch::Interest::touched:
        return contentMask | IN_ATTRIB;
    case DirectoryWatch::Interest::opened:
        return contentMask | IN_OPEN;
    }
    return contentMask;
}

bool isDirectory(const QByteArray& path)
{
    struct stat state;
    return ::stat(path.constData(), &state) == 0 && S_ISDIR(state.st_mode);
}

QByteArray lastComponent(const QByteArray& path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

std::chrono::nanoseconds processorTime()
{
    timespec time {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

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

WatchHub& WatchHub::shared()
{
    // Never destroyed: watches that live until the process ends may outlast the application object.
    static auto* const hub = new WatchHub;
    return *hub;
}

WatchHub::WatchHub()
    : m_allowance(savedForBursts, std::chrono::steady_clock::now())
{
    m_lookTimer.setInterval(lookInterval);
    connect(&m_lookTimer, &QTimer::timeout, this, &WatchHub::look);
}

bool WatchHub::open()
{
    if (m_descriptor >= 0)
        return true;
    m_descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_descriptor < 0)
        return false;
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &WatchHub::answer);
    return true;
}

void WatchHub::add(const std::shared_ptr<Subscription>& subscription)
{
    // What happened so far belongs to those who listen already.
    collect();
    m_subscriptions.push_back(subscription);
    arm(*subscription);
    if (!m_ready.empty())
        deliverLater();
}

void WatchHub::remove(const std::shared_ptr<Subscription>& subscription)
{
    subscription->isAlive = false;
    replaceLinks(*subscription, {});
    std::erase(m_subscriptions, subscription);
}

QByteArrayList WatchHub::takePending(Subscription& subscription)
{
    collect();
    const QByteArrayList pending = subscription.takeAll();
    if (!m_ready.empty())
        deliverLater();
    return pending;
}

// Sets the watches of the subscription, or has it looked at where the kernel refuses.
void WatchHub::arm(Subscription& subscription)
{
    subscription.isLost = false;
    Arming arming = open() ? Arming::changed : Arming::refused;
    for (int i = 0; i < armingsAtMost && arming == Arming::changed; ++i)
        arming = tryToArm(subscription);
    subscription.isPolled = arming != Arming::done;
    if (!subscription.isPolled)
        return;
    const QString reason = qt_error_string(errno);
    replaceLinks(subscription, {});
    Log::warnOnce("watch",
        QStringLiteral(
            "Directories are looked at every 2 s, because the kernel does not watch them for us: %1")
            .arg(reason));
    if (!m_lookTimer.isActive())
        m_lookTimer.start();
}

WatchHub::Arming WatchHub::tryToArm(Subscription& subscription)
{
    const QByteArrayList& paths = subscription.paths;
    const qsizetype last = paths.size() - 1;
    qsizetype deepest = last;
    while (deepest > 0 && !isDirectory(paths[deepest]))
        --deepest;

    std::vector<Link> links;
    Arming arming = Arming::done;
    // From the root down: once an ancestor is watched, what is put in the place of its child is noticed.
    for (qsizetype i = 0; i <= deepest && arming == Arming::done; ++i) {
        quint32 mask = i + 1 < deepest ? IN_MOVE_SELF : wayMask;
        if (i == last)
            mask = maskOf(subscription.interest);
        if (i == 0 && mask == IN_MOVE_SELF)
            continue; // the root stays where it is
        const int watch
            = ::inotify_add_watch(m_descriptor, paths[i].constData(), mask | IN_ONLYDIR | IN_MASK_ADD);
        if (watch >= 0) {
            m_watches[watch].mask |= mask;
            const QByteArray child = i < last ? lastComponent(paths[i + 1]) : QByteArray();
            links.push_back({ watch, paths[i], { &subscription, mask, child } });
        } else if (errno == ENOENT || errno == ENOTDIR) {
            arming = Arming::changed;
        } else if (errno != EACCES || i == deepest) {
            arming = Arming::refused;
        } // else: an ancestor that we may pass but not read is not watched
    }
    if (arming == Arming::done && deepest < last && isDirectory(paths[deepest + 1]))
        arming = Arming::changed;
    const int error = errno;
    replaceLinks(subscription, links);
    errno = error;
    return arming;
}

void WatchHub::replaceLinks(Subscription& subscription, const std::vector<Link>& links)
{
    const std::vector<int> old = std::exchange(subscription.links, {});
    for (const int watch : old) {
        if (const auto found = m_watches.find(watch); found != m_watches.end())
            std::erase_if(found->second.uses,
                [&subscription](const Use& use) { return use.subscription == &subscription; });
    }
    for (const Link& link : links) {
        m_watches[link.watch].uses.push_back(link.use);
        subscription.links.push_back(link.watch);
    }
    for (const int watch : old)
        forget(watch);
    for (const Link& link : links)
        narrow(link);
}

// An ancestor that was the nearest existing one is of less interest once its child is there.
void WatchHub::narrow(const Link& link)
{
    KernelWatch& watch = m_watches[link.watch];
    quint32 wanted = 0;
    for (const Use& use : watch.uses)
        wanted |= use.mask;
    if (wanted == watch.mask)
        return;
    if (::inotify_add_watch(m_descriptor, link.path.constData(), wanted | IN_ONLYDIR) == link.watch)
        watch.mask = wanted;
    else
        link.use.subscription->isLost = true; // something else has come in its place
}

// Gives a kernel watch back when nobody uses it.
void WatchHub::forget(int watch)
{
    const auto found = m_watches.find(watch);
    if (found == m_watches.end() || !found->second.uses.empty())
        return;
    m_watches.erase(found);
    ::inotify_rm_watch(m_descriptor, watch);
}

void WatchHub::answer()
{
    const auto before = processorTime();
    collect();
    deliver();
    const auto pause
        = m_allowance.spend(processorTime() - before + wakeUpCost, std::chrono::steady_clock::now());
    if (pause == WorkAllowance::Duration::zero())
        return;
    m_notifier->setEnabled(false); // the kernel keeps, and where it can merges, what comes meanwhile
    QTimer::singleShot(probeTime, this, [this, pause] { probe(pause); });
}

// Two programs that answer each other without a rest look like a flood. But who waits for us sends one event and then
// falls silent, while a flood goes on though nobody listens.
void WatchHub::probe(WorkAllowance::Duration pause)
{
    const auto before = processorTime();
    collect();
    const auto cost = processorTime() - before;
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

void WatchHub::resume()
{
    m_notifier->setEnabled(true);
    answer();
}

// Whether anything has happened that was not collected.
bool WatchHub::isBacklogged() const
{
    int bytes = 0;
    return ::ioctl(m_descriptor, FIONREAD, &bytes) == 0 && bytes > 0;
}

void WatchHub::collect()
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
            arm(*subscription);
            markEverything(*subscription);
        }
    }
}

void WatchHub::note(const inotify_event& event)
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

void WatchHub::markReady(Subscription& subscription)
{
    if (std::exchange(subscription.isReady, true))
        return;
    const auto found = std::find_if(m_subscriptions.cbegin(), m_subscriptions.cend(),
        [&subscription](const auto& known) { return known.get() == &subscription; });
    m_ready.push_back(*found);
}

void WatchHub::markEverything(Subscription& subscription)
{
    subscription.everything = true;
    markReady(subscription);
}

// Tells each subscription what was pending when the delivery began; what handlers bring about is told in the
// next turn.
void WatchHub::deliver()
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

void WatchHub::deliverLater()
{
    QMetaObject::invokeMethod(this, &WatchHub::deliver, Qt::QueuedConnection);
}

// Without the kernel's help anything may have changed at any time.
void WatchHub::look()
{
    bool anyPolled = false;
    for (const auto& subscription : m_subscriptions) {
        if (!subscription->isPolled)
            continue;
        arm(*subscription);
        anyPolled |= subscription->isPolled;
        markEverything(*subscription);
    }
    if (!anyPolled)
        m_lookTimer.stop();
    deliver();
}

} // namespace kestrum
