#pragma once

#include "Platform/FileDescriptor.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace kestrum {

/// Holds a program's place as the only one of its name that the user runs. Processes meet in the private runtime
/// directory; where there is none, every process is the first. The kernel gives the place back when the process ends,
/// however it ends. May be made before the application object, so that a second start needs no display.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    /// What is longer, or not printable ASCII, is no token: the request then counts as one without.
    static constexpr qsizetype maximumTokenLength = 1024;

    /// `name` is a plain file name, such as "Kestrum".
    explicit SingleInstance(const QByteArray& name, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Whether this process has the place.
    bool isFirst() const { return m_isFirst; }

    /// Asks the process that has the place to come forward, with the activation token that the desktop gave us for that.
    /// Waits up to a second for one that has only just begun. False when it could not be told.
    bool raiseFirst(const QByteArray& activationToken) const;

    /// Whether any process has the place, without taking it.
    static bool isHeld(const QByteArray& name);

Q_SIGNALS:
    /// Another start of the program wants this one to come forward; told once for several at once. The token may be
    /// empty.
    void raiseRequested(const QByteArray& activationToken);

private:
    void openSocket();
    void listen();
    void receive();
    bool tell(const QByteArray& activationToken) const;

    QByteArray m_name;
    bool m_isFirst = true;
    FileDescriptor m_lock;
    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kestrum
