#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Items/StripLayout.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/HeardEvents.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/PanelStripFixture.h"
#include "tests/Support/Pixels.h"
#include "tests/Support/SignalRecorder.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QSignalSpy>
#include <cmath>

using namespace kestrum;

using enum MonitorSection;
using Sections = QList<MonitorSection>;

class PanelStripTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QTest::qWait(20); // until the notice of the removed settings has passed
    }

    // Appearance

    void theItemsStandInTheStoredOrderOnTheGrid()
    {
        PanelStripFixture fixture;
        QCOMPARE(fixture.strip.items().sections(), (Sections { storage, sensors, memory, cpu }));
        const StripLayout layout = StripLayout::current();
        for (const auto& place : layout.items)
            QCOMPARE(fixture.frame(place.section).left(), *place.x);
        QCOMPARE(
            fixture.strip.sizeHint(), QSize(int(std::ceil(layout.width)) + 2 * PanelStrip::sideRoom, 22));
    }

    void eachItemIsDrawnAsEverywhereElse()
    {
        PanelStripFixture fixture;
        const QImage picture = fixture.picture();
        for (const MonitorSection section : fixture.strip.items().sections()) {
            const QRect place = fixture.place(section);
            QImage expected(place.width(), 22, QImage::Format_ARGB32_Premultiplied);
            expected.fill(StripBackground::plate(ColourScheme::light));
            {
                QPainter painter(&expected);
                const double left
                    = std::round(fixture.frame(section).left() + PanelStrip::sideRoom) - place.left();
                painter.drawImage(QPointF(left, 0), DrawingFixture::drawn(section, fixture.readings, 1));
            }
            // The area ends before the right edge, whose last pixel may be covered only in part.
            const QRect inner(0, 0, place.width() - 1, 22);
            QCOMPARE(picture.copy(inner.translated(place.topLeft())).convertToFormat(QImage::Format_RGB32),
                expected.copy(inner).convertToFormat(QImage::Format_RGB32));
        }
    }

    void thePlateFollowsTheDesktopsScheme_data()
    {
        QTest::addColumn<ColourScheme>("scheme");
        QTest::newRow("light") << ColourScheme::light;
        QTest::newRow("dark") << ColourScheme::dark;
    }
    void thePlateFollowsTheDesktopsScheme()
    {
        QFETCH(const ColourScheme, scheme);
        PanelStripFixture fixture;
        SystemAppearance::shared().setScheme(scheme);
        const QImage picture = fixture.picture();
        QCOMPARE(picture.pixelColor(2, 11).rgb(), StripBackground::plate(scheme).rgb());
        // The items follow the scheme, too: some pixel has the labels' full colour.
        QVERIFY(!areaOf(picture, labelColour(scheme)).isNull());
    }

    void aTranslucentStripHasRoundEnds()
    {
        PanelStripFixture fixture;
        fixture.strip.setAttribute(Qt::WA_TranslucentBackground);
        QImage image(fixture.strip.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        fixture.strip.render(&image, {}, {}, QWidget::DrawChildren);
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(image.pixelColor(image.width() - 1, 21).alpha(), 0);
        QCOMPARE(image.pixelColor(0, 11).rgba(), StripBackground::plate(ColourScheme::light).rgba());
    }

    // Changes of readings and settings

    void newReadingsPaintOnlyWhatLooksDifferent()
    {
        PanelStripFixture fixture;
        PaintWatcher watcher;
        fixture.watchWith(watcher);
        fixture.strip.redraw();
        QVERIFY(watcher.painted.isEmpty());
        fixture.readings->memory = 0.9;
        fixture.strip.redraw(); // paints before it returns
        QVERIFY(!watcher.painted.isEmpty());
        QVERIFY(watcher.painted.boundingRect().contains(fixture.place(memory).adjusted(1, 0, -1, 0)));
        for (const MonitorSection section : { cpu, sensors, storage })
            QVERIFY(!watcher.painted.intersects(fixture.place(section)));
    }

    void anItemThatOnlyMovesIsPaintedWhereItStands()
    {
        PanelStripFixture fixture;
        PaintWatcher watcher;
        fixture.watchWith(watcher);
        const QRect before = fixture.place(memory);
        const QSize size = fixture.strip.sizeHint();
        // One neighbour grows by as much as the other one shrinks.
        Setting(Keys::sensorsReadout).set(SensorsReadout::hottest);
        Setting(Keys::cpuReadout).set(CPUReadout::usage);
        fixture.strip.rebuild();
        QCOMPARE(fixture.strip.sizeHint(), size);
        QVERIFY(fixture.place(memory) != before);
        QTRY_VERIFY(watcher.painted.contains(fixture.place(memory)));
    }

    void aChangedStyleChangesThePicture()
    {
        PanelStripFixture fixture;
        const QImage bars = fixture.picture();
        Setting(Keys::meterStyle).set(MeterStyle::wave);
        fixture.strip.rebuild();
        QVERIFY(fixture.picture() != bars);
        Setting(Keys::meterStyle).set(MeterStyle::bars);
        fixture.strip.rebuild();
        QCOMPARE(fixture.picture(), bars);
    }

    void aHiddenItemTakesNoRoom()
    {
        PanelStripFixture fixture;
        const int wide = fixture.strip.sizeHint().width();
        Setting(Keys::showSensorsItem).set(false);
        fixture.strip.rebuild();
        QCOMPARE(fixture.strip.items().sections(), (Sections { storage, memory, cpu }));
        QVERIFY(fixture.strip.sizeHint().width() < wide);
        for (const auto* key : { &Keys::showCPUItem, &Keys::showMemoryItem, &Keys::showStorageItem })
            Setting(*key).set(false);
        fixture.strip.rebuild();
        QVERIFY(fixture.strip.isEmpty());
        QCOMPARE(fixture.strip.sizeHint(), QSize(0, 0));
        QVERIFY(fixture.strip.summary().isEmpty());
    }

    // The mouse

    void aDragStoresTheOrderAndTellsIt()
    {
        PanelStripFixture fixture;
        Ear ear(SharedSettings::name(SharedSettings::Signal::menuBarChanged));
        fixture.press(fixture.middle(cpu));
        fixture.drag(-500);
        QCOMPARE(fixture.frame(cpu).left(), 0.0);
        QCOMPARE(fixture.strip.items().sections().first(), cpu);
        QCOMPARE(storedText("menuBarOrder"), QString());
        fixture.release(-500);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,storage,sensors,memory"));
        QTRY_COMPARE(ear.count, 1);
    }

    void aDragToTheRightEndsAtTheStripsEnd()
    {
        PanelStripFixture fixture;
        fixture.press(fixture.middle(storage));
        fixture.drag(5000);
        QCOMPARE(fixture.frame(storage).right(), fixture.strip.items().size().width());
        fixture.release(5000);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("sensors,memory,cpu,storage"));
    }

    void theItemStaysUnderThePointerWhereItWasGrabbed()
    {
        PanelStripFixture fixture;
        const double left = fixture.frame(memory).left();
        fixture.press(left + 5);
        fixture.drag(left + 5 + QApplication::startDragDistance());
        QCOMPARE(fixture.frame(memory).left(), left + QApplication::startDragDistance());
        fixture.release(left + 5 + QApplication::startDragDistance());
        QCOMPARE(fixture.frame(memory).left(), left);
    }

    void aHiddenSectionKeepsItsSlotInADrag()
    {
        Setting(Keys::showSensorsItem).set(false);
        PanelStripFixture fixture;
        fixture.press(fixture.middle(cpu));
        fixture.drag(-500);
        fixture.release(-500);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,sensors,storage,memory"));
    }

    void aRebuildDoesNotCancelADrag()
    {
        PanelStripFixture fixture;
        fixture.press(fixture.middle(cpu));
        fixture.drag(30);
        const double left = fixture.frame(cpu).left();
        Setting(Keys::meterShape).set(MeterShape::square);
        fixture.strip.rebuild();
        QCOMPARE(fixture.frame(cpu).left(), left);
        fixture.drag(-500);
        fixture.release(-500);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,storage,sensors,memory"));
    }

    void theItemUnderThePointerHasABackdrop()
    {
        PanelStripFixture fixture;
        const QImage plain = fixture.picture();
        fixture.move(fixture.middle(memory));
        QCOMPARE(fixture.strip.cursor().shape(), Qt::OpenHandCursor);
        const QPoint beside(fixture.place(memory).left() - 2, 11);
        QVERIFY(fixture.picture().pixelColor(beside) != plain.pixelColor(beside));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&fixture.strip, &leave);
        QCOMPARE(fixture.picture(), plain);
    }

    void aRightClickAsksForTheMenuBelowTheStrip()
    {
        PanelStripFixture fixture;
        QSignalSpy asked(&fixture.strip, &PanelStrip::menuRequested);
        QContextMenuEvent event(
            QContextMenuEvent::Mouse, QPoint(30, 9), fixture.strip.mapToGlobal(QPoint(30, 9)));
        QApplication::sendEvent(&fixture.strip, &event);
        QCOMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toPoint(), QPoint(30, 22));
    }

    // Descriptions

    void theTipSaysWhatIsMeasured_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QString>("readout");
        QTest::addColumn<QString>("tip");
        const auto row = [](MonitorSection section, const char* readout, const char* tip) {
            QTest::newRow(qPrintable(rawValue(section) + u' ' + QLatin1StringView(readout)))
                << section << QString::fromLatin1(readout) << QString::fromUtf8(tip);
        };
        row(cpu, "usage", "CPU — Usage: 50%");
        row(cpu, "temperature", "CPU — Temperature: 48°");
        row(cpu, "power", "CPU — Power: 12W");
        row(memory, "pressure", "Memory — Pressure: 31%");
        row(memory, "swap", "Memory — Swap: 1.2G");
        row(storage, "free", "Disk — Free: 412G");
        row(sensors, "power", "Sensors — Power: 24W");
        row(sensors, "gpu", "Sensors — GPU: 41°");
        row(sensors, "hottest", "Sensors — Hottest: 52°");
        // The item has no room for the unit.
        row(sensors, "fan", "Sensors — Fan: 1240 rpm");
        // The meter still shows the used share.
        row(cpu, "off", "CPU — Usage: 50%");
        row(memory, "off", "Memory — Usage: 50%");
        row(storage, "off", "Disk — Usage: 50%");
        row(sensors, "off", "Sensors");
    }
    void theTipSaysWhatIsMeasured()
    {
        QFETCH(const MonitorSection, section);
        QFETCH(const QString, readout);
        DrawingFixture::set(
            (rawValue(section) + QLatin1StringView("Readout")).toLatin1(), readout.toLatin1());
        PanelStripFixture fixture;
        QSignalSpy asked(&fixture.strip, &PanelStrip::tipRequested);
        const QPoint at = fixture.place(section).center();
        QHelpEvent event(QEvent::ToolTip, at, fixture.strip.mapToGlobal(at));
        QApplication::sendEvent(&fixture.strip, &event);
        QCOMPARE(asked.count(), 1);
        QTEST(asked.first()[1].toString(), "tip");
        QCOMPARE(asked.first()[2].toRect(), fixture.place(section));
    }

    void theTipSaysWhereThereIsNoSensor()
    {
        Setting(Keys::cpuReadout).set(CPUReadout::temperature);
        Setting(Keys::sensorsReadout).set(SensorsReadout::fan);
        PanelStripFixture fixture;
        fixture.readings->cpuCelsius = fixture.readings->fan = std::nullopt;
        QCOMPARE(fixture.strip.text(cpu), QStringLiteral("CPU — Temperature: no sensor for this"));
        QCOMPARE(fixture.strip.text(sensors), QStringLiteral("Sensors — Fan: no sensor for this"));
    }

    void aScreenReaderHearsWhatTheItemsSayNow()
    {
        PanelStripFixture fixture;
        QAccessibleInterface* strip = QAccessible::queryAccessibleInterface(&fixture.strip);
        QCOMPARE(strip->text(QAccessible::Name), QStringLiteral("Menu bar items"));
        fixture.strip.setAccessibleName(QStringLiteral("HDMI-1"));
        QCOMPARE(strip->text(QAccessible::Name), QStringLiteral("Menu bar items, HDMI-1"));
        QVERIFY(strip->text(QAccessible::Description).contains(QStringLiteral("Memory — Usage: 50%")));
        fixture.readings->memory = 0.75;
        QVERIFY(strip->text(QAccessible::Description).contains(QStringLiteral("Memory — Usage: 75%")));
    }

    void aScreenReaderHearsWhichPopoverIsOpen()
    {
        PanelStripFixture fixture;
        const HeardEvents ears;
        const auto told = [] {
            int count = 0;
            for (const HeardEvents::Event& event : HeardEvents::taken(QAccessible::StateChanged))
                count += event.changed.expanded ? 1 : 0;
            return count;
        };
        fixture.strip.setOpened(memory);
        QCOMPARE(told(), 1);
        fixture.strip.setOpened(memory);
        QCOMPARE(told(), 0);
        // One closes and the other one opens.
        fixture.strip.setOpened(MonitorSection::cpu);
        QCOMPARE(told(), 2);
        fixture.strip.setOpened(std::nullopt);
        QCOMPARE(told(), 1);
    }

    void aScreenReaderFindsAButtonForEachItem()
    {
        PanelStripFixture fixture;
        QSignalSpy clicked(&fixture.strip, &PanelStrip::itemClicked);
        QAccessibleInterface* strip = QAccessible::queryAccessibleInterface(&fixture.strip);
        QCOMPARE(strip->childCount(), 4);
        QAccessibleInterface* button = strip->child(2);
        QCOMPARE(button->text(QAccessible::Name), QStringLiteral("Memory — Usage: 50%"));
        QVERIFY(button->state().hasPopup && !button->state().expanded);
        fixture.strip.setOpened(memory);
        QVERIFY(button->state().expanded);
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(clicked.first().first().value<MonitorSection>(), memory);
        const QRect place = fixture.place(memory);
        QCOMPARE(button->rect(), place.translated(fixture.strip.mapToGlobal(QPoint(0, 0))));
        // The button is valid as long as its item is shown.
        Setting(Keys::showMemoryItem).set(false);
        fixture.strip.rebuild();
        QVERIFY(!button->isValid());
        QCOMPARE(strip->childCount(), 3);
    }
};

KESTRUM_TEST_MAIN(QApplication, PanelStripTest)
#include "PanelStripTest.moc"
