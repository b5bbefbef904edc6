// The menu beside a strip that is a window of its own: when it stays and when it closes.

#include "KestrumAgent/Panel/MenuWindow.h"
#include "KestrumAgent/Panel/DockChannel.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QAction>
#include <QApplication>
#include <QTest>

using namespace kestrum;

class MenuWindowTest : public QObject {
    Q_OBJECT

    /// A strip on the screen, with its menu.
    struct Desk {
        std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
        PanelStrip strip { readings };
        QMenu menu;
        DockChannel channel;

        Desk()
            : channel((menu.addAction(QStringLiteral("Entry")), strip), menu)
        {
        }
        void open(int x) { Q_EMIT strip.menuRequested({ x, strip.height() }); }
    };

    /// The menu that is shown; null if none is.
    static QMenu* shown()
    {
        for (QWidget* widget : QApplication::allWidgets()) {
            if (auto* menu = qobject_cast<QMenu*>(widget); menu && menu->isVisible())
                return menu;
        }
        return nullptr;
    }

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
    }

    void openedAgainItStays()
    {
        Desk desk;
        desk.open(30);
        desk.open(60);
        QTest::qWait(quietTime);
        QVERIFY(shown());
    }

    void escapeClosesIt()
    {
        Desk desk;
        desk.open(30);
        QTest::keyClick(shown(), Qt::Key_Escape);
        QTRY_VERIFY(!shown());
    }

    void aPressOnAnItemClosesItBeforeItIsAClick()
    {
        Desk desk;
        desk.open(30);
        const QPoint item
            = desk.strip.place(*desk.strip.items().item(MonitorSection::cpu)).center().toPoint();
        QTest::mousePress(&desk.strip, Qt::LeftButton, {}, item);
        QVERIFY(!shown());
        QTest::mouseRelease(&desk.strip, Qt::LeftButton, {}, item);
    }

    void itGoesWhenTheStripMovesOrGoes()
    {
        Desk desk;
        desk.open(30);
        desk.strip.rebuild(); // as it was
        QVERIFY(shown());
        Setting(Keys::showCPUItem).set(false);
        desk.strip.rebuild();
        QVERIFY(!shown());
        desk.open(30);
        QVERIFY(shown());
        for (const auto& section : allCases<MonitorSection>())
            Setting(MeterSettings::visibilityKey(section.value)).set(false);
        desk.strip.rebuild();
        QVERIFY(!shown());
    }
};

KESTRUM_TEST_MAIN_OF(MenuWindowTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QApplication application(argc, argv);
    MenuWindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MenuWindowTest.moc"
