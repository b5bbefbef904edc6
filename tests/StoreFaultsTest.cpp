// What happens when a system call of a save fails, or the process ends at it. A child, this program again, makes one
// save under strace. A first run lists the calls between two marks; then each of them is made to fail, or is the last one,
// in a run of its own. So no call can be forgotten, and the store needs no code for its tests.

#include "Platform/SettingsFile.h"
#include "Platform/UserDefaults.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

namespace {

constexpr char beginMark[] = "/kestrum-begin";
constexpr char endMark[] = "/kestrum-end";
constexpr int reportedFailure = 10;

/// Sets "a" to 2 in the suite, `times` times, between the marks. Prints the error and returns `reportedFailure`
/// when the last of them failed.
int save(const QString& suite, int times)
{
    const auto store = UserDefaults::withSuiteName(suite);
    bool isSaved = false;
    ::access(beginMark, F_OK);
    for (int i = 0; i < times; ++i)
        isSaved = store->set("a", 2);
    ::access(endMark, F_OK);
    std::fputs(qUtf8Printable(store->lastError()), stdout);
    return isSaved ? 0 : reportedFailure;
}

/// Reads a text and a truth value a thousand times, between the marks.
int read(const QString& suite)
{
    const auto store = UserDefaults::withSuiteName(suite);
    qsizetype sum = store->string("text")->size();
    ::access(beginMark, F_OK);
    for (int i = 0; i < 1000; ++i)
        sum += store->string("text")->size() + (store->boolean("truth").value_or(false) ? 1 : 0);
    ::access(endMark, F_OK);
    return sum > 0 ? 0 : 1;
}

struct Call {
    QByteArray name;
    int number; ///< the how-manieth of its name since the process began
};

struct Outcome {
    QList<Call> calls; ///< between the marks
    int exitCode = -1; ///< -1: ended by a signal
    QString error;
};

} // namespace

class StoreFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void typedReadMakesNoSystemCall();
    void failedCallLeavesOldOrNewAndIsTold_data();
    void failedCallLeavesOldOrNewAndIsTold();
    void endAtAnyCallLeavesOldOrNewAndNoLock_data();
    void endAtAnyCallLeavesOldOrNewAndNoLock();
    void namedStepsAreInTheError_data();
    void namedStepsAreInTheError();
    void failedDirectorySyncIsMadeUpFor();

private:
    static void addStates();
    void prepare(const QByteArray& content);
    Outcome run(const char* part, const QStringList& injection = {}) const;
    void checkOldOrNew(const QByteArray& before, const Outcome& outcome, const QByteArray& what) const;
    QString path() const { return TestHome::configDirectory() + QStringLiteral("/suite.json"); }
    QByteArray content() const;
    QStringList leftovers() const;
};

void StoreFaultsTest::initTestCase()
{
    if (QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty())
        QSKIP("strace is not installed");
    QProcess probe;
    probe.start(QStringLiteral("strace"),
        { QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("true") });
    if (!probe.waitForFinished(10'000) || probe.exitCode() != 0)
        QSKIP("processes may not be traced here");
}

QByteArray StoreFaultsTest::content() const
{
    QFile file(path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList StoreFaultsTest::leftovers() const
{
    return QDir(TestHome::configDirectory())
        .entryList({ QStringLiteral(".kestrum-*") }, QDir::Files | QDir::Hidden);
}

void StoreFaultsTest::prepare(const QByteArray& content)
{
    QDir(TestHome::configDirectory()).removeRecursively();
    if (content.isNull())
        return;
    QVERIFY(QDir().mkpath(TestHome::configDirectory()));
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0640), 0); // so that there is a mode to keep
}

Outcome StoreFaultsTest::run(const char* part, const QStringList& injection) const
{
    const QString log = TestHome::root() + QStringLiteral("/strace.log");
    QProcess process;
    process.start(QStringLiteral("strace"),
        QStringList { QStringLiteral("-o"), log, QStringLiteral("-e"), QStringLiteral("trace=%file,%desc") }
            + injection
            + QStringList { QCoreApplication::applicationFilePath(), QString::fromLatin1(part),
                QStringLiteral("suite") });
    if (!process.waitForFinished(20'000)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    Outcome outcome;
    // strace ends as its child did.
    outcome.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    outcome.error = QString::fromUtf8(process.readAllStandardOutput());

    QFile file(log);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QMap<QByteArray, int> counts;
    bool isBetween = false;
    static const QRegularExpression pattern(QStringLiteral("^([a-z0-9_]+)\\("));
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const auto match = pattern.match(QString::fromUtf8(line));
        if (!match.hasMatch())
            continue;
        const QByteArray name = match.captured(1).toLatin1();
        const int number = ++counts[name];
        if (line.contains(beginMark))
            isBetween = true;
        else if (line.contains(endMark))
            isBetween = false;
        else if (isBetween && name != "mmap")
            outcome.calls.append({ name, number });
    }
    return outcome;
}

void StoreFaultsTest::checkOldOrNew(
    const QByteArray& before, const Outcome& outcome, const QByteArray& what) const
{
    const QByteArray after = content();
    const auto file = SettingsFile(path()).read();
    const bool isNew = file.damage.isEmpty() && file.values.value(u"a") == QJsonValue(2);
    QVERIFY2(isNew || after == before, what.constData());
    if (isNew) {
        QCOMPARE(file.values.value(u"b"),
            before.contains("\"b\"") ? QJsonValue(true) : QJsonValue(QJsonValue::Undefined));
        if (before.contains("NaN"))
            QVERIFY2(QFile::exists(path() + QStringLiteral(".damaged-1")), what.constData());
    }
    if (outcome.exitCode == 0)
        QVERIFY2(isNew, what.constData()); // what was told as saved is there
    // Where nothing at all can be written, the child cannot print its error either.
    const bool canPrint = !(what.startsWith("write:") && what.endsWith('+'));
    if (outcome.exitCode == reportedFailure && canPrint) {
        QVERIFY2(outcome.error.startsWith(path()), what.constData());
        QVERIFY2(outcome.error.count(QStringLiteral(": ")) >= 2, what.constData());
    }
    // Once the fault is over all is well, and nobody waits for a lock.
    QElapsedTimer timer;
    timer.start();
    const auto retried = SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} });
    QVERIFY2(retried.succeeded, qUtf8Printable(retried.error));
    QVERIFY2(timer.elapsed() < 1500, what.constData());
    QCOMPARE(SettingsFile(path()).read().values.value(u"a"), QJsonValue(2));
}

void StoreFaultsTest::typedReadMakesNoSystemCall()
{
    prepare(R"({"text": "x", "truth": true})");
    const Outcome outcome = run("read");
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.calls.size(), 0);
}

void StoreFaultsTest::addStates()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("first save") << QByteArray();
    QTest::newRow("later save") << QByteArray("{\"a\": 1, \"b\": true}");
    QTest::newRow("damaged file") << QByteArray("{\"a\": 1, \"b\": true, \"n\": NaN}");
}

void StoreFaultsTest::failedCallLeavesOldOrNewAndIsTold_data()
{
    addStates();
}

void StoreFaultsTest::failedCallLeavesOldOrNewAndIsTold()
{
    QFETCH(const QByteArray, before);
    prepare(before);
    const Outcome sound = run("save");
    QCOMPARE(sound.exitCode, 0);
    QVERIFY(sound.calls.size() > 15);
    int failures = 0;
    int round = 0;
    for (const Call& call : sound.calls) {
        for (const char* once : { "", "+" }) {
            const char* const errors[] = { "EIO", "ENOSPC", "EACCES", "EMFILE", "EROFS", "EDQUOT", "ENOMEM" };
            const char* const error = errors[round++ % std::size(errors)];
            const QByteArray what
                = call.name + ":error=" + error + ":when=" + QByteArray::number(call.number) + once;
            prepare(before);
            const Outcome outcome = run(
                "save", { QStringLiteral("-e"), QStringLiteral("inject=") + QString::fromLatin1(what) });
            failures += outcome.exitCode == reportedFailure ? 1 : 0;
            QVERIFY2(outcome.exitCode == 0 || outcome.exitCode == reportedFailure, what.constData());
            if (outcome.exitCode == reportedFailure && call.name != "unlinkat")
                QVERIFY2(leftovers().isEmpty(), what.constData());
            checkOldOrNew(before, outcome, what);
            if (QTest::currentTestFailed()) {
                qWarning("at %s", what.constData());
                return;
            }
        }
    }
    // Most calls are needed; without the one or the other, such as the exact time stamp, a save still holds.
    QVERIFY2(failures > sound.calls.size(), QByteArray::number(failures).constData());
}

void StoreFaultsTest::endAtAnyCallLeavesOldOrNewAndNoLock_data()
{
    addStates();
}

void StoreFaultsTest::endAtAnyCallLeavesOldOrNewAndNoLock()
{
    QFETCH(const QByteArray, before);
    prepare(before);
    const Outcome sound = run("save");
    for (const Call& call : sound.calls) {
        const QByteArray what = call.name + ":signal=KILL:when=" + QByteArray::number(call.number);
        prepare(before);
        const Outcome outcome
            = run("save", { QStringLiteral("-e"), QStringLiteral("inject=") + QString::fromLatin1(what) });
        QVERIFY2(outcome.exitCode == -1, what.constData());
        checkOldOrNew(before, outcome, what);
        if (QTest::currentTestFailed()) {
            qWarning("at %s", what.constData());
            return;
        }
    }
}

void StoreFaultsTest::namedStepsAreInTheError_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const QByteArray& call, const char* error) {
        QTest::newRow(name) << call << QString::fromLatin1(error);
    };
    row("lock", "flock:error=ENOLCK", "cannot lock: No locks available");
    row("write", "write:error=ENOSPC", "cannot write: No space left on device");
    row("sync", "fsync:error=EIO", "cannot bring to disk: Input/output error");
    row("mode", "fchmod:error=EPERM", "cannot keep the permissions: Operation not permitted");
    row("rename", "renameat:error=EXDEV", "cannot replace: Invalid cross-device link");
}

void StoreFaultsTest::namedStepsAreInTheError()
{
    const QByteArray before("{\"a\": 1, \"b\": true}");
    prepare(before);
    const Outcome sound = run("save");
    QFETCH(QByteArray, call);
    // The first of its name within the save.
    const QByteArray name = call.left(call.indexOf(':'));
    const auto found = std::find_if(
        sound.calls.begin(), sound.calls.end(), [&](const Call& it) { return it.name == name; });
    QVERIFY(found != sound.calls.end());
    call += ":when=" + QByteArray::number(found->number);
    prepare(before);
    const Outcome outcome
        = run("save", { QStringLiteral("-e"), QStringLiteral("inject=") + QString::fromLatin1(call) });
    QCOMPARE(outcome.exitCode, reportedFailure);
    QCOMPARE(content(), before);
    QFETCH(const QString, error);
    QCOMPARE(outcome.error, path() + QStringLiteral(": ") + error);
}

void StoreFaultsTest::failedDirectorySyncIsMadeUpFor()
{
    // The new file stands, but the save has to be told as failed; and saving the very same again must not
    // be taken for done before the directory is on disk.
    const QByteArray before("{\"a\": 1, \"b\": true}");
    prepare(before);
    const Outcome sound = run("save");
    QList<int> syncs;
    for (const Call& call : sound.calls) {
        if (call.name == "fsync")
            syncs.append(call.number);
    }
    QCOMPARE(syncs.size(), 2); // the file, then its directory
    prepare(before);
    const QString injection = QStringLiteral("inject=fsync:error=EIO:when=%1+").arg(syncs.constLast());
    const Outcome outcome = run("save-twice", { QStringLiteral("-e"), injection });
    QCOMPARE(outcome.exitCode, reportedFailure);
    QVERIFY2(outcome.error.contains(QStringLiteral("directory")), qUtf8Printable(outcome.error));
}

int main(int argc, char** argv)
{
    const QByteArray part = argc == 3 ? argv[1] : "";
    if (part == "save")
        return save(QString::fromUtf8(argv[2]), 1);
    if (part == "save-twice")
        return save(QString::fromUtf8(argv[2]), 2);
    if (part == "read")
        return read(QString::fromUtf8(argv[2]));
    const TestHome home;
    const QCoreApplication application(argc, argv);
    StoreFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StoreFaultsTest.moc"
