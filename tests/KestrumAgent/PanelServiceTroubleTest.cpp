// The agent on the session bus in trouble: clients and buses that go, and calls that make no sense.

#include "tests/Support/BridgeRubbish.h"
#include "tests/Support/PanelServiceFixture.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"

#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QFile>
#include <QXmlStreamReader>

using namespace kestrum;

using enum MonitorSection;

namespace {

/// Counts what the bus library hands to an object.
class Events final : public QObject {
public:
    explicit Events(QObject& receiver) { receiver.installEventFilter(this); }
    int count() const { return m_count; }

private:
    bool eventFilter(QObject*, QEvent* event) override
    {
        m_count += event->type() == QEvent::MetaCall;
        return false;
    }
    int m_count = 0;
};

QDBusMessage busQuestion()
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("GetId"));
}

} // namespace

class PanelServiceTroubleTest : public QObject, PanelServiceFixture {
    Q_OBJECT

    static constexpr int patience = 10'000; ///< ms

private Q_SLOTS:
    void initTestCase() { startBus(); }
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void aBridgeThatGoesIsForgotten()
    {
        QSignalSpy used(m_service.get(), &PanelService::usedChanged);
        auto client = bridge();
        auto other = bridge();
        QCOMPARE(used.size(), 1);
        QCOMPARE(m_service->shownBy(), QStringLiteral("test,test"));
        client->leave();
        other->call("Detach", { other->number });
        QTRY_VERIFY(!m_service->isUsed());
        QCOMPARE(used.size(), 2);
        m_service->setOwnWay(QStringLiteral("strip"));
        QCOMPARE(m_service->shownBy(), QStringLiteral("strip"));
    }

    void aNumberIsGoodForItsOwnerAlone()
    {
        const auto client = bridge();
        BridgeClient stranger(m_bus->address());
        QSignalSpy wanted(m_service.get(), &PanelService::popoverWanted);
        const QVariantMap look;
        const QString refusal = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
        for (const uint number : { client->number, client->number + 1, 0U }) {
            QCOMPARE(stranger.errorOf("Look", { number, look }), refusal);
            QCOMPARE(stranger.errorOf("Detach", { number }), refusal);
            QCOMPARE(stranger.errorOf("OpenPopover", { number, QStringLiteral("cpu"), look }), refusal);
            QCOMPARE(stranger.errorOf("ClosePopover", { number }), refusal);
            QCOMPARE(stranger.errorOf("Pointer", { number, QStringLiteral("move"), 1.0, 1.0, 0.0 }), refusal);
            QCOMPARE(stranger.errorOf("Key", { number, QStringLiteral("Tab") }), refusal);
            QCOMPARE(stranger.errorOf("ShowPopover", { number, QStringLiteral("cpu"), QRect(), QString() }),
                refusal);
        }
        QVERIFY(m_service->isUsed());
        QVERIFY(!m_desk->popovers.section());
        QCOMPARE(wanted.size(), 0);
    }

    void theNinthBridgeIsRefused()
    {
        std::vector<std::unique_ptr<BridgeClient>> clients;
        for (int i = 0; i < PanelService::mostBridges; ++i)
            clients.push_back(bridge());
        BridgeClient ninth(m_bus->address());
        const QVariantList arguments { QStringLiteral("test"), QVariantMap() };
        QCOMPARE(
            ninth.errorOf("Attach", arguments), QStringLiteral("org.freedesktop.DBus.Error.LimitsExceeded"));
        clients.back()->call("Detach", { clients.back()->number });
        QCOMPARE(ninth.errorOf("Attach", arguments), QString());
    }

    void aHostsNameIsClean_data()
    {
        QTest::addColumn<QString>("told");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* name, const QString& told, const QString& shown) {
            QTest::newRow(name) << told << shown;
        };
        row("plain", QStringLiteral("my_Panel-2.0"), QStringLiteral("my_Panel-2.0"));
        row("too long", QString(1000, u'x'), QString(PanelService::longestHost, u'x'));
        row("two in one", QStringLiteral("a,b"), QStringLiteral("a-b"));
        row("other letters", QStringLiteral("a b\n\u0442"), QStringLiteral("a-b--"));
        row("none", {}, QStringLiteral("bridge"));
        for (const char* own : { "nothing", "notification-area", "status-icon", "strip" })
            row(own, QString::fromLatin1(own), QStringLiteral("bridge"));
    }
    void aHostsNameIsClean()
    {
        QFETCH(const QString, told);
        BridgeClient client(m_bus->address());
        client.attach({}, told);
        QTEST(m_service->shownBy(), "shown");
    }

    void whoLeavesBeforeItIsHeardIsForgottenToo()
    {
        QSignalSpy attached(m_service.get(), &PanelService::attached);
        const QString name = QStringLiteral("hasty");
        {
            QDBusConnection hasty = QDBusConnection::connectToBus(m_bus->address(), name);
            QDBusMessage call = QDBusMessage::createMethodCall(PanelContract::service, PanelContract::path,
                PanelContract::interface, QStringLiteral("Attach"));
            call << QStringLiteral("hasty") << QVariantMap();
            hasty.send(call);
            // Sent when the bus has answered to what comes after it. The agent, in this thread, does nothing meanwhile.
            QVERIFY(hasty.call(busQuestion()).type() == QDBusMessage::ReplyMessage);
        }
        QDBusConnection::disconnectFromBus(name);
        QCOMPARE(attached.size(), 0);
        QTRY_COMPARE(attached.size(), 1);
        QTRY_VERIFY(!m_service->isUsed());
    }

    void otherProgramsThatComeAndGoDoNotWakeTheAgent()
    {
        const auto client = bridge();
        QVERIFY(client->isUpToDate());
        const Events events(*m_service);
        QVERIFY(client->isUpToDate());
        const int usual = events.count();
        for (int i = 0; i < 5; ++i)
            BridgeClient(m_bus->address()).leave();
        QVERIFY(client->isUpToDate());
        QCOMPARE(events.count(), 2 * usual);
    }

    void aBridgeKnowsItsNumberBeforeItsFirstItems()
    {
        BridgeClient client(m_bus->address());
        connect(m_service.get(), &PanelService::attached, this, [this] { m_desk->strip.redraw(); });
        QDBusConnection bus(client.connectionName());
        QDBusMessage call = QDBusMessage::createMethodCall(
            PanelContract::service, PanelContract::path, PanelContract::interface, QStringLiteral("Attach"));
        call << QStringLiteral("test") << QVariantMap();
        QDBusPendingCallWatcher watcher(bus.asyncCall(call));
        bool hadItems = false;
        connect(
            &watcher, &QDBusPendingCallWatcher::finished, this, [&] { hadItems = client.itemMessages > 0; });
        QTRY_COMPARE(client.itemMessages, 1);
        QVERIFY(watcher.isFinished());
        QVERIFY(!hadItems);
    }

    void aBusThatGoesTakesTheBridgesAlong()
    {
        auto client = bridge();
        client->call("OpenPopover", { client->number, QStringLiteral("cpu"), QVariantMap() });
        QVERIFY(m_desk->popovers.section());
        QSignalSpy used(m_service.get(), &PanelService::usedChanged);
        QSignalSpy detached(m_service.get(), &PanelService::detached);
        QSignalSpy settled(m_service.get(), &PanelService::settled);
        m_bus.reset();
        QTRY_COMPARE(used.size(), 1);
        QVERIFY(!m_service->isUsed());
        QVERIFY(!m_desk->popovers.section());
        QCOMPARE(detached.size(), 0); // it is expected at the next start
        QCOMPARE(settled.size(), 1);
        QCOMPARE(settled.takeFirst()[0].toBool(), false);
        client.reset();

        startBus();
        QTRY_VERIFY_WITH_TIMEOUT(!settled.isEmpty() && settled.last()[0].toBool(), patience);
        QCOMPARE(bridge()->items.size(), 4);
    }

    void aBusThatWasAwayIsJoinedAsSoonAsItIsBack()
    {
        QSignalSpy settled(m_service.get(), &PanelService::settled);
        m_bus.reset();
        // It is looked for at growing intervals. Shortly after the second look, the third one is far away.
        QTRY_COMPARE_WITH_TIMEOUT(settled.size(), 3, patience);
        QElapsedTimer time;
        time.start();
        startBus();
        QTRY_VERIFY_WITH_TIMEOUT(settled.last()[0].toBool(), patience);
        QVERIFY2(time.elapsed() < Programs::withinASecond, qPrintable(QString::number(time.elapsed())));
    }

    void aBusThatComesLateIsJoined()
    {
        m_service.reset();
        m_bus.reset();
        QFile::remove(TestHome::runtimeDirectory() + QStringLiteral("/bus"));
        m_service = std::make_unique<PanelService>(m_desk->strip, m_desk->popovers, *m_menu);
        QSignalSpy settled(m_service.get(), &PanelService::settled);
        m_service->start();
        QTRY_COMPARE(settled.size(), 1);
        QCOMPARE(settled[0][0].toBool(), false);
        startBus();
        QTRY_VERIFY_WITH_TIMEOUT(settled.last()[0].toBool(), patience);
        QCOMPARE(bridge()->items.size(), 4);
    }

    void aTokenOfNoDesktopIsNone()
    {
        const auto client = bridge();
        QSignalSpy wanted(m_service.get(), &PanelService::popoverWanted);
        QByteArrayList given;
        connect(m_menu->actions().first(), &QAction::triggered, this,
            [&] { given.append(qgetenv("XDG_ACTIVATION_TOKEN")); });
        const QString longest(PanelService::longestToken, u'x');
        for (const QString& token : { longest, longest + u'x' }) {
            client->call("ShowPopover", { client->number, QStringLiteral("cpu"), QRect(), token });
            client->call("Choose", { QStringLiteral("settings"), QString(), token });
        }
        QCOMPARE(given, (QByteArrayList { longest.toLatin1(), {} }));
        QCOMPARE(wanted.size(), 2);
        QCOMPARE(wanted[0][2].toByteArray(), longest.toLatin1());
        QCOMPARE(wanted[1][2].toByteArray(), QByteArray());
    }

    void propertiesTellHowTheyChange()
    {
        BridgeClient client(m_bus->address());
        QXmlStreamReader description(client.describe());
        QString property;
        QMap<QString, QString> told;
        while (!description.atEnd()) {
            if (description.readNext() != QXmlStreamReader::StartElement)
                continue;
            const QXmlStreamAttributes attributes = description.attributes();
            const auto value
                = [&](const char* name) { return attributes.value(QLatin1StringView(name)).toString(); };
            if (description.name() == QLatin1StringView("property"))
                property = value("name");
            else if (value("name") == QLatin1StringView("org.freedesktop.DBus.Property.EmitsChangedSignal"))
                told.insert(property, value("value"));
        }
        const QMap<QString, QString> expected { { QStringLiteral("ShownBy"), QStringLiteral("false") },
            { QStringLiteral("Version"), QStringLiteral("const") } };
        QCOMPARE(told, expected);
    }

    void rubbishDoesNoHarm()
    {
        const auto client = bridge();
        BridgeClient wild(m_bus->address());
        BridgeRubbish rubbish(wild, 20);
        QCOMPARE(rubbish.call(BridgeRubbish::calls()), BridgeRubbish::calls());
        rubbish.detachAll();
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->items.size(), 4);
        QCOMPARE(client->property("ShownBy").toString(), QStringLiteral("test"));
    }

    void theNameIsNotTakenFromAnotherAgent()
    {
        m_service.reset();
        QDBusConnection other
            = QDBusConnection::connectToBus(m_bus->address(), QStringLiteral("another-agent"));
        QVERIFY(other.registerService(PanelContract::service));
        m_service = std::make_unique<PanelService>(m_desk->strip, m_desk->popovers, *m_menu);
        QSignalSpy settled(m_service.get(), &PanelService::settled);
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("another program has the agent's name")));
        m_service->start();
        QTRY_COMPARE(settled.size(), 1);
        QCOMPARE(settled[0][0].toBool(), false);
        // It does not stand in line either.
        QVERIFY(other.unregisterService(PanelContract::service));
        QVERIFY(!other.interface()->isServiceRegistered(PanelContract::service));
        QDBusConnection::disconnectFromBus(QStringLiteral("another-agent"));
    }

    void aPanelThatGoesIsForgottenThoughAnotherOneStays()
    {
        const auto staying = bridge();
        BridgeClient shell(m_bus->address());
        shell.attach({}, QStringLiteral("shell"));
        const uint first = shell.number;
        shell.attach({}, QStringLiteral("shell"));
        QSignalSpy detached(m_service.get(), &PanelService::detached);
        shell.call("Detach", { first });
        QCOMPARE(detached.size(), 0); // its other panel still has one
        shell.call("Detach", { shell.number });
        QCOMPARE(detached.size(), 1);
        QCOMPARE(detached[0][0].toString(), QStringLiteral("shell"));
        QVERIFY(m_service->isUsed());
    }
};

KESTRUM_TEST_MAIN(QApplication, PanelServiceTroubleTest)
#include "PanelServiceTroubleTest.moc"
