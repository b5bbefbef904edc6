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

/// What stands behind a `DirectoryWatch`: whom to tell, the directories to follow, and what is still to be
/// told.
struct DirectoryWatch::Subscription {
    QByteArrayList paths; ///< the root, every directory on the way, the directory itself
    Interest interest;
    Handler handler;

    std::vector<int> links; ///< the kernel watches that serve it
    bool isAlive = true;
    bool isPolled = false;
    bool isLost = false;  ///< the way to the directory has to be looked up again
    bool isReady = false; ///< stands in the list of those to be told
    bool everything = false;
    QByteArrayList names; ///< told one by one, in this order
    QSet<QByteArray> knownNames;

    bool hasPending() const { return everything || !names.isEmpty(); }
    QByteArray takeNext();
    QByteArrayList takeAll();
};

/// The process's one inotify instance: which kernel watch serves which subscriptions, and the delivery of
/// events. Main thread only; lives until the process ends.
class InotifyDispatcher : public QObject {
public:
    using Subscription = DirectoryWatch::Subscription;

    static InotifyDispatcher& shared();

    void add(const std::shared_ptr<Subscription>& subscription);
    void remove(const std::shared_ptr<Subscription>& subscription);

    /// Everything that happened so far and was not told yet. It will not be told any more.
    QByteArrayList takePending(Subscription& subscription);

private:
    struct Use {
        Subscription* subscription;
        quint32 mask;
        QByteArray child; ///< the entry that leads on to the directory; empty for the directory itself
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
    enum class AddedWatches { done, changed, refused };

    InotifyDispatcher();

    bool open();
    void addWatches(Subscription& subscription);
    AddedWatches tryToAddWatches(Subscription& subscription);
    void replaceLinks(Subscription& subscription, const std::vector<Link>& links);
    void narrow(const Link& link);
    void forget(int watch);

    void answer();
    void probe(RateLimiter::Duration pause);
    void resume();
    bool isBacklogged() const;
    void collect();
    void note(const inotify_event& event);
    void markReady(Subscription& subscription);
    void markEverything(Subscription& subscription);
    void deliver();
    void deliverLater();
    void look();

    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_lookTimer;
    RateLimiter m_allowance;
    bool m_isFlood = false; ///< what the last probe found
    std::unordered_map<int, KernelWatch> m_watches;
    std::vector<std::shared_ptr<Subscription>> m_subscriptions;
    std::vector<std::shared_ptr<Subscription>> m_ready;
};

} // namespace kestrum
