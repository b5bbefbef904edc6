#include "tests/Support/SessionBus.h"

#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"

#include <QFile>
#include <csignal>
#include <sys/prctl.h>

namespace kestrum {

namespace {

/// The usual configuration of a session bus, without the folders of services.
QString configurationWithoutServices()
{
    const QString path = TestHome::root() + QStringLiteral("/bus.conf");
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(
            "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
            "<policy context=\"default\">"
            "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/>"
            "</policy></busconfig>\n");
    return path;
}

} // namespace

SessionBus::SessionBus(Services services)
    : m_address(QStringLiteral("unix:path=%1/bus").arg(TestHome::runtimeDirectory()))
{
    m_daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
        { services == Services::installed ? QStringLiteral("--session")
                                          : QStringLiteral("--config-file=") + configurationWithoutServices(),
            QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--print-address"),
            QStringLiteral("--address=") + m_address });
    m_isUp = m_daemon.waitForReadyRead(10'000);
    if (!m_isUp)
        qWarning("the session bus does not start: %s", qPrintable(m_daemon.errorString()));
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
}

SessionBus::~SessionBus()
{
    Programs::end(m_daemon);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace kestrum
