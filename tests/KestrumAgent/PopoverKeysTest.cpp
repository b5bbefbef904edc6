// Keys of a popover's window: what they do after the mouse has been used.

#include "tests/Support/PopoverWindowFixture.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QClipboard>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class PopoverKeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void afterAPressOfTheMouseNoRowIsCopiedOrHeld()
    {
        PopoverWindowFixture popover;
        QTest::keyClick(&popover.window, Qt::Key_Down);
        QSignalSpy held(&popover.window, &PopoverWindow::listHeld);
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, QPoint(100, 300));
        QCOMPARE(held.count(), 1);
        QCOMPARE(held.first().first().toBool(), false);
        QTest::keyClick(&popover.window, Qt::Key_C, Qt::ControlModifier);
        QVERIFY(QApplication::clipboard()->text().startsWith(QStringLiteral("CPU\t49 %\n")));
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
