// All steps of an update: APT lists the update, the agent finds it, the open window offers it, and "Install" makes the agent
// show it. After the installation, there is no offer. The test sets the version of a copy of the built bundle.

#include "Kestrum/Form/Theme.h"
#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/AptWorld.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/OpenedWindow.h"
#include "tests/Support/Pixels.h"
#include "tests/Support/SignalRecorder.h"

#include <QSignalSpy>

using namespace kestrum;

using Programs::patience;
using SharedSettings::Signal;

namespace {

std::optional<QString> offer()
{
    return SharedSettings::store().string(Keys::updatesAvailable.name);
}

} // namespace

class UpdateEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<AptWorld> m_world;
    std::unique_ptr<OpenedWindow> m_window;

    void furnish() override { m_world = std::make_unique<AptWorld>("1.4-27 1.5-30"); }
    void clear() override { m_world.reset(); }

    void open() { m_window = std::make_unique<OpenedWindow>(fixture()); }

    /// The middle of the green symbol in the sidebar's lower half; nothing when there is no offer.
    std::optional<QPoint> symbol() const
    {
        const QColor green = Theme::colour(Theme::Colour::offer, ColourScheme::light);
        const QRect ink = areaOf(m_window->picture({ 0, 260, 204 / 4, 260 }), green).translated(0, 260);
        return ink.width() >= 10 && ink.height() >= 10 ? std::optional(ink.center()) : std::nullopt;
    }
    void clickInstall() const { m_window->click({ 204 - 10 - 30, symbol()->y() }); }

    void openWithOffer()
    {
        check();
        open();
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), patience);
    }

    void setVersion(const QByteArray& version, const QByteArray& build) const
    {
        write(fixture().bundle() + text("/Contents/Info.plist"),
            "{ CFBundleName = Kestrum; CFBundleExecutable = Kestrum; CFBundleIdentifier = "
            "\"com.orvale.kestrum\";"
            " CFBundleDevelopmentRegion = en; CFBundleShortVersionString = \""
                + version + "\"; CFBundleVersion = \"" + build + "\"; }");
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
    void init()
    {
        forgetSettings();
        registerFactoryDefaults();
        // Only the button may start the agent.
        Setting { Keys::agentEnabled }.set(false);
        setVersion("1.4", "27");
        m_world->install("1.4-27");
        fixture().turnToOther();
        QVERIFY(agents().isEmpty());
    }

    void cleanup()
    {
        m_window.reset();
        fixture().endAgents();
    }

    void anUpdateIsOfferedInTheOpenWindow()
    {
        open();
        QTest::qWait(quietTime);
        QVERIFY(!symbol());
        check();
        QCOMPARE(offer(), text("1.5 (30)"));
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), Programs::withinASecond);
    }

    void installStartsTheAgentAndAsksItToCheck()
    {
        openWithOffer();
        const Ear ear(SharedSettings::name(Signal::checkForUpdates));
        clickInstall();
        QTRY_COMPARE_WITH_TIMEOUT(ear.count, 1, patience);
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, patience);
        // The running agent gets the request again. No second agent starts.
        clickInstall();
        QTRY_COMPARE_WITH_TIMEOUT(ear.count, 2, patience);
        QTest::qWait(600);
        QCOMPARE(agents().size(), 1);
    }

    void theAgentWithdrawsTheOfferAfterTheUpdate()
    {
        openWithOffer();
        m_world->install("1.5-30");
        QTest::qWait(quietTime);
        QCOMPARE(offer(), text("1.5 (30)"));
        clickInstall();
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, patience);
        QTRY_COMPARE_WITH_TIMEOUT(offer(), std::nullopt, patience);
        QTRY_VERIFY_WITH_TIMEOUT(!symbol(), Programs::withinASecond);
    }

    void aStaleOfferAfterTheUpdateShowsNothing()
    {
        openWithOffer();
        m_window.reset();
        // No agent runs, so the stored offer is not removed.
        m_world->install("1.5-30");
        setVersion("1.5", "30");
        open();
        QTest::qWait(4 * quietTime);
        QCOMPARE(offer(), text("1.5 (30)"));
        QVERIFY(!symbol());
        SharedSettings::post(Signal::updateAvailable);
        QTest::qWait(4 * quietTime);
        QVERIFY(!symbol());
        // The row still works: it shows the next update.
        SharedSettings::store().set(Keys::updatesAvailable.name, text("1.6 (33)"));
        SharedSettings::post(Signal::updateAvailable);
        QTRY_VERIFY_WITH_TIMEOUT(symbol(), Programs::withinASecond);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(UpdateEndToEndTest)
#include "UpdateEndToEndTest.moc"
