#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Drawing/LabelColour.h"
#include "KestrumShared/Drawing/StripGround.h"
#include "KestrumShared/Drawing/StripLayout.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/DrawingStage.h"
#include "tests/PaintWatcher.h"
#include "tests/SignalEar.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QSignalSpy>
#include <cmath>

using namespace kestrum;

using enum MonitorSection;
using Sections = QList<MonitorSection>;

namespace {

/// A strip on the screen, and a hand that works its mouse at places in points from its first item.
struct Stage {
    std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
    PanelStrip strip { readings };

    Stage()
    {
        strip.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
        QObject::connect(
            &strip, &PanelStrip::rebuilt, &strip, [this] { strip.setFixedSize(strip.sizeHint()); });
        strip.setFixedSize(strip.sizeHint());
        strip.show();
    }

    void send(QEvent::Type type, double x, Qt::MouseButton button, Qt::MouseButtons held)
    {
        const QPointF at(x + PanelStrip::sideRoom, 11);
        QMouseEvent event(type, at, strip.mapToGlobal(at), button, held, Qt::NoModifier);
        QApplication::sendEvent(&strip, &event);
    }
    void move(double x) { send(QEvent::MouseMove, x, Qt::NoButton, Qt::NoButton); }
    void press(double x) { send(QEvent::MouseButtonPress, x, Qt::LeftButton, Qt::LeftButton); }
    void drag(double x) { send(QEvent::MouseMove, x, Qt::NoButton, Qt::LeftButton); }
    void release(double x) { send(QEvent::MouseButtonRelease, x, Qt::LeftButton, Qt::NoButton); }

    QRectF frame(MonitorSection section) const { return strip.items().item(section)->view->frame(); }
    double middle(MonitorSection section) const { return frame(section).center().x(); }
    QRect place(MonitorSection section) const
    {
        return strip.place(*strip.items().item(section)).toAlignedRect();
    }
    QImage picture() { return strip.grab().toImage(); }
};

} // namespace

/// The items at the panel: what they look like, and how they are worked.
class PanelStripTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingStage::prepare())
            QFAIL(DrawingStage::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QTest::qWait(20); // let the notice of what was forgotten pass
    }

    // What it looks like

    void theItemsStandInTheStoredOrderOnTheGrid()
    {
        Stage stage;
        QCOMPARE(stage.strip.items().sections(), (Sections { storage, sensors, memory, cpu }));
        const StripLayout layout = StripLayout::current();
        for (const auto& place : layout.items)
            QCOMPARE(stage.frame(place.section).left(), *place.x);
        QCOMPARE(stage.strip.sizeHint(), QSize(int(std::ceil(layout.width)) + 2 * PanelStrip::sideRoom, 22));
    }

    void eachItemIsDrawnAsEverywhereElse()
    {
        Stage stage;
        const QImage picture = stage.picture();
        for (const MonitorSection section : stage.strip.items().sections()) {
            const QRect place = stage.place(section);
            QImage expected(place.width(), 22, QImage::Format_ARGB32_Premultiplied);
            expected.fill(StripGround::plate(ColourScheme::light));
            {
                QPainter painter(&expected);
                const double left
                    = std::round(stage.frame(section).left() + PanelStrip::sideRoom) - place.left();
                painter.drawImage(QPointF(left, 0), DrawingStage::drawn(section, stage.readings, 1));
            }
            // A blank edge is left out, as a fraction of a point there belongs to nobody.
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
        Stage stage;
        SystemAppearance::shared().setScheme(scheme);
        const QImage picture = stage.picture();
        QCOMPARE(picture.pixelColor(2, 11).rgb(), StripGround::plate(scheme).rgb());
        // And so do the items on it: somewhere is a pixel of the labels' full colour.
        bool isFound = false;
        for (int x = 0; x < picture.width(); ++x) {
            for (int y = 0; y < picture.height(); ++y)
                isFound |= picture.pixelColor(x, y).rgb() == labelColour(scheme).rgb();
        }
        QVERIFY(isFound);
    }

    void aTranslucentStripHasRoundEnds()
    {
        Stage stage;
        stage.strip.setAttribute(Qt::WA_TranslucentBackground);
        QImage image(stage.strip.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        stage.strip.render(&image, {}, {}, QWidget::DrawChildren);
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(image.pixelColor(image.width() - 1, 21).alpha(), 0);
        QCOMPARE(image.pixelColor(0, 11).rgba(), StripGround::plate(ColourScheme::light).rgba());
    }

    // Following readings and settings

    void newReadingsPaintOnlyWhatLooksDifferent()
    {
        Stage stage;
        QVERIFY(QTest::qWaitForWindowExposed(&stage.strip));
        QTest::qWait(50);
        PaintWatcher watcher;
        stage.strip.installEventFilter(&watcher);
        stage.strip.redraw();
        QVERIFY(watcher.painted.isEmpty());
        stage.readings->memory = 0.9;
        stage.strip.redraw(); // paints before it returns
        QVERIFY(!watcher.painted.isEmpty());
        QVERIFY(watcher.painted.boundingRect().contains(stage.place(memory).adjusted(1, 0, -1, 0)));
        for (const MonitorSection section : { cpu, sensors, storage })
            QVERIFY(!watcher.painted.intersects(stage.place(section)));
    }

    void aChangedStyleChangesThePicture()
    {
        Stage stage;
        const QImage bars = stage.picture();
        Setting(Keys::meterStyle).set(MeterStyle::wave);
        stage.strip.rebuild();
        QVERIFY(stage.picture() != bars);
        Setting(Keys::meterStyle).set(MeterStyle::bars);
        stage.strip.rebuild();
        QCOMPARE(stage.picture(), bars);
    }

    void aHiddenItemTakesNoRoom()
    {
        Stage stage;
        const int wide = stage.strip.sizeHint().width();
        Setting(Keys::showSensorsItem).set(false);
        stage.strip.rebuild();
        QCOMPARE(stage.strip.items().sections(), (Sections { storage, memory, cpu }));
        QVERIFY(stage.strip.sizeHint().width() < wide);
        for (const auto* key : { &Keys::showCPUItem, &Keys::showMemoryItem, &Keys::showStorageItem })
            Setting(*key).set(false);
        stage.strip.rebuild();
        QVERIFY(stage.strip.isEmpty());
        QCOMPARE(stage.strip.sizeHint(), QSize(0, 0));
        QVERIFY(stage.strip.summary().isEmpty());
    }

    // The mouse

    void aDragStoresTheOrderAndTellsIt()
    {
        Stage stage;
        Ear ear(SharedSettings::name(SharedSettings::Signal::menuBarChanged));
        stage.press(stage.middle(cpu));
        stage.drag(-500);
        QCOMPARE(stage.frame(cpu).left(), 0.0);
        QCOMPARE(stage.strip.items().sections().first(), cpu);
        QCOMPARE(storedText("menuBarOrder"), QString());
        stage.release(-500);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,storage,sensors,memory"));
        QTRY_COMPARE(ear.count, 1);
    }

    void aDragToTheRightEndsAtTheStripsEnd()
    {
        Stage stage;
        stage.press(stage.middle(storage));
        stage.drag(5000);
        QCOMPARE(stage.frame(storage).right(), stage.strip.items().size().width());
        stage.release(5000);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("sensors,memory,cpu,storage"));
    }

    void theItemStaysUnderThePointerWhereItWasGrabbed()
    {
        Stage stage;
        const double left = stage.frame(memory).left();
        stage.press(left + 5);
        stage.drag(left + 9);
        QCOMPARE(stage.frame(memory).left(), left + 4);
        stage.release(left + 9);
        QCOMPARE(stage.frame(memory).left(), left);
    }

    void aHiddenSectionKeepsItsSlotInADrag()
    {
        Setting(Keys::showSensorsItem).set(false);
        Stage stage;
        stage.press(stage.middle(cpu));
        stage.drag(-500);
        stage.release(-500);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,sensors,storage,memory"));
    }

    void aRebuildDoesNotCancelADrag()
    {
        Stage stage;
        stage.press(stage.middle(cpu));
        stage.drag(30);
        const double left = stage.frame(cpu).left();
        Setting(Keys::meterShape).set(MeterShape::square);
        stage.strip.rebuild();
        QCOMPARE(stage.frame(cpu).left(), left);
        stage.drag(-500);
        stage.release(-500);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,storage,sensors,memory"));
    }

    void theItemUnderThePointerHasABackdrop()
    {
        Stage stage;
        const QImage plain = stage.picture();
        stage.move(stage.middle(memory));
        QCOMPARE(stage.strip.cursor().shape(), Qt::OpenHandCursor);
        const QPoint beside(stage.place(memory).left() - 2, 11);
        QVERIFY(stage.picture().pixelColor(beside) != plain.pixelColor(beside));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&stage.strip, &leave);
        QCOMPARE(stage.picture(), plain);
    }

    void aDoubleClickAsksForTheSettings()
    {
        Stage stage;
        QSignalSpy asked(&stage.strip, &PanelStrip::settingsRequested);
        QTest::mouseDClick(&stage.strip, Qt::LeftButton, {}, stage.place(memory).center());
        QCOMPARE(asked.count(), 1);
        QTest::mouseDClick(&stage.strip, Qt::RightButton, {}, stage.place(memory).center());
        QCOMPARE(asked.count(), 1);
    }

    void aRightClickAsksForTheMenuBelowTheStrip()
    {
        Stage stage;
        QSignalSpy asked(&stage.strip, &PanelStrip::menuRequested);
        QContextMenuEvent event(
            QContextMenuEvent::Mouse, QPoint(30, 9), stage.strip.mapToGlobal(QPoint(30, 9)));
        QApplication::sendEvent(&stage.strip, &event);
        QCOMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toPoint(), QPoint(30, 22));
    }

    // In words

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
        // The meter shows the share in use all the same.
        row(cpu, "off", "CPU — Usage: 50%");
        row(memory, "off", "Memory — Usage: 50%");
        row(storage, "off", "Disk — Usage: 50%");
        row(sensors, "off", "Sensors");
    }
    void theTipSaysWhatIsMeasured()
    {
        QFETCH(const MonitorSection, section);
        QFETCH(const QString, readout);
        DrawingStage::set((rawValue(section) + QLatin1StringView("Readout")).toLatin1(), readout.toLatin1());
        Stage stage;
        QSignalSpy asked(&stage.strip, &PanelStrip::tipRequested);
        const QPoint at = stage.place(section).center();
        QHelpEvent event(QEvent::ToolTip, at, stage.strip.mapToGlobal(at));
        QApplication::sendEvent(&stage.strip, &event);
        QCOMPARE(asked.count(), 1);
        QTEST(asked.first()[1].toString(), "tip");
        QCOMPARE(asked.first()[2].toRect(), stage.place(section));
    }

    void theTipSaysWhereThereIsNoSensor()
    {
        Setting(Keys::cpuReadout).set(CPUReadout::temperature);
        Setting(Keys::sensorsReadout).set(SensorsReadout::fan);
        Stage stage;
        stage.readings->cpuCelsius = stage.readings->fan = std::nullopt;
        QCOMPARE(stage.strip.text(cpu), QStringLiteral("CPU — Temperature: no sensor for this"));
        QCOMPARE(stage.strip.text(sensors), QStringLiteral("Sensors — Fan: no sensor for this"));
    }

    void aScreenReaderHearsWhatTheItemsSayNow()
    {
        Stage stage;
        QAccessibleInterface* strip = QAccessible::queryAccessibleInterface(&stage.strip);
        QCOMPARE(strip->text(QAccessible::Name), QStringLiteral("Menu bar items"));
        QVERIFY(strip->text(QAccessible::Description).contains(QStringLiteral("Memory — Usage: 50%")));
        stage.readings->memory = 0.75;
        QVERIFY(strip->text(QAccessible::Description).contains(QStringLiteral("Memory — Usage: 75%")));
    }
};

KESTRUM_TEST_MAIN(QApplication, PanelStripTest)
#include "PanelStripTest.moc"
