#include "Platform/Files/RateLimiter.h"
#include "Platform/Processes/Workspace.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/OwnProcesses.h"
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

constexpr int quietWatchTime = 600; // ms; longer than the time until the last check after an event

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

/// How the workspace reports that programs start and end.
class WorkspaceWatchTest : public QObject, WorkspaceFixture {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { prepareStage(); }
    void init() { setStage(); }
    void cleanup() { clearStage(); }

    void startIsTold()
    {
        const QString program = install();
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        QElapsedTimer timer;
        timer.start();
        const qint32 pid = m_standIns->start(program).pid;
        QVERIFY(changes.wait(1000));
        QVERIFY2(timer.elapsed() < 100, qPrintable(QString::number(timer.elapsed())));
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 1);
        m_standIns->end(pid);
        QVERIFY(changes.wait(1000));
    }

    void everyStartOfAnotherProcessIsTold()
    {
        // Another process starts the program, maybe while the workspace is checking.
        const QString program = install();
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        int told = 0;
        for (int round = 0; round < 50; ++round) {
            QProcess shell;
            shell.start(
                QStringLiteral("/bin/sh"), { QStringLiteral("-c"), QStringLiteral("exec \"$0\""), program });
            ++told;
            QTRY_COMPARE_WITH_TIMEOUT(changes.size(), told, 2000);
            shell.kill();
            ++told;
            QTRY_COMPARE_WITH_TIMEOUT(changes.size(), told, 2000);
            QTRY_COMPARE(shell.state(), QProcess::NotRunning);
        }
    }

    void endOfARunningProgramIsTold()
    {
        const qint32 pid = m_standIns->start(install()).pid;
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 0);
        QElapsedTimer timer;
        timer.start();
        StandIns::kill(pid);
        QVERIFY(changes.wait(1000));
        QVERIFY2(timer.elapsed() < 100, qPrintable(QString::number(timer.elapsed())));
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 1);
        m_standIns->end(pid);
    }

    void endOfALaterProgramIsTold()
    {
        install();
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
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
        Workspace::shared().observe(bundle(), { one });
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        m_standIns->end(other);
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 0);
        m_standIns->end(one);
        QTRY_COMPARE(changes.size(), 1);
    }

    void endThatHasBeenIsTold()
    {
        const qint32 pid = m_standIns->start(m_standIns->install(QStringLiteral("elsewhere"))).pid;
        m_standIns->end(pid);
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        Workspace::shared().observe(bundle(), { pid });
        QCOMPARE(changes.size(), 0); // reported from the event loop only
        QTRY_COMPARE(changes.size(), 1);
    }

    void stopWithoutAnEndIsNotTold()
    {
        const qint32 pid = m_standIns->start(install()).pid;
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        ::kill(pid, SIGSTOP);
        ::kill(pid, SIGCONT);
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 0);
        m_standIns->end(pid);
    }

    void otherProgramsAndReadersTellNothing()
    {
        const QString program = install();
        const QString neighbour
            = m_standIns->install(QStringLiteral("Stand In.app/Contents/MacOS/neighbour"));
        Workspace::shared().observe(bundle());
        QTest::qWait(quietWatchTime);
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        m_standIns->start(neighbour);
        QVERIFY(!content(program).isEmpty());
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 0);
    }

    void replacedProgramIsFollowed()
    {
        install();
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        int told = 0;
        for (int round = 0; round < 3; ++round) {
            // The new program is written to another file and renamed, as package managers do.
            const QString program = m_standIns->install(QStringLiteral("new"));
            const QString place = bundle() + QStringLiteral("/Contents/MacOS/Stand In");
            QCOMPARE(
                ::rename(QFile::encodeName(program).constData(), QFile::encodeName(place).constData()), 0);
            const qint32 pid = m_standIns->start(place).pid;
            ++told;
            QTRY_COMPARE(changes.size(), told);
            m_standIns->end(pid);
            ++told;
            QTRY_COMPARE(changes.size(), told);
        }
    }

    void bundleThatComesLaterIsFollowed()
    {
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        int told = 0;
        for (int round = 0; round < 2; ++round) {
            const qint32 pid = m_standIns->start(install()).pid;
            ++told;
            QTRY_COMPARE(changes.size(), told);
            m_standIns->end(pid);
            ++told;
            QTRY_COMPARE(changes.size(), told);
            QVERIFY(QDir(bundle()).removeRecursively());
        }
    }

    void observingIsIdle()
    {
        m_standIns->start(install());
        Workspace::shared().observe(bundle());
        QTest::qWait(quietWatchTime);
        int turns = 0;
        QObject owner;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &owner,
            [&turns] { ++turns; });
        QEventLoop loop;
        QTimer::singleShot(2500, &loop, &QEventLoop::quit);
        loop.exec();
        QVERIFY2(turns <= 3, qPrintable(QString::number(turns)));
    }

    void observingTwiceTellsOnce()
    {
        const QString program = install();
        Workspace::shared().observe(bundle());
        Workspace::shared().observe(bundle());
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
        const qint32 pid = m_standIns->start(program).pid;
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 1);
        m_standIns->end(pid);
        QTest::qWait(quietWatchTime);
        QCOMPARE(changes.size(), 2);
    }

    void floodOfOpeningsCostsLittle()
    {
        // Many processes make each check expensive.
        const QString other = m_standIns->install(QStringLiteral("other"));
        for (int i = 0; i < 500; ++i)
            m_standIns->start(other);
        const double unobserved = shareWhileOpening(install(), 1000);
        Workspace::shared().observe(bundle());
        const double observed
            = shareWhileOpening(bundle() + QStringLiteral("/Contents/MacOS/Stand In"), 2000);
        QVERIFY2(observed < unobserved + 0.2,
            qPrintable(QStringLiteral("%1 of a core, and %2 without us").arg(observed).arg(unobserved)));
    }

    void startAfterAFloodIsTold()
    {
        const QString program = install();
        Workspace::shared().observe(bundle());
        shareWhileOpening(program, 500);
        QSignalSpy changes(&Workspace::shared(), &Workspace::runningApplicationsChanged);
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
        QCOMPARE(helper.line(), QByteArray("changed")); // the start; reporting it needs no process descriptor
        m_standIns->end(foreign);
        QCOMPARE(helper.line(5000), QByteArray("changed"));
        StandIns::kill(opened);
        QCOMPARE(helper.line(5000), QByteArray("changed"));
        QVERIFY(!exists(opened));
        QVERIFY(!helper.hasLine(2500));
        m_standIns->end(other);
        QCOMPARE(helper.line(5000), QByteArray("changed"));
        QCOMPARE(helper.finish(), 0);
        QCOMPARE(helper.errors().count("looked at every 2 s"), 1);
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, WorkspaceWatchTest)
#include "WorkspaceWatchTest.moc"
