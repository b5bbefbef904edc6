#include "tests/Support/VirtualDisplay.h"

#include "tests/Support/Programs.h"

#include <csignal>
#include <sys/prctl.h>

namespace kestrum {

VirtualDisplay::VirtualDisplay()
{
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_server.start(QStringLiteral("Xvfb"),
        { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-noreset"),
            QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-screen"),
            QStringLiteral("0"), QStringLiteral("%1x%2x24").arg(width).arg(height) });
    QByteArray display;
    while (!display.endsWith('\n') && m_server.waitForReadyRead(Programs::patience))
        display += m_server.readAllStandardOutput();
    m_isUp = !display.isEmpty();
    if (!m_isUp) {
        qWarning("the virtual display does not start: %s", qPrintable(m_server.errorString()));
        return;
    }
    qputenv("DISPLAY", ":" + display.trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");
    // No bus, rather than one that the toolkit starts for every program.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    qunsetenv("QT_SCALE_FACTOR");
}

VirtualDisplay::~VirtualDisplay()
{
    Programs::end(m_server);
}

QByteArray VirtualDisplay::xdotool(const QStringList& arguments)
{
    return Programs::output(QStringLiteral("xdotool"), arguments);
}

} // namespace kestrum
