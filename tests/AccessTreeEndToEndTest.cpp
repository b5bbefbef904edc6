// The built program as a screen reader sees it.

#include "tests/AccessTree.h"
#include "tests/OwnProcesses.h"
#include "tests/Programs.h"
#include "tests/TestHome.h"
#include "tests/VirtualDisplay.h"

#include <QCoreApplication>
#include <QTest>
#include <memory>

using namespace kestrum;

using State = Accessible::State;

class AccessTreeEndToEndTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AccessTree> m_tree;
    std::unique_ptr<QProcess> m_kestrum;
    Accessible m_application;

    Accessible page(const char* name) const
    {
        return m_application.find(QStringLiteral("list item"), QString::fromUtf8(name));
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_tree = std::make_unique<AccessTree>();
        QVERIFY(m_tree->isUp());
        const QString build = qEnvironmentVariable("KESTRUM_BUILD");
        Programs::output(build + QStringLiteral("/kestrumctl"),
            { QStringLiteral("write"), QStringLiteral("agentEnabled"), QStringLiteral("false") });
        m_kestrum = Programs::started(build + QStringLiteral("/Kestrum.app/Contents/MacOS/Kestrum"), {});
        m_application = m_tree->application(m_kestrum->processId());
        QVERIFY(m_application.isFound());
        QCOMPARE(m_application.role(), QStringLiteral("application"));
        QTRY_VERIFY(!m_application.children().isEmpty());
    }
    void cleanupTestCase()
    {
        if (m_kestrum)
            Programs::end(*m_kestrum);
        m_tree.reset();
    }

    void theSidebarsRowsAreFoundByRoleAndName()
    {
        for (const char* name : { "Menu Bar", "Popovers", "General" }) {
            const Accessible row = page(name);
            QVERIFY2(row.isFound(), qPrintable(m_application.outline()));
            QCOMPARE(row.process(), m_kestrum->processId());
            QVERIFY(row.has(State::showing));
            QVERIFY(!row.place().isEmpty());
        }
        QVERIFY(!page("Nobody").isFound());
    }

    void aPageIsOpenedByItsRow()
    {
        QVERIFY(page("Menu Bar").has(State::selected));
        QVERIFY(page("General").act(QStringLiteral("Toggle")));
        QTRY_VERIFY(page("General").has(State::selected));
        QVERIFY(!page("Menu Bar").has(State::selected));
    }

    void aControlIsGivenTheFocus()
    {
        // There is no window manager here that would give it to the window.
        VirtualDisplay::xdotool({ QStringLiteral("search"), QStringLiteral("--sync"),
            QStringLiteral("--onlyvisible"), QStringLiteral("--pid"), QString::number(m_kestrum->processId()),
            QStringLiteral("--name"), QStringLiteral("^Kestrum$"), QStringLiteral("windowfocus") });
        const Accessible control
            = m_application.find(QStringLiteral("check box"), QStringLiteral("Kestrum menu bar"));
        QVERIFY(control.has(State::focusable));
        QVERIFY(control.focus());
        QTRY_VERIFY(control.has(State::focused));
    }
};

int main(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    // This program shows nothing, so it takes no part in the display.
    QCoreApplication application(argc, argv);
    AccessTreeEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AccessTreeEndToEndTest.moc"
