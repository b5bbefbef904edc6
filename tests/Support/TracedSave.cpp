#include "tests/Support/TracedSave.h"

#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/SystemCallFilter.h"
#include "tests/Support/TestHome.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QHash>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <array>
#include <atomic>
#include <csignal>
#include <future>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

namespace kestrum {

namespace {

/// The calls that have names in the list, each with the index of its path argument; -1: the first argument is a descriptor.
struct Named {
    int call;
    const char* name;
    int path = -1;
};
constexpr Named named[] {
    { SYS_openat, "openat", 1 },
    { SYS_readlinkat, "readlink", 1 },
    { SYS_renameat, "renameat", 3 },
    { SYS_renameat2, "renameat2", 3 },
    { SYS_newfstatat, "fstatat", 1 },
    { SYS_faccessat, "faccessat", 1 },
    { SYS_faccessat2, "faccessat", 1 },
    { SYS_unlinkat, "unlinkat", 1 },
    { SYS_mkdirat, "mkdirat", 1 },
#ifdef SYS_readlink
    { SYS_readlink, "readlink", 0 },
    { SYS_mkdir, "mkdir", 0 },
#endif
    { SYS_flock, "flock" },
    { SYS_write, "write" },
    { SYS_fsync, "fsync" },
    { SYS_fchmod, "fchmod" },
    { SYS_close, "close" },
};

/// Calls that concern no file: for memory, threads, time and user ids.
const QList<int> unlisted { SYS_mmap, SYS_munmap, SYS_mremap, SYS_mprotect, SYS_madvise, SYS_brk, SYS_futex,
    SYS_sched_yield, SYS_clock_gettime, SYS_clock_nanosleep, SYS_getpid, SYS_gettid, SYS_geteuid,
    SYS_getrandom, SYS_exit };

QByteArray pathOf(quint64 descriptor)
{
    std::array<char, 4096> target;
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(int(descriptor));
    const ssize_t size = ::readlink(link.constData(), target.data(), target.size());
    return { target.data(), qMax<qsizetype>(0, size) };
}

/// The path that argument `at` of a call has, and the descriptor before it.
QByteArray pathAt(const seccomp_data& data, int at)
{
    const QByteArray path(reinterpret_cast<const char*>(data.args[at]));
    const bool isRelative = at > 0 && !path.startsWith('/');
    return isRelative ? pathOf(data.args[at - 1]) + '/' + path : path;
}

QByteArray detailOf(const seccomp_data& data)
{
    switch (data.nr) {
    case SYS_write:
        return { reinterpret_cast<const char*>(data.args[1]), qsizetype(data.args[2]) };
    case SYS_renameat:
    case SYS_renameat2:
        return pathAt(data, 1);
    case SYS_openat:
        return (data.args[2] & O_TRUNC) != 0 ? "empty" : (data.args[2] & O_CREAT) != 0 ? "new" : "";
    default:
        return {};
    }
}

/// The call in `data`, which a thread of this process is about to make.
TracedSave::Call described(const seccomp_data& data)
{
    const auto known = std::find_if(
        std::begin(named), std::end(named), [&data](const Named& one) { return one.call == data.nr; });
    const QByteArray name = known == std::end(named) ? QByteArray::number(data.nr) : QByteArray(known->name);
    const int at = known == std::end(named) ? -1 : known->path;
    const QByteArray file = at < 0 ? pathOf(data.args[0]) : pathAt(data, at);
    return { name, 0, file, data.nr == SYS_openat && (data.args[2] & O_CLOEXEC) == 0, detailOf(data) };
}

/// Lets the calls happen, except for the fault, and lists them until `isOver` is set.
QList<TracedSave::Call> supervised(
    int hanging, const TracedSave::Fault& fault, const std::atomic<bool>& isOver)
{
    QList<TracedSave::Call> calls;
    QHash<QByteArray, int> counts;
    while (const auto next = SystemCallFilter::next(hanging, 20'000)) {
        TracedSave::Call call = described(next->data);
        // The sanitizers read "/proc", and check memory by writing it to pipes.
        const bool isOurs
            = !call.file.startsWith("/proc/") && !call.file.startsWith("pipe:") && next->data.nr != SYS_pipe2;
        int error = 0;
        if (isOurs && !isOver) {
            call.number = ++counts[call.name];
            const bool isFault = call.name == fault.call
                && (call.number == fault.number || (fault.isLasting && call.number > fault.number));
            if (isFault && fault.meanwhile)
                fault.meanwhile();
            else if (isFault && fault.error == 0)
                ::raise(SIGKILL);
            error = isFault ? fault.error : 0;
            calls.append(call);
        }
        SystemCallFilter::reply(hanging, *next, error);
    }
    return calls;
}

/// The child process: does `work`, and writes the list of calls and the store's last error to `report`.
[[noreturn]] void play(
    const TracedSave::Work& work, const TracedSave::Fault& fault, const QString& report, unsigned number)
{
    ::alarm(20); // s; ends a child that hangs
    // The next temporary files of the parent and of its next children need other names.
    QRandomGenerator::global()->discard(1000 * number);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const auto store = UserDefaults::withSuiteName(QStringLiteral("suite"));
    std::promise<int> hanging;
    std::atomic<bool> isOver = false;
    bool isDone = false;
    std::thread worker([&] {
        hanging.set_value(SystemCallFilter::hangingAllBut(unlisted).enter());
        isDone = work(*store);
        isOver = true;
    });
    const int descriptor = hanging.get_future().get();
    if (descriptor < 0)
        ::_exit(TracedSave::unsupported);
    const auto calls = supervised(descriptor, fault, isOver);
    worker.join();
    QFile file(report);
    if (!file.open(QIODevice::WriteOnly))
        ::_exit(1);
    QDataStream stream(&file);
    stream << store->lastError();
    for (const auto& call : calls)
        stream << call.name << call.number << call.file << call.isInherited << call.detail;
    file.close();
    ::_exit(isDone ? 0 : TracedSave::reportedFailure);
}

} // namespace

QString TracedSave::obstacle()
{
    if (QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty())
        return QStringLiteral("strace is not installed");
    QProcess probe;
    probe.start(QStringLiteral("strace"),
        { QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("true") });
    if (!probe.waitForFinished(10'000) || probe.exitCode() != 0)
        return QStringLiteral("processes may not be traced here");
    return {};
}

QString TracedSave::path()
{
    return TestHome::configDirectory() + QStringLiteral("/suite.json");
}

QStringList TracedSave::leftovers()
{
    return QDir(TestHome::configDirectory())
        .entryList({ QStringLiteral(".kestrum-*") }, QDir::Files | QDir::Hidden);
}

void TracedSave::prepare(const QByteArray& content)
{
    QDir(TestHome::configDirectory()).removeRecursively();
    if (content.isNull())
        return;
    write(path(), content);
    QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0640), 0); // the save must keep this mode
    setTimes(path(), 1000); // an old file does not look like part of a save that is under way
    // A file that changed less than 20 ms ago is read twice. Without this pause, the list of calls would depend on the speed.
    QTest::qSleep(25);
}

void TracedSave::letPass()
{
    if (QFile::exists(TestHome::configDirectory()))
        setTimes(TestHome::configDirectory(), 1000);
}

bool TracedSave::save(UserDefaults& store)
{
    return store.set("a", 2);
}

TracedSave::Outcome TracedSave::run(const Work& work, const Fault& fault)
{
    QFile report(TestHome::root() + QStringLiteral("/report"));
    report.remove();
    static unsigned runs = 0;
    const unsigned number = 1 + ++runs % 10;
    const pid_t child = ::fork();
    if (child == 0)
        play(work, fault, report.fileName(), number);
    int status = 0;
    Outcome outcome;
    if (child < 0 || ::waitpid(child, &status, 0) != child)
        return outcome;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        outcome.exitCode = killed;
    if (!WIFEXITED(status) || !report.open(QIODevice::ReadOnly))
        return outcome;
    outcome.exitCode = WEXITSTATUS(status);
    QDataStream stream(&report);
    stream >> outcome.error;
    while (!stream.atEnd()) {
        Call call;
        stream >> call.name >> call.number >> call.file >> call.isInherited >> call.detail;
        outcome.calls.append(call);
    }
    return outcome;
}

qsizetype TracedSave::Outcome::indexOf(const char* name, const char* end) const
{
    const auto found = std::find_if(calls.begin(), calls.end(),
        [=](const Call& call) { return call.name == name && call.file.endsWith(end); });
    return found - calls.begin();
}

QByteArrayList TracedSave::Outcome::flushed() const
{
    QByteArrayList names;
    for (const Call& call : calls) {
        if (call.name != "fsync")
            continue;
        const QByteArray name = call.file.split('/').constLast();
        names.append(name.startsWith(".kestrum-") ? QByteArray("temporary") : name);
    }
    return names;
}

QByteArray TracedSave::flaw(const QByteArray& before, const Outcome& outcome)
{
    const QByteArray after = QFile::exists(path()) ? contentOf(path()) : QByteArray();
    const auto file = SettingsFile(path()).read();
    const bool isNew = file->damage.isEmpty() && file->values.value(u"a") == QJsonValue(2);
    if (!isNew && after != before)
        return "neither old nor new: " + after;
    if (isNew && (file->values.value(u"b") == QJsonValue(true)) != before.contains("\"b\""))
        return "a key that was not changed is another one";
    if (isNew && before.contains("NaN") && !QFile::exists(path() + QStringLiteral(".damaged-1")))
        return "the damaged file was not kept";
    const auto copies = QDir(TestHome::configDirectory()).entryInfoList({ QStringLiteral("*.damaged-*") });
    for (const QFileInfo& copy : copies) {
        if (contentOf(copy.filePath()) != before)
            return "a copy of the damaged file is not whole: " + copy.fileName().toUtf8();
    }
    if (outcome.exitCode == 0 && !isNew)
        return "told as saved, but not there";
    if (outcome.exitCode == reportedFailure
        && (!outcome.error.startsWith(path()) || outcome.error.count(QStringLiteral(": ")) < 2))
        return "the error names no file, step and reason: " + outcome.error.toUtf8();
    // Without the fault, the next save succeeds, and does not wait for a lock.
    letPass();
    QElapsedTimer timer;
    timer.start();
    const auto retried = SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} });
    if (!retried)
        return "the next save fails: " + retried.failureText().toUtf8();
    if (timer.elapsed() >= 1500) // the lock's own limit is 2 s
        return "the next save waits";
    return SettingsFile(path()).read()->values.value(u"a") == QJsonValue(2) ? "" : "not saved again";
}

void TracedSave::addStates()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("first save") << QByteArray();
    QTest::newRow("later save") << QByteArray("{\"a\": 1, \"b\": true}");
    QTest::newRow("damaged file") << QByteArray("{\"a\": 1, \"b\": true, \"n\": NaN}");
    if (!FaultRow::isLong())
        return;
    QTest::newRow("blank file") << QByteArray("\n");
    QTest::newRow("file of another layout") << QByteArray("\xEF\xBB\xBF{\"b\":true,\r\n\"a\":1.0}");
    QTest::newRow("cut off file") << QByteArray("{\"a\": 1, \"b\": true, \"n\": [");
    QTest::newRow("bytes behind the end") << QByteArray("{\"a\": 1, \"b\": true}") + QByteArray(5000, '\0');
    QTest::newRow("large file") << "{\"a\": 1, \"b\": true, \"n\": \"" + QByteArray(65'536, 'x') + "\"}";
}

} // namespace kestrum
