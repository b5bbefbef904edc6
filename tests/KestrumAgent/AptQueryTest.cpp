#include "KestrumAgent/Updates/AptQuery.h"
#include "tests/Support/AptScript.h"
#include "tests/Support/AptWorld.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QSignalSpy>
#include <csignal>
#include <unistd.h>

using namespace kestrum;

namespace {

/// A query, and its answers and failures.
struct Asking {
    AptQuery query;
    QSignalSpy answers { &query, &AptQuery::answered };
    QSignalSpy failures { &query, &AptQuery::failed };

    explicit Asking(std::chrono::milliseconds timeLimit = std::chrono::seconds(20))
        : query(text("kestrum"), timeLimit)
    {
    }
    void ask()
    {
        query.start();
        QVERIFY(answers.isEmpty() && failures.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(answers.count() + failures.count(), 1, 20'000);
    }
    /// Asks, and returns the answer; "failed" if there is none.
    QByteArray answer()
    {
        ask();
        return answers.isEmpty() ? "failed" : answers.first().first().toByteArray();
    }
};

} // namespace

class AptQueryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aptIsAskedInTheCLocaleWithoutAShell()
    {
        qputenv("LC_ALL", "de_DE.UTF-8");
        const AptScript script("cd \"${0%/*}\"; echo \"$#:$*\" > arguments; echo \"$LC_ALL\" > locale;"
                               " cat > input; echo answer\n");
        QCOMPARE(
            Asking().answer(), QByteArray("answer\n")); // the script ended, so its standard input was empty
        qunsetenv("LC_ALL");
        QCOMPARE(script.written("arguments"), QByteArray("2:policy kestrum"));
        QCOMPARE(script.written("locale"), QByteArray("C"));
    }

    void noDescriptorOfOursIsHandedOn()
    {
        // dup2() does not set the close-on-exec flag. 200 is beyond the shell's own descriptors.
        constexpr int inherited = 200;
        QCOMPARE(::dup2(STDERR_FILENO, inherited), inherited);
        const AptScript script("ls /proc/$$/fd\n");
        const QByteArray answer = Asking().answer();
        ::close(inherited);
        QVERIFY(!answer.isEmpty());
        for (const QByteArray& descriptor : answer.trimmed().split('\n'))
            QVERIFY2(descriptor.toInt() < inherited && descriptor != "failed", descriptor.constData());
    }

    void noSignalStaysHeldBack()
    {
        // The agent blocks these two signals because its event loop reads them.
        sigset_t held;
        sigset_t before;
        sigemptyset(&held);
        sigaddset(&held, SIGINT);
        sigaddset(&held, SIGTERM);
        QCOMPARE(::pthread_sigmask(SIG_BLOCK, &held, &before), 0);
        // The script runs in awk: some shells unblock all signals themselves.
        const AptScript script(
            "BEGIN { while ((getline line < \"/proc/self/status\") > 0) if (line ~ /^SigBlk/) print line }\n",
            "/usr/bin/awk -f");
        const QByteArray answer = Asking().answer();
        QCOMPARE(::pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
        QCOMPARE(answer, QByteArray("SigBlk:\t0000000000000000\n"));
    }

    void theAnswerIsAptsOwn()
    {
        const AptWorld world("1.5-30", "1.4-27");
        const QByteArray answer = Asking().answer().trimmed();
        QVERIFY(!answer.isEmpty());
        QCOMPARE(answer, AptWorld::policy());
    }

    void failuresAreTold_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const char* script, const QString& reason) {
            QTest::newRow(name) << QByteArray(script) << reason;
        };
        row("too much", "exec yes kestrum\n", text("APT's answer is not understood."));
        row("too slow", "exec sleep 50\n", text("APT took too long."));
        row("too slow, but talking", "while sleep 0.1; do echo kestrum; done\n", text("APT took too long."));
        row("no word", "exit 100\n", text("APT gave no answer."));
        row("an answer that is no success", "echo kestrum:; exit 100\n", text("APT gave no answer."));
        row("killed", "kill -9 $$\n", text("APT gave no answer."));
        row("complaint", "echo 'W: first' >&2; echo 'E: second' >&2; exit 100\n", text("second"));
        row("endless complaint", "echo 'E: first' >&2; yes >&2 & sleep 0.1; kill $!; exit 100\n",
            text("first"));
        row("long complaint", "echo \"E: $(yes | head -c 1000 | tr -d '\\n')\" >&2; exit 100\n",
            QString(200, u'y'));
    }
    void failuresAreTold()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, reason);
        const AptScript apt("echo $$ > \"${0%/*}/pid\"\n" + script);
        const bool isSlow = QByteArray(QTest::currentDataTag()).startsWith("too slow");
        Asking asking(std::chrono::milliseconds(isSlow ? 300 : 20'000));
        QElapsedTimer clock;
        clock.start();
        asking.ask();
        QVERIFY(clock.elapsed() < 10'000);
        QCOMPARE(asking.failures.count(), 1);
        QCOMPARE(asking.failures.first().first().toString(), reason);
        const int pid = apt.written("pid").toInt();
        QVERIFY(pid > 0);
        QVERIFY(::kill(pid, 0) != 0);
        QTest::qWait(50);
        QCOMPARE(asking.answers.count() + asking.failures.count(), 1);
    }

    void aWarningIsNoFailure()
    {
        const AptScript script("echo 'W: the lists are old' >&2\n");
        QCOMPARE(Asking().answer(), QByteArray());
    }

    void aMissingProgramIsAFailure()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nothing here");
        QVERIFY(AptQuery::program().isEmpty());
        Asking asking;
        asking.ask();
        qputenv("PATH", path);
        QCOMPARE(asking.failures.count(), 1);
        QVERIFY(!asking.failures.first().first().toString().isEmpty());
    }

    void theProcessEndsWithTheQuestion()
    {
        const AptScript script("echo $$ > \"${0%/*}/pid\"; exec sleep 50\n");
        {
            Asking asking;
            asking.query.start();
            QTRY_VERIFY(!script.written("pid").isEmpty());
        }
        QVERIFY(::kill(script.written("pid").toInt(), 0) != 0);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AptQueryTest)
#include "AptQueryTest.moc"
