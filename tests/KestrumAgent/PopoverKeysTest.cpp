// Keys of a popover's window: what a held key does, and what keys do after the mouse has been used.

#include "tests/Support/PopoverWindowFixture.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class PopoverKeysTest : public QObject {
    Q_OBJECT

    static void repeat(PopoverWindowFixture& popover, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::simulateEvent(&popover.window, true, key, modifiers, {}, true);
    }

private Q_SLOTS:
    void aHeldKeyActsOnce()
    {
        PopoverWindowFixture popover;
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        QSignalSpy closed(&popover.window, &PopoverWindow::closeRequested);
        QSignalSpy menu(&popover.window, &PopoverWindow::menuRequested);
        QVERIFY(QTest::qWaitForWindowActive(&popover.window)); // for shortcuts
        QTest::keyClick(&popover.window, Qt::Key_Tab);
        repeat(popover, Qt::Key_P);
        repeat(popover, Qt::Key_Return);
        repeat(popover, Qt::Key_Space);
        repeat(popover, Qt::Key_Return, Qt::ControlModifier);
        repeat(popover, Qt::Key_Escape);
        repeat(popover, Qt::Key_Menu);
        QVERIFY(acted.isEmpty() && closed.isEmpty() && menu.isEmpty());
    }

    void aHeldArrowGoesOn()
    {
        PopoverWindowFixture popover;
        QTest::keyClick(&popover.window, Qt::Key_Down);
        repeat(popover, Qt::Key_Down);
        QCOMPARE(popover.focused(), QStringLiteral("cargo, cores 2.2"));
    }

    void afterAPressOfTheMouseNoRowIsCopiedOrHeld()
    {
        PopoverWindowFixture popover;
        QTest::keyClick(&popover.window, Qt::Key_Down);
        QSignalSpy held(&popover.window, &PopoverWindow::listHeld);
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, QPoint(100, 300));
        QCOMPARE(held.count(), 1);
        QCOMPARE(held.first().first().toBool(), false);
        QTest::keyClick(&popover.window, Qt::Key_C, Qt::ControlModifier);
        QVERIFY(popover.copied.startsWith(QStringLiteral("CPU\t49 %\n")));
    }

    void afterAPressOfTheMouseEnterPressesNothing()
    {
        PopoverWindowFixture popover;
        QTest::keyClick(&popover.window, Qt::Key_Tab);
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, QPoint(100, 300));
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        QTest::keyClick(&popover.window, Qt::Key_Return);
        QVERIFY(acted.isEmpty());
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverKeysTest)
#include "PopoverKeysTest.moc"
