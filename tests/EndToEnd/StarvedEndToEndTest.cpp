// The built programs after another program has used up the user's limits for watching folders.

#include "tests/Support/DesktopTest.h"
#include "tests/Support/Text.h"

#include <QElapsedTimer>

using namespace kestrum;

using Programs::patience;

namespace {

/// The time in ms until a change is noticed: the programs then check every 2 s.
constexpr int oneLook = Programs::areSanitized ? patience : 2500;

} // namespace

class StarvedEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> started(const QString& kind, const QString& program)
    {
        return Programs::started(QCoreApplication::applicationDirPath() + text("/HelperProcess"),
            { text("starved"), kind, text("become"), program });
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
            fixture().kestrumctl({ text("post"), text(signal) });
        QTest::qWait(50);
        const auto agent = started(kind, fixture().agentProgram());
        const auto kestrum = started(kind, fixture().program("Kestrum"));
        if (kestrum->waitForReadyRead(100) && kestrum->readAllStandardOutput().startsWith("unsupported"))
            QSKIP("this kernel does not let us lower the limits for one process");
        const QByteArray window = DesktopFixture::windowOf(kestrum->processId());
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
        QTRY_COMPARE_WITH_TIMEOUT(agents(), QList<qint32> { qint32(agent->processId()) }, patience);
        fixture().turnToOther();

        QElapsedTimer time;
        for (time.start(); time.elapsed() < quietTime();) {
            QTest::qWait(50);
            QCOMPARE(DesktopFixture::activeWindow(), fixture().otherWindow());
            QCOMPARE(agents(), QList<qint32> { qint32(agent->processId()) });
            QCOMPARE(kestrum->state(), QProcess::Running);
        }

        fixture().kestrumctl({ text("post"), text("openSettings") });
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, oneLook);
        fixture().kestrumctl({ text("post"), text("quitAgent") });
        QTRY_COMPARE_WITH_TIMEOUT(agents(), QList<qint32>(), oneLook);
        Programs::end(*kestrum);
        Programs::end(*agent);
        for (QProcess* process : { kestrum.get(), agent.get() }) {
            const QByteArray said = process->readAllStandardError();
            QVERIFY2(said.count("looked at every 2 s") == 1, said.constData());
        }
    }

private:
    /// The time in ms in which nothing may happen: several checks, or KESTRUM_STARVED_SECONDS for a run by hand.
    static int quietTime()
    {
        const int seconds = qEnvironmentVariableIntValue("KESTRUM_STARVED_SECONDS");
        return seconds > 0 ? seconds * 1000 : 4500;
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(StarvedEndToEndTest)
#include "StarvedEndToEndTest.moc"
