#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <functional>
#include <memory>

namespace kestrum {

/// Hears what happens to the entries of one directory, until it is destroyed. All watches of a process share
/// one inotify instance. A directory that does not exist yet, is removed, renamed or made anew is followed:
/// its nearest existing ancestor is watched meanwhile. When the kernel has no instance or watch left, the
/// directory is looked at every 2 s instead, with one log line. Main thread only, with an application object.
class DirectoryWatch {
public:
    enum class Interest {
        content, ///< an entry was written and closed, created, moved or removed
        touched, ///< as `content`, and an entry's times were set
        opened,  ///< as `content`, and an entry was opened: a program that is about to be started, for one
    };

    /// `entry` is the name of the entry that changed; empty means that anything may have changed (the
    /// directory itself came or went, the kernel's queue overflowed, or the directory is only looked at).
    using Handler = std::function<void(const QByteArray& entry)>;

    DirectoryWatch(const QString& directory, Interest interest, Handler handler);
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    /// Whether the kernel tells us, as opposed to looking every 2 s.
    bool isNotified() const;

    /// What happened so far and was not told yet, each name once, an empty one alone for "anything". It will
    /// not be told any more. For one who needs to see a batch as a whole, or to know what was before a
    /// certain moment.
    QByteArrayList takePending();

    struct Subscription; // known to the implementation only

private:
    std::shared_ptr<Subscription> m_subscription;
};

} // namespace kestrum
