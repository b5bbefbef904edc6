// The built agent on headless Wayland desktops. sway supports layers, and the tests check the strip on pictures of its desktop.
// cage has no layers. sway refuses root, so compositors and agents run as an ordinary user.

#include "tests/Support/DesktopFixture.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/Pixels.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <cmath>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr uid_t nobody = 65534;
const QColor plateColour(222, 222, 222);

QString place(const char* relative)
{
    return TestHome::root() + u'/' + QString::fromLatin1(relative);
}

QString agentProgram()
{
    return StandIns::agentOf(place("Kestrum.app"));
}

QByteArray kestrumctl(const QStringList& arguments)
{
    return outputAsUser(QStringList(place("Kestrum.app/Contents/MacOS/kestrumctl")) + arguments);
}

void write(const char* key, const char* json)
{
    kestrumctl({ text("write"), text(key), text(json) });
}

void hideItems(std::initializer_list<const char*> keys)
{
    for (const char* key : keys)
        write(key, "false");
}

/// The name of the compositor's socket; empty while there is no socket.
QString waylandSocket()
{
    const QStringList sockets = QDir(TestHome::runtimeDirectory())
                                    .entryList({ text("wayland-*") }, QDir::System | QDir::Files)
                                    .filter(QRegularExpression(text("^wayland-[0-9]+$")));
    return sockets.isEmpty() ? QString() : sockets.first();
}

QImage screen()
{
    const QString file = TestHome::runtimeDirectory() + text("/screen.png");
    outputAsUser({ text("grim"), file });
    return QImage(file);
}

/// The rectangle of the strip's plate on the screen.
QRect shownPlate()
{
    return areaOf(screen(), plateColour);
}

int expectedWidth()
{
    const QJsonObject strip = QJsonDocument::fromJson(kestrumctl(words("describe"))).object();
    return int(std::ceil(strip[QLatin1StringView("width")].toDouble())) + 2 * DesktopFixture::stripSideRoom;
}

} // namespace

class AgentWaylandTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QProcess> m_compositor;
    std::unique_ptr<QProcess> m_agent;

    void startCompositor(const QStringList& command)
    {
        m_compositor = startedAsUser(command);
        QTRY_VERIFY_WITH_TIMEOUT(!waylandSocket().isEmpty(), patience);
        qputenv("WAYLAND_DISPLAY", waylandSocket().toUtf8());
    }

    static void waitForStrip() { QTRY_COMPARE_WITH_TIMEOUT(shownPlate().width(), expectedWidth(), patience); }

    void startOnSway()
    {
        startCompositor(words("sway -c") << place("sway.conf"));
        QTRY_VERIFY_WITH_TIMEOUT(screen().width() == 1000, patience);
        m_agent = startedAsUser({ agentProgram() });
        waitForStrip();
    }

    /// Starts the agent where there are no layers, and waits until the agent reports this.
    void startOnCage()
    {
        startCompositor(words("cage -- cat"));
        m_agent = startedAsUser({ agentProgram() });
        m_agent->setReadChannel(QProcess::StandardError);
        QVERIFY(m_agent->waitForReadyRead(patience));
    }

    static QByteArray swaymsg(const char* message)
    {
        const QStringList sockets
            = QDir(TestHome::runtimeDirectory()).entryList({ text("sway-ipc.*") }, QDir::System);
        return outputAsUser(
            words("swaymsg -s") << TestHome::runtimeDirectory() + u'/' + sockets.value(0) << text(message));
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Qt leaks a few bytes in the Wayland library and unloads this library, so a leak report cannot name the library.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
        // An ordinary user may have no access to the build folder, so the user runs copies of the programs.
        const QString built = qEnvironmentVariable("KESTRUM_BUILD") + u'/';
        for (const char* program : { "Kestrum.app/Contents/MacOS/kestrumctl",
                 "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/MacOS/KestrumAgent" }) {
            QVERIFY(QDir().mkpath(QFileInfo(place(program)).path()));
            QVERIFY(QFile::copy(built + QString::fromLatin1(program), place(program)));
        }
        // The translations and property lists are copied, too.
        for (const char* part : { "Kestrum.app/Contents/Resources", "Kestrum.app/Contents/Info.plist",
                 "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/Resources",
                 "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/Info.plist" })
            Programs::output(text("cp"), { text("-r"), built + text(part), place(part) });
        QVERIFY(QFile::copy(built + text("tests/StandInTray"), place("StandInTray")));
        kestrum::write(place("sway.conf"),
            "output * resolution 1000x400 bg #204060 solid_color\nbar {\n  position top\n}\n");
        if (::geteuid() == 0) {
            QCOMPARE(::chmod(QFile::encodeName(TestHome::root()).constData(), 0711), 0);
            for (const QByteArray& folder : { qgetenv("XDG_CONFIG_HOME"), qgetenv("XDG_RUNTIME_DIR") })
                QCOMPARE(::chown(folder.constData(), nobody, nobody), 0);
        }
    }

    void init()
    {
        QDir(TestHome::configDirectory()).removeRecursively();
        // The interval is so long that only a change of the settings repaints during a test.
        write("refreshInterval", "60");
    }

    void cleanup()
    {
        if (m_agent)
            Programs::end(*m_agent);
        if (m_compositor) {
            // cage ends when the program that cage shows ends.
            m_compositor->closeWriteChannel();
            if (m_compositor->processId() && !m_compositor->waitForFinished(500))
                Programs::end(*m_compositor);
        }
        m_agent.reset();
        m_compositor.reset();
        QTRY_VERIFY_WITH_TIMEOUT(waylandSocket().isEmpty(), patience);
    }

    void theStripIsALayerAtTheTrailingEndBelowTheBar()
    {
        startOnSway();
        const QImage picture = screen();
        if (const QString folder = qEnvironmentVariable("KESTRUM_TEST_PICTURES"); !folder.isEmpty())
            picture.save(folder + text("/agent-wayland.png"));
        const QRect strip = areaOf(picture, plateColour);
        QCOMPARE(strip.height(), DesktopFixture::stripHeight);
        QCOMPARE(strip.right(), picture.width() - 1);
        // The desktop is right below the strip. Right above the strip is the bar, which has another colour.
        const QColor desktop(0x20, 0x40, 0x60);
        QCOMPARE(picture.pixelColor(strip.center().x(), strip.bottom() + 1), desktop);
        QVERIFY(strip.top() > 0);
        QVERIFY(picture.pixelColor(strip.center().x(), strip.top() - 1) != desktop);
        // The ends of the strip are round, so its corner shows the desktop.
        QCOMPARE(picture.pixelColor(strip.left(), strip.bottom()), desktop);
    }

    void itFollowsTheSettings()
    {
        startOnSway();
        write("showMemoryItem", "false");
        waitForStrip();
        const QImage bars = screen();
        write("meterStyle", "\"wave\"");
        QTRY_VERIFY_WITH_TIMEOUT(screen() != bars, patience);
        hideItems({ "showCPUItem", "showStorageItem", "showSensorsItem" });
        QTRY_VERIFY_WITH_TIMEOUT(shownPlate().isEmpty(), patience);
        write("showCPUItem", "true");
        waitForStrip();
    }

    void inALanguageFromTheRightItStandsAtTheOtherEnd()
    {
        startOnSway();
        const QRect before = shownPlate();
        write("language", "\"ar\"");
        QTRY_COMPARE_WITH_TIMEOUT(shownPlate().left(), 0, patience);
        QCOMPARE(shownPlate().size(), before.size());
        write("language", "\"en\"");
        QTRY_COMPARE_WITH_TIMEOUT(shownPlate(), before, patience);
    }

    void itComesBackWithTheScreen()
    {
        startOnSway();
        QVERIFY(!swaymsg("output HEADLESS-1 disable").isEmpty());
        QTest::qWait(500);
        QCOMPARE(m_agent->state(), QProcess::Running);
        QVERIFY(!swaymsg("output HEADLESS-1 enable").isEmpty());
        waitForStrip();
    }

    void itEndsWhenAsked()
    {
        startOnSway();
        m_agent->terminate();
        QCOMPARE(Programs::ended(*m_agent).code, 0);
        QTRY_VERIFY_WITH_TIMEOUT(shownPlate().isEmpty(), patience);
    }

    void withoutLayersItIsAStatusIconOnceThereIsAPlaceForThem()
    {
        const QString bus = text("unix:path=") + TestHome::runtimeDirectory() + text("/bus");
        const auto daemon = startedAsUser(
            words("dbus-daemon --session --nofork --nopidfile --print-address") << text("--address=") + bus);
        QVERIFY(daemon->waitForReadyRead(patience));
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", "GNOME");
        startOnCage();
        QVERIFY(m_agent->readAllStandardError().contains("neither a place"));
        const auto tray = startedAsUser({ place("StandInTray") });
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_CURRENT_DESKTOP");
        QVERIFY(tray->waitForReadyRead(patience));
        QCOMPARE(tray->readLine(), QByteArray("light\n"));
        hideItems({ "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" });
        QVERIFY(tray->waitForReadyRead(patience));
        QCOMPARE(tray->readLine(), QByteArray("gone\n"));
        QTest::qWait(500);
        QCOMPARE(m_agent->state(), QProcess::Running);
        Programs::end(*tray);
        Programs::end(*daemon);
    }

    void withoutLayersItSaysSoOnceAndRuns()
    {
        startOnCage();
        QTest::qWait(1000);
        QCOMPARE(m_agent->state(), QProcess::Running);
        const QByteArray said = m_agent->readAllStandardError();
        QCOMPARE(said.count('\n'), 1);
        QVERIFY2(said.contains("no place") || said.contains("neither a place"), said.constData());
    }
};

KESTRUM_TEST_MAIN_OF(AgentWaylandTest)(int argc, char** argv)
{
    const TestHome home;
    for (const char* variable :
        { "DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "QT_SCALE_FACTOR" })
        qunsetenv(variable);
    qputenv("WLR_BACKENDS", "headless");
    qputenv("WLR_RENDERER", "pixman");
    qputenv("WLR_LIBINPUT_NO_DEVICES", "1");
    qputenv("QT_QPA_PLATFORM", "wayland");
    QCoreApplication application(argc, argv);
    AgentWaylandTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentWaylandTest.moc"
