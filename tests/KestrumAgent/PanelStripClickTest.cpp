#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Items/StripLayout.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
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

class PanelStripClickTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QTest::qWait(20); // until the notice of the removed settings has passed
    }

    void aClickStoresAndPostsNothingAndMovesNothing()
    {
        PanelStripFixture fixture;
        Ear ear(SharedSettings::name(SharedSettings::Signal::menuBarChanged));
        QSignalSpy clicked(&fixture.strip, &PanelStrip::itemClicked);
        QSignalSpy rebuilt(&fixture.strip, &PanelStrip::rebuilt);
        const double left = fixture.frame(memory).left();
        fixture.press(fixture.middle(memory));
        fixture.drag(fixture.middle(memory) + QApplication::startDragDistance() - 1);
        QCOMPARE(fixture.frame(memory).left(), left);
        QVERIFY(clicked.isEmpty());
        fixture.release(fixture.middle(memory) + QApplication::startDragDistance() - 1);
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(clicked.first().first().value<MonitorSection>(), memory);
        QCOMPARE(clicked.first().last().toRect(), fixture.place(memory));
        QCOMPARE(storedText("menuBarOrder"), QString());
        QVERIFY(rebuilt.isEmpty());
        QTest::qWait(50); // as long as a signal takes to be heard
        QCOMPARE(ear.count, 0);
    }

    void onlyAPressAndReleaseOfTheLeftButtonOnOneItemIsAClick()
    {
        PanelStripFixture fixture;
        QSignalSpy clicked(&fixture.strip, &PanelStrip::itemClicked);
        const double end = fixture.frame(memory).right();
        fixture.press(end - 1);
        fixture.release(fixture.middle(cpu));
        QVERIFY(clicked.isEmpty());
        QTest::mouseClick(&fixture.strip, Qt::RightButton, {}, fixture.place(memory).center());
        QTest::mouseClick(&fixture.strip, Qt::LeftButton, {}, QPoint(1, 11));
        QVERIFY(clicked.isEmpty());
        fixture.press(fixture.middle(memory));
        fixture.drag(fixture.middle(memory) + 30);
        fixture.release(fixture.middle(memory) + 30);
        QVERIFY(clicked.isEmpty());
    }

    void aSecondQuickClickIsAClickOfItsOwn()
    {
        PanelStripFixture fixture;
        QSignalSpy clicked(&fixture.strip, &PanelStrip::itemClicked);
        const QPoint at = fixture.place(memory).center();
        QTest::mouseClick(&fixture.strip, Qt::LeftButton, {}, at);
        fixture.send(QEvent::MouseButtonDblClick, fixture.middle(memory), Qt::LeftButton, Qt::LeftButton);
        fixture.release(fixture.middle(memory));
        QCOMPARE(clicked.count(), 2);
    }

    void aPressWhoseReleaseWentElsewhereBeginsNoDrag()
    {
        PanelStripFixture fixture;
        const QRectF before = fixture.frame(memory);
        fixture.press(before.center().x());
        fixture.move(before.center().x() + 3);
        fixture.drag(-500);
        QCOMPARE(fixture.strip.items().sections(), (Sections { storage, sensors, memory, cpu }));
        QCOMPARE(fixture.frame(memory), before);
    }

    void comingToAnItemIsToldOnce()
    {
        PanelStripFixture fixture;
        QSignalSpy approached(&fixture.strip, &PanelStrip::itemApproached);
        fixture.move(fixture.middle(memory));
        fixture.move(fixture.middle(memory) + 1);
        QCOMPARE(approached.count(), 1);
        QCOMPARE(approached.first().first().value<MonitorSection>(), memory);
        fixture.move(fixture.middle(cpu));
        QCOMPARE(approached.count(), 2);
    }

    void theItemWithAnOpenPopoverHasABackdrop()
    {
        PanelStripFixture fixture;
        const QImage plain = fixture.picture();
        fixture.move(fixture.middle(memory));
        const QImage pointed = fixture.picture();
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&fixture.strip, &leave);
        fixture.strip.setOpened(memory);
        QCOMPARE(fixture.picture(), pointed);
        // The pointer adds nothing to it.
        fixture.move(fixture.middle(memory));
        QCOMPARE(fixture.picture(), pointed);
        QApplication::sendEvent(&fixture.strip, &leave);
        fixture.strip.setOpened(std::nullopt);
        QCOMPARE(fixture.picture(), plain);
    }
};

KESTRUM_TEST_MAIN(QApplication, PanelStripClickTest)
#include "PanelStripClickTest.moc"
