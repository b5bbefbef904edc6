#include "tests/Support/TracedSave.h"

#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr char beginMark[] = "/kestrum-begin";
constexpr char endMark[] = "/kestrum-end";

/// Sets "a" to 2 in the suite, `times` times, between the marks. If the last save fails, it prints the error and returns
/// `TracedSave::reportedFailure`.
int save(const QString& suite, int times)
{
    const auto store = UserDefaults::withSuiteName(suite);
    bool isSaved = false;
    (void)::access(beginMark, F_OK);
    for (int i = 0; i < times; ++i)
        isSaved = store->set("a", 2);
    (void)::access(endMark, F_OK);
    std::fputs(qUtf8Printable(store->lastError()), stdout);
    return isSaved ? 0 : TracedSave::reportedFailure;
}

/// Reads a text and a Boolean a thousand times, between the marks.
int read(const QString& suite)
{
    const auto store = UserDefaults::withSuiteName(suite);
    qsizetype sum = store->string("text")->size();
    (void)::access(beginMark, F_OK);
    for (int i = 0; i < 1000; ++i)
        sum += store->string("text")->size() + (store->boolean("truth").value_or(false) ? 1 : 0);
    (void)::access(endMark, F_OK);
    return sum > 0 ? 0 : 1;
}

/// Makes a file old, so that it does not look like part of a save that is under way.
void age(const QString& path)
{
    const struct timespec longAgo[] {
        { 1'000'000, 0 }, { 1'000'000, 0 }
    };
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), longAgo, 0);
}

} // namespace

int TracedSave::played(int argc, char** argv)
{
    const QByteArray part = argc == 3 ? argv[1] : "";
    if (part == "save")
        return save(QString::fromUtf8(argv[2]), 1);
    if (part == "save-twice")
        return save(QString::fromUtf8(argv[2]), 2);
    if (part == "read")
        return read(QString::fromUtf8(argv[2]));
    return -1;
}

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

QByteArray TracedSave::content()
{
    QFile file(path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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
    QVERIFY(QDir().mkpath(TestHome::configDirectory()));
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0640), 0); // the save must keep this mode
    age(path());
}

TracedSave::Outcome TracedSave::run(const char* part, const QByteArray& injection)
{
    const QString log = TestHome::root() + QStringLiteral("/strace.log");
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(
        QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0")); // impossible under strace
    process.setProcessEnvironment(environment);
    QStringList options;
    if (!injection.isEmpty())
        options = { QStringLiteral("-e"), QStringLiteral("inject=") + QString::fromLatin1(injection) };
    process.start(QStringLiteral("strace"),
        QStringList { QStringLiteral("-y"), QStringLiteral("-o"), log, QStringLiteral("-e"),
            QStringLiteral("trace=%file,%desc") }
            + options + QStringList { QCoreApplication::applicationFilePath() }
            + TestRunner::again({ QString::fromLatin1(part), QStringLiteral("suite") }));
    if (!process.waitForFinished(20'000)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    Outcome outcome;
    // strace ends with its child's exit code or signal.
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
            outcome.calls.append({ name, number, line.trimmed() });
    }
    return outcome;
}

QByteArrayList TracedSave::Outcome::flushed() const
{
    QByteArrayList names;
    for (const Call& call : calls) {
        if (call.name != "fsync")
            continue;
        const qsizetype end = call.line.indexOf('>');
        const QByteArray name = call.line.mid(0, end).split('/').constLast();
        names.append(name.startsWith(".kestrum-") ? QByteArray("temporary") : name);
    }
    return names;
}

QString TracedSave::flaw(const QByteArray& before, const Outcome& outcome, const QByteArray& injection)
{
    const QByteArray after = content();
    const auto file = SettingsFile(path()).read();
    const bool isNew = file->damage.isEmpty() && file->values.value(u"a") == QJsonValue(2);
    if (!isNew && after != before)
        return QStringLiteral("neither old nor new: ") + QString::fromUtf8(after);
    if (isNew && (file->values.value(u"b") == QJsonValue(true)) != before.contains("\"b\""))
        return QStringLiteral("a key that was not changed is another one");
    if (isNew && before.contains("NaN") && !QFile::exists(path() + QStringLiteral(".damaged-1")))
        return QStringLiteral("the damaged file was not kept");
    const auto copies = QDir(TestHome::configDirectory()).entryInfoList({ QStringLiteral("*.damaged-*") });
    for (const QFileInfo& copy : copies) {
        QFile kept(copy.filePath());
        if (!kept.open(QIODevice::ReadOnly) || kept.readAll() != before)
            return QStringLiteral("a copy of the damaged file is not whole: ") + copy.fileName();
    }
    if (outcome.exitCode == 0 && !isNew)
        return QStringLiteral("told as saved, but not there");
    // When every write fails, the child cannot print its error either.
    const bool canPrint = !(injection.startsWith("write:") && injection.endsWith('+'));
    if (outcome.exitCode == reportedFailure && canPrint
        && (!outcome.error.startsWith(path()) || outcome.error.count(QStringLiteral(": ")) < 2))
        return QStringLiteral("the error names no file, step and reason: ") + outcome.error;
    // Without the fault, the next save succeeds, and does not wait for a lock.
    age(TestHome::configDirectory());
    QElapsedTimer timer;
    timer.start();
    const auto retried = SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} });
    if (!retried)
        return QStringLiteral("the next save fails: ") + retried.failureText();
    if (timer.elapsed() >= 1500) // the lock's own limit is 2 s
        return QStringLiteral("the next save waits");
    return SettingsFile(path()).read()->values.value(u"a") == QJsonValue(2)
        ? QString()
        : QStringLiteral("not saved again");
}

void TracedSave::addStates()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("first save") << QByteArray();
    QTest::newRow("later save") << QByteArray("{\"a\": 1, \"b\": true}");
    QTest::newRow("damaged file") << QByteArray("{\"a\": 1, \"b\": true, \"n\": NaN}");
}

} // namespace kestrum
