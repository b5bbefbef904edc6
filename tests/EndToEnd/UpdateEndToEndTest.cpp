// The whole way of an update: APT lists it, the agent finds it, the open window offers it, and "Install" makes the agent show
// it. Once it is installed, no offer is left. The test sets the version of a copy of the built bundle.

#include "Kestrum/Form/Theme.h"
#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumShared/Agent/ProcessScan.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/AptWorld.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/SignalRecorder.h"
#include "tests/Support/Text.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QSignalSpy>

using namespace kestrum;

using Programs::patience;

namespace {

std::optional<QString> offer()
{
    return SharedSettings::store().string(Keys::updatesAvailable.name);
}

} // namespace

class UpdateEndToEndTest : public QObject {
    Q_OBJECT

    FileTree m_tree;
    std::unique_ptr<AptWorld> m_world;
    std::unique_ptr<QProcess> m_kestrum;
    QByteArray m_window;

    // All places are in the window's coordinates.
    static constexpr int sidebarWidth = 204;
    static constexpr int buttonMiddle = sidebarWidth - 10 - 30;

    /// The middle of the green symbol in the sidebar's lower half; nothing without an offer.
    std::optional<QPoint> symbol() const
    {
        const QImage sidebar = QGuiApplication::primaryScreen()
                                   ->grabWindow(m_window.toULongLong(), 0, 260, sidebarWidth, 260)
                                   .toImage();
        const QColor green = Theme::colour(Theme::Colour::offer, ColourScheme::light);
        QRect ink;
        for (int y = 0; y < sidebar.height(); ++y) {
            for (int x = 0; x < sidebar.width() / 4; ++x) {
                if (sidebar.pixelColor(x, y) == green)
                    ink |= QRect(x, y + 260, 1, 1);
            }
        }
        return ink.width() >= 10 && ink.height() >= 10 ? std::optional(ink.center()) : std::nullopt;
    }

    void setVersion(const QByteArray& version, const QByteArray& build) const
    {
        m_tree.write(text("Kestrum.app/Contents/Info.plist"),
            "{ CFBundleName = Kestrum; CFBundleExecutable = Kestrum; CFBundleIdentifier = "
            "\"com.orvale.kestrum\";"
            " CFBundleDevelopmentRegion = en; CFBundleShortVersionString = \""
                + version + "\"; CFBundleVersion = \"" + build + "\"; }");
    }

    void openWindow()
    {
        m_kestrum = Programs::started(m_tree.path(text("Kestrum.app/Contents/MacOS/Kestrum")), {});
        m_window = VirtualDisplay::xdotool(
            { text("search"), text("--sync"), text("--onlyvisible"), text("--pid"),
                QString::number(m_kestrum->processId()), text("--name"), text("^Kestrum$") })
                       .split('\n')
                       .first();
        QVERIFY(!m_window.isEmpty());
        // Waits until its sidebar is painted.
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::primaryScreen()
                                      ->grabWindow(m_window.toULongLong(), 2, 300, 1, 1)
                                      .toImage()
                                      .pixelColor(0, 0),
            Theme::colour(Theme::Colour::sidebar, ColourScheme::light), patience);
    }

    void closeWindow()
    {
        if (m_kestrum)
            Programs::end(*m_kestrum);
        m_kestrum.reset();
    }

    void click(QPoint place) const
    {
        VirtualDisplay::xdotool({ text("mousemove"), text("--window"), QString::fromLatin1(m_window),
            QString::number(place.x()), QString::number(place.y()), text("click"), text("1") });
    }

    /// Makes a check, as the agent does once a day.
    static void check()
    {
        UpdateChecker checker;
        QSignalSpy outcomes(&checker, &UpdateChecker::finished);
        checker.check();
        QVERIFY(outcomes.wait(patience));
    }

private Q_SLOTS:
    void initTestCase()
    {
        skipAmongAgentsOfOthers();
        const QString built = qEnvironmentVariable("KESTRUM_BUILD") + text("/Kestrum.app");
        Programs::output(text("cp"), { text("-r"), built, m_tree.root() });
        QVERIFY(QFile::exists(m_tree.path(text("Kestrum.app/Contents/MacOS/Kestrum"))));
        m_world = std::make_unique<AptWorld>();
        m_world->publish({ text("1.4-27"), text("1.5-30") });
    }

    void init()
    {
        forgetSettings();
        registerFactoryDefaults();
        // Only the button may start the agent.
        Setting { Keys::agentEnabled }.set(false);
        setVersion("1.4", "27");
        m_world->install(text("1.4-27"));
        QVERIFY(ProcessScan::agents().isEmpty());
    }

    void cleanup()
    {
        closeWindow();
        SharedSettings::post(SharedSettings::Signal::quitAgent);
        QTRY_VERIFY_WITH_TIMEOUT(ProcessScan::agents().isEmpty(), patience);
    }

    void anUpdateIsOfferedInTheOpenWindow()
    {
        openWindow();
        QTest::qWait(quietTime);
        QVERIFY(!symbol());
        check();
        QCOMPARE(offer(), text("1.5 (30)"));
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), Programs::withinASecond);
    }

    void installStartsTheAgentAndAsksItToCheck()
    {
        check();
        openWindow();
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), patience);
        const Ear ear(SharedSettings::name(SharedSettings::Signal::checkForUpdates));
        click({ buttonMiddle, symbol()->y() });
        QTRY_COMPARE_WITH_TIMEOUT(ear.count, 1, patience);
        QTRY_COMPARE_WITH_TIMEOUT(ProcessScan::agents().size(), 1, patience);
        QCOMPARE(ProcessScan::agents().first().path,
            m_tree.path(text(
                "Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/MacOS/KestrumAgent")));
        // The running agent gets the request again; no second agent starts.
        click({ buttonMiddle, symbol()->y() });
        QTRY_COMPARE_WITH_TIMEOUT(ear.count, 2, patience);
        QTest::qWait(600);
        QCOMPARE(ProcessScan::agents().size(), 1);
    }

    void theAgentWithdrawsTheOfferAfterTheUpdate()
    {
        check();
        openWindow();
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), patience);
        click({ buttonMiddle, symbol()->y() });
        QTRY_COMPARE_WITH_TIMEOUT(ProcessScan::agents().size(), 1, patience);
        QTRY_VERIFY_WITH_TIMEOUT(Setting { Keys::updaterCanCheck }.value(), patience); // the agent is ready
        m_world->install(text("1.5-30"));
        SharedSettings::post(SharedSettings::Signal::checkForUpdates);
        QTRY_COMPARE_WITH_TIMEOUT(offer(), std::nullopt, patience);
        QTRY_VERIFY_WITH_TIMEOUT(!symbol(), Programs::withinASecond);
    }

    void aStaleOfferAfterTheUpdateShowsNothing()
    {
        check();
        openWindow();
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), patience);
        closeWindow();
        // No agent runs, so nothing withdraws the stored offer.
        m_world->install(text("1.5-30"));
        setVersion("1.5", "30");
        openWindow();
        QTest::qWait(4 * quietTime);
        QCOMPARE(offer(), text("1.5 (30)"));
        QVERIFY(!symbol());
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTest::qWait(4 * quietTime);
        QVERIFY(!symbol());
        // The row still works: it shows the next update.
        SharedSettings::store().set(Keys::updatesAvailable.name, text("1.6 (33)"));
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), Programs::withinASecond);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(UpdateEndToEndTest)
#include "UpdateEndToEndTest.moc"
