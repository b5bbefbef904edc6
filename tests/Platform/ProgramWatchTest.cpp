// The file of the running program is replaced and removed. Here that file is a link to the test's own program; whatever else
// stands in its place is another program.

#include "Platform/Processes/ProgramWatch.h"
#include "Platform/Processes/ProgramStart.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#include <memory>
#include <optional>
#include <sys/wait.h>

using namespace kestrum;

using namespace std::chrono_literals;

class ProgramWatchTest : public QObject {
    Q_OBJECT

    static constexpr ProgramWatch::Times quick { 50ms, 300ms, 20ms };

    std::unique_ptr<FileTree> m_tree;
    std::unique_ptr<ProgramWatch> m_watch;
    std::unique_ptr<QSignalSpy> m_replaced;
    std::unique_ptr<QSignalSpy> m_removed;

    QString program() const { return m_tree->path(text("program")); }
    QString tried() const { return m_tree->path(text("tried")); }
    qsizetype trials() const { return QFile::exists(tried()) ? contentOf(tried()).count('\n') : 0; }

    void putOwnProgram() const
    {
        QVERIFY(QFile::link(QCoreApplication::applicationFilePath(), m_tree->path(text("own"))));
        rename("own");
    }
    /// Replaces the program by a shell script that notes each of its runs, and what it was asked for.
    void replaceBy(const QByteArray& script) const
    {
        m_tree->write(
            text("other"), "#!/bin/sh\necho \"$@\" >>'" + QFile::encodeName(tried()) + "'\n" + script);
        QVERIFY(QFile::setPermissions(
            m_tree->path(text("other")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        rename("other");
    }
    void rename(const char* from) const
    {
        QCOMPARE(
            std::rename(qPrintable(m_tree->path(text(from))), QFile::encodeName(program()).constData()), 0);
    }

    void watch(const ProgramWatch::Times& times = quick)
    {
        m_watch = std::make_unique<ProgramWatch>(program(), times);
        m_replaced = std::make_unique<QSignalSpy>(m_watch.get(), &ProgramWatch::replaced);
        m_removed = std::make_unique<QSignalSpy>(m_watch.get(), &ProgramWatch::removed);
    }
    /// Until the first look is over.
    void watchTheOwnProgram()
    {
        putOwnProgram();
        watch();
        QTest::qWait(int(quick.quiet.count()) * 2);
    }

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }
    void cleanup()
    {
        m_watch.reset();
        m_tree.reset();
    }

    void anotherProgramIsToldOnceItHasAnswered()
    {
        watchTheOwnProgram();
        QCOMPARE(trials(), 0);
        QCOMPARE(m_replaced->count(), 0);
        replaceBy("exit 0");
        QTRY_COMPARE(m_replaced->count(), 1);
        QCOMPARE(contentOf(tried()), QByteArray("--version\n"));
        QCOMPARE(m_removed->count(), 0);
    }

    void aProgramReplacedBeforeTheWatchIsNoticed()
    {
        replaceBy("exit 0");
        watch();
        QTRY_COMPARE(m_replaced->count(), 1);
    }

    void aProgramThatIsGoneIsTold()
    {
        watchTheOwnProgram();
        QVERIFY(QFile::remove(program()));
        QTRY_COMPARE(m_removed->count(), 1);
        QCOMPARE(m_replaced->count(), 0);
    }

    void aProgramThatIsBackInTimeWasNeverGone()
    {
        putOwnProgram();
        watch({ 300ms, 300ms, 20ms });
        QTest::qWait(400);
        QVERIFY(QFile::remove(program()));
        QTest::qWait(50);
        putOwnProgram();
        QTest::qWait(600);
        QCOMPARE(m_removed->count(), 0);
        QCOMPARE(m_replaced->count(), 0);
        QCOMPARE(trials(), 0);
    }

    void aTrialThatHangsHasFailed()
    {
        watchTheOwnProgram();
        QElapsedTimer clock;
        clock.start();
        replaceBy("echo $$ >>'" + QFile::encodeName(m_tree->path(text("pids"))) + "'\nexec sleep 600");
        QTRY_VERIFY(trials() >= 2); // the first was given up, and another begun
        QVERIFY(clock.elapsed() >= (quick.quiet + quick.trial + quick.pauseAfterFailure).count());
        QCOMPARE(m_replaced->count(), 0);
        // The one that hung was ended.
        const QByteArray first = contentOf(m_tree->path(text("pids"))).split('\n').first();
        QVERIFY(first.toInt() > 0);
        QVERIFY(!QFile::exists(text("/proc/") + QString::fromLatin1(first)));
    }

    void whatFailsIsTriedAgainUntilItSucceeds()
    {
        watchTheOwnProgram();
        // What the program needs comes after it.
        replaceBy("test -e '" + QFile::encodeName(m_tree->path(text("library"))) + '\'');
        QTRY_VERIFY(trials() >= 2);
        QCOMPARE(m_replaced->count(), 0);
        m_tree->write(text("library"), "here");
        QTRY_COMPARE(m_replaced->count(), 1);
    }

    void trialsHaveAnEndUntilTheProgramChangesAgain()
    {
        watchTheOwnProgram();
        replaceBy("exit 1");
        QTRY_COMPARE(trials(), ProgramWatch::mostTrials);
        QTest::qWait(500);
        QCOMPARE(trials(), ProgramWatch::mostTrials);
        QCOMPARE(m_replaced->count(), 0);
        replaceBy("exit 0");
        QTRY_COMPARE(m_replaced->count(), 1);
    }

    void theTimeIsTakenOnceAndNotInherited()
    {
        qputenv("KESTRUM_PROGRAM_BEGAN", "1234.5");
        QCOMPARE(ProgramWatch::takeBegin(), std::optional(1234.5));
        QCOMPARE(ProgramWatch::takeBegin(), std::nullopt);
        const QString file = m_tree->path(text("environment"));
        const auto pid = ProgramStart::start("/bin/sh",
            { "-c",
                "env >'" + QFile::encodeName(file) + ".new'; mv '" + QFile::encodeName(file) + ".new' '"
                    + QFile::encodeName(file) + '\'' });
        QVERIFY(pid);
        QTRY_VERIFY(QFile::exists(file));
        ::waitpid(*pid, nullptr, 0);
        QVERIFY(contentOf(file).contains("PATH="));
        QVERIFY(!contentOf(file).contains("KESTRUM_PROGRAM_BEGAN"));
        qputenv("KESTRUM_PROGRAM_BEGAN", "soon");
        QCOMPARE(ProgramWatch::takeBegin(), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ProgramWatchTest)
#include "ProgramWatchTest.moc"
