#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/MenuBar/MoreMark.h"
#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Widgets.h"

#include <QHBoxLayout>
#include <QMouseEvent>

using namespace kestrum;

/// The strip in a row that is too narrow or wide enough.
class MenuBarStripTest : public QObject {
    Q_OBJECT

    struct Row {
        QWidget window;
        MenuBarStrip* strip = new MenuBarStrip;

        explicit Row(int width, Qt::LayoutDirection direction = Qt::LeftToRight)
        {
            window.setLayoutDirection(direction);
            auto* layout = new QHBoxLayout(&window);
            layout->setContentsMargins(0, 0, 0, 0);
            layout->addStretch(1);
            layout->addWidget(strip);
            window.resize(width, 60);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
        }

        int overflow() const { return strip->view()->width() - strip->width(); }

        void send(QEvent::Type type, QPoint place, Qt::MouseButton button)
        {
            const QPointF at = strip->view()->mapFrom(strip, place);
            QMouseEvent event(
                type, at, strip->view()->mapToGlobal(at), button, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(strip->view(), &event);
        }
    };

private Q_SLOTS:
    void initTestCase()
    {
        registerFactoryDefaults();
        CoreTopology::useTiers(
            { { QStringLiteral("Performance"), 24 }, { QStringLiteral("Efficiency"), 8 } });
    }

    void init() { forgetSettings(); }

    void aStripWithRoomEnoughStandsWholeAtTheTrailingEnd()
    {
        Row row(2000);
        QCOMPARE(row.overflow(), 0);
        QCOMPARE(row.strip->geometry().right(), row.window.rect().right());
        QCOMPARE(row.strip->size(), row.strip->view()->sizeHint());
        QVERIFY(!turnWheel(*row.strip, { 120, 0 }));
    }

    void theTrailingEndIsInViewAtFirst()
    {
        Row row(200);
        QVERIFY(row.overflow() > 100);
        QCOMPARE(row.strip->offset(), row.overflow());
        QCOMPARE(row.strip->view()->geometry().right(), row.strip->rect().right());
        row.window.resize(250, 60);
        QTRY_COMPARE(row.strip->width(), 250);
        QCOMPARE(row.strip->offset(), row.overflow());
    }

    void theTrailingEndIsLeftWhereWritingRunsLeft()
    {
        Row row(200, Qt::RightToLeft);
        QCOMPARE(row.strip->offset(), 0);
        QCOMPARE(row.strip->x(), 0);
        // The hidden rest is to the right.
        QVERIFY(!qobject_cast<MoreMark*>(row.strip->childAt(1, 10)));
        QVERIFY(qobject_cast<MoreMark*>(row.strip->childAt(row.strip->width() - 2, 10)));
    }

    void theWheelScrollsSidewaysAndWithShift_data()
    {
        addRows<QPoint, Qt::KeyboardModifiers>(
            { { "sideways", QPoint(120, 0), {} }, { "with Shift", QPoint(0, 120), Qt::ShiftModifier },
                { "sideways with Shift", QPoint(120, 10), Qt::ShiftModifier } });
    }
    void theWheelScrollsSidewaysAndWithShift()
    {
        const auto [backwards, modifiers] = thisRow<QPoint, Qt::KeyboardModifiers>();
        Row row(200);
        const int end = row.strip->offset();
        QVERIFY(turnWheel(*row.strip, backwards, modifiers));
        QCOMPARE(row.strip->offset(), end - 60);
        QVERIFY(turnWheel(*row.strip, -backwards, modifiers));
        QCOMPARE(row.strip->offset(), end);
        for (int i = 0; i < 100; ++i)
            turnWheel(*row.strip, backwards, modifiers);
        QCOMPARE(row.strip->offset(), 0);
        QCOMPARE(row.strip->view()->x(), 0);
        // At an end, too, the strip takes the event: otherwise the page would scroll.
        QVERIFY(turnWheel(*row.strip, backwards, modifiers));
    }

    void aWheelThatIsTurnedUpOrDownIsThePages()
    {
        Row row(200);
        const int end = row.strip->offset();
        for (const QPoint angle : { QPoint(0, 120), QPoint(0, -120), QPoint(30, 120), QPoint(30, 30) })
            QVERIFY(!turnWheel(*row.strip, angle));
        QCOMPARE(row.strip->offset(), end);
    }

    void aDragThatRestsAtAnEdgeScrolls()
    {
        Row row(200);
        const int height = row.strip->height() / 2;
        const MonitorSection grabbed = row.strip->view()->items().last().section;
        row.send(QEvent::MouseButtonPress, { 150, height }, Qt::LeftButton);
        QCOMPARE(row.strip->view()->dragged(), grabbed);
        row.send(QEvent::MouseMove, { 100, height }, Qt::NoButton);
        QTest::qWait(60);
        QCOMPARE(row.strip->offset(), row.overflow());
        row.send(QEvent::MouseMove, { 2, height }, Qt::NoButton);
        QTRY_COMPARE(row.strip->offset(), 0);
        QCOMPARE(row.strip->view()->items().first().section, grabbed);
        row.send(QEvent::MouseMove, { 198, height }, Qt::NoButton);
        QTRY_COMPARE(row.strip->offset(), row.overflow());
        row.send(QEvent::MouseMove, { 2, height }, Qt::NoButton);
        row.send(QEvent::MouseButtonRelease, { 2, height }, Qt::LeftButton);
        const int offset = row.strip->offset();
        QTest::qWait(60);
        QCOMPARE(row.strip->offset(), offset);
    }

    void theItemThatTheKeyboardIsAtComesIntoView()
    {
        Row row(200);
        row.strip->view()->setFocus(Qt::TabFocusReason);
        QTest::keyClick(row.strip->view(), Qt::Key_Left);
        QCOMPARE(row.strip->offset(), 0);
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(row.strip->view(), Qt::Key_Right);
        QCOMPARE(row.strip->offset(), row.overflow());
    }

    void aStripThatWasAllInViewShowsItsTrailingEndWhenItGetsNarrow()
    {
        Row row(2000);
        // A focused item is scrolled into view, but here every item is in view already.
        row.strip->view()->setFocus(Qt::TabFocusReason);
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(row.strip->view(), Qt::Key_Right);
        QCOMPARE(row.strip->offset(), 0);
        row.window.resize(200, 60);
        QTRY_COMPARE(row.strip->width(), 200);
        QVERIFY(row.overflow() > 0);
        QCOMPARE(row.strip->offset(), row.overflow());
    }

    void theStripFollowsItsItems()
    {
        Row row(200);
        QVERIFY(row.overflow() > 0);
        SharedSettings::store().set("showCPUItem", false);
        SharedSettings::store().set("showMemoryItem", false);
        QTRY_COMPARE(row.overflow(), 0);
        QCOMPARE(row.strip->offset(), 0);
        QTRY_COMPARE(row.strip->geometry().right(), row.window.rect().right());
        QCOMPARE(row.strip->width(), row.strip->view()->sizeHint().width());
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarStripTest)
#include "MenuBarStripTest.moc"
