#include "tests/Support/VirtualDisplay.h"

#include "tests/Support/Programs.h"
#include "tests/Support/Text.h"

#include <QDir>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace kestrum {

namespace {

// A display's number, and the locked file that reserves this number. Without the file, an X server in a separate process table
// would use the number of a server outside that table.
struct Place {
    int number = 100;
    int file = -1;
};

Place takePlace()
{
    Place place;
    for (; place.number < 200; ++place.number) {
        const QString path = QStringLiteral("%1/kestrum-display-%2-%3.lock")
                                 .arg(QDir::tempPath())
                                 .arg(::getuid())
                                 .arg(place.number);
        place.file = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (place.file >= 0 && ::flock(place.file, LOCK_EX | LOCK_NB) == 0)
            break;
        ::close(place.file);
    }
    return place;
}

} // namespace

VirtualDisplay::VirtualDisplay(QSize size, bool isDouble)
{
    const Place place = takePlace();
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.setChildProcessModifier([place] {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        ::fcntl(place.file, F_SETFD, 0); // the server inherits the lock
    });
    const QString screen = text("%1x%2x24").arg(size.width()).arg(size.height());
    m_server.start(text("Xvfb"),
        words("-displayfd 1 -noreset -nolisten tcp -screen 0")
            << screen << (isDouble ? words("-screen 1") << screen : QStringList())
            << text(":%1").arg(place.number));
    ::close(place.file);
    QByteArray display;
    while (!display.endsWith('\n') && m_server.waitForReadyRead(Programs::patience))
        display += m_server.readAllStandardOutput();
    m_isUp = !display.isEmpty();
    if (!m_isUp) {
        qWarning("the virtual display does not start: %s", qPrintable(m_server.errorString()));
        return;
    }
    qputenv("DISPLAY", ":" + display.trimmed() + (isDouble ? ".1" : ""));
    qputenv("QT_QPA_PLATFORM", "xcb");
    // The toolkit would start a bus for every program unless the address is invalid.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    qunsetenv("QT_SCALE_FACTOR");
}

VirtualDisplay::~VirtualDisplay()
{
    Programs::end(m_server);
}

QByteArray VirtualDisplay::xdotool(const QByteArray& line, const QStringList& more)
{
    return Programs::output(text("xdotool"), words(line) + more);
}

} // namespace kestrum
