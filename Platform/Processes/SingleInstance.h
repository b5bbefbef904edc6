// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/RateLimiter.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Processes/InstanceName.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QObject>
#include <QSocketNotifier>
#include <memory>
#include <optional>

namespace kestrum {

/// Allows a user to run only one process of a program: the first process holds a lock. Processes find each other in the private
/// runtime directory; without it, every process is the first. The lock stays effective if the directory is cleared. The kernel
/// releases the lock when the process ends, even by a crash. May be created before the application object, so that a second
/// start needs no display.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    /// In bytes. A longer token, or one that is not printable ASCII, is dropped; the request is still sent.
    static constexpr qsizetype maximumTokenLength = 1024;

    /// `name` is a plain file name, such as "Kestrum".
    explicit SingleInstance(const QByteArray& name, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Whether any process holds the lock of that name; nothing if there is no runtime directory.
    static std::optional<bool> isTaken(const QByteArray& name);

    /// Whether this process holds the lock.
    bool isFirst() const { return m_isFirst; }

    /// Asks the first process to come forward, with the activation token that the desktop gave us. If that process ends instead,
    /// this process takes over the lock and `isFirst` becomes true. Waits up to a second for a process that is starting or
    /// ending. False if the request could not be delivered and the lock could not be taken.
    [[nodiscard]] bool raiseFirst(const QByteArray& activationToken);

    /// Releases the lock. To be called when this process is about to end. A process whose request is unread then takes the
    /// lock.
    void release();

Q_SIGNALS:
    /// Another process of the program asks this one to come forward. Emitted once for several requests at once, and rarely
    /// enough to use only a small share of a core. The token may be empty.
    void raiseRequested(const QByteArray& activationToken);

private:
    void take();
    void openSocket();
    void listen();
    void receive();
    void restoreFiles();
    /// Reads no requests for a while if `cost` overdraws the limiter.
    void pauseAfter(RateLimiter::Duration cost);
    bool sendRequest(const QByteArray& activationToken, const QDeadlineTimer& deadline) const;

    QByteArray m_name;
    bool m_isFirst = false;
    FileDescriptor m_lock;
    FileDescriptor m_socket;
    InstanceName m_instanceName;
    std::optional<RuntimeDirectory> m_directory;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unique_ptr<QSocketNotifier> m_knocks;
    RateLimiter m_limiter;
    RateLimiter::Instant m_lastReceived;
    RateLimiter::Duration m_charged {}; ///< processor time up to the last request
};

} // namespace kestrum
