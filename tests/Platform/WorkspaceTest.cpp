#include "Platform/Processes/Workspace.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Text.h"
#include "tests/Support/WorkspaceFixture.h"

#include <QCoreApplication>
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class WorkspaceTest : public QObject, WorkspaceFixture {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { prepareStage(); }
    void init() { setStage(); }
    void cleanup() { clearStage(); }

    void completionHasTheProcessAndComesFromTheEventLoop()
    {
        const QString program = install();
        std::optional<Workspace::Opened> result;
        Workspace::shared().openApplication(
            bundle(), {}, [&result](const Workspace::Opened& opened) { result = opened; });
        QVERIFY(!result.has_value());
        QTRY_VERIFY(result.has_value());
        QVERIFY(result->pid.has_value());
        m_opened.insert(*result->pid);
        QCOMPARE(result->error, QString());
        QCOMPARE(QFile::symLinkTarget(procPath(*result->pid, "exe")), program);
        QTRY_COMPARE(contentOf(procPath(*result->pid, "cmdline")), QFile::encodeName(program) + '\0');
    }

    void whatCannotBeStartedIsToldByName_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("named");
        const auto row = [](const char* name, const char* obstacle, const char* named) {
            QTest::newRow(name) << text(obstacle) << text(named);
        };
        row("no bundle", "", "there is no application at %1");
        row("no program", "Contents/MacOS", "%1/Contents/MacOS/Stand In cannot be started: No such file");
        row("not executable", "plain", "%1/Contents/MacOS/Stand In cannot be started: Permission denied");
        row("a folder", "Contents/MacOS/Stand In",
            "%1/Contents/MacOS/Stand In cannot be started: Permission denied");
        row("no program's format", "text", "%1/Contents/MacOS/Stand In cannot be started: Exec format error");
    }

    void whatCannotBeStartedIsToldByName()
    {
        QFETCH(const QString, obstacle);
        QFETCH(const QString, named);
        const QString relative = QStringLiteral("Stand In.app/Contents/MacOS/Stand In");
        if (obstacle == text("plain") || obstacle == text("text")) {
            m_standIns->tree().write(relative, "no program");
            const auto mode = obstacle == text("plain") ? mode_t(0600) : mode_t(0700);
            QCOMPARE(::chmod(QFile::encodeName(m_standIns->path(relative)).constData(), mode), 0);
        } else if (!obstacle.isEmpty()) {
            QVERIFY(QDir().mkpath(bundle() + u'/' + obstacle));
        }
        const auto opened = open();
        QCOMPARE(opened.pid, std::nullopt);
        QVERIFY2(opened.error.startsWith(named.arg(bundle())), qPrintable(opened.error));
    }

    void programIsInASessionOfItsOwnAndInTheRoot()
    {
        install();
        const auto opened = open();
        QCOMPARE(::getsid(*opened.pid), *opened.pid);
        QCOMPARE(::getpgid(*opened.pid), *opened.pid);
        QCOMPARE(QFile::symLinkTarget(procPath(*opened.pid, "cwd")), QStringLiteral("/"));
    }

    void programHasNoDescriptorOfOurs()
    {
        install();
        const int high = ::fcntl(STDIN_FILENO, F_DUPFD, 200); // without O_CLOEXEC
        QVERIFY(high >= 200);
        const auto opened = open();
        ::close(high);
        const QStringList descriptors
            = QDir(procPath(*opened.pid, "fd"))
                  .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        QCOMPARE(
            descriptors, (QStringList { QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2") }));
        QCOMPARE(QFile::symLinkTarget(procPath(*opened.pid, "fd/0")), QStringLiteral("/dev/null"));
    }

    void programHasDefaultSignals()
    {
        install();
        sigset_t blocked;
        sigset_t before;
        ::sigemptyset(&blocked);
        ::sigaddset(&blocked, SIGTERM);
        ::sigaddset(&blocked, SIGRTMIN + 3);
        ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
        const auto ignored = ::signal(SIGPIPE, SIG_IGN);
        const auto opened = open();
        ::signal(SIGPIPE, ignored);
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        QCOMPARE(status(*opened.pid, "SigBlk"), QByteArray("0000000000000000"));
        QCOMPARE(status(*opened.pid, "SigCgt"), QByteArray("0000000000000000"));
        // The C library reserves the signals 32 and 33. Programs cannot change them, so they may be ignored.
        QCOMPARE(status(*opened.pid, "SigIgn").toULongLong(nullptr, 16) & ~0x180000000ULL, 0ULL);
    }

    void readerOfOurOutputDoesNotWaitForTheProgram()
    {
        install();
        const QByteArray file = QFile::encodeName(m_standIns->path(QStringLiteral("errors")));
        int ends[2];
        QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
        const int errors = ::open(file.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const int savedOutput = ::dup(STDOUT_FILENO);
        const int savedErrors = ::dup(STDERR_FILENO);
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(errors, STDERR_FILENO);
        const auto opened = open();
        ::dup2(savedOutput, STDOUT_FILENO);
        ::dup2(savedErrors, STDERR_FILENO);
        for (const int descriptor : { ends[1], errors, savedOutput, savedErrors })
            ::close(descriptor);
        QCOMPARE(QFile::symLinkTarget(procPath(*opened.pid, "fd/1")), QStringLiteral("/dev/null"));
        QCOMPARE(QFile::symLinkTarget(procPath(*opened.pid, "fd/2")), QFile::decodeName(file));
        char byte = 0;
        QCOMPARE(::read(ends[0], &byte, 1), 0);
        QVERIFY(exists(*opened.pid));
        ::close(ends[0]);
    }

    void environmentIsAddedToOurs()
    {
        install();
        qputenv("KESTRUM_LANGUAGE", "de");
        qputenv("TEST_OURS", "with = and \xff");
        Workspace::OpenConfiguration configuration;
        configuration.environment = { { QStringLiteral("KESTRUM_LANGUAGE"), QStringLiteral("fr") },
            { QStringLiteral("TEST_ADDED"), QStringLiteral("two words") },
            { QStringLiteral("TEST_EMPTY"), QString() } };
        const auto opened = open(configuration);
        QByteArrayList expected;
        for (char** variable = environ; *variable; ++variable)
            expected.append(*variable);
        expected.removeAll("KESTRUM_LANGUAGE=de");
        expected.append({ "KESTRUM_LANGUAGE=fr", "TEST_ADDED=two words", "TEST_EMPTY=" });
        qunsetenv("KESTRUM_LANGUAGE");
        qunsetenv("TEST_OURS");
        std::sort(expected.begin(), expected.end());
        QCOMPARE(StandIns::environmentOf(*opened.pid), expected);
    }

    void focusIsHandedOnOnlyToActivate()
    {
        install();
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "id");
        Workspace::OpenConfiguration configuration;
        configuration.createsNewApplicationInstance = true;
        const auto active = open(configuration);
        configuration.activates = false;
        const auto quiet = open(configuration);
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        const QByteArrayList handed = StandIns::environmentOf(*active.pid);
        QVERIFY(handed.contains("XDG_ACTIVATION_TOKEN=token") && handed.contains("DESKTOP_STARTUP_ID=id"));
        QByteArrayList kept = StandIns::environmentOf(*quiet.pid);
        kept.append({ "DESKTOP_STARTUP_ID=id", "XDG_ACTIVATION_TOKEN=token" });
        std::sort(kept.begin(), kept.end());
        QCOMPARE(kept, handed);
    }

    void endedProgramLeavesNothingBehind()
    {
        install();
        const auto opened = open();
        StandIns::kill(*opened.pid);
        QTRY_VERIFY_WITH_TIMEOUT(!exists(*opened.pid), 1000);
    }

    void runningProgramIsTheResult()
    {
        const QString program = install();
        const qint32 pid = m_standIns->start(program).pid;
        QCOMPARE(open().pid, std::optional(pid));
        m_standIns->end(pid);
        const auto opened = open();
        QVERIFY(opened.pid.has_value() && opened.pid != pid);
    }

    void replacedProgramThatRunsIsTheResult()
    {
        const qint32 pid = m_standIns->start(install()).pid;
        install();
        QCOMPARE(open().pid, std::optional(pid));
        m_standIns->end(pid);
    }

    void programReachedByALinkIsTheSame()
    {
        const qint32 pid = m_standIns->start(install()).pid;
        QVERIFY(QDir().mkpath(m_standIns->path(text("links"))));
        const QString link = m_standIns->path(text("links/Stand In.app"));
        QVERIFY(QFile::link(bundle(), link));
        QCOMPARE(open({}, link + u'/').pid, std::optional(pid));
        m_standIns->end(pid);
    }

    void twoRequestsAtOnceMakeOneProcess()
    {
        install();
        QList<std::optional<qint32>> pids;
        for (int i = 0; i < 2; ++i)
            Workspace::shared().openApplication(
                bundle(), {}, [&pids](const Workspace::Opened& opened) { pids.append(opened.pid); });
        QTRY_COMPARE(pids.size(), 2);
        QVERIFY(pids[0].has_value());
        m_opened.insert(*pids[0]);
        QCOMPARE(pids[1], pids[0]);
    }

    void newInstanceIsMadeWhenAskedFor()
    {
        install();
        Workspace::OpenConfiguration configuration;
        configuration.createsNewApplicationInstance = true;
        const auto one = open(configuration);
        const auto other = open(configuration);
        QVERIFY(one.pid && other.pid);
        QVERIFY(one.pid != other.pid);
    }

private:
    // The value of one line of the process's "status" file; empty if there is no such line.
    static QByteArray status(qint32 pid, const char* name)
    {
        for (const QByteArray& line : contentOf(procPath(pid, "status")).split('\n')) {
            if (line.startsWith(QByteArray(name) + ":\t"))
                return line.mid(qstrlen(name) + 2);
        }
        return {};
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, WorkspaceTest)
#include "WorkspaceTest.moc"
