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
    QByteArrayList paths; ///< the root, every directory on the way, the directory itself
    Interest interest;
    Handler handler;

    std::vector<int> watches; ///< the kernel watches of this subscription
    bool isAlive = true;
    bool isPolled = false;
    bool isLost = false;     ///< the path changed, so the watches must be added again
    bool isReady = false;    ///< is in the dispatcher's list of subscriptions to notify
    bool isAnything = false; ///< anything may have changed
    QByteArrayList names;    ///< delivered one by one, in this order
    QSet<QByteArray> knownNames;

    bool hasPending() const { return isAnything || !names.isEmpty(); }
    QByteArray takeNext();
    QByteArrayList takeAll();
};

/// The process's one inotify instance: maps kernel watches to subscriptions and delivers events. Main thread only; lives until
/// the process ends.
class InotifyDispatcher : public QObject {
public:
    using Subscription = DirectoryWatch::Subscription;

    static InotifyDispatcher& shared();

    void add(const std::shared_ptr<Subscription>& subscription);
    void remove(const std::shared_ptr<Subscription>& subscription);

    /// Returns and removes the changes that are not delivered yet.
    QByteArrayList takePending(Subscription& subscription);

private:
    struct Use {
        Subscription* subscription;
        quint32 mask;
        QByteArray child; ///< the next entry on the path; empty for the watched directory itself
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
    bool m_isFlood = false; ///< result of the last probe
    std::unordered_map<int, KernelWatch> m_watches;
    std::vector<std::shared_ptr<Subscription>> m_subscriptions;
    std::vector<std::shared_ptr<Subscription>> m_ready;
};

} // namespace kestrum
