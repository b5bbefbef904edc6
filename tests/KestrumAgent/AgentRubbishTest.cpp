// The built agent among bridges that call without sense: it stays, answers, and its memory does not grow.

#include "tests/Support/BridgeRubbish.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QGuiApplication>
#include <unistd.h>

using namespace kestrum;

class AgentRubbishTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<QProcess> m_agent;

    static constexpr double mostGrowth = 4; ///< MiB

    double residentMebibytes() const
    {
        const QByteArray statm = contentOf(text("/proc/%1/statm").arg(m_agent->processId()));
        return statm.split(' ').value(1).toDouble() * double(::sysconf(_SC_PAGESIZE)) / 1024 / 1024;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
        // An agent without an application: what opens the settings finds none.
        const QString built = qEnvironmentVariable("KESTRUM_BUILD")
            + text("/Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app");
        const QString copy
            = TestHome::root() + text("/Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app");
        QVERIFY(QDir().mkpath(QFileInfo(copy).path()));
        QCOMPARE(Programs::run(text("cp"), { text("-r"), built, copy }).code, 0);
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        m_agent = Programs::started(copy + text("/Contents/MacOS/KestrumAgent"), {});
    }
    void cleanupTestCase()
    {
        if (m_agent)
            Programs::end(*m_agent);
        m_agent.reset();
        m_bus.reset();
    }

    void rubbishDoesNoHarm()
    {
        BridgeClient client(m_bus->address());
        QTRY_VERIFY_WITH_TIMEOUT(client.property("Version").isValid(), Programs::patience);
        client.attach();
        QVERIFY(client.number != 0);
        BridgeClient wild(m_bus->address());
        BridgeRubbish rubbish(wild, 20);
        // What is made once and kept, such as letters that were drawn, is there then. What is open, such as a popover of the
        // greatest scale, is not.
        constexpr int first = 300;
        QCOMPARE(rubbish.call(first), first);
        rubbish.detachAll();
        const double before = residentMebibytes();
        QVERIFY(before > 1);
        const int calls = BridgeRubbish::calls();
        QCOMPARE(rubbish.call(calls), calls);
        rubbish.detachAll();
        const double growth = residentMebibytes() - before;
        qInfo("%d calls: %.1f MiB, and %.1f more", calls, before, growth);
        // Sanitizers keep what was freed.
        QVERIFY2(growth < mostGrowth || Programs::areSanitized, qPrintable(QString::number(growth)));

        QCOMPARE(m_agent->state(), QProcess::Running);
        QCOMPARE(client.property("ShownBy").toString(), text("test"));
        client.call("Detach", { client.number });
        client.number = 0;
        client.bytes = 0;
        client.attach();
        QTRY_VERIFY(client.bytes > 0);
        QCOMPARE(client.items.size(), 4);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, AgentRubbishTest)
#include "AgentRubbishTest.moc"
