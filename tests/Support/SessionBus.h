#pragma once

#include <QProcess>
#include <QString>

namespace kestrum {

/// A session bus of the test's own, which this process and what it starts find by DBUS_SESSION_BUS_ADDRESS. It takes the
/// desktop's usual place in the runtime directory, and ends with its owner. May be made before the application object,
/// but after `VirtualDisplay`, which takes a bus away.
class SessionBus {
public:
    /// Whether it starts, when they are asked for, the services that this machine has, such as the accessibility bus.
    enum class Services { installed, none };

    explicit SessionBus(Services services = Services::installed);
    ~SessionBus();
    Q_DISABLE_COPY_MOVE(SessionBus)

    /// False, with a warning, when it did not start.
    bool isUp() const { return m_isUp; }
    QString address() const { return m_address; }

private:
    QString m_address;
    QProcess m_daemon;
    bool m_isUp = false;
};

} // namespace kestrum
