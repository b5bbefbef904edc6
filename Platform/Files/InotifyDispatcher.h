// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Files/RateLimiter.h"

#include <QByteArrayList>
#include <QObject>
#include <QSet>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <unordered_map>
#include <vector>

struct inotify_event;

namespace kestrum {

/// The state of a `DirectoryWatch`: its handler, the directories to watch, and the changes that are not delivered yet.
struct DirectoryWatch::Subscription {
    QByteArrayList paths; ///< all directories from the root down to the watched directory
    Interest interest;
    Handler handler;

    std::vector<int> watches; ///< inotify's descriptors of the watches
    bool isAlive = true;
    bool isPolled = false;
    bool isLost = false;     ///< the path changed, so the watches must be added again
    bool isReady = false;    ///< this subscription is in the dispatcher's `m_ready`
    bool isAnything = false; ///< anything may have changed, so `names` do not matter
    QByteArrayList names;    ///< changed entries, delivered one by one in this order
    QSet<QByteArray> knownNames;

    bool hasPending() const { return isAnything || !names.isEmpty(); }
    QByteArray takeNext();
    QByteArrayList takeAll();
};

/// Owns the process's only inotify instance, maps kernel watches to subscriptions and delivers events. Main thread only. Lives
/// until the process ends.
class InotifyDispatcher : public QObject {
public:
    using Subscription = DirectoryWatch::Subscription;

    static InotifyDispatcher& shared();

    void add(const std::shared_ptr<Subscription>& subscription);
    void remove(const std::shared_ptr<Subscription>& subscription);

    /// Removes and returns the changes of `subscription` that are not delivered yet.
    QByteArrayList takePending(Subscription& subscription);

private:
    struct Use {
        Subscription* subscription;
        quint32 mask;
        QByteArray child; ///< name of the next directory on the path; empty for the last directory
    };
    struct KernelWatch {
        quint32 mask = 0;
        std::vector<Use> uses;
    };
    struct Link {
        int watch;
        QByteArray path;
        Use use;
    };
    enum class Outcome { done, changed, refused };

    InotifyDispatcher();

    bool open();
    void addWatches(Subscription& subscription);
    Outcome tryToAddWatches(Subscription& subscription);
    void replaceLinks(Subscription& subscription, const std::vector<Link>& links);
    void narrowMask(const Link& link);

    void handleEvents();
    void probe(RateLimiter::Duration pause);
    void resume();
    bool hasUnread() const;
    void readEvents();
    void record(const inotify_event& event);
    void markReady(Subscription& subscription);
    void markAnything(Subscription& subscription);
    void deliver();
    void deliverLater();
    void poll();

    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_pollTimer;
    RateLimiter m_limiter;
    bool m_isFlood = false; ///< whether the last `probe` found a flood
    std::unordered_map<int, KernelWatch> m_watches;
    std::vector<std::shared_ptr<Subscription>> m_subscriptions;
    std::vector<std::shared_ptr<Subscription>> m_ready;
};

} // namespace kestrum
