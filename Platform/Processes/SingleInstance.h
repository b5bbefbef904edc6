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
/// runtime directory; without this directory, every process is the first. If the directory is cleared, the lock stays
/// effective. The kernel releases the lock when the process ends, even by a crash. May be created before the application
/// object, so that a second start needs no display.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    /// In bytes. A token that is longer, or not printable ASCII, is dropped; the request is still sent.
    static constexpr qsizetype maximumTokenLength = 1024;

    /// `name` is a plain file name, such as "Kestrum".
    explicit SingleInstance(const QByteArray& name, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Whether any process holds the lock `name`; nothing if there is no runtime directory.
    static std::optional<bool> isTaken(const QByteArray& name);

    /// The token in a request of `sent` bytes, of which `received` is the beginning; empty if it is not a token or was cut.
    static QByteArray tokenIn(QByteArrayView received, qsizetype sent);

    /// Whether this process holds the lock.
    bool isFirst() const { return m_isFirst; }

    /// Asks the first process to come forward. `activationToken` is the token that the desktop gave this process. If the first
    /// process is ending, this process takes the lock and `isFirst` becomes true. Waits up to a second for a starting or ending
    /// process. Returns false if the request was not delivered and the lock not taken.
    [[nodiscard]] bool raiseFirst(const QByteArray& activationToken);

    /// Releases the lock. Call this when this process is about to end. A process with an unread request then takes the lock.
    void release();

Q_SIGNALS:
    /// Another process of the program asks this process to come forward. Emitted once for requests that arrive together, and
    /// rarely enough to use only a small share of a core. The token may be empty.
    void raiseRequested(const QByteArray& activationToken);

private:
    void take();
    void openSocket();
    void listen();
    void receive();
    void restoreFiles();
    /// Stops reading requests for a while if `cost` overdraws the limiter's budget.
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
    RateLimiter::Duration m_charged {}; ///< this thread's processor time at the last request
};

} // namespace kestrum
