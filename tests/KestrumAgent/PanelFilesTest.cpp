// The items as files: the real tool, and an agent in this process.

#include "KestrumAgent/Agent.h"
#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumShared/Agent/PanelContract.h"
#include "KestrumShared/Settings/PopoverRequest.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Signals/NotificationCentre.h"
#include "tests/Support/DesktopShells.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>
#include <csignal>
#include <sys/stat.h>

using namespace kestrum;

/// An agent that sends what no agent sends.
class WildAgent final : public DesktopShell {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvale.kestrum.Panel1")
public:
    WildAgent()
        : DesktopShell("wild-agent")
    {
        PanelContract::registerTypes();
    }
    bool join(const QString& address)
    {
        return DesktopShell::join(address, PanelContract::service.data(), PanelContract::path.data());
    }
    void send(const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            m_client, PanelContract::path, PanelContract::interface, QStringLiteral("Items"));
        message.setArguments(arguments);
        QDBusConnection(QStringLiteral("wild-agent")).send(message);
    }
    /// Joins as some program, says it has the agent's name, and sends everybody an empty list of items.
    bool pretend(const QString& address)
    {
        QDBusConnection bus = QDBusConnection::connectToBus(address, QStringLiteral("wild-agent"));
        QDBusMessage owner = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"));
        owner << QString(PanelContract::service) << QString() << bus.baseService();
        QDBusMessage items = QDBusMessage::createSignal(
            PanelContract::path, PanelContract::interface, QStringLiteral("Items"));
        items << 1U << QVariant::fromValue(QList<PanelItem>());
        return bus.registerObject(PanelContract::path, this, QDBusConnection::ExportAllContents)
            && bus.send(items) && bus.send(owner);
    }
    bool hasClient() const { return !m_client.isEmpty(); }
    int refusals = 0;

public Q_SLOTS:
    uint Attach(const QString&, const QVariantMap&)
    {
        if (refusals-- > 0) {
            sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("eight are enough"));
            return 0;
        }
        m_client = message().service();
        return 7;
    }

private:
    QString m_client;
};

class PanelFilesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<Agent> m_agent;
    QString m_directory;
    int m_count = 0;

    void startAgent()
    {
        m_agent = std::make_unique<Agent>();
        m_agent->start();
    }
    QByteArray line(const char* options = "") const
    {
        return "panel --png " + m_directory.toUtf8() + ' ' + options;
    }
    QStringList files() const { return QDir(m_directory).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    QImage picture(const char* name) const { return QImage(m_directory + u'/' + QLatin1StringView(name)); }
    static QStringList allFiles()
    {
        return words("cpu.png cpu.txt memory.png memory.txt sensors.png sensors.txt storage.png storage.txt "
                     "strip.png");
    }

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        m_directory = TestHome::root() + text("/files%1/panel").arg(++m_count);
    }
    void cleanup()
    {
        m_agent.reset();
        m_bus.reset();
    }

    void theFilesAreTheItems()
    {
        startAgent();
        Kestrumctl::Running tool(line("--scale 2").constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        QCOMPARE(m_agent->service()->shownBy(), text("files"));
        const StripItems& items = m_agent->strip()->items();
        double end = 0;
        for (const auto& item : items.list()) {
            const QByteArray id = rawValue(item.section).toUtf8();
            QTRY_COMPARE(contentOf(m_directory + u'/' + QString::fromUtf8(id) + text(".txt")),
                m_agent->strip()->text(item.section).toUtf8() + '\n');
            // The first readings may change the width.
            const QSize expected
                = StripScene::picture(item, ColourScheme::dark, 2, Appearance::current()).size();
            const QByteArray file = id + ".png";
            QTRY_COMPARE(picture(file.constData()).width(), expected.width());
            QCOMPARE(picture(file.constData()).height(), 44);
            QVERIFY(picture(file.constData()).hasAlphaChannel());
            end = std::max(end, item.view->frame().left() * 2 + expected.width());
        }
        QCOMPARE(picture("strip.png").height(), 44);
        QTRY_VERIFY(std::abs(picture("strip.png").width() - end) <= 1);
    }

    void theHeightGivesTheScale_data()
    {
        QTest::addColumn<int>("height");
        QTest::newRow("33") << 33;
        QTest::newRow("22 times its scale is more by a rounding") << 25;
    }
    void theHeightGivesTheScale()
    {
        QFETCH(const int, height);
        startAgent();
        const Kestrumctl::Running tool(
            line("--height " + QByteArray::number(height)).constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        QCOMPARE(picture("memory.png").height(), height);
    }

    void theForegroundGivesTheColours_data()
    {
        QTest::addColumn<QByteArray>("foreground");
        QTest::addColumn<bool>("isLight");
        QTest::newRow("white") << QByteArray("#ffffff") << true;
        QTest::newRow("black") << QByteArray("#000000") << false;
    }
    void theForegroundGivesTheColours()
    {
        QFETCH(const QByteArray, foreground);
        QFETCH(const bool, isLight);
        startAgent();
        const Kestrumctl::Running tool(line("--foreground " + foreground).constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        // The label is at the left of each item.
        const QImage image = picture("memory.png");
        int light = 0;
        int dark = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < 13; ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() > 150)
                    ++(pixel.lightness() > 128 ? light : dark);
            }
        }
        QVERIFY2(isLight ? light > dark : dark > light,
            qPrintable(text("%1 light, %2 dark").arg(light).arg(dark)));
    }

    void aHiddenItemHasNoFiles()
    {
        startAgent();
        const Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        const int width = picture("strip.png").width();
        Setting(Keys::showStorageItem).set(false);
        QTRY_COMPARE(files().filter(text("storage")), QStringList());
        QTRY_VERIFY(picture("strip.png").width() < width);
        for (const auto* key : { &Keys::showCPUItem, &Keys::showMemoryItem, &Keys::showSensorsItem })
            Setting(*key).set(false);
        QTRY_COMPARE(files(), QStringList());
    }

    void filesComeAndGoWithTheAgent()
    {
        const Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTest::qWait(100);
        QVERIFY(!QFile::exists(m_directory)); // nothing at all without an agent
        startAgent();
        QTRY_COMPARE(files(), allFiles());
        m_agent.reset();
        QTRY_COMPARE(files(), QStringList());
        startAgent();
        QTRY_COMPARE(files(), allFiles());
    }

    void theToolTakesItsOwnFilesAlong_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("terminated") << SIGTERM;
        QTest::newRow("interrupted") << SIGINT;
    }
    void theToolTakesItsOwnFilesAlong()
    {
        QFETCH(const int, signal);
        QVERIFY(QDir().mkpath(m_directory));
        write(m_directory + text("/other.png"), "x");
        startAgent();
        Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_COMPARE(files().size(), allFiles().size() + 1);
        const QSignalSpy detached(m_agent->service(), &PanelService::detached);
        tool.signal(signal);
        QCOMPARE(tool.ended(), (Programs::Ended { 0, {}, "waiting for items\n" }));
        QCOMPARE(files(), words("other.png"));
        QTRY_COMPARE(m_agent->service()->isUsed(), false);
        QCOMPARE(detached.count(), 1); // and it has not only left the bus
    }

    void whatAnAgentWaitsForComesWithTheDesktop()
    {
        const Setting remembered(Keys::panelBridge, QString());
        const auto tryOnce = [&] {
            startAgent();
            Kestrumctl::Running tool(line().constData(), "waiting for items");
            QTRY_COMPARE(m_agent->service()->shownBy(), text("files"));
            tool.signal(SIGTERM);
            QTRY_VERIFY(!m_agent->service()->isUsed());
        };
        tryOnce();
        QVERIFY(!remembered.recognised());
        remembered.set(text("shell"));
        tryOnce();
        QCOMPARE(remembered.value(), text("shell"));
        // The shell's bridge does not come, as on another desktop: that start is the last one that waits.
        startAgent();
        QVERIFY(!m_agent->strip()->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!remembered.recognised(), 10'000);
        startAgent();
        QTRY_VERIFY_WITH_TIMEOUT(m_agent->strip()->isVisible(), 2000);
    }

    void aBusThatGoesGivesTheItemsBack()
    {
        const Setting remembered(Keys::panelBridge, QString());
        startAgent();
        QSignalSpy settled(m_agent->service(), &PanelService::settled);
        QTRY_COMPARE(settled.size(), 1);
        m_agent->service()->Attach(text("shell"), {});
        QVERIFY(!m_agent->strip()->isVisible());
        m_bus.reset();
        QTRY_VERIFY(m_agent->strip()->isVisible());
        QCOMPARE(m_agent->service()->shownBy(), text("strip"));
        QCOMPARE(remembered.value(), text("shell")); // it comes again with the session
    }

    void theUsualDirectoryIsTheUsersOwn()
    {
        startAgent();
        const Kestrumctl::Running tool("panel --png", "waiting for items");
        m_directory = TestHome::runtimeDirectory() + text("/kestrum/panel");
        QTRY_COMPARE(files(), allFiles());
    }

    void aPopoverThatIsAskedForOpens()
    {
        startAgent();
        const Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        const auto ask
            = [] { QCOMPARE(NotificationCentre::post(notificationName(PopoverRequest::cpu)), QString()); };
        ask();
        QTRY_COMPARE(m_agent->popovers()->section(), std::optional(MonitorSection::cpu));
        ask();
        QTRY_COMPARE(m_agent->popovers()->section(), std::optional<MonitorSection>());
    }

    void anAgentThatRefusesIsAskedAgain()
    {
        WildAgent agent;
        agent.refusals = 1;
        QVERIFY(agent.join(m_bus->address()));
        Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_VERIFY_WITH_TIMEOUT(agent.hasClient(), 10'000);
        tool.signal(SIGTERM);
        QVERIFY_CONTAINS(tool.ended().errors, "the agent refuses: eight are enough\n");
    }

    void strangersAreNotHeard()
    {
        startAgent();
        const Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        WildAgent stranger;
        QVERIFY(stranger.pretend(m_bus->address()));
        // What the agent says is heard as before.
        Setting(Keys::showStorageItem).set(false);
        QTRY_COMPARE(files().filter(text("storage")), QStringList());
        QCOMPARE(files().size(), allFiles().size() - 2);
        QVERIFY(!stranger.hasClient());
    }

    void whatNoAgentSendsIsIgnored()
    {
        WildAgent agent;
        QVERIFY(agent.join(m_bus->address()));
        const Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_VERIFY(agent.hasClient());
        const QByteArray pixels(2 * 2 * 4, char(255));
        const auto send = [&](const QList<PanelItem>& items) {
            agent.send({ 7U, QVariant::fromValue(items) });
        };
        const PanelItem good { text("cpu"), 0, 2, text("CPU"), 2, 2, pixels };
        send({ { text("../escaped"), 0, 2, {}, 2, 2, pixels }, { text("memory"), 0, 2, {}, 3, 2, pixels },
            { text("storage"), 0, 2, {}, -1, -1, pixels }, { text("sensors"), 0, 2, {}, 2, 2, {} }, good });
        QTRY_COMPARE(files(), words("cpu.png cpu.txt strip.png"));
        QVERIFY(!QFile::exists(m_directory + text("/../escaped.png")));
        // Far away, and nowhere.
        send({ good, { text("memory"), 1e300, 2, {}, 2, 2, pixels },
            { text("sensors"), qQNaN(), 2, {}, 2, 2, pixels } });
        QTRY_COMPARE(files(), words("cpu.png cpu.txt memory.png memory.txt strip.png"));
        agent.send({ 7U, text("text") });
        agent.send({ 8U, QVariant::fromValue(QList<PanelItem>()) });
        agent.send({});
        send({ good });
        QTRY_COMPARE(files(), words("cpu.png cpu.txt strip.png"));
    }

    void linksAndPipesInTheirPlaceAreReplaced()
    {
        const QString elsewhere = TestHome::root() + text("/elsewhere");
        write(elsewhere, "kept");
        QVERIFY(QDir().mkpath(m_directory));
        QVERIFY(QFile::link(elsewhere, m_directory + text("/cpu.png")));
        QVERIFY(QFile::link(elsewhere, m_directory + text("/cpu.txt")));
        QCOMPARE(::mkfifo(QFile::encodeName(m_directory + text("/memory.png")).constData(), 0600), 0);
        startAgent();
        Kestrumctl::Running tool(line().constData(), "waiting for items");
        QTRY_COMPARE(files(), allFiles());
        for (const char* name : { "cpu.png", "cpu.txt", "memory.png" }) {
            const QFileInfo file(m_directory + u'/' + QLatin1StringView(name));
            QVERIFY(file.isFile() && !file.isSymLink());
        }
        QCOMPARE(contentOf(elsewhere), QByteArray("kept"));
    }

    void whatCannotBeWrittenIsAFailure()
    {
        write(TestHome::root() + text("/file"), "x");
        m_directory = TestHome::root() + text("/file/below");
        startAgent();
        Kestrumctl::Running tool(line().constData(), "waiting for items");
        QSignalSpy attached(m_agent->service(), &PanelService::attached);
        QTRY_COMPARE(attached.count(), 1);
        QTRY_VERIFY(!m_agent->service()->isUsed());
        const auto ended = tool.ended();
        QCOMPARE(ended.code, 1);
        QVERIFY_CONTAINS(ended.errors, "/file/below cannot be made");
    }

    void withoutABusItSaysSo()
    {
        m_bus.reset();
        QFile::remove(TestHome::runtimeDirectory() + text("/bus"));
        QVERIFY_FAILED(ctl(line().constData()), 1, "there is no session bus");
    }
};

KESTRUM_TEST_MAIN_OF(PanelFilesTest)(int argc, char** argv)
{
    const TestHome home;
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QApplication application(argc, argv);
    PanelFilesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PanelFilesTest.moc"
