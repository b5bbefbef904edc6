// What the bridges in JavaScript share, when agents and bridges come and go, hang, or say what makes no sense: it does no harm.

#include "tests/Support/BridgeScriptFixture.h"
#include "tests/Support/SilentAgent.h"
#include "tests/Support/TestHome.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QScopeGuard>
#include <QThread>
#include <csignal>

using namespace kestrum;

using enum MonitorSection;

class BridgeScriptsTroubleTest : public QObject, BridgeScriptFixture {
    Q_OBJECT

    void say(const QString& client, const char* signal, const QVariantList& arguments, const QString& name)
    {
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            client, PanelContract::path, PanelContract::interface, QLatin1StringView(signal));
        message.setArguments(arguments);
        QVERIFY(QDBusConnection(name).send(message));
    }

private Q_SLOTS:
    void initTestCase() { joinScripts(); }
    void init() { startBridge(); }
    void cleanup() { endBridge(); }

    void anAgentThatGoesTakesAllWithIt()
    {
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
        m_service.reset();
        QVERIFY(becomes("view.items.length === 0"));
        QCOMPARE(text("view.menu"), QString());
        startService();
        QVERIFY(becomes("view.items.length === 4"));
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
        QCOMPARE(run(QStringLiteral("view.warnings")).toArray(), QJsonArray());
    }

    void aBridgeThatGoesLeavesTheAgent()
    {
        run(QStringLiteral("agent.destroy()"));
        QTRY_VERIFY(!m_service->isUsed());
        // Also if it goes before it has been answered.
        run(QStringLiteral("agent = new PanelAgent('test', view); GLib.timeout_add(0, 0, () => (agent._bus "
                           "&& !agent._bridge ? "
                           "(agent.destroy(), view.events.push('early'), false) : !agent._bridge));"));
        QVERIFY(becomes("view.events.includes('early')"));
        QTRY_VERIFY(!m_service->isUsed());
    }

    void anAgentWithBridgesEnoughIsAskedAgain()
    {
        run(QStringLiteral("attachAgain = 1; agent.destroy(); view.items = [];"));
        QTRY_VERIFY(!m_service->isUsed());
        QList<uint> others;
        for (int i = 0; i < PanelService::mostBridges; ++i)
            others.append(m_service->Attach(QStringLiteral("other"), {}));
        run(QStringLiteral("agent = new PanelAgent('test', view);"));
        QVERIFY(becomes("view.warnings.some(w => w.includes('Attach'))"));
        m_service->Detach(others.first());
        QVERIFY(becomes("view.items.length === 4"));
        // One that has gone asks no more.
        run(QStringLiteral("agent = new PanelAgent('ninth', view);"));
        QVERIFY(becomes("agent._attachTimer"));
        QCOMPARE(run(QStringLiteral("agent.destroy(); agent._attachTimer")).toInt(), 0);
    }

    void whatAnAgentDoesTooLateDoesNotComeUp()
    {
        run(QStringLiteral("GLib.timeout_add(0, 300, () => { popover.open('cpu'); return false; })"));
        QThread::msleep(2700); // the agent hangs, and longer than the bridge waits
        QVERIFY(becomes("view.warnings.length > 0"));
        QTest::qWait(100);
        QCOMPARE(text("view.menu"), QString());
        QVERIFY(becomes("popover._closing === 0"));
        run(QStringLiteral("popover.open('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
    }

    void aBridgeThatHangsIsSentLittleAndThenTheNewest()
    {
        run(QStringLiteral("view.told = 0; view.show = view.showItems;"
                           "view.showItems = items => { view.told += 1; view.show(items); };"));
        run(QStringLiteral("popover.open('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        const pid_t bridge = pid_t(m_bridge->processId());
        QCOMPARE(::kill(bridge, SIGSTOP), 0);
        {
            const auto goOn = qScopeGuard([bridge] { QCOMPARE(::kill(bridge, SIGCONT), 0); });
            for (int i = 1; i <= 300; ++i) {
                m_desk->readings->memory = (i % 100) / 100.0;
                m_desk->strip.redraw();
                QCoreApplication::processEvents();
            }
            m_desk->source.values.memory.pressure = 0.77;
            Q_EMIT m_desk->source.changed();
            QTRY_VERIFY(!m_desk->popovers.section());
        }
        const QString newest = sum(StripScene::picture(*m_desk->strip.items().item(memory),
            ItemInk(ColourScheme::dark, Qt::white), scale, Appearance::current()));
        QTRY_COMPARE(text("view.items[2].sum"), newest);
        const int told = run(QStringLiteral("view.told")).toInt();
        QVERIFY2(told > 10 && told < 200, qPrintable(QString::number(told)));
        QVERIFY(becomes("view.menu === null"));
    }

    void strangersAreNotHeard()
    {
        QDBusConnection::connectToBus(m_bus->address(), QStringLiteral("stranger"));
        const QString client = text("agent._bus.get_unique_name()");
        const uint number = uint(run(QStringLiteral("agent._bridge")).toInt());
        say(client, "Items", { number, QVariant::fromValue(QList<PanelItem>()) }, QStringLiteral("stranger"));
        say(client, "PopoverRequested", { number, QStringLiteral("cpu") }, QStringLiteral("stranger"));
        QVERIFY(isSettled());
        QCOMPARE(run(QStringLiteral("view.items.length")).toInt(), 4);
        QVERIFY(!m_desk->popovers.section());
        QDBusConnection::disconnectFromBus(QStringLiteral("stranger"));
    }

    void rubbishIsLoggedOnceAndDoesNoHarm()
    {
        m_service.reset();
        QVERIFY(becomes("view.items.length === 0"));
        const QString name = QStringLiteral("silent");
        QDBusConnection bus = QDBusConnection::connectToBus(m_bus->address(), name);
        SilentAgent silent;
        QVERIFY(bus.registerObject(PanelContract::path, &silent, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(PanelContract::service));
        QVERIFY(becomes("agent._bridge === 7"));
        const auto tell = [&](const char* signal, const QVariantList& arguments) {
            say(silent.client, signal, arguments, name);
        };
        for (const auto& [width, height, bytes] : { std::tuple(10, 10, 399), { -10, -10, 400 }, { 0, 5, 4 },
                 { 65536, 65536, 4 }, { 2147483647, 2147483647, 4 }, { 10, 10, 0 } }) {
            const PanelItem item { QStringLiteral("cpu"), 0, 0, {}, width, height, QByteArray(bytes, 'x') };
            tell("Items", { 7U, QVariant::fromValue(QList { item }) });
        }
        tell("Items", { QStringLiteral("7"), 1 });
        tell("Items", {});
        tell("Items", { 8U, QVariant::fromValue(QList<PanelItem>()) }); // another bridge's
        QVERIFY(becomes("view.items.length === 1"));
        run(QStringLiteral("popover.open('cpu')"));
        const auto popover = [&](int width, int height, const PanelBand& band) {
            tell("Popover",
                { 7U, QStringLiteral("cpu"), QString(), QString(), width, height,
                    QVariant::fromValue(QList { band }) });
        };
        popover(2, 2, { 0, 3, QByteArray(24, 'x') });
        popover(2, 2, { -1, 1, QByteArray(8, 'x') });
        popover(2, 2, { 2147483647, 1, QByteArray(8, 'x') });
        popover(2, 2, { 0, 2, QByteArray(15, 'x') });
        popover(-2, -2, { 0, 0, {} });
        popover(1 << 20, 1 << 20, { 0, 1, QByteArray(4, 'x') });
        popover(16384, 16384, { 0, 1, QByteArray(65536, 'x') });
        tell("PopoverRequested", { 7U });
        tell("Copied", { 7U, 7U });
        popover(2, 2, { 0, 2, QByteArray(16, 'x') });
        QVERIFY(becomes("view.popover"));
        QCOMPARE(
            run(QStringLiteral("[view.popover.width, view.popover.height, view.items[0].sum]")).toArray(),
            (QJsonArray { 2, 2, QJsonValue::Null }));
        QCOMPARE(run(QStringLiteral("view.warnings.map(w => w.split(':')[1].trim()).sort()")).toArray(),
            (QJsonArray { QStringLiteral("Copied"), QStringLiteral("Items"), QStringLiteral("Popover"),
                QStringLiteral("PopoverRequested") }));
        QVERIFY(bus.unregisterService(PanelContract::service));
        QVERIFY(becomes("view.items.length === 0"));
        QDBusConnection::disconnectFromBus(name);
    }
};

KESTRUM_TEST_MAIN(QApplication, BridgeScriptsTroubleTest)
#include "BridgeScriptsTroubleTest.moc"
