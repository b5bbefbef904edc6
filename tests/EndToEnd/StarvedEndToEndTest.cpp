// The built programs after another program has used up the user's limits for watching folders.

#include "tests/Support/DesktopTest.h"

#include <QElapsedTimer>
#include <algorithm>

using namespace kestrum;

using Programs::patience;

class StarvedEndToEndTest : public DesktopTest {
    Q_OBJECT

    /// `how` is a prefix of HelperProcess's verbs, such as "starved watches".
    std::unique_ptr<QProcess> started(const QString& how, const QString& program)
    {
        return Programs::started(QCoreApplication::applicationDirPath() + text("/HelperProcess"),
            how.split(u' ') + QStringList { text("become"), program });
    }

private Q_SLOTS:
    void agentAndWindowHearOnlyWhatIsPosted_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("no inotify instance") << text("instances");
        QTest::newRow("no watch") << text("watches");
    }
    void agentAndWindowHearOnlyWhatIsPosted()
    {
        QFETCH(const QString, kind);
        fixture().write("agentEnabled", "true");
        // Signals that were posted earlier have no effect.
        for (const char* signal : { "quitAgent", "openSettings", "checkForUpdates" })
            fixture().kestrumctl("post", words(signal));
        QTest::qWait(50);
        const auto agent = started(text("starved ") + kind, fixture().agentProgram());
        if (agent->waitForReadyRead(100) && agent->readAllStandardOutput().startsWith("unsupported"))
            QSKIP("this kernel does not let us lower the limits for one process");
        // The window would start a second agent if it did not see this one.
        QTRY_COMPARE_WITH_TIMEOUT(fixture().listeningAgent(), qint32(agent->processId()), patience);
        const auto kestrum = started(text("beside %1").arg(agent->processId()), fixture().program("Kestrum"));
        const QByteArray window = DesktopFixture::windowOf(kestrum->processId());
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
        fixture().turnToOther();

        QElapsedTimer time;
        qint64 longestRound = 0;
        for (time.start(); time.elapsed() < quietTime();) {
            const qint64 before = time.elapsed();
            QVERIFY(fixture().isOtherActive());
            QCOMPARE(agents(), QList<qint32> { qint32(agent->processId()) });
            QCOMPARE(kestrum->state(), QProcess::Running);
            QTest::qWait(50);
            longestRound = std::max(longestRound, time.elapsed() - before);
        }
        // A change is noticed at the next poll, after at most 2 s. The rest of the limit allows for other work of the machine.
        const int oneLook = Programs::areSanitized ? patience : int(2000 + 10 * longestRound);

        fixture().kestrumctl("post openSettings");
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, oneLook);
        fixture().kestrumctl("post quitAgent");
        QTRY_COMPARE_WITH_TIMEOUT(agents(), QList<qint32>(), oneLook);
        Programs::end(*kestrum);
        Programs::end(*agent);
        for (QProcess* process : { kestrum.get(), agent.get() }) {
            const QByteArray said = process->readAllStandardError();
            QVERIFY2(said.count("looked at every 2 s") == 1, said.constData());
        }
    }

private:
    /// The time in ms in which nothing may happen: several polls. KESTRUM_STARVED_SECONDS sets the time for a run by hand.
    static int quietTime()
    {
        const int seconds = qEnvironmentVariableIntValue("KESTRUM_STARVED_SECONDS");
        return seconds > 0 ? seconds * 1000 : 4500;
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(StarvedEndToEndTest)
#include "StarvedEndToEndTest.moc"
