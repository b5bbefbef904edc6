// What happens when the process is killed at a system call of a save.

#include "tests/Support/TestHome.h"
#include "tests/Support/TracedSave.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

class StoreKillTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString obstacle = TracedSave::obstacle();
        if (!obstacle.isEmpty())
            QSKIP(qUtf8Printable(obstacle));
    }

    void endAtAnyCallLeavesOldOrNewAndNoLock_data() { TracedSave::addStates(); }

    void endAtAnyCallLeavesOldOrNewAndNoLock()
    {
        QFETCH(const QByteArray, before);
        TracedSave::prepare(before);
        const auto sound = TracedSave::run("save");
        QVERIFY(sound.calls.size() > 15);
        for (const auto& call : sound.calls) {
            const QByteArray injection = call.name + ":signal=KILL:when=" + QByteArray::number(call.number);
            TracedSave::prepare(before);
            const auto outcome = TracedSave::run("save", injection);
            // The number of the sanitizers' own reads varies. If it was too low, the process was not killed.
            if (call.name == "read" && outcome.exitCode == 0)
                continue;
            QVERIFY2(outcome.exitCode == -1, injection.constData());
            const QString flaw = TracedSave::flaw(before, outcome, injection);
            QVERIFY2(flaw.isEmpty(), qUtf8Printable(QString::fromLatin1(injection) + u' ' + flaw));
        }
    }
};

KESTRUM_TEST_MAIN_OF(StoreKillTest)(int argc, char** argv)
{
    if (const int exitCode = TracedSave::played(argc, argv); exitCode >= 0)
        return exitCode;
    const TestHome home;
    const QCoreApplication application(argc, argv);
    StoreKillTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StoreKillTest.moc"
