// The desktop portal and its bus run in processes of their own.

#include "Platform/Desktop/AppearancePortal.h"
#include "Platform/Desktop/DesktopBus.h"
#include "tests/Support/PortalProcess.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QDBusConnection>
#include <QDir>
#include <QPalette>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <algorithm>
#include <memory>
#include <sys/stat.h>

using namespace kestrum;

namespace {

constexpr char busVariable[] = "DBUS_SESSION_BUS_ADDRESS";

QPalette paletteOf(const QColor& window, const QColor& text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

} // namespace

class SystemAppearanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qunsetenv(busVariable); }
    void cleanup()
    {
        m_portal.reset();
        qunsetenv(busVariable);
        QDBusConnection::disconnectFromBus(QStringLiteral("kestrum-appearance"));
        m_bus.reset();
    }

    void busIsNotAskedForWhereThereIsNone()
    {
        QCOMPARE(DesktopBus::address(), QString());
        qputenv(busVariable, "autolaunch:");
        QCOMPARE(DesktopBus::address(), QString());
        // A folder with the socket's name in the runtime directory does not count as a bus.
        qunsetenv(busVariable);
        QVERIFY(QDir(TestHome::runtimeDirectory()).mkdir(QStringLiteral("bus")));
        QCOMPARE(DesktopBus::address(), QString());
        QVERIFY(QDir(TestHome::runtimeDirectory()).rmdir(QStringLiteral("bus")));
    }

    void busOfTheRuntimeDirectoryIsFound()
    {
        QVERIFY(startBus());
        qunsetenv(busVariable);
        QCOMPARE(DesktopBus::address(), QStringLiteral("unix:path=%1/bus").arg(TestHome::runtimeDirectory()));
    }

    void busInADirectoryThatOthersMayEnterIsNone()
    {
        QVERIFY(startBus());
        qunsetenv(busVariable);
        const QByteArray directory = QFile::encodeName(TestHome::runtimeDirectory());
        QCOMPARE(::chmod(directory.constData(), 0755), 0);
        const QString found = DesktopBus::address();
        QCOMPARE(::chmod(directory.constData(), 0700), 0);
        QCOMPARE(found, QString());
        // An address in the environment is used without this check, because somebody set it on purpose.
        qputenv(busVariable, "unix:path=/elsewhere");
        QCOMPARE(DesktopBus::address(), QStringLiteral("unix:path=/elsewhere"));
    }

    void ofSeveralAddressesThoseThatWouldStartABusAreLeftOut()
    {
        qputenv(busVariable, "unix:path=/one;autolaunch:;unix:path=/two");
        QCOMPARE(DesktopBus::address(), QStringLiteral("unix:path=/one;unix:path=/two"));
    }

    void theToolkitIsToldThatThereIsNoBus()
    {
        QFile::remove(TestHome::runtimeDirectory() + QStringLiteral("/bus")); // an ended daemon's socket
        DesktopBus::nameToToolkit();
        QCOMPARE(qgetenv(busVariable), QByteArray("disabled:"));
        QCOMPARE(DesktopBus::address(), QString());
        QVERIFY(startBus());
        qunsetenv(busVariable);
        DesktopBus::nameToToolkit();
        QCOMPARE(qEnvironmentVariable(busVariable), m_bus->address());
    }

    void deadBusIsPassedOverInSilence()
    {
        static int messages = 0;
        const auto before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString&) { ++messages; });
        AppearancePortal portal;
        QSignalSpy changes(&portal, &AppearancePortal::changed);
        portal.start(QStringLiteral("unix:path=%1/nobody").arg(TestHome::runtimeDirectory()));
        const bool isDone = QThreadPool::globalInstance()->waitForDone(Programs::patience);
        QCoreApplication::processEvents();
        qInstallMessageHandler(before);
        QVERIFY(isDone);
        QCOMPARE(changes.size(), 0);
        QCOMPARE(messages, 0);
        QVERIFY(!portal.scheme());
    }

    void portalTellsSchemeAndAccent()
    {
        QVERIFY(startPortal({ "scheme 1", "accent 1 0.5 0" }));
        AppearancePortal portal;
        portal.start(DesktopBus::address());
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::dark));
        QTRY_VERIFY(portal.accent());
        QCOMPARE(portal.accent()->rgb(), qRgb(255, 128, 0));
    }

    void changesAreFollowed()
    {
        QVERIFY(startPortal({ "scheme 2" }));
        AppearancePortal portal;
        portal.start(DesktopBus::address());
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::light));
        QVERIFY(!portal.accent()); // an older portal has no accent
        QVERIFY(m_portal->change("scheme 1"));
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::dark));
        QVERIFY(m_portal->change("accent 0 0 1"));
        QTRY_VERIFY(portal.accent());
        // No preference, no accent, and an invalid value.
        QVERIFY(m_portal->change("scheme 0"));
        QTRY_VERIFY(!portal.scheme());
        QVERIFY(m_portal->change("accent -1 -1 -1"));
        QTRY_VERIFY(!portal.accent());
        QVERIFY(m_portal->change("scheme 1"));
        QTRY_VERIFY(portal.scheme());
        QVERIFY(m_portal->change("scheme dark"));
        QTRY_VERIFY(!portal.scheme());
    }

    void desktopAsksForLessMotionInTwoWays()
    {
        QVERIFY(startPortal({ "animations 0" }));
        AppearancePortal portal;
        QVERIFY(!portal.reducesMotion());
        portal.start(DesktopBus::address());
        QTRY_VERIFY(portal.reducesMotion());
        // The setting of all desktops has priority over the setting of a single desktop.
        QVERIFY(m_portal->change("motion 0"));
        QTRY_VERIFY(!portal.reducesMotion());
        QVERIFY(m_portal->change("animations 1"));
        QVERIFY(m_portal->change("motion 1"));
        QTRY_VERIFY(portal.reducesMotion());
        QVERIFY(m_portal->change("motion 7"));
        QTRY_VERIFY(!portal.reducesMotion());
    }

    void silentPortalKeepsNobodyWaiting()
    {
        QVERIFY(startPortal({ "silent" }));
        AppearancePortal portal;
        QElapsedTimer timer;
        timer.start();
        portal.start(DesktopBus::address());
        QVERIFY(timer.elapsed() < 50);
        // Changes are noticed while the answers have not yet arrived.
        QVERIFY(QTest::qWaitFor([&] { return portal.scheme() || !m_portal->change("scheme 1"); }));
        QCOMPARE(portal.scheme(), std::optional(ColourScheme::dark));
    }

    void paletteDecidesUntilThePortalDoes()
    {
        QVERIFY(startPortal({ "scheme 0", "motion 1" }));
        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));
        SystemAppearance& appearance = SystemAppearance::shared();
        QCOMPARE(appearance.scheme(), ColourScheme::dark);
        const auto isAsked
            = [] { return QDBusConnection(QStringLiteral("kestrum-appearance")).isConnected(); };
        QVERIFY(!isAsked());

        QSignalSpy changes(&appearance, &SystemAppearance::changed);
        QGuiApplication::setPalette(paletteOf(Qt::white, Qt::black));
        QTRY_COMPARE(appearance.scheme(), ColourScheme::light);
        QCOMPARE(changes.size(), 1);
        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));
        QTRY_COMPARE(appearance.scheme(), ColourScheme::dark);

        // The program asks the portal shortly after the start. The answer says how much motion is wanted, and that there is no
        // preferred scheme.
        QVERIFY(!appearance.reducesMotion());
        QTRY_VERIFY(appearance.reducesMotion());
        QVERIFY(isAsked());
        QCOMPARE(appearance.scheme(), ColourScheme::dark);
        QVERIFY(m_portal->change("scheme 2"));
        QTRY_COMPARE(appearance.scheme(), ColourScheme::light);

        // A scheme that setScheme() has fixed does not change.
        appearance.setScheme(ColourScheme::light);
        QVERIFY(m_portal->change("scheme 1"));
        QGuiApplication::setPalette(paletteOf(Qt::darkBlue, Qt::white));
        QVERIFY(m_portal->change("motion 0"));
        QTRY_VERIFY(!appearance.reducesMotion());
        QCOMPARE(appearance.scheme(), ColourScheme::light);
    }

private:
    bool startBus()
    {
        m_bus = std::make_unique<SessionBus>();
        return m_bus->isUp();
    }

    /// Starts the portal, and sends it these lines.
    bool startPortal(const QByteArrayList& lines)
    {
        if (!startBus())
            return false;
        m_portal = std::make_unique<PortalProcess>();
        return m_portal->isUp() && std::all_of(lines.begin(), lines.end(), [this](const QByteArray& line) {
            return m_portal->change(line);
        });
    }

    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<PortalProcess> m_portal;
};

KESTRUM_TEST_MAIN(QGuiApplication, SystemAppearanceTest)
#include "SystemAppearanceTest.moc"
