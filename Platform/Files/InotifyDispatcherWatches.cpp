// SPDX-License-Identifier: MIT
// The kernel watches inodes, but a subscription watches a path. A watch of a file would end when a save replaces the file. A
// watch of the file's directory alone would not notice that the directory is replaced. So the ancestors are watched too:
//   - The directory (or its nearest existing ancestor) and its parent directory are watched for changes of entries. The parent
//     directory is needed because the kernel does not report the removal of a directory that a process has open.
//   - Each higher ancestor is watched only for a move of this ancestor.
// A change of the path marks the subscription as lost. Then all watches are added again from the root down, and the handler
// gets an empty name. A watch is always added before the check that relies on it, so no change in between is missed.

#include "Platform/Files/FilePath.h"
#include "Platform/Files/InotifyDispatcher.h"
#include "Platform/Log/Log.h"

#include <cerrno>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <utility>

namespace kestrum {

namespace {

constexpr quint32 pathMask
    = IN_MOVE_SELF | IN_DELETE_SELF | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr quint32 contentMask = pathMask | IN_CLOSE_WRITE;
constexpr int mostAttempts = 16;

quint32 maskOf(DirectoryWatch::Interest interest)
{
    using Interest = DirectoryWatch::Interest;
    return contentMask | (interest == Interest::touched ? IN_ATTRIB : 0)
        | (interest == Interest::opened ? IN_OPEN : 0);
}

bool isDirectory(const QByteArray& path)
{
    struct stat state;
    return ::stat(path.constData(), &state) == 0 && S_ISDIR(state.st_mode);
}

} // namespace

// Adds the watches of `subscription`. If the kernel refuses a watch, `subscription` is polled.
void InotifyDispatcher::addWatches(Subscription& subscription)
{
    subscription.isLost = false;
    Outcome outcome = open() ? Outcome::changed : Outcome::refused;
    for (int i = 0; i < mostAttempts && outcome == Outcome::changed; ++i)
        outcome = tryToAddWatches(subscription);
    subscription.isPolled = outcome != Outcome::done;
    if (!subscription.isPolled)
        return;
    const QString reason = qt_error_string(errno);
    replaceLinks(subscription, {});
    Log::warnOnce("watch",
        QStringLiteral(
            "Directories are looked at every 2 s, because the kernel does not watch them for us: %1")
            .arg(reason));
    if (!m_pollTimer.isActive())
        m_pollTimer.start();
}

InotifyDispatcher::Outcome InotifyDispatcher::tryToAddWatches(Subscription& subscription)
{
    const QByteArrayList& paths = subscription.paths;
    const qsizetype last = paths.size() - 1;
    qsizetype deepest = last;
    while (deepest > 0 && !isDirectory(paths[deepest]))
        --deepest;

    std::vector<Link> links;
    Outcome outcome = Outcome::done;
    // Watches are added from the root down. Once a directory is watched, its replacement is noticed.
    for (qsizetype i = 0; i <= deepest && outcome == Outcome::done; ++i) {
        quint32 mask = i + 1 < deepest ? IN_MOVE_SELF : pathMask;
        if (i == last)
            mask = maskOf(subscription.interest);
        if (i == 0 && mask == IN_MOVE_SELF)
            continue; // the root cannot be moved
        const int watch
            = ::inotify_add_watch(m_descriptor, paths[i].constData(), mask | IN_ONLYDIR | IN_MASK_ADD);
        if (watch >= 0) {
            m_watches[watch].mask |= mask;
            const QByteArray child = i < last ? FilePath::split(paths[i + 1]).name : QByteArray();
            links.push_back({ watch, paths[i], { &subscription, mask, child } });
        } else if (errno == ENOENT || errno == ENOTDIR) {
            outcome = Outcome::changed;
        } else if (errno != EACCES || i == deepest) {
            outcome = Outcome::refused;
        } // else: an ancestor that this user may enter but not read is not watched
    }
    if (outcome == Outcome::done && deepest < last && isDirectory(paths[deepest + 1]))
        outcome = Outcome::changed;
    const int error = errno;
    replaceLinks(subscription, links);
    errno = error;
    return outcome;
}

void InotifyDispatcher::replaceLinks(Subscription& subscription, const std::vector<Link>& links)
{
    const std::vector<int> old = std::exchange(subscription.watches, {});
    for (const int watch : old) {
        if (const auto found = m_watches.find(watch); found != m_watches.end())
            std::erase_if(found->second.uses,
                [&subscription](const Use& use) { return use.subscription == &subscription; });
    }
    for (const Link& link : links) {
        m_watches[link.watch].uses.push_back(link.use);
        subscription.watches.push_back(link.watch);
    }
    // Remove the kernel watches that no subscription uses.
    for (const int watch : old) {
        const auto found = m_watches.find(watch);
        if (found == m_watches.end() || !found->second.uses.empty())
            continue;
        m_watches.erase(found);
        ::inotify_rm_watch(m_descriptor, watch);
    }
    for (const Link& link : links)
        narrowMask(link);
}

// Stops events that no subscription needs any more. For example, an ancestor needs fewer events once its child exists.
void InotifyDispatcher::narrowMask(const Link& link)
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
        link.use.subscription->isLost = true; // the path leads to another directory now
}

} // namespace kestrum
