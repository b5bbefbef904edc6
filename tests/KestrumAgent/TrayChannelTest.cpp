// The agent's status icon in a desktop's icon area. Another process plays the desktop.

#include "KestrumAgent/Panel/PanelChannels.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/PressMemory.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/Programs.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <limits>
#include <utility>

using namespace kestrum;

using Programs::patience;

class TrayChannelTest : public QObject {
    Q_OBJECT

    std::shared_ptr<FakeReadings> m_readings = std::make_shared<FakeReadings>();
    std::unique_ptr<PanelStrip> m_strip;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<PanelChannels> m_channels;
    std::unique_ptr<QProcess> m_desktop;
    int m_toggled = 0; ///< how often the popover was asked for

    void startDesktop(const QStringList& arguments = {})
    {
        m_desktop = Programs::started(
            QCoreApplication::applicationDirPath() + QStringLiteral("/StandInTray"), arguments);
    }
    void endDesktop()
    {
        if (m_desktop)
            Programs::end(*m_desktop);
        m_desktop.reset();
    }
    void startChannels()
    {
        m_channels = std::make_unique<PanelChannels>(*m_strip, *m_menu);
        m_channels->start();
    }

    /// Starts a desktop with the icon, which `press` presses.
    void startPressable()
    {
        startDesktop({ QStringLiteral("0"), QStringLiteral("press") });
        m_toggled = 0;
        m_channels = std::make_unique<PanelChannels>(*m_strip, *m_menu);
        connect(m_channels.get(), &PanelChannels::standChanged, this, [this](PopoverStand* stand) {
            if (stand)
                connect(stand, &PopoverStand::toggleRequested, this, [this] { ++m_toggled; });
        });
        m_channels->start();
        QCOMPARE(said(), QByteArray("plate"));
    }
    void press() const { m_desktop->write("p"); }

    /// The next line that the desktop's process prints; empty after `patience`. Events are handled meanwhile.
    QByteArray said() const
    {
        const bool isSaid = QTest::qWaitFor([this] { return m_desktop->canReadLine(); }, patience);
        return isSaid ? m_desktop->readLine().trimmed() : QByteArray();
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Hides the log line about a missing icon area, which is not tested here.
        qputenv("QT_LOGGING_RULES", "*.info=false");
    }
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        qunsetenv("XDG_CURRENT_DESKTOP");
        SystemAppearance::shared().setScheme(ColourScheme::light);
        m_strip = std::make_unique<PanelStrip>(m_readings);
        m_menu = std::make_unique<QMenu>();
    }
    void cleanup()
    {
        m_channels.reset();
        endDesktop();
        m_menu.reset();
        m_strip.reset();
    }

    // This test runs first, because the toolkit checks only once per process whether status icons are supported.
    void aPlaceThatComesLateIsNoticed()
    {
        startChannels();
        QTest::qWait(2200); // longer than the log waits before it reports a missing place
        startDesktop();
        QCOMPARE(said(), QByteArray("plate"));
    }

    void aPlaceThatWasThereIsTakenSoon()
    {
        startDesktop();
        QTest::qWait(300);
        startChannels();
        QCOMPARE(said(), QByteArray("plate"));
    }

    void aPlaceThatGoesAndReturnsHasTheIconAgain()
    {
        startDesktop();
        startChannels();
        QCOMPARE(said(), QByteArray("plate"));
        for (int round = 0; round < 2; ++round) {
            endDesktop();
            QTest::qWait(200);
            startDesktop();
            QCOMPARE(said(), QByteArray("plate"));
        }
    }

    void aListOfIconsWithoutAPanelIsNoPlaceYet()
    {
        startDesktop({ QStringLiteral("700") });
        startChannels();
        QTest::qWait(400);
        QVERIFY(!m_desktop->canReadLine());
        QCOMPARE(said(), QByteArray("plate"));
    }

    void theIconGoesWithTheItemsAndComesBack()
    {
        startDesktop();
        startChannels();
        QCOMPARE(said(), QByteArray("plate"));
        for (const auto& section : allCases<MonitorSection>())
            Setting(MeterSettings::visibilityKey(section.value)).set(false);
        m_strip->rebuild();
        QCOMPARE(said(), QByteArray("gone"));
        Setting(Keys::showCPUItem).set(true);
        m_strip->rebuild();
        QCOMPARE(said(), QByteArray("plate"));
    }

    void aPressOfTheIconAsksForThePopover()
    {
        startPressable();
        press();
        QTRY_COMPARE_WITH_TIMEOUT(m_toggled, 1, patience);
        QCOMPARE(m_channels->shownBy(), QStringLiteral("status-icon"));
    }

    void thePressThatTookTheFocusDoesNotOpenItAgain()
    {
        startPressable();
        Q_EMIT m_channels->stand()->dismissed();
        press();
        QTest::qWait(quietTime);
        QCOMPARE(m_toggled, 0);
        press(); // a later one is one of its own
        QTRY_COMPARE_WITH_TIMEOUT(m_toggled, 1, patience);
        Q_EMIT m_channels->stand()->dismissed();
        QTest::qWait(int(PressMemory::oneAct.count()) + 100);
        press();
        QTRY_COMPARE_WITH_TIMEOUT(m_toggled, 2, patience);
        // The pointer was elsewhere when the window was dismissed.
        Q_EMIT m_channels->stand()->dismissed();
        QCursor::setPos(QCursor::pos() + QPoint(100, 50));
        press();
        QTRY_COMPARE_WITH_TIMEOUT(m_toggled, 3, patience);
    }

    // Anybody on the bus may call the icon and its menu, which are the toolkit's.
    void callsWithoutSenseDoNoHarm()
    {
        int chosen = 0;
        connect(m_menu->addAction(QStringLiteral("Entry")), &QAction::triggered, this, [&] { ++chosen; });
        startPressable();
        constexpr QLatin1StringView stranger("stranger");
        QDBusConnection bus
            = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), stranger);
        QString icon;
        const auto answer = [&](const char* path, const char* interface, const char* method,
                                const QVariantList& arguments) {
            QDBusMessage call = QDBusMessage::createMethodCall(
                icon, QLatin1StringView(path), QLatin1StringView(interface), QLatin1StringView(method));
            call.setArguments(arguments);
            const QDBusPendingCallWatcher pending(bus.asyncCall(call, patience));
            QSignalSpy finished(&pending, &QDBusPendingCallWatcher::finished);
            finished.wait(patience);
            return pending.reply().errorName();
        };
        constexpr const char* item = "org.kde.StatusNotifierItem";
        constexpr const char* menu = "com.canonical.dbusmenu";
        constexpr const char* properties = "org.freedesktop.DBus.Properties";
        // The toolkit has connections of its own.
        for (const QString& name : bus.interface()->registeredServiceNames().value()) {
            icon = name;
            if (name.startsWith(u':')
                && answer("/StatusNotifierItem", properties, "Get",
                    { QLatin1StringView(item), QStringLiteral("Title") })
                       .isEmpty())
                break;
        }
        QCOMPARE(answer("/MenuBar", menu, "AboutToShow", { 0 }), QString());
        const QVariantList values { 0, -1, std::numeric_limits<int>::max(), QString(100'000, u'x'),
            QStringLiteral("clicked"), QByteArray(100'000, 'x'), 1e300,
            QVariant::fromValue(QDBusVariant(QVariantMap { { QString(), QString() } })),
            QVariant::fromValue(QList<int>(10'000, -7)), QStringList(10'000, QStringLiteral("label")) };
        const std::pair<const char*, const char*> methods[] { { item, "Activate" },
            { item, "SecondaryActivate" }, { item, "ContextMenu" }, { item, "Scroll" }, { properties, "Get" },
            { properties, "Set" }, { menu, "GetLayout" }, { menu, "GetGroupProperties" },
            { menu, "GetProperty" }, { menu, "Event" }, { menu, "EventGroup" }, { menu, "AboutToShow" },
            { menu, "AboutToShowGroup" } };
        QRandomGenerator random(9);
        int refused = 0;
        for (int count = 0; count < 20; ++count) {
            for (const auto& [interface, method] : methods) {
                QVariantList arguments;
                for (int i = random.bounded(5); i > 0; --i)
                    arguments.append(values[random.bounded(values.size())]);
                const QString error = answer(
                    interface == menu ? "/MenuBar" : "/StatusNotifierItem", interface, method, arguments);
                QVERIFY2(error != QLatin1StringView("org.freedesktop.DBus.Error.NoReply"), method);
                refused += !error.isEmpty();
            }
        }
        QVERIFY(refused > 50);
        QDBusConnection::disconnectFromBus(stranger);
        QCOMPARE(chosen, 0);
        m_toggled = 0;
        press();
        QTRY_COMPARE_WITH_TIMEOUT(m_toggled, 1, patience);
    }

    void itIsReadableOnTheBar_data()
    {
        QTest::addColumn<QByteArray>("desktop");
        QTest::addColumn<ColourScheme>("scheme");
        QTest::addColumn<QByteArray>("icon");
        const QByteArray light = "light";
        const QByteArray plate = "plate";
        // These desktops have a black bar, whatever the colour scheme of the windows is.
        for (const char* desktop : { "GNOME", "ubuntu:GNOME", "pop:GNOME", "gnome" }) {
            QTest::addRow("%s, light", desktop) << QByteArray(desktop) << ColourScheme::light << light;
            QTest::addRow("%s, dark", desktop) << QByteArray(desktop) << ColourScheme::dark << light;
        }
        // Nobody knows these panels' colours.
        for (const char* desktop : { "KDE", "GNOME-Classic:GNOME", "GNOMEish", "" }) {
            QTest::addRow("%s, light", desktop) << QByteArray(desktop) << ColourScheme::light << plate;
            QTest::addRow("%s, dark", desktop) << QByteArray(desktop) << ColourScheme::dark << plate;
        }
    }
    void itIsReadableOnTheBar()
    {
        QFETCH(const QByteArray, desktop);
        QFETCH(const ColourScheme, scheme);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        SystemAppearance::shared().setScheme(scheme);
        startDesktop();
        startChannels();
        QTEST(said(), "icon");
    }
};

KESTRUM_TEST_MAIN_OF(TrayChannelTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    const SessionBus bus;
    if (!display.isUp() || !bus.isUp())
        return 1;
    QApplication application(argc, argv);
    TrayChannelTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "TrayChannelTest.moc"
