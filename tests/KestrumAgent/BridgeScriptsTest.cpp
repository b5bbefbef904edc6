// What the bridges in JavaScript share, at the real service: pictures arrive whole, menus open and close with the popover, and no
// message does harm.

#include "Platform/Desktop/WindowActivation.h"
#include "tests/Support/PanelServiceFixture.h"
#include "tests/Support/SilentAgent.h"
#include "tests/Support/TestHome.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>

using namespace kestrum;

using enum MonitorSection;

class BridgeScriptsTest : public QObject, PanelServiceFixture {
    Q_OBJECT

    static constexpr int limit = 10'000; ///< ms
    static constexpr double scale = 2;   ///< of the bridge in tests/Support/bridgeScript.js

    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_bridge;

    /// The value of a script in the bridge; undefined if there is no answer.
    QJsonValue run(const QString& script)
    {
        m_bridge->write(script.toUtf8() + '\n');
        const auto isOver
            = [&] { return m_bridge->canReadLine() || m_bridge->state() == QProcess::NotRunning; };
        if (!QTest::qWaitFor(isOver, limit) || !m_bridge->canReadLine())
            return QJsonValue(QJsonValue::Undefined);
        return QJsonDocument::fromJson('[' + m_bridge->readLine() + ']').array().at(0);
    }
    QString text(const char* script) { return run(QLatin1StringView(script)).toString(); }
    bool becomes(const char* script)
    {
        const QString condition = QStringLiteral("Boolean(%1)").arg(QLatin1StringView(script));
        QJsonValue value;
        const auto isOver = [&] { return (value = run(condition)).isUndefined() || value.toBool(); };
        return QTest::qWaitFor(isOver, limit) && value.toBool();
    }
    /// Waits until the agent has handled all that the bridge has called, and the bridge has heard of it.
    bool isSettled()
    {
        run(QStringLiteral("view.isAnswered = false; agent.actions('', () => (view.isAnswered = true));"));
        return becomes("view.isAnswered");
    }
    static QString sum(const QImage& image)
    {
        const QImage pixels = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        return QString::fromLatin1(QCryptographicHash::hash(
            QByteArrayView(pixels.constBits(), pixels.sizeInBytes()), QCryptographicHash::Sha1)
                                       .toHex());
    }
    void say(const QString& client, const char* signal, const QVariantList& arguments, const QString& name)
    {
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            client, PanelContract::path, PanelContract::interface, QLatin1StringView(signal));
        message.setArguments(arguments);
        QVERIFY(QDBusConnection(name).send(message));
    }

private Q_SLOTS:
    void initTestCase()
    {
        startBus();
        QFile joined(m_folder.filePath(QStringLiteral("bridge.js")));
        QVERIFY(joined.open(QIODevice::WriteOnly));
        for (const char* script : { "tests/Support/bridgeScript.js", "bridges/common/panelAgent.js",
                 "bridges/common/panelPopover.js" }) {
            QFile part(qEnvironmentVariable("KESTRUM_SOURCE") + u'/' + QLatin1StringView(script));
            QVERIFY2(part.open(QIODevice::ReadOnly), script);
            joined.write(part.readAll());
        }
        joined.write("main();\n");
    }
    void init()
    {
        setUp();
        m_bridge = std::make_unique<QProcess>();
        m_bridge->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_bridge->start(QStringLiteral("gjs"), { m_folder.filePath(QStringLiteral("bridge.js")) });
        QVERIFY2(m_bridge->waitForStarted(), "gjs is needed");
        QVERIFY(becomes("view.items.length === 4"));
    }
    void cleanup()
    {
        m_bridge->closeWriteChannel();
        QVERIFY(QTest::qWaitFor([&] { return m_bridge->state() == QProcess::NotRunning; }, limit));
        QCOMPARE(m_bridge->exitStatus(), QProcess::NormalExit);
        m_bridge.reset();
        tearDown();
    }

    void itemsComeWithTextsAndPictures()
    {
        const QJsonArray items = run(QStringLiteral("view.items")).toArray();
        const auto& ours = m_desk->strip.items().list();
        for (qsizetype i = 0; i < ours.size(); ++i) {
            const QJsonObject item = items[i].toObject();
            QCOMPARE(item[QLatin1StringView("id")].toString(), rawValue(ours[i].section));
            QCOMPARE(item[QLatin1StringView("text")].toString(), m_desk->strip.text(ours[i].section));
            QCOMPARE(item[QLatin1StringView("sum")].toString(),
                sum(StripScene::picture(
                    ours[i], ItemInk(ColourScheme::dark, Qt::white), scale, Appearance::current())));
        }
        const QString before = text("view.items[2].sum");
        QCOMPARE(text("view.items[2].id"), QStringLiteral("memory"));
        m_desk->readings->memory = 0.9;
        m_desk->strip.redraw();
        QVERIFY(isSettled());
        QVERIFY(text("view.items[2].sum") != before);
    }

    void aNewLookIsToldOnce()
    {
        const double height = run(QStringLiteral("view.items[0].height")).toDouble();
        run(QStringLiteral("agent.lookChanged(); agent.lookChanged();")); // as before: nothing
        run(QStringLiteral("view.scale = 1; agent.lookChanged();"));
        QVERIFY(becomes("view.items[0].height < 40"));
        QCOMPARE(run(QStringLiteral("view.items[0].height")).toDouble(), height / scale);
    }

    void aMenuOpensWithItsPicture()
    {
        run(QStringLiteral("popover.toggle('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QCOMPARE(text("view.events.join()"), QStringLiteral("draw memory,open memory"));
        QCOMPARE(
            run(QStringLiteral("view.popover.width")).toDouble(), m_desk->popovers.window()->width() * scale);
        QCOMPARE(text("view.popover.text"), m_desk->popovers.window()->layout().text());
    }

    void aSmallPanelHasNoSmallPopover()
    {
        run(QStringLiteral("view.scale = 0.9; agent.lookChanged();"));
        QVERIFY(becomes("view.items[0].height < 22"));
        run(QStringLiteral("popover.toggle('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QCOMPARE(
            run(QStringLiteral("view.popover.width")).toDouble(), m_desk->popovers.window()->width() * scale);
    }

    void bandsMakeTheWholePicture()
    {
        run(QStringLiteral("popover.open('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        const QString first = text("view.popover.sum");
        m_desk->source.values.memory.pressure = 0.77;
        Q_EMIT m_desk->source.changed();
        QVERIFY(isSettled());
        const QString patched = text("view.popover.sum");
        QVERIFY(patched != first);
        run(QStringLiteral("popover.close(); popover.open('memory');"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QCOMPARE(text("view.popover.sum"), patched);
    }

    void menusTurnWithoutClosingThePopover()
    {
        run(QStringLiteral("popover.open('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        const PopoverWindow* window = m_desk->popovers.window();
        run(QStringLiteral("popover.open('storage')")); // the pointer has gone on
        QVERIFY(becomes("view.menu === 'storage'"));
        run(QStringLiteral("popover.press(Clutter.KEY_Right, 0)")); // the agent turns
        QVERIFY(becomes("view.menu === 'sensors'"));
        QVERIFY(isSettled());
        QCOMPARE(m_desk->popovers.section(), sensors);
        QCOMPARE(m_desk->popovers.window(), window);
        QCOMPARE(text("view.events.filter(e => !e.startsWith('draw')).join()"),
            QStringLiteral("open memory,open storage,open sensors"));
    }

    void theEndOfOnePopoverIsNotThatOfTheNext()
    {
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
        run(QStringLiteral("view.closeMenu('cpu'); popover.open('memory');"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QVERIFY(isSettled());
        QCOMPARE(text("view.menu"), QStringLiteral("memory"));
        QCOMPARE(m_desk->popovers.section(), memory);
    }

    void aSecondClickTakesTheFirstBack()
    {
        run(QStringLiteral("popover.toggle('cpu'); popover.toggle('cpu');"));
        QVERIFY(isSettled());
        QVERIFY(!m_desk->popovers.section());
        QCOMPARE(text("view.events.join()"), QString());
    }

    void aMenuThatCannotOpenClosesThePopover()
    {
        run(QStringLiteral("view.mapped = false; popover.open('cpu');"));
        QVERIFY(becomes("view.popover"));
        QVERIFY(isSettled());
        QVERIFY(!m_desk->popovers.section());
    }

    void theAgentClosesAndAsks()
    {
        QVERIFY(m_service->requestPopover(cpu));
        QVERIFY(becomes("view.menu === 'cpu'"));
        run(QStringLiteral("popover.press(99, 4)")); // Ctrl+C
        m_desk->popovers.close();
        QVERIFY(becomes("view.menu === null"));
        QVERIFY(becomes("view.events.some(e => /^copied [1-9]/.test(e))"));
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
    }

    void aChoiceInThePopoverComesBackWithAToken()
    {
        connect(&m_desk->popovers, &PopoverController::settingsRequested, m_service.get(),
            [this] { QVERIFY(m_service->requestChoice(QStringLiteral("settings"))); });
        QByteArray token;
        connect(m_menu->actions().first(), &QAction::triggered, this,
            [&] { token = WindowActivation::takeToken(); });
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
        const QPointF gear = m_desk->placeOf(PanelAction::Kind::openSettings);
        for (const char* kind : { "press", "release" })
            run(QStringLiteral("popover.point('%1', %2, %3)")
                    .arg(QLatin1StringView(kind))
                    .arg(gear.x())
                    .arg(gear.y()));
        QTRY_COMPARE(token, QByteArray("a token"));
    }

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
        QVERIFY2(told > 10 && told < 100, qPrintable(QString::number(told)));
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

    void keysHaveTheContractsNames()
    {
        const auto name = [&](int symbol, int modifiers) {
            return run(QStringLiteral("panelKeyName(%1, %2)").arg(symbol).arg(modifiers)).toString();
        };
        constexpr int shift = 1;
        constexpr int capsLock = 2;
        constexpr int control = 4;
        constexpr int alt = 8;
        QCOMPARE(name(0xff09, 0), QStringLiteral("Tab"));
        QCOMPARE(name(0xfe20, shift), QStringLiteral("Shift+Tab"));
        QCOMPARE(name(0xff0d, control), QStringLiteral("Ctrl+Return"));
        QCOMPARE(name(0xff55, 0), QStringLiteral("PgUp"));
        QCOMPARE(name('C', control | capsLock), QStringLiteral("Ctrl+C"));
        QCOMPARE(name('p', 0), QStringLiteral("P"));
        QCOMPARE(name(0xff1b, 0), QString()); // Esc closes the shell's menu
        QCOMPARE(name(0xff09, alt), QString());
        QCOMPARE(name(0x1008ff13, 0), QString()); // louder
    }
};

KESTRUM_TEST_MAIN(QApplication, BridgeScriptsTest)
#include "BridgeScriptsTest.moc"
