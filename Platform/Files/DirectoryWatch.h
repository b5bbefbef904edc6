// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <functional>
#include <memory>

namespace kestrum {

/// Watches the entries of one directory as long as this object exists. All watches of a process share one inotify instance. The
/// directory may be absent, removed, renamed or created again: while it is absent, its nearest existing ancestor is watched. If
/// the kernel has no instance or watch left, the directory is polled every 2 s, which is logged once. Main thread only, with an
/// application object.
class DirectoryWatch {
public:
    enum class Interest {
        content, ///< an entry was written and closed, created, moved or removed
        touched, ///< like `content`, or an entry's attributes, such as its times, were set
        opened,  ///< like `content`, or an entry was opened, such as a program that is about to start
    };

    /// `entry` is the name of the changed entry. An empty name means that anything may have changed: the directory itself was
    /// created or removed, the kernel's queue overflowed, or the directory is polled.
    using Handler = std::function<void(const QByteArray& entry)>;

    DirectoryWatch(const QString& directory, Interest interest, Handler handler);
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    /// Whether the kernel notifies us; false while the directory is polled.
    bool isNotified() const;

    /// Returns and removes the changes that were not passed to the handler yet: each name once, or one empty name if anything
    /// may have changed.
    QByteArrayList takePending();

    struct Subscription; // defined in InotifyDispatcher.h

private:
    std::shared_ptr<Subscription> m_subscription;
};

} // namespace kestrum
