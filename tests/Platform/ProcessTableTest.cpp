#include "Platform/Processes/ProcessTable.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Rows.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QTest>
#include <dirent.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrum;

namespace {

constexpr double tick = 0.01;      // seconds; the kernel rounds start times down to this
constexpr double rounding = 0.001; // seconds

using Table = QList<std::pair<qint32, QByteArray>>;

Table read(const ProcessTable& table)
{
    Table result;
    table.forEach([&result](qint32 pid, QByteArrayView path) { result.append({ pid, path.toByteArray() }); });
    return result;
}

QByteArray pathOf(qint32 pid, const ProcessTable& table = ProcessTable())
{
    QByteArray path;
    table.forEach([&path, pid](qint32 number, QByteArrayView text) {
        if (number == pid)
            path = text.toByteArray();
    });
    return path;
}

// The names in a folder, in the order in which the kernel lists them.
QByteArrayList listing(const QByteArray& folder)
{
    QByteArrayList names;
    DIR* const directory = ::opendir(folder.constData());
    while (const dirent* entry = directory ? ::readdir(directory) : nullptr)
        names.append(entry->d_name);
    if (directory)
        ::closedir(directory);
    return names;
}

// Adds a process to a table that is made of files.
void addProcess(const FileTree& tree, const char* pid, const char* program = "/program")
{
    QVERIFY(QDir().mkpath(tree.path(text(pid))));
    QVERIFY(QFile::link(text(program), tree.path(text(pid) + text("/exe"))));
}

// The fields 3 to 22 of a process's "stat" file. The last field is the start time, `ticks`.
QByteArray fieldsUpToStart(const QByteArray& ticks)
{
    QByteArray fields = "S";
    for (int field = 4; field < 22; ++field)
        fields += ' ' + QByteArray::number(field);
    return fields + ' ' + ticks;
}

} // namespace

class ProcessTableTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runningProgramsAreToldWithTheirPaths()
    {
        StandIns standIns;
        const QString program = standIns.install(QStringLiteral("a folder/program"));
        const qint32 one = standIns.start(program).pid;
        const qint32 other = standIns.start(program).pid;
        QCOMPARE(pathOf(one), QFile::encodeName(program));
        QCOMPARE(pathOf(other), QFile::encodeName(program));
        QCOMPARE(pathOf(qint32(::getpid())), QFile::encodeName(QCoreApplication::applicationFilePath()));
        standIns.end(one);
        QCOMPARE(pathOf(one), QByteArray());
        QCOMPARE(pathOf(other), QFile::encodeName(program));
    }

    void orderIsTheKernelsListingOrder()
    {
        const FileTree tree;
        for (const char* pid : { "30", "10", "4000", "20", "5" })
            addProcess(tree, pid);
        QList<qint32> expected;
        for (const QByteArray& name : listing(QFile::encodeName(tree.root()))) {
            if (name.toInt() > 0)
                expected.append(name.toInt());
        }
        QList<qint32> told;
        for (const auto& [pid, path] : read(ProcessTable(tree.root())))
            told.append(pid);
        QCOMPARE(told.size(), 5);
        QCOMPARE(told, expected);
        QVERIFY(!std::is_sorted(expected.begin(), expected.end()));
    }

    void onlyNumbersAreProcesses()
    {
        const FileTree tree;
        for (const char* name : { "self", "0", "12a", "a12", "-5", "+6", " 7", "4294967297", "2147483648",
                 "99999999999999999999999999999999999999999999", "2147483647", "8" })
            addProcess(tree, name);
        tree.write(QStringLiteral("9"), "a file");
        Table told = read(ProcessTable(tree.root()));
        std::sort(told.begin(), told.end());
        QCOMPARE(told, (Table { { 8, "/program" }, { 2147483647, "/program" } }));
    }

    void childrenAreToldEvenWhenTheyHaveEnded()
    {
        const qint32 own = qint32(::getpid());
        const ProcessTable table;
        QCOMPARE(table.children(own), QList<qint32>());
        StandIns standIns;
        const qint32 running = standIns.start(standIns.install(QStringLiteral("program"))).pid;
        const pid_t ended = ::fork();
        if (ended == 0)
            ::_exit(0);
        siginfo_t information {};
        QCOMPARE(::waitid(P_PID, id_t(ended), &information, WEXITED | WNOWAIT), 0);
        QList<qint32> children = table.children(own);
        std::sort(children.begin(), children.end());
        QCOMPARE(children, (QList<qint32> { running, qint32(ended) }));
        QCOMPARE(table.parent(running), std::optional(own));
        QCOMPARE(::waitpid(ended, nullptr, 0), ended);
        QCOMPARE(table.children(own), QList<qint32> { running });
        QCOMPARE(table.parent(qint32(ended)), std::nullopt);
        QCOMPARE(ProcessTable(QStringLiteral("/nowhere")).children(own), QList<qint32>());
    }

    void processesWithoutAPathArePassedOver()
    {
        const FileTree tree;
        QVERIFY(QDir().mkpath(tree.path(QStringLiteral("1"))));
        tree.write(QStringLiteral("2/exe"), "no link");
        addProcess(tree, "3");
        QCOMPARE(read(ProcessTable(tree.root())), (Table { { 3, "/program" } }));
    }

    void tableThatCannotBeReadIsEmpty()
    {
        const FileTree tree;
        tree.write(QStringLiteral("file"), "1");
        QVERIFY(read(ProcessTable(tree.path(QStringLiteral("absent")))).isEmpty());
        QVERIFY(read(ProcessTable(tree.path(QStringLiteral("file")))).isEmpty());
    }

    void endedProcessIsNotToldEvenBeforeItIsWaitedFor()
    {
        StandIns standIns;
        const qint32 pid = standIns.start(standIns.install(QStringLiteral("program"))).pid;
        StandIns::kill(pid);
        QTRY_COMPARE(pathOf(pid), QByteArray());
        QVERIFY(QFile::exists(QStringLiteral("/proc/%1").arg(pid)));
    }

    void programKeepsItsPathWhateverBecomesOfItsFile()
    {
        enum class Fate { stays, removed, replaced };
        const char* const plain = "program";
        const char* const marked = "program (deleted)"; // ends like the mark that the kernel adds
        const struct {
            const char* name;
            const char* program;
            const char* otherName; ///< another name of the same file
            const char* neighbour; ///< another file
            Fate fate;
        } rows[] {
            { "removed", plain, nullptr, nullptr, Fate::removed },
            { "replaced", plain, nullptr, nullptr, Fate::replaced },
            { "marked", marked, nullptr, nullptr, Fate::stays },
            { "marked and removed", marked, nullptr, nullptr, Fate::removed },
            { "removed, with another name", plain, "other", nullptr, Fate::removed },
            // A hard link keeps the old file, as some updates do.
            { "replaced, with another name", plain, "other", nullptr, Fate::replaced },
            { "removed, beside another file of the marked name", plain, "other", marked, Fate::removed },
        };
        for (const auto& row : rows) {
            StandIns standIns;
            const QString program = standIns.install(text(row.program));
            const qint32 pid = standIns.start(program).pid;
            if (row.neighbour)
                standIns.install(text(row.neighbour));
            const QByteArray otherName = QFile::encodeName(standIns.path(text(row.otherName)));
            if (row.otherName)
                QCOMPARE(::link(QFile::encodeName(program).constData(), otherName.constData()), 0);
            if (row.fate == Fate::removed)
                QVERIFY(QFile::remove(program));
            if (row.fate == Fate::replaced) {
                standIns.install(text(row.program));
                QCOMPARE_ROW(row.name, pathOf(standIns.start(program).pid), QFile::encodeName(program));
            }
            QCOMPARE_ROW(row.name, pathOf(pid), QFile::encodeName(program));
        }
    }

    void markIsTakenOffWhereTheProgramCannotBeSeen()
    {
        const FileTree tree;
        addProcess(tree, "1", "/absent (deleted)");
        QCOMPARE(pathOf(1, ProcessTable(tree.root())), QByteArray("/absent"));
    }

    void longPathIsWhole()
    {
        StandIns standIns;
        QString relative;
        for (int i = 0; i < 15; ++i)
            relative += QString(200, QChar(u'a' + i)) + u'/';
        const QString program = standIns.install(relative + QStringLiteral("program"));
        QVERIFY(program.size() > 3000);
        const qint32 pid = standIns.start(program).pid;
        QCOMPARE(pathOf(pid), QFile::encodeName(program));
    }

    void nothingStaysOpen()
    {
        const auto open = [] { return listing("/proc/self/fd").size(); };
        const auto before = open();
        const ProcessTable table;
        for (int i = 0; i < 10; ++i) {
            read(table);
            QVERIFY(table.startTime(qint32(::getpid())).has_value());
        }
        QCOMPARE(open(), before);
    }

    void startTimeIsRightTo10ms()
    {
        StandIns standIns;
        const QString program = standIns.install(QStringLiteral("program"));
        for (int i = 0; i < 50; ++i) {
            const auto process = standIns.start(program);
            const auto started = ProcessTable().startTime(process.pid);
            QVERIFY(started.has_value());
            QVERIFY2(*started > process.notBefore - tick - rounding && *started < process.notAfter + rounding,
                qPrintable(QStringLiteral("%1 s before, %2 s after")
                               .arg(*started - process.notBefore, 0, 'f', 4)
                               .arg(*started - process.notAfter, 0, 'f', 4)));
            QTest::qSleep(7); // so that the starts fall on different parts of a second
        }
    }

    void startTimeIsTheSameAtEachLook()
    {
        const auto first = ProcessTable().startTime(qint32(::getpid()));
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(ProcessTable().startTime(qint32(::getpid())), first);
    }

    void startTimeIsFoundBehindAnyName()
    {
        const auto expected = ProcessTable().startTime(qint32(::getpid()));
        QVERIFY(expected.has_value());
        char before[32] = {};
        ::prctl(PR_GET_NAME, before);
        for (const char* name :
            { "plain", "two words", ") S 1 1 1 (", "((((", "))))", "a\nb) R 7", "\xff\xfe", "1 2 3" }) {
            ::prctl(PR_SET_NAME, name);
            const auto started = ProcessTable().startTime(qint32(::getpid()));
            ::prctl(PR_SET_NAME, before);
            QCOMPARE_ROW(name, started, expected);
        }
    }

    void treeCountsFromItsBootTime()
    {
        const FileTree tree;
        tree.write(QStringLiteral("stat"),
            "cpu  1 2 3\nintr " + QByteArray("0 ").repeated(20'000)
                + "\nctxt 5\nbtime 1700000000\nprocesses 9\n");
        tree.write(QStringLiteral("7/stat"), "7 (a) b) " + fieldsUpToStart("12345") + " 1 2 3\n");
        QCOMPARE(ProcessTable(tree.root()).startTime(7), std::optional(1700000123.45));
    }

    void startTimesOfOneTableCountFromOneBootTime()
    {
        const FileTree tree;
        tree.write(QStringLiteral("7/stat"), "7 (a) " + fieldsUpToStart("100"));
        tree.write(QStringLiteral("8/stat"), "8 (a) " + fieldsUpToStart("200"));
        tree.write(QStringLiteral("stat"), "btime 1000\n");
        const ProcessTable table(tree.root());
        QCOMPARE(table.startTime(7), std::optional(1001.0));
        // The boot time changes, as after the clock is set.
        tree.write(QStringLiteral("stat"), "btime 5000\n");
        QCOMPARE(table.startTime(8), std::optional(1002.0));
        QCOMPARE(ProcessTable(tree.root()).startTime(8), std::optional(5002.0));
    }

    void unreadableStartTimeIsNone()
    {
        const QByteArray machine = "btime 1700000000\n";
        const QByteArray process = "7 (a) " + fieldsUpToStart("12345") + '\n';
        const struct {
            const char* name;
            QByteArray machine;
            QByteArray process;
        } rows[] {
            { "no process", machine, {} },
            { "cut", machine, process.left(20) },
            { "no name", machine, "7 a " + fieldsUpToStart("12345") },
            { "no number", machine, "7 (a) " + fieldsUpToStart("soon") },
            { "negative", machine, "7 (a) " + fieldsUpToStart("-1") },
            { "too great", machine, "7 (a) " + fieldsUpToStart("99999999999999999999") },
            { "no machine", {}, process },
            { "no boot time", "cpu 1 2 3\n", process },
            { "boot time no number", "btime early\n", process },
        };
        for (const auto& row : rows) {
            const FileTree tree;
            if (!row.machine.isEmpty())
                tree.write(QStringLiteral("stat"), row.machine);
            if (!row.process.isEmpty())
                tree.write(QStringLiteral("7/stat"), row.process);
            QCOMPARE_ROW(row.name, ProcessTable(tree.root()).startTime(7), std::nullopt);
        }
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, ProcessTableTest)
#include "ProcessTableTest.moc"
