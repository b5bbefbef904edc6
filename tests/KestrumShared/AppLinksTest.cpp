#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/LaunchFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

class AppLinksTest : public LaunchFixture {
    Q_OBJECT

private Q_SLOTS:
    void agentLiesInTheMainBundle()
    {
        QCOMPARE(AppLinks::embeddedAgentURL(),
            m_standIns->path(QStringLiteral("Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app")));
        QCOMPARE(AppLinks::embeddedAgentProgram(),
            AppLinks::embeddedAgentURL() + QStringLiteral("/Contents/MacOS/KestrumAgent"));
        QCOMPARE(AppLinks::agentIdentifier(), QStringLiteral("com.orvale.kestrum.agent"));
    }

    void agentThatRunsIsKnown()
    {
        QVERIFY(!AppLinks::isAgentRunning());
        QVERIFY(AppLinks::agentProcesses().isEmpty());
        QVERIFY(!AppLinks::runningAgentBundle().has_value());
        const qint32 pid = m_standIns->start(m_standIns->path(agentPlace)).pid;
        QVERIFY(AppLinks::isAgentRunning());
        QCOMPARE(runningPids(), QList<qint32> { pid });
    }

    void fiveVariablesAreHandedOnWhereTheyAreSet()
    {
        QMap<QString, QString> expected;
        for (const char* name : { "KESTRUM_LANGUAGE", "KESTRUM_SETTINGS_SUITE", "KESTRUM_UI_TESTING",
                 "KESTRUM_DISABLE_UPDATER", "KESTRUM_NO_LOGIN_ITEM" }) {
            QCOMPARE(AppLinks::testEnvironment(), expected);
            // A variable with an empty value counts as set.
            const QByteArray value = qstrcmp(name, "KESTRUM_UI_TESTING") == 0 ? "" : name;
            qputenv(name, value);
            expected.insert(QLatin1StringView(name), QString::fromLatin1(value));
        }
        qputenv("KESTRUM_OTHER", "other");
        const auto environment = AppLinks::testEnvironment();
        qunsetenv("KESTRUM_OTHER");
        for (const QString& name : expected.keys())
            qunsetenv(name.toLatin1().constData());
        QCOMPARE(environment, expected);
    }

    void agentHasTheVariablesOfTheTestEnvironment()
    {
        qputenv("KESTRUM_LANGUAGE", "de");
        AppLinks::launchAgentIfNeeded(0);
        qunsetenv("KESTRUM_LANGUAGE");
        QCOMPARE(runningPids().size(), 1);
        QByteArrayList ours = StandIns::environmentOf(runningPids()[0]);
        // Two variables are those of the test run.
        ours.removeIf([](const QByteArray& variable) {
            return !variable.startsWith("KESTRUM_") || variable.startsWith("KESTRUM_BUILD=")
                || variable.startsWith("KESTRUM_SOURCE=");
        });
        QCOMPARE(ours, QByteArrayList { "KESTRUM_LANGUAGE=de" });
    }

    void stoppingAsksTheAgentToQuit()
    {
        const qint32 pid = m_standIns->start(m_standIns->path(agentPlace)).pid;
        int asked = 0;
        SignalListener agent;
        agent.listen(SharedSettings::Signal::quitAgent, [&asked] { ++asked; });
        AppLinks::stopAgent();
        QTRY_COMPARE(asked, 1);
        // The agent gets one request and is not killed.
        QTest::qWait(quietTime);
        QCOMPARE(asked, 1);
        QCOMPARE(runningPids(), QList<qint32> { pid });
        QCOMPARE(lines().size(), 0);
    }

    void bundleIsThatOfTheAgentThatRuns()
    {
        const QString other = m_standIns->install(StandIns::agentIn(QStringLiteral("another copy")));
        m_standIns->tree().write(QStringLiteral("another copy/KestrumAgent.app/Contents/Info.plist"),
            "{ CFBundleShortVersionString = \"7.5\"; }");
        m_standIns->start(other);
        const auto bundle = AppLinks::runningAgentBundle();
        QVERIFY(bundle.has_value());
        QCOMPARE(bundle->path(), m_standIns->path(QStringLiteral("another copy/KestrumAgent.app")));
        QCOMPARE(bundle->infoText(QStringLiteral("CFBundleShortVersionString")),
            std::optional(QStringLiteral("7.5")));
    }

    void bundleThatIsGoneIsNone()
    {
        m_standIns->start(m_standIns->path(agentPlace));
        QVERIFY(QDir(AppLinks::embeddedAgentURL()).removeRecursively());
        QVERIFY(AppLinks::isAgentRunning());
        QVERIFY(!AppLinks::runningAgentBundle().has_value());
    }

    void bundleIsThatOfTheFirstAgent()
    {
        const QString first = m_standIns->install(StandIns::agentIn(QStringLiteral("first")));
        const QString second = m_standIns->install(StandIns::agentIn(QStringLiteral("second")));
        const qint32 pid = m_standIns->start(first).pid;
        QTest::qWait(30);
        m_standIns->start(second);
        QCOMPARE(AppLinks::runningAgentBundle()->path(),
            m_standIns->path(QStringLiteral("first/KestrumAgent.app")));
        QTest::qWait(30);
        m_standIns->end(pid);
        m_standIns->start(first);
        QCOMPARE(AppLinks::runningAgentBundle()->path(),
            m_standIns->path(QStringLiteral("second/KestrumAgent.app")));
    }

    void bundleOfAnotherNameIsNone()
    {
        const QString program = m_standIns->install(QStringLiteral("Other.app/Contents/MacOS/KestrumAgent"));
        QVERIFY(!AppLinks::runningAgentBundle({ { 1, 1.0, program } }).has_value());
    }

    void agentWithAnUnknownStartIsTheLast()
    {
        const QString unknown = m_standIns->install(StandIns::agentIn(QStringLiteral("unknown")));
        const QString known = m_standIns->install(StandIns::agentIn(QStringLiteral("known")));
        const QString bundle = m_standIns->path(QStringLiteral("known/KestrumAgent.app"));
        const ProcessScan::Entry one { 1, std::nullopt, unknown };
        const ProcessScan::Entry other { 2, 4e9, known };
        QCOMPARE(AppLinks::runningAgentBundle({ one, other })->path(), bundle);
        QCOMPARE(AppLinks::runningAgentBundle({ other, one })->path(), bundle);
        QVERIFY(AppLinks::runningAgentBundle({ one }).has_value());
    }

    void amongEqualStartsTheScansOrderDecides()
    {
        QList<ProcessScan::Entry> agents;
        for (const char* place : { "late", "b", "a", "c" })
            agents.append({ 1, 100.0, m_standIns->install(StandIns::agentIn(QString::fromLatin1(place))) });
        agents[0].started = 200.0;
        QCOMPARE(AppLinks::runningAgentBundle(agents)->path(),
            m_standIns->path(QStringLiteral("b/KestrumAgent.app")));
        for (auto& agent : agents)
            agent.started.reset();
        QCOMPARE(AppLinks::runningAgentBundle(agents)->path(),
            m_standIns->path(QStringLiteral("late/KestrumAgent.app")));
        QVERIFY(!AppLinks::runningAgentBundle({ { 1, 1.0, QStringLiteral("/no/agent") } }).has_value());
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, AppLinksTest)
#include "AppLinksTest.moc"
