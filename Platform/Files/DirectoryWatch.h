// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <functional>
#include <memory>

namespace kestrum {

/// Watches the entries of one directory until it is destroyed. All watches of a process share one inotify instance. The
/// directory may be absent, removed, renamed or made again: its nearest existing ancestor is watched meanwhile. If the kernel
/// has no instance or watch left, the directory is polled every 2 s, with one log line. Main thread only, with an application
/// object.
class DirectoryWatch {
public:
    enum class Interest {
        content, ///< an entry was written and closed, created, moved or removed
        touched, ///< as `content`, and an entry's times were set
        opened,  ///< as `content`, and an entry was opened, such as a program that is about to start
    };

    /// `entry` is the name of the entry that changed. Empty means that anything may have changed: the directory itself came or
    /// went, the kernel's queue overflowed, or the directory is polled.
    using Handler = std::function<void(const QByteArray& entry)>;

    DirectoryWatch(const QString& directory, Interest interest, Handler handler);
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    /// Whether the kernel notifies us; false while the directory is polled.
    bool isNotified() const;

    /// Takes the changes that the handler has not been called for, each name once, or a single empty name for "anything".
    QByteArrayList takePending();

    struct Subscription; // known to the implementation only

private:
    std::shared_ptr<Subscription> m_subscription;
};

} // namespace kestrum
