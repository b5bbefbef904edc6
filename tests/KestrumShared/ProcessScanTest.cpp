#include "KestrumShared/Agent/ProcessScan.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHash>
#include <QTest>
#include <csignal>
#include <dirent.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace kestrum;

namespace {

// Whether the entry's start time is that of the process.
bool startedIn(const ProcessScan::Entry& entry, const StandIns::Process& process)
{
    constexpr double tick = 0.01; // seconds; the kernel rounds start times down to this
    constexpr double rounding = 0.001;
    return entry.started && *entry.started > process.notBefore - tick - rounding
        && *entry.started < process.notAfter + rounding;
}

QList<qint32> pidsOf(const QList<ProcessScan::Entry>& entries)
{
    QList<qint32> pids;
    for (const auto& entry : entries)
        pids.append(entry.pid);
    return pids;
}

// The file names in a folder that are numbers, in the order in which the kernel lists them.
QList<qint32> numbersIn(const QByteArray& folder)
{
    QList<qint32> numbers;
    DIR* const directory = ::opendir(folder.constData());
    while (const dirent* entry = directory ? ::readdir(directory) : nullptr) {
        if (const int number = QByteArray(entry->d_name).toInt(); number > 0)
            numbers.append(number);
    }
    if (directory)
        ::closedir(directory);
    return numbers;
}

// A process table made of files in a temporary folder.
class TableTree {
public:
    TableTree() { m_tree.write(QStringLiteral("stat"), "btime 1000\n"); }

    void add(int pid, const QString& program, const QByteArray& ticks = {}, int parent = 0) const
    {
        const QString folder = QString::number(pid);
        QVERIFY(QDir().mkpath(m_tree.path(folder)));
        QVERIFY(QFile::link(program, m_tree.path(folder + QStringLiteral("/exe"))));
        if (!ticks.isEmpty())
            m_tree.write(folder + QStringLiteral("/stat"),
                "1 (a) S " + QByteArray::number(parent) + QByteArray(" 0").repeated(17) + ' ' + ticks);
    }
    QByteArray root() const { return QFile::encodeName(m_tree.root()); }
    QList<ProcessScan::Entry> agents() const { return ProcessScan::agents(ProcessTable(m_tree.root())); }

private:
    FileTree m_tree;
};

const QString agent = StandIns::agentIn(QStringLiteral("/opt"));

} // namespace

class ProcessScanTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { skipAmongAgentsOfOthers(); }
    void cleanup() { QVERIFY(ProcessScan::agents().isEmpty()); }

    void withoutAnAgentTheResultIsEmpty()
    {
        StandIns standIns;
        standIns.start(standIns.install(QStringLiteral("program")));
        QVERIFY(ProcessScan::agents().isEmpty());
    }

    void agentIsFoundWithItsStartTimeAndPath()
    {
        StandIns standIns;
        const QString program = standIns.install(StandIns::agentOf(QStringLiteral("Kestrum.app")));
        const auto process = standIns.start(program);
        const auto agents = ProcessScan::agents();
        QCOMPARE(pidsOf(agents), QList { process.pid });
        QCOMPARE(agents[0].path, program);
        QVERIFY(startedIn(agents[0], process));
        standIns.end(process.pid);
        QVERIFY(ProcessScan::agents().isEmpty());
    }

    void translocatedAndSecondCopiesAreFound()
    {
        StandIns standIns;
        QStringList paths;
        for (const char* place : { "Kestrum.app/Contents/Library/LoginItems",
                 "AppTranslocation/1F2E/d/Kestrum.app/Contents/x", "another copy", "ümlaut/日本" }) {
            const QString program = standIns.install(StandIns::agentIn(QString::fromUtf8(place)));
            QVERIFY(standIns.start(program).pid > 0);
            paths.append(program);
        }
        QStringList found;
        for (const auto& entry : ProcessScan::agents())
            found.append(entry.path);
        found.sort();
        paths.sort();
        QCOMPARE(found, paths);
    }

    void programElsewhereIsNotFound_data()
    {
        QTest::addColumn<QString>("relative");
        for (const char* place : { "KestrumAgent", "MacOS/KestrumAgent",
                 "Other.app/Contents/MacOS/KestrumAgent", "xKestrumAgent.app/Contents/MacOS/KestrumAgent",
                 "kestrumagent.app/Contents/MacOS/KestrumAgent",
                 "KestrumAgent.app/Contents/MacOS/kestrumagent",
                 "KestrumAgent.app/Contents/MacOS/KestrumAgent2",
                 "KestrumAgent.app/Contents/MacOS/KestrumAgent/KestrumAgent",
                 "KestrumAgent.app/Contents/KestrumAgent",
                 "KestrumAgent.app/Contents/MacOS/KestrumAgent (deleted)" })
            QTest::newRow(place) << QString::fromUtf8(place);
    }

    void programElsewhereIsNotFound()
    {
        QFETCH(const QString, relative);
        StandIns standIns;
        QVERIFY(standIns.start(standIns.install(relative)).pid > 0);
        QVERIFY(ProcessScan::agents().isEmpty());
    }

    void anAgentsChildIsNoAgent()
    {
        const TableTree table;
        table.add(5, agent, "500");
        table.add(6, agent, "600", 5); // about to run another program, or a trial of a new one
        table.add(7, agent, "700");
        QList<qint32> found = pidsOf(table.agents());
        std::sort(found.begin(), found.end());
        QCOMPARE(found, (QList<qint32> { 5, 7 }));
    }

    void unreadableStartTimeIsAbsent()
    {
        const TableTree table;
        table.add(5, agent);
        QCOMPARE(table.agents(), (QList<ProcessScan::Entry> { { 5, std::nullopt, agent } }));
    }

    void entriesComeInTheKernelsListingOrder()
    {
        const TableTree table;
        int ticks = 500;
        for (const int pid : { 30, 10, 4000, 20, 5 })
            table.add(pid, agent, QByteArray::number(ticks = (ticks * 7) % 1000 + 1));
        const QList<qint32> listed = numbersIn(table.root());
        const auto agents = table.agents();
        QCOMPARE(agents.size(), 5);
        QCOMPARE(pidsOf(agents), listed);
        QVERIFY(!std::is_sorted(listed.begin(), listed.end()));
        QVERIFY(!std::is_sorted(agents.begin(), agents.end(),
            [](const auto& one, const auto& other) { return one.started < other.started; }));
    }

    void entriesAreEqualWhenAllFieldsAre()
    {
        const ProcessScan::Entry entry { 1, 2.0, agent };
        QVERIFY(entry == (ProcessScan::Entry { 1, 2.0, agent }));
        QVERIFY(entry != (ProcessScan::Entry { 2, 2.0, agent }));
        QVERIFY(entry != (ProcessScan::Entry { 1, 2.5, agent }));
        QVERIFY(entry != (ProcessScan::Entry { 1, std::nullopt, agent }));
        QVERIFY(entry != (ProcessScan::Entry { 1, 2.0, agent + u'x' }));
    }

    void invalidTextIsReplaced()
    {
        // File names are bytes, which need not be valid UTF-8.
        StandIns standIns;
        const QByteArray good = QFile::encodeName(standIns.path(QStringLiteral("good")));
        const QByteArray folder = QFile::encodeName(standIns.path(QStringLiteral("x"))) + "\xe2\x82";
        standIns.install(StandIns::agentIn(QStringLiteral("good")));
        QCOMPARE(::rename(good.constData(), folder.constData()), 0);
        QVERIFY(standIns.start(folder + StandIns::agentIn({}).toUtf8()).pid > 0);
        const auto agents = ProcessScan::agents();
        QCOMPARE(agents.size(), 1);
        QVERIFY(agents[0].path.startsWith(
            standIns.path(QStringLiteral("x")) + QChar(QChar::ReplacementCharacter)));
        QVERIFY(agents[0].path.endsWith(StandIns::agentIn({})));
        QCOMPARE(::rename(folder.constData(), good.constData()), 0);
    }

    void tableThatCannotBeReadMeansNoAgent()
    {
        QVERIFY(ProcessScan::agents(ProcessTable(QStringLiteral("/nowhere"))).isEmpty());
    }

    void replacedAgentIsStillTheAgent()
    {
        StandIns standIns;
        const QString place = StandIns::agentIn(QStringLiteral("Kestrum.app"));
        const QString program = standIns.install(place);
        const qint32 pid = standIns.start(program).pid;
        standIns.install(place);
        const auto agents = ProcessScan::agents();
        QCOMPARE(pidsOf(agents), QList<qint32> { pid });
        QCOMPARE(agents[0].path, program);
    }

    void stoppedAgentCountsAndEndedOneDoesNot()
    {
        StandIns standIns;
        const qint32 pid = standIns.start(standIns.install(StandIns::agentIn(QStringLiteral("a")))).pid;
        QCOMPARE(::kill(pid, SIGSTOP), 0);
        QCOMPARE(pidsOf(ProcessScan::agents()), QList<qint32> { pid });
        StandIns::kill(pid);
        QTRY_VERIFY(ProcessScan::agents().isEmpty());
    }

    void scanOpensNoProgram()
    {
        StandIns standIns;
        const QString program = standIns.install(StandIns::agentIn(QStringLiteral("a")));
        const qint32 pid = standIns.start(program).pid;
        const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        QVERIFY(::inotify_add_watch(watch, QFile::encodeName(QFileInfo(program).path()).constData(), IN_OPEN)
            >= 0);
        char buffer[4096];
        QCOMPARE(pidsOf(ProcessScan::agents()), QList<qint32> { pid });
        QVERIFY(::read(watch, buffer, sizeof buffer) < 0);
        standIns.start(program);
        QVERIFY(::read(watch, buffer, sizeof buffer) > 0);
        ::close(watch);
    }

    void findsExactlyTheAgentsAmong3000Processes()
    {
        constexpr int processes = 3000;
        rlimit limit {};
        ::getrlimit(RLIMIT_NPROC, &limit);
        if (limit.rlim_cur < processes + 500)
            QSKIP("this user may not have so many processes");

        StandIns standIns;
        QStringList agentPrograms;
        for (const char* place : { "Kestrum.app/Contents/Library/LoginItems", "AppTranslocation/d", "copy" })
            agentPrograms.append(standIns.install(StandIns::agentIn(QString::fromUtf8(place))));
        QStringList otherPrograms;
        for (const char* place : { "plain", "KestrumAgent", "Other.app/Contents/MacOS/KestrumAgent",
                 "KestrumAgent.app/Contents/MacOS/KestrumAgentx" })
            otherPrograms.append(standIns.install(QString::fromUtf8(place)));

        QHash<qint32, std::pair<QString, StandIns::Process>> started;
        for (int i = 0; i < processes; ++i) {
            const bool isAgent = i % 100 == 7;
            const QString& program = isAgent ? agentPrograms[i / 100 % 3] : otherPrograms[i % 4];
            const auto process = standIns.start(program);
            QVERIFY(process.pid > 0);
            if (isAgent)
                started.insert(process.pid, { program, process });
        }

        QElapsedTimer timer;
        timer.start();
        const auto agents = ProcessScan::agents();
        qInfo("%d agents found in %.2f ms", int(agents.size()), double(timer.nsecsElapsed()) / 1e6);

        QCOMPARE(agents.size(), processes / 100);
        QList<qint32> listed = numbersIn("/proc");
        listed.removeIf([&started](qint32 pid) { return !started.contains(pid); });
        QCOMPARE(pidsOf(agents), listed);
        for (const auto& found : agents) {
            const auto& [program, process] = started[found.pid];
            QCOMPARE(found.path, program);
            QVERIFY(startedIn(found, process));
        }
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, ProcessScanTest)
#include "ProcessScanTest.moc"
