#pragma once

#include <QProcess>
#include <QString>

namespace kestrum {

/// A private session bus. This process and its children find it by DBUS_SESSION_BUS_ADDRESS. Its socket has the usual place in
/// the runtime directory. The bus ends with this object. Construct it after `VirtualDisplay`, which unsets the bus. The
/// application object may come later.
class SessionBus {
public:
    /// Whether the bus starts this machine's services on demand, such as the accessibility bus.
    enum class Services { installed, none };

    explicit SessionBus(Services services = Services::installed);
    ~SessionBus();
    Q_DISABLE_COPY_MOVE(SessionBus)

    /// False, with a warning, when the bus did not start.
    bool isUp() const { return m_isUp; }
    QString address() const { return m_address; }
    qint64 processId() const { return m_daemon.processId(); }

private:
    QString m_address;
    QProcess m_daemon;
    bool m_isUp = false;
};

} // namespace kestrum
