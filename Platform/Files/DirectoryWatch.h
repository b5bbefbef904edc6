// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <functional>
#include <memory>

namespace kestrum {

/// Watches the entries of one directory for the lifetime of this object. All objects share one inotify instance. The directory
/// may be removed, renamed or created again; while it is absent, its nearest existing ancestor is watched. If the kernel grants
/// no inotify instance or watch, the directory is polled every 2 s, and a warning is logged once. Main thread only; needs an
/// application object.
class DirectoryWatch {
public:
    enum class Interest {
        content, ///< an entry was written and closed, created, moved or removed
        touched, ///< like `content`, and also: an entry's attributes were set, such as its times
        opened,  ///< like `content`, and also: an entry was opened, such as a program that starts
    };

    /// `entry` is the name of the changed entry. An empty name means that anything may have changed: the directory itself was
    /// created or removed, the kernel's queue overflowed, or the directory is polled.
    using Handler = std::function<void(const QByteArray& entry)>;

    DirectoryWatch(const QString& directory, Interest interest, Handler handler);
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    /// Whether the kernel reports the changes; false while the directory is polled.
    bool isNotified() const;

    /// Removes and returns the changes that were not passed to the handler yet: each changed name once, or one empty name if
    /// anything may have changed.
    QByteArrayList takePending();

    struct Subscription; // defined in InotifyDispatcher.h

private:
    std::shared_ptr<Subscription> m_subscription;
};

} // namespace kestrum
