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
        QList<PanelElement>& rows = m_popover.list.elements[0].children;
        rows[1].name = QStringLiteral("Firefox, cores 4.0"); // has the focus
        QVERIFY2(told(QAccessible::NameChanged) == 0, "a value is not told");
        rows[2] = PopoverWindowFixture::row("gcc", "2.2", 50); // has not
        QCOMPARE(told(QAccessible::NameChanged), 0);
        rows[1] = PopoverWindowFixture::row("make", "4.0", 30);
        QCOMPARE(told(QAccessible::NameChanged), 1);
        QCOMPARE(told(QAccessible::ObjectReorder), 0);
        m_popover.list.elements[0].children.removeLast();
        QCOMPARE(told(QAccessible::ObjectReorder), 1);
    }

    void afterAPressOfTheMouseNoRowHasTheFocus()
    {
        const HeardEvents ears;
        QVERIFY(QTest::qWaitForWindowActive(&m_popover.window));
        QAccessibleInterface* popover = QAccessible::queryAccessibleInterface(&m_popover.window);
        QTest::keyClick(&m_popover.window, Qt::Key_Down);
        QAccessibleInterface* focused = popover->focusChild();
        QVERIFY(focused && focused->state().focused);
        HeardEvents::taken();
        QTest::mousePress(&m_popover.window, Qt::LeftButton, {}, { 5, 5 });
        const auto told = HeardEvents::taken(QAccessible::Focus);
        QCOMPARE(told.size(), 1);
        QCOMPARE(told.first().object, &m_popover.window);
        QVERIFY(!popover->focusChild() && !focused->state().focused);
        QCOMPARE(this->told(QAccessible::Focus), 0);
    }

    void theOpenSectionsTabIsSelected()
    {
        const HeardEvents ears;
        PanelElement& tab = m_popover.header.elements[2];
        tab.role = PanelElement::Role::tab;
        m_popover.show();
        const auto state
            = [this] { return QAccessible::queryAccessibleInterface(&m_popover.window)->child(2)->state(); };
        QCOMPARE(
            QAccessible::queryAccessibleInterface(&m_popover.window)->child(2)->role(), QAccessible::PageTab);
        QVERIFY(state().selectable && !state().selected && !state().checkable);
        tab.isChecked = true;
        HeardEvents::taken();
        m_popover.show();
        QVERIFY(state().selected && !state().checked);
        const auto told = HeardEvents::taken(QAccessible::StateChanged);
        QCOMPARE(told.size(), 1);
        QVERIFY(told.first().changed.selected && !told.first().changed.checked);
    }

    void whoTurnsToAnotherPopoverHearsItsName()
    {
        const HeardEvents ears;
        QVERIFY(QTest::qWaitForWindowActive(&m_popover.window));
        QTest::keyClick(&m_popover.window, Qt::Key_Down);
        m_popover.header.elements[0].name = QStringLiteral("CPU, 50 %");
        QCOMPARE(told(QAccessible::Focus), 0);
        m_popover.header.elements[0].name = QStringLiteral("Memory, 50 %");
        m_popover.header.elements[0].columns = { QStringLiteral("Memory"), QStringLiteral("50 %") };
        m_popover.window.startAnew();
        HeardEvents::taken();
        m_popover.show();
        QList<QAccessible::Event> events;
        for (const HeardEvents::Event& event : HeardEvents::taken()) {
            QCOMPARE(event.object, &m_popover.window);
            events.append(event.type);
        }
        // A reader that is at a row does not speak of the window's name, so the focus comes after it.
        QCOMPARE(events, (QList { QAccessible::NameChanged, QAccessible::Focus }));
        QCOMPARE(m_popover.window.windowTitle(), QStringLiteral("Memory"));
        QCOMPARE(told(QAccessible::Focus), 0);
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverAccessibleTest)
#include "PopoverAccessibleTest.moc"
