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

/// Holds a program's place as the only one of its name that the user runs. Processes meet in the private runtime
/// directory; where there is none, every process is the first. That it is cleared meanwhile lets no second one in. The kernel gives the place back when the process ends,
/// however it ends. May be made before the application object, so that a second start needs no display.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    /// What is longer, or not printable ASCII, is no token: the request then counts as one without.
    static constexpr qsizetype maximumTokenLength = 1024;

    /// `name` is a plain file name, such as "Kestrum".
    explicit SingleInstance(const QByteArray& name, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Whether any process has the place of that name; nothing where processes cannot meet.
    static std::optional<bool> isTaken(const QByteArray& name);

    /// Whether this process has the place.
    bool isFirst() const { return m_isFirst; }

    /// Asks the process that has the place to come forward, with the activation token that the desktop gave us for that.
    /// When that one ends instead of listening, this process takes the place, and `isFirst` says so. Waits up to a second for
    /// one that has only just begun or is about to end. False when it could neither be told nor followed.
    bool raiseFirst(const QByteArray& activationToken);

    /// Lets the next start be the first, for a process that comes forward no more. What nobody has heard yet is left for
    /// those who asked, who then take the place.
    void giveBack();

Q_SIGNALS:
    /// Another start of the program wants this one to come forward; told once for several at once, and however many there are,
    /// no more often than costs a small share of a core. The token may be empty.
    void raiseRequested(const QByteArray& activationToken);

private:
    void take();
    void openSocket();
    void listen();
    void receive();
    void settleAnew();
    /// Hears nobody for a while when a request cost more than there was left for it.
    void restAfter(RateLimiter::Duration cost);
    bool tell(const QByteArray& activationToken, const QDeadlineTimer& deadline) const;

    QByteArray m_name;
    bool m_isFirst = false;
    FileDescriptor m_lock;
    FileDescriptor m_socket;
    InstanceName m_place;
    std::unique_ptr<RuntimeDirectory> m_directory;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unique_ptr<QSocketNotifier> m_knocks;
    RateLimiter m_allowance;
    RateLimiter::Instant m_lastReceived;
    RateLimiter::Duration m_booked {}; ///< processor time up to the last request
};

} // namespace kestrum
