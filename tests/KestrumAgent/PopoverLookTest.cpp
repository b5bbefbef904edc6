// How popovers look by the settings, the desktop and the language, also when these change while one is open.

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Vocabulary/TemperatureChoice.h"
#include "tests/Support/PopoverDesk.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QTest>
#include <cmath>

using namespace kestrum;

using enum MonitorSection;

class PopoverLookTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        // No login service is asked.
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
    }

    void theLookFollowsTheSettings()
    {
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::light);
        QCOMPARE(PopoverController::environment(true).background, PopoverBackground::translucent);
        QCOMPARE(PopoverController::environment(false).background, PopoverBackground::opaque);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::dark);
        Setting(Keys::popoverBackground).set(PopoverBackground::opaque);
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::dark);
        QCOMPARE(PopoverController::environment(true).background, PopoverBackground::opaque);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::light);
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::light);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::system);
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::dark);
    }

    void rowsAreOfTwelvePoints() { QCOMPARE(PopoverController::environment(true).font.pixelSize(), 12); }

    void anOpenOneFollowsTheLanguage()
    {
        const TestBundle bundle("{ }", { "en" });
        bundle.writeTable("ar", "\"Memory\" = \"الذاكرة\";\n\"PRESSURE\" = \"الضغط\";");
        Desk desk;
        desk.popovers.open(memory);
        const PopoverWindow& window = *desk.popovers.window();
        const QRectF gear = window.rectOf({ 2 });
        QCOMPARE(window.windowTitle(), QStringLiteral("Memory"));
        QVERIFY(window.layout().text().contains(QStringLiteral("PRESSURE")));
        const auto turnTo = [&desk](const char* code, Qt::LayoutDirection direction) {
            Setting(Keys::language).set(QString::fromLatin1(code));
            QGuiApplication::setLayoutDirection(direction);
            desk.strip.rebuild();
        };
        turnTo("ar", Qt::RightToLeft);
        QCOMPARE(window.windowTitle(), QStringLiteral("الذاكرة"));
        QVERIFY(window.layout().text().contains(QStringLiteral("الضغط")));
        QVERIFY(!window.layout().text().contains(QStringLiteral("PRESSURE")));
        // The width is a whole number of pixels.
        QVERIFY(std::abs(window.rectOf({ 2 }).left() - (window.width() - gear.right())) <= 1);
        turnTo("en", Qt::LeftToRight);
        QCOMPARE(window.windowTitle(), QStringLiteral("Memory"));
        QCOMPARE(window.rectOf({ 2 }), gear);
    }

    void anOpenOneFollowsTheGroundAndTheUnit()
    {
        Desk desk;
        desk.source.values.cpu.celsius = 50.0;
        desk.popovers.open(cpu);
        const PopoverWindow& window = *desk.popovers.window();
        const auto ground = [&desk] { return desk.popovers.window()->grab().toImage().pixelColor(150, 20); };
        const QColor translucent = ground();
        Setting(Keys::popoverBackground).set(PopoverBackground::opaque);
        QTRY_VERIFY(ground() != translucent);
        QVERIFY(window.layout().text().contains(QStringLiteral("50°")));
        Setting(Keys::temperatureUnit).set(Units::TemperatureChoice::fahrenheit);
        QTRY_VERIFY(window.layout().text().contains(QStringLiteral("122°")));
    }

    void anOpenOneFollowsAccentsAndShapes()
    {
        Desk desk;
        desk.source.values.memory.parts.total = 8000000000;
        desk.source.values.memory.parts.app = 4000000000;
        desk.source.values.cpu.cores = { 0.5, 0.5 };
        const auto changes = [&desk](MonitorSection section, auto store) {
            desk.popovers.open(section);
            const QImage before = desk.popovers.window()->grab().toImage();
            store();
            desk.strip.rebuild(); // as the agent does when settings of the items have changed
            return desk.popovers.window()->grab().toImage() != before;
        };
        QVERIFY(!changes(memory, [] {}));
        QVERIFY(changes(
            memory, [] { SharedSettings::store().set(Keys::memoryAccent.name, QStringLiteral("purple")); }));
        QVERIFY(!changes(cpu, [] {}));
        QVERIFY(changes(cpu, [] { Setting(Keys::meterShape).set(MeterShape::square); }));
    }

    void anOpenOneFollowsTheDesktopsScheme()
    {
        Desk desk;
        desk.popovers.open(memory);
        const QImage light = desk.popovers.window()->grab().toImage();
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QVERIFY(desk.popovers.window()->grab().toImage().pixelColor(150, 20).lightness() < 128);
        QVERIFY(light.pixelColor(150, 20).lightness() > 128);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::light);
        QTRY_COMPARE(desk.popovers.window()->grab().toImage(), light);
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverLookTest)
#include "PopoverLookTest.moc"
