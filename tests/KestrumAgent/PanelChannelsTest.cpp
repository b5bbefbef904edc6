// What shows the items on an X display, as panels come and go. The panel is a stand-in within this process.

#include "KestrumAgent/Panel/PanelChannels.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/StandInArea.h"
#include "tests/Support/StartingManager.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace kestrum;

namespace {

/// A strip whose channels are chosen. The members go in the order of an agent's.
struct ShownItems {
    std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
    PanelStrip strip { readings };
    QMenu menu;
    PanelChannels channels { strip, menu };

    explicit ShownItems(bool isBridgeExpected = false) { channels.start(isBridgeExpected); }
    QString by() const { return channels.shownBy(); }
    bool isInArea() const { return by() == QLatin1StringView("notification-area"); }
    bool isStrip() const { return by() == QLatin1StringView("strip") && strip.isVisible(); }
    bool isOnScreen() const { return strip.windowHandle() && strip.windowHandle()->isExposed(); }
    bool isIcon() const { return by() == QLatin1StringView("status-icon"); }
    /// Whether a strip on the desktop is seen within `milliseconds`.
    bool flashes(int milliseconds) const
    {
        return QTest::qWaitFor([this] { return isStrip(); }, milliseconds);
    }
    /// The mean lightness of what is drawn, 0 to 255; negative where the strip is opaque.
    int lightness()
    {
        QImage picture(strip.size(), QImage::Format_ARGB32);
        picture.fill(Qt::transparent);
        strip.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
        if (qAlpha(picture.pixel(1, picture.height() / 2)) > 0)
            return -1;
        qint64 sum = 0;
        qint64 count = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (qAlpha(picture.pixel(x, y)) < 200)
                    continue;
                sum += qGray(picture.pixel(x, y));
                ++count;
            }
        }
        return count ? int(sum / count) : -1;
    }
};

const StandInArea::Panel narrowPanel { .greatestWidth = 22, .foreground = {}, .isComposited = false };

} // namespace

class PanelChannelsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        qputenv("QT_LOGGING_RULES", "*.info=false");
        qunsetenv("XDG_CURRENT_DESKTOP");
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void withoutAPanelItIsAStripAtOnce()
    {
        const ShownItems shown;
        QVERIFY(shown.isStrip());
        QVERIFY(shown.channels.stand());
    }

    void aWindowManagerThatIsOnlyStartingMayLoseTheStrip()
    {
        auto manager = std::make_optional<StartingManager>();
        const ShownItems shown;
        QTest::qWait(quietTime);
        QVERIFY(shown.isStrip() && !shown.isOnScreen());
        manager.reset();
        QTRY_VERIFY_WITH_TIMEOUT(shown.isOnScreen(), 3000);
        QCOMPARE(shown.strip.windowHandle()->size(), shown.strip.sizeHint());
    }

    void aPanelThatIsThereTakesTheItemsIn()
    {
        const StandInArea area;
        const ShownItems shown;
        QVERIFY(shown.isInArea());
        QTRY_VERIFY(shown.strip.window()->isVisible());
        QCOMPARE(area.docked(), QList { xcb_window_t(shown.strip.window()->winId()) });
        // The panel is higher than the strip, which stands in its middle.
        QTRY_COMPARE(shown.strip.window()->size(), QSize(shown.strip.sizeHint().width(), 28));
        QCOMPARE(shown.strip.pos(), QPoint(0, 3));
        // Longer than a panel may take.
        QTest::qWait(1200);
        QVERIFY(shown.isInArea());
        QCOMPARE(shown.strip.mapToGlobal(QPoint(0, 0)), StandInArea::place.topLeft() + QPoint(10, 3));
    }

    void aPanelThatComesLateTakesThemIn()
    {
        const ShownItems shown;
        QVERIFY(shown.isStrip());
        const StandInArea area;
        QTRY_VERIFY(shown.isInArea() && shown.strip.window()->isVisible());
        QCOMPARE(area.docked().size(), 1);
    }

    void aPanelThatStartsAgainHasThemAgainWithoutAFlash()
    {
        auto area = std::make_unique<StandInArea>();
        const ShownItems shown;
        for (int round = 0; round < 2; ++round) {
            QTRY_VERIFY(shown.isInArea() && shown.strip.window()->isVisible());
            area.reset();
            QVERIFY(!shown.flashes(400));
            QCOMPARE(shown.by(), QStringLiteral("nothing"));
            area = std::make_unique<StandInArea>();
        }
        QTRY_VERIFY(shown.isInArea());
        area.reset();
        QTRY_VERIFY_WITH_TIMEOUT(shown.isStrip(), 2000);
    }

    void aPanelThatGivesTooLittleRoomIsLeft()
    {
        auto area = std::make_unique<StandInArea>(narrowPanel);
        const ShownItems shown;
        QVERIFY(shown.isInArea());
        QTRY_VERIFY(!area->docked().isEmpty());
        QTest::qWait(300);
        QVERIFY(!shown.strip.isVisible()); // a cut strip is worse than none
        // The toolkit's status icon may stand in the same area.
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
        QTest::qWait(quietTime + 300);
        QVERIFY(shown.isIcon());
        QVERIFY(!shown.strip.isVisible());
        // Another panel is asked anew.
        area.reset();
        area = std::make_unique<StandInArea>();
        QTRY_VERIFY_WITH_TIMEOUT(shown.isInArea() && shown.strip.isVisible(), 3000);
    }

    void moreItemsThanThereIsRoomForLeaveIt()
    {
        for (const auto& section : allCases<MonitorSection>())
            Setting(MeterSettings::visibilityKey(section.value)).set(section.value == MonitorSection::cpu);
        const StandInArea area({ .greatestWidth = 120, .foreground = {}, .isComposited = false });
        ShownItems shown;
        QTest::qWait(1200);
        QVERIFY(shown.isInArea());
        for (const auto& section : allCases<MonitorSection>())
            Setting(MeterSettings::visibilityKey(section.value)).set(true);
        shown.strip.rebuild();
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
    }

    void fewerItemsThatFitReturn()
    {
        const StandInArea area({ .greatestWidth = 120, .foreground = {}, .isComposited = false });
        ShownItems shown;
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
        Setting(MeterSettings::visibilityKey(MonitorSection::sensors)).set(false);
        shown.strip.rebuild();
        QTest::qWait(quietTime + 300);
        QVERIFY(shown.isIcon()); // three are still too many
        for (const auto& section : allCases<MonitorSection>())
            Setting(MeterSettings::visibilityKey(section.value)).set(section.value == MonitorSection::cpu);
        shown.strip.rebuild();
        QTRY_VERIFY_WITH_TIMEOUT(shown.isInArea() && shown.strip.isVisible(), 3000);
    }

    void aPanelThatTakesItsTimeIsWaitedFor()
    {
        StandInArea area;
        area.setBusy(true);
        const ShownItems shown;
        QTest::qWait(2500);
        QVERIFY(shown.isInArea());
        QVERIFY(area.docked().isEmpty());
        area.setBusy(false);
        QTRY_VERIFY_WITH_TIMEOUT(shown.strip.isVisible() && shown.strip.window()->isVisible(), 3000);
    }

    void aPanelThatLetsThemGoSoonIsAskedAFewTimesMore()
    {
        StandInArea area;
        const ShownItems shown;
        for (const int heldTime : { 0, 0, 2100, 0, 0 }) {
            QTRY_VERIFY_WITH_TIMEOUT(shown.isInArea() && shown.strip.isVisible(), 3000);
            QTest::qWait(heldTime);
            area.release();
            QTRY_VERIFY(!shown.strip.isVisible());
        }
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
    }

    void aPanelThatBecomesHigherLetsThemIn()
    {
        StandInArea area;
        area.setHeight(16);
        const ShownItems shown;
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
        area.setHeight(24);
        QTRY_VERIFY_WITH_TIMEOUT(shown.isInArea() && shown.strip.isVisible(), 3000);
    }

    void itemsThatLoseTheirRoomAreNotShownCut()
    {
        StandInArea area;
        const ShownItems shown;
        QTRY_VERIFY_WITH_TIMEOUT(shown.isInArea() && shown.strip.isVisible(), 3000);
        QTest::qWait(1100); // their trial is over
        area.squeeze(60);
        QTRY_VERIFY_WITH_TIMEOUT(!shown.strip.isVisible(), 700);
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
    }

    void anotherSettingOfThePanelLetsThemIn()
    {
        const SessionBus bus(SessionBus::Services::none);
        StandInArea area(narrowPanel);
        const ShownItems shown;
        QTRY_VERIFY_WITH_TIMEOUT(shown.isIcon(), 3000);
        area.setGreatestWidth(1000);
        constexpr QLatin1StringView name("panel-settings");
        QDBusConnection panel = QDBusConnection::connectToBus(bus.address(), name);
        const auto tell = [&panel](const char* property) {
            QDBusMessage message = QDBusMessage::createSignal(QStringLiteral("/org/xfce/Xfconf"),
                QStringLiteral("org.xfce.Xfconf"), QStringLiteral("PropertyChanged"));
            message << QStringLiteral("xfce4-panel") << QString::fromLatin1(property)
                    << QVariant::fromValue(QDBusVariant(false));
            QVERIFY(panel.send(message));
        };
        tell("/panels/panel-1/size");
        QTest::qWait(quietTime);
        QVERIFY(shown.isIcon());
        tell("/plugins/plugin-6/square-icons");
        QTRY_VERIFY_WITH_TIMEOUT(shown.isInArea() && shown.strip.isVisible(), 3000);
        QDBusConnection::disconnectFromBus(name);
    }

    void withoutItemsNothingIsInThePanel()
    {
        const StandInArea area;
        ShownItems shown;
        QTRY_VERIFY(shown.strip.isVisible());
        const qsizetype before = area.docked().size();
        for (const bool isShown : { false, true }) {
            for (const auto& section : allCases<MonitorSection>())
                Setting(MeterSettings::visibilityKey(section.value)).set(isShown);
            shown.strip.rebuild();
            QTRY_COMPARE(shown.strip.isVisible() && shown.strip.window()->isVisible(), isShown);
        }
        QTRY_VERIFY(area.docked().size() > before);
    }

    void onThePanelTheyHaveItsColours()
    {
        StandInArea area({ .greatestWidth = 1000, .foreground = Qt::white, .isComposited = true });
        ShownItems shown;
        QTRY_VERIFY(shown.strip.isVisible());
        const int onDark = shown.lightness();
        QVERIFY2(onDark > 150, QByteArray::number(onDark).constData());
        area.setForeground(QColor(20, 20, 20));
        QTRY_VERIFY(shown.lightness() >= 0 && shown.lightness() < onDark - 60);
    }

    void withoutACompositingManagerTheyHaveAPlateInThePanelsScheme_data()
    {
        QTest::addColumn<QColor>("foreground");
        QTest::addColumn<ColourScheme>("plate");
        QTest::addRow("dark panel of a light desktop") << QColor(Qt::white) << ColourScheme::dark;
        QTest::addRow("light panel") << QColor(20, 20, 20) << ColourScheme::light;
        QTest::addRow("panel without a word") << QColor() << ColourScheme::light;
    }
    void withoutACompositingManagerTheyHaveAPlateInThePanelsScheme()
    {
        QFETCH(const QColor, foreground);
        QFETCH(const ColourScheme, plate);
        const StandInArea area({ .greatestWidth = 1000, .foreground = foreground, .isComposited = false });
        const ShownItems shown;
        QTRY_VERIFY(shown.strip.isVisible());
        const QImage picture = shown.strip.window()->grab().toImage();
        QCOMPARE(picture.pixelColor(1, picture.height() / 2).rgb(), StripBackground::plate(plate).rgb());
    }

    void aPanelThatOnlyPretendsIsNotAsked_data()
    {
        QTest::addColumn<QByteArray>("desktop");
        for (const char* name : { "X-Cinnamon", "KDE", "LXQt" })
            QTest::newRow(name) << QByteArray(name);
    }
    void aPanelThatOnlyPretendsIsNotAsked()
    {
        QFETCH(QByteArray, desktop);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        const StandInArea area;
        const ShownItems shown;
        QVERIFY(shown.isIcon());
        QTest::qWait(quietTime);
        QVERIFY(!shown.strip.isVisible());
    }

    void aBridgeTakesThemOverAndGivesThemBack()
    {
        ShownItems shown;
        QVERIFY(shown.isStrip());
        QSignalSpy told(&shown.channels, &PanelChannels::standChanged);
        shown.channels.setBridged(true);
        QCOMPARE(shown.by(), QStringLiteral("nothing"));
        QVERIFY(!shown.strip.isVisible());
        QCOMPARE(told.count(), 1);
        QVERIFY(!told.first().first().value<PopoverStand*>());
        shown.channels.setBridged(false);
        // A panel that starts again brings its bridge back.
        QVERIFY(!shown.flashes(400));
        QTRY_VERIFY(shown.isStrip());
        QCOMPARE(told.last().first().value<PopoverStand*>(), shown.channels.stand());
    }

    void anExpectedBridgeIsWaitedForAWhile()
    {
        ShownItems shown(true);
        QVERIFY(!shown.flashes(1500));
        shown.channels.expectNoBridge();
        QVERIFY(shown.isStrip());
    }

    void aBridgeThatDoesNotComeIsNotWaitedForLong()
    {
        QElapsedTimer timer;
        timer.start();
        const ShownItems shown(true);
        QTRY_VERIFY_WITH_TIMEOUT(shown.isStrip(), 7000);
        QVERIFY(timer.elapsed() > 4500);
    }
};

KESTRUM_TEST_MAIN_OF(PanelChannelsTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QApplication application(argc, argv);
    PanelChannelsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PanelChannelsTest.moc"
