#pragma once

#include "tests/Support/DesktopFixture.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/Pixels.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <cmath>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

/// The built agent on Wayland desktops. sway refuses root, so compositors and agents run as an ordinary user.
namespace WaylandDesktop {

inline const QColor plateColour(222, 222, 222);
inline const QColor groundColour(0x20, 0x40, 0x60); ///< of the desktops without windows

/// Whether that pixel is one of a popover or a menu: shadows make the ground only darker.
inline bool isOnGround(const QColor& pixel)
{
    return pixel.lightness() > groundColour.lightness();
}

/// A path in the test's home.
inline QString place(const char* relative)
{
    return TestHome::root() + u'/' + QString::fromLatin1(relative);
}

inline QString agentProgram()
{
    return StandIns::agentOf(place("Kestrum.app"));
}

/// Copies the built programs to where the ordinary user may run them, and gives this user the test's home. False if that fails.
inline bool install()
{
    const QString built = qEnvironmentVariable("KESTRUM_BUILD") + u'/';
    for (const char* program : { "Kestrum.app/Contents/MacOS/kestrumctl",
             "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/MacOS/KestrumAgent" }) {
        if (!QDir().mkpath(QFileInfo(place(program)).path())
            || !QFile::copy(built + QString::fromLatin1(program), place(program)))
            return false;
    }
    // The translations and property lists are copied, too.
    for (const char* part : { "Kestrum.app/Contents/Resources", "Kestrum.app/Contents/Info.plist",
             "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/Resources",
             "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/Info.plist" })
        Programs::output(text("cp"), { text("-r"), built + text(part), place(part) });
    if (::geteuid() != 0)
        return true;
    constexpr uid_t nobody = 65534;
    bool isDone = ::chmod(QFile::encodeName(TestHome::root()).constData(), 0711) == 0;
    for (const QByteArray& folder : { qgetenv("XDG_CONFIG_HOME"), qgetenv("XDG_RUNTIME_DIR") })
        isDone = isDone && ::chown(folder.constData(), nobody, nobody) == 0;
    return isDone;
}

inline QByteArray kestrumctl(const QStringList& arguments)
{
    return outputAsUser(QStringList(place("Kestrum.app/Contents/MacOS/kestrumctl")) + arguments);
}

inline void writeSetting(const char* key, const char* json)
{
    kestrumctl({ text("write"), text(key), text(json) });
}

/// What sway answers.
inline QByteArray swaymsg(const QByteArray& message)
{
    const QStringList sockets
        = QDir(TestHome::runtimeDirectory()).entryList({ text("sway-ipc.*") }, QDir::System);
    return outputAsUser(
        words("swaymsg -s") << TestHome::runtimeDirectory() + u'/' + sockets.value(0) << words(message));
}

/// What the agent shows, as it describes it.
inline QJsonObject strip()
{
    return QJsonDocument::fromJson(kestrumctl(words("describe"))).object();
}

inline int expectedWidth()
{
    return int(std::ceil(strip()[QLatin1StringView("width")].toDouble())) + 2 * DesktopFixture::stripSideRoom;
}

/// The name of the compositor's socket; empty while there is no socket.
inline QString socket()
{
    const QStringList sockets = QDir(TestHome::runtimeDirectory())
                                    .entryList({ text("wayland-*") }, QDir::System | QDir::Files)
                                    .filter(QRegularExpression(text("^wayland-[0-9]+$")));
    return sockets.isEmpty() ? QString() : sockets.first();
}

inline QImage screen()
{
    const QString file = TestHome::runtimeDirectory() + text("/screen.png");
    outputAsUser({ text("grim"), file });
    return QImage(file);
}

/// The rectangle of the strip's plate on the screen.
inline QRect shownPlate()
{
    return areaOf(screen(), plateColour);
}

} // namespace WaylandDesktop
} // namespace kestrum
