#include "Platform/Files/RateLimiter.h"
#include "Platform/Processes/Workspace.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/WorkspaceFixture.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QSignalSpy>
#include <QTimer>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

using namespace kestrum;

namespace {

constexpr int seriesTime = 600; // ms; longer than the checks that follow the opening of a program

// Opens a file every millisecond while the event loop runs. Returns the share of a core that this thread used.
double shareWhileOpening(const QString& path, int milliseconds)
{
    const QByteArray file = QFile::encodeName(path);
    QTimer opening;
    opening.setTimerType(Qt::PreciseTimer);
    QObject::connect(
        &opening, &QTimer::timeout, [&file] { ::close(::open(file.constData(), O_RDONLY | O_CLOEXEC)); });
    opening.start(1);
    const auto before = RateLimiter::processorTime();
    QElapsedTimer timer;
    timer.start();
    QTest::qWait(milliseconds);
    const auto cost = std::chrono::duration<double, std::nano>(RateLimiter::processorTime() - before);
    return cost.count() / double(timer.nsecsElapsed());
}

} // namespace

class WorkspaceWatchTest : public QObject, WorkspaceFixture {
    Q_OBJECT

    /// Observes the bundle and these processes. The spy counts from a test's first call.
    QSignalSpy& observed(const QList<qint32>& pids = {})
    {
        if (!m_changes)
            m_changes.emplace(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        Workspace::shared().observe(bundle(), pids);
        return *m_changes;
    }

    void verifyStartAndEndAreTold(const QString& program, const QSignalSpy& changes)
    {
        const auto before = changes.size();
        const qint32 pid = m_standIns->start(program).pid;
        QTRY_COMPARE(changes.size(), before + 1);
        m_standIns->end(pid);
        QTRY_COMPARE(changes.size(), before + 2);
    }

    std::optional<QSignalSpy> m_changes;

private Q_SLOTS:
    void initTestCase() { prepareStage(); }
    void init() { setStage(); }
    void cleanup()
    {
        clearStage();
        m_changes.reset();
    }

    void startIsToldOnce()
    {
        const QString program = install();
        QSignalSpy& changes = observed();
        observed(); // a second call must not double the notices
        QElapsedTimer timer;
        timer.start();
        const qint32 pid = m_standIns->start(program).pid;
        QVERIFY(changes.wait(1000));
        QVERIFY2(timer.elapsed() < 100, qPrintable(QString::number(timer.elapsed())));
        QTest::qWait(seriesTime);
        QCOMPARE(changes.size(), 1);
        m_standIns->end(pid);
        QTRY_COMPARE(changes.size(), 2);
        QTest::qWait(quietTime);
        QCOMPARE(changes.size(), 2);
    }

    void everyStartOfAnotherProcessIsTold()
    {
        // Another process starts the program, possibly during a check by the workspace.
        const QString program = install();
        QSignalSpy& changes = observed();
        for (int round = 0; round < 50; ++round) {
            const auto before = changes.size();
            QProcess shell;
            shell.start(
                QStringLiteral("/bin/sh"), { QStringLiteral("-c"), QStringLiteral("exec \"$0\""), program });
            QVERIFY(changes.wait(2000));
            QCOMPARE(changes.size(), before + 1);
            shell.kill();
            QVERIFY(changes.wait(2000));
            QCOMPARE(changes.size(), before + 2);
            QVERIFY(shell.state() == QProcess::NotRunning || shell.waitForFinished(2000));
        }
    }

    void endOfARunningProgramIsTold()
    {
        const qint32 pid = m_standIns->start(install()).pid;
        QSignalSpy& changes = observed();
        QTest::qWait(quietTime);
        QCOMPARE(changes.size(), 0);
        QElapsedTimer timer;
        timer.start();
        StandIns::kill(pid);
        QVERIFY(changes.wait(1000));
        QVERIFY2(timer.elapsed() < 100, qPrintable(QString::number(timer.elapsed())));
        QTest::qWait(quietTime);
        QCOMPARE(changes.size(), 1);
        m_standIns->end(pid);
    }

    void endOfALaterProgramIsTold()
    {
        install();
        QSignalSpy& changes = observed();
        const auto opened = open();
        QTRY_COMPARE(changes.size(), 1);
        StandIns::kill(*opened.pid);
        QTRY_COMPARE(changes.size(), 2);
        // When the end is reported, the process does not exist any more.
        QVERIFY(!exists(*opened.pid));
    }

    void endOfOtherProcessesIsTold()
    {
        const qint32 one = m_standIns->start(m_standIns->install(QStringLiteral("elsewhere"))).pid;
        const qint32 other = m_standIns->start(m_standIns->path(QStringLiteral("elsewhere"))).pid;
        const QSignalSpy& changes = observed({ one });
        // Both processes have ended when the workspace checks. Only the observed one causes a notice.
        m_standIns->end(other);
        m_standIns->end(one);
        QTRY_COMPARE(changes.size(), 1);
    }

    void endThatHasBeenIsTold()
    {
        const qint32 pid = m_standIns->start(m_standIns->install(QStringLiteral("elsewhere"))).pid;
        m_standIns->end(pid);
        const QSignalSpy& changes = observed({ pid });
        QCOMPARE(changes.size(), 0); // reported from the event loop only
        QTRY_COMPARE(changes.size(), 1);
    }

    void stopWithoutAnEndIsNotTold()
    {
        const qint32 pid = m_standIns->start(install()).pid;
        QSignalSpy& changes = observed();
        ::kill(pid, SIGSTOP);
        ::kill(pid, SIGCONT);
        QTest::qWait(quietTime);
        QCOMPARE(changes.size(), 0);
        m_standIns->end(pid);
    }

    void otherProgramsAndReadersTellNothing()
    {
        const QString program = install();
        const QString neighbour
            = m_standIns->install(QStringLiteral("Stand In.app/Contents/MacOS/neighbour"));
        const QSignalSpy& changes = observed();
        m_standIns->start(neighbour);
        QVERIFY(contentOf(program).startsWith("\177ELF"));
        QTest::qWait(seriesTime);
        QCOMPARE(changes.size(), 0);
    }

    void replacedProgramIsFollowed()
    {
        install();
        QSignalSpy& changes = observed();
        for (int round = 0; round < 3; ++round) {
            // The new program is written to another file and renamed, as package managers do.
            const QString program = m_standIns->install(QStringLiteral("new"));
            const QString place = bundle() + QStringLiteral("/Contents/MacOS/Stand In");
            QCOMPARE(
                ::rename(QFile::encodeName(program).constData(), QFile::encodeName(place).constData()), 0);
            verifyStartAndEndAreTold(place, changes);
        }
    }

    void bundleThatComesLaterIsFollowed()
    {
        QSignalSpy& changes = observed();
        for (int round = 0; round < 2; ++round) {
            verifyStartAndEndAreTold(install(), changes);
            QVERIFY(QDir(bundle()).removeRecursively());
        }
    }

    void observingIsIdle()
    {
        m_standIns->start(install());
        Workspace::shared().observe(bundle());
        QTest::qWait(seriesTime); // removing the bundles of earlier tests also causes checks
        int turns = 0;
        QObject owner;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &owner,
            [&turns] { ++turns; });
        QEventLoop loop;
        QTimer::singleShot(2500, &loop, &QEventLoop::quit);
        loop.exec();
        QVERIFY2(turns <= 3, qPrintable(QString::number(turns)));
    }

    void floodOfOpeningsCostsLittle()
    {
        // Many processes make each check expensive.
        const QString other = m_standIns->install(QStringLiteral("other"));
        for (int i = 0; i < 500; ++i)
            m_standIns->start(other);
        const double unobserved = shareWhileOpening(install(), 500);
        Workspace::shared().observe(bundle());
        const double withUs = shareWhileOpening(bundle() + QStringLiteral("/Contents/MacOS/Stand In"), 1500);
        QVERIFY2(withUs < unobserved + 0.2,
            qPrintable(QStringLiteral("%1 of a core, and %2 without us").arg(withUs).arg(unobserved)));
    }

    void startAfterAFloodIsTold()
    {
        const QString program = install();
        Workspace::shared().observe(bundle());
        shareWhileOpening(program, 500);
        QSignalSpy& changes = observed();
        m_standIns->start(program);
        QVERIFY(changes.wait(1000));
    }

    void withoutProcessDescriptorsTheEndIsLookedFor()
    {
        install();
        const qint32 foreign = m_standIns->start(m_standIns->install(QStringLiteral("elsewhere"))).pid;
        const qint32 other = m_standIns->start(m_standIns->path(QStringLiteral("elsewhere"))).pid;
        HelperProcess helper(
            { QStringLiteral("workspace"), bundle(), QString::number(foreign), QString::number(other) });
        const QByteArray first = helper.line();
        if (first.startsWith("unsupported"))
            QSKIP("this kernel does not let a process give up calls of its own");
        QVERIFY(first.startsWith("opened "));
        const qint32 opened = first.mid(7).toInt();
        QVERIFY(exists(opened));
        QCOMPARE(helper.line(), QByteArray("changed")); // for the start, which needs no process descriptor
        m_standIns->end(foreign);
        StandIns::kill(opened);
        QCOMPARE(helper.line(5000), QByteArray("changed"));
        QCOMPARE(helper.line(5000), QByteArray("changed"));
        QVERIFY(!exists(opened));
        // The other process was checked meanwhile, and will be checked again.
        m_standIns->end(other);
        QCOMPARE(helper.line(5000), QByteArray("changed"));
        QCOMPARE(helper.finish(), 0);
        QVERIFY(!helper.hasLine(0));
        QCOMPARE(helper.errors().count("looked at every 2 s"), 1);
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, WorkspaceWatchTest)
#include "WorkspaceWatchTest.moc"
