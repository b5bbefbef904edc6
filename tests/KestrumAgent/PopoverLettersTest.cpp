// Keys with letters in a popover's window, on keyboards of other alphabets. Only an X server's keys have layouts.

#include "tests/Support/PopoverWindowFixture.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class PopoverLettersTest : public QObject {
    Q_OBJECT

    static constexpr auto keyOfP
        = "key 33"; ///< the third from the right in the upper row of letters, in every layout

private Q_SLOTS:
    void thePinsKeyIsThatOfItsLetterInEveryLayout_data()
    {
        QTest::addColumn<QString>("layouts");
        for (const char* layouts : { "us", "ru,us", "gr,us", "ara,us" })
            QTest::newRow(layouts) << QString::fromLatin1(layouts);
    }
    void thePinsKeyIsThatOfItsLetterInEveryLayout()
    {
        QFETCH(const QString, layouts);
        QCOMPARE(Programs::run(text("setxkbmap"), { text("-layout"), layouts }).code, 0);
        PopoverWindowFixture popover;
        QVERIFY(QTest::qWaitForWindowExposed(&popover.window));
        VirtualDisplay::xdotool("windowfocus --sync " + QByteArray::number(popover.window.winId()));
        QVERIFY(QTest::qWaitForWindowActive(&popover.window));
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        VirtualDisplay::xdotool(keyOfP);
        QTRY_COMPARE(acted.count(), 1);
        QCOMPARE(acted.first().first().value<PanelAction>(), PanelAction { PanelAction::Kind::togglePin });
    }
};

KESTRUM_TEST_MAIN_OF(PopoverLettersTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QApplication application(argc, argv);
    PopoverLettersTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "PopoverLettersTest.moc"
