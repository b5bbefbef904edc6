// What screen readers are told when a popover's content changes.

#include "tests/Support/HeardEvents.h"
#include "tests/Support/PopoverWindowFixture.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QTest>

using namespace kestrum;

class PopoverAccessibleTest : public QObject {
    Q_OBJECT

    PopoverWindowFixture m_popover;

    /// How often an event of that type is told when the window shows its present parts.
    qsizetype told(QAccessible::Event type)
    {
        HeardEvents::taken(type);
        m_popover.show();
        return HeardEvents::taken(type).size();
    }

private Q_SLOTS:
    void changesOfTheContentAreTold()
    {
        const HeardEvents ears;
        QTest::keyClick(&m_popover.window, Qt::Key_Down);
        QCOMPARE(told(QAccessible::NameChanged), 0);
        QCOMPARE(told(QAccessible::StateChanged), 0);
        m_popover.header.elements[1].isChecked = true; // the pin
        QCOMPARE(told(QAccessible::StateChanged), 1);
        m_popover.list.elements[0].children[1].name = QStringLiteral("Firefox, cores 4.0"); // has the focus
        QCOMPARE(told(QAccessible::NameChanged), 1);
        m_popover.list.elements[0].children[2].name = QStringLiteral("cargo, cores 1.0"); // has not
        QCOMPARE(told(QAccessible::NameChanged), 0);
        QCOMPARE(told(QAccessible::ObjectReorder), 0);
        m_popover.list.elements[0].children.removeLast();
        QCOMPARE(told(QAccessible::ObjectReorder), 1);
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverAccessibleTest)
#include "PopoverAccessibleTest.moc"
