// How a directory is followed.
//
// The kernel watches inodes, we follow a path. So a subscription watches not only its directory but the way
// to it: the directory (or, while it is absent, its nearest existing ancestor) and the parent of that for
// their entries, because a directory that any process holds open dies without a word of its own; the
// ancestors further up only for being moved away, which is silent otherwise. Whatever breaks the way marks
// the subscription as lost: it is armed anew from the root down, and its handler is told that anything may
// have changed. A watch is always set before the check that relies on it, so there is no moment at which a
// change is seen by neither.

#include "Platform/Files/InotifyDispatcher.h"
#include "Platform/Log/Log.h"

#include <cerrno>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <utility>

namespace kestrum {

namespace {

constexpr quint32 wayMask
    = IN_MOVE_SELF | IN_DELETE_SELF | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr quint32 contentMask = wayMask | IN_CLOSE_WRITE;
constexpr int armingsAtMost = 16;

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

} // namespace

// Sets the watches of the subscription, or has it looked at where the kernel refuses.
void InotifyDispatcher::addWatches(Subscription& subscription)
{
    subscription.isLost = false;
    AddedWatches arming = open() ? AddedWatches::changed : AddedWatches::refused;
    for (int i = 0; i < armingsAtMost && arming == AddedWatches::changed; ++i)
        arming = tryToAddWatches(subscription);
    subscription.isPolled = arming != AddedWatches::done;
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

InotifyDispatcher::AddedWatches InotifyDispatcher::tryToAddWatches(Subscription& subscription)
{
    const QByteArrayList& paths = subscription.paths;
    const qsizetype last = paths.size() - 1;
    qsizetype deepest = last;
    while (deepest > 0 && !isDirectory(paths[deepest]))
        --deepest;

    std::vector<Link> links;
    AddedWatches arming = AddedWatches::done;
    // From the root down: once an ancestor is watched, what is put in the place of its child is noticed.
    for (qsizetype i = 0; i <= deepest && arming == AddedWatches::done; ++i) {
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
            arming = AddedWatches::changed;
        } else if (errno != EACCES || i == deepest) {
            arming = AddedWatches::refused;
        } // else: an ancestor that we may pass but not read is not watched
    }
    if (arming == AddedWatches::done && deepest < last && isDirectory(paths[deepest + 1]))
        arming = AddedWatches::changed;
    const int error = errno;
    replaceLinks(subscription, links);
    errno = error;
    return arming;
}

void InotifyDispatcher::replaceLinks(Subscription& subscription, const std::vector<Link>& links)
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
void InotifyDispatcher::narrow(const Link& link)
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
void InotifyDispatcher::forget(int watch)
{
    const auto found = m_watches.find(watch);
    if (found == m_watches.end() || !found->second.uses.empty())
        return;
    m_watches.erase(found);
    ::inotify_rm_watch(m_descriptor, watch);
}

} // namespace kestrum
