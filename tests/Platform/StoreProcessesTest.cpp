// Real processes that use one suite. Each runs this program again, with the name of its part as argument.

#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/SettingsInMemory.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace kestrum;

namespace {

constexpr int keysPerWriter = 20;

/// The environment variable with the delay of each fsync() in this process, in microseconds. The tests save to memory, where
/// fsync() takes no time and writers would never wait long for the lock.
constexpr char slowFlush[] = "KESTRUM_TEST_SLOW_FLUSH";

std::string keyName(const QByteArray& writer, int number)
{
    return (writer + '.' + QByteArray::number(number)).toStdString();
}

/// Saves 1, 2, 3 … under `keysPerWriter` keys in turn. Before each save, checks that the key still has the writer's last
/// value; after each save, prints the number. Returns the exit code, 0 on success.
int write(const QString& suite, const QByteArray& writer, int count)
{
    const auto store = UserDefaults::withSuiteName(suite);
    for (int i = 1; i <= count; ++i) {
        const std::string key = keyName(writer, i % keysPerWriter);
        const double before = store->number(key).value_or(0);
        if (i > keysPerWriter && before != i - keysPerWriter) {
            std::fprintf(stderr, "%s: %g instead of %d\n", key.c_str(), before, i - keysPerWriter);
            return 2;
        }
        if (!store->set(key, i)) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(store->lastError()));
            return 3;
        }
        std::printf("%d\n", i);
        std::fflush(stdout);
    }
    return 0;
}

/// For each line on standard input, prints the number stored under "a".
int read(const QString& suite)
{
    const auto store = UserDefaults::withSuiteName(suite);
    char line[16];
    while (std::fgets(line, sizeof line, stdin)) {
        std::printf("%g\n", store->number("a").value_or(0));
        std::fflush(stdout);
    }
    return 0;
}

class Player {
public:
    explicit Player(const QStringList& arguments, bool hasRuntimeDirectory = true)
    {
        if (!hasRuntimeDirectory) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.remove(QStringLiteral("XDG_RUNTIME_DIR"));
            process.setProcessEnvironment(environment);
        }
        process.start(QCoreApplication::applicationFilePath(), TestRunner::again(arguments));
    }
    ~Player()
    {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }

    /// The last number that the process printed; 0 before the first.
    int lastNumber()
    {
        m_output += process.readAllStandardOutput();
        const qsizetype end = m_output.lastIndexOf('\n');
        if (end < 0)
            return 0;
        const qsizetype start = m_output.lastIndexOf('\n', end - 1) + 1;
        return m_output.mid(start, end - start).toInt();
    }

    double ask()
    {
        process.write("\n");
        return process.waitForReadyRead(5000) ? process.readAllStandardOutput().trimmed().toDouble() : -1;
    }

    QProcess process;

private:
    QByteArray m_output;
};

} // namespace

/// Replaces the C library's fsync() in this program.
extern "C" int fsync(int file)
{
    static const int delay = qEnvironmentVariableIntValue(slowFlush);
    if (delay > 0)
        ::usleep(useconds_t(delay));
    return int(::syscall(SYS_fsync, file));
}

class StoreProcessesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_suite = QStringLiteral("suite.%1").arg(++m_number);
        m_players.clear();
    }

    void twoWritersOfDifferentKeysLoseNothing()
    {
        constexpr int saves = 2000;
        const auto store = UserDefaults::withSuiteName(m_suite);
        const SettingsFile file(store->filePath());
        start("one", saves);
        start("two", saves);
        bool wasThere = false;
        int reads = 0;
        // A reader must find a valid file at any moment.
        while (m_players[0]->process.state() != QProcess::NotRunning
            || m_players[1]->process.state() != QProcess::NotRunning) {
            for (int i = 0; i < 50; ++i, ++reads) {
                const auto content = file.read();
                QCOMPARE(content.failureText(), QString());
                QCOMPARE(content->damage, QString());
                QVERIFY(!wasThere || content->identity.size > 0);
                wasThere = content->identity.size > 0;
            }
            for (const auto& player : m_players) {
                player->process.readAllStandardOutput();
                player->process.waitForFinished(1);
            }
        }
        finish();
        QVERIFY(reads > 100);
        QCOMPARE(store->storedDictionary().size(), 2 * keysPerWriter);
        for (int i = saves - keysPerWriter + 1; i <= saves; ++i) {
            QCOMPARE(store->number(keyName("one", i % keysPerWriter)), double(i));
            QCOMPARE(store->number(keyName("two", i % keysPerWriter)), double(i));
        }
    }

    void tenWritersGetTheirTurns_data()
    {
        QTest::addColumn<int>("delay");
        QTest::addColumn<int>("saves");
        // No writer holds the lock for longer than two flushes. On the slowest disk, one turn of all writers takes longer than
        // a writer waits for a lock that does not move on.
        QTest::newRow("in memory") << 0 << 50;
        QTest::newRow("2 ms more a flush") << 2000 << 100;
        QTest::newRow("15 ms more") << 15'000 << 20;
        QTest::newRow("150 ms more") << 150'000 << 3;
    }

    void tenWritersGetTheirTurns()
    {
        QFETCH(const int, delay);
        QFETCH(const int, saves);
        qputenv(slowFlush, QByteArray::number(delay));
        for (char writer = 'a'; writer < 'k'; ++writer)
            start(QByteArray(1, writer), saves);
        qunsetenv(slowFlush);
        finish(); // no writer had to give up waiting for the lock
        const auto store = UserDefaults::withSuiteName(m_suite);
        for (char writer = 'a'; writer < 'k'; ++writer)
            QCOMPARE(store->number(keyName(QByteArray(1, writer), saves % keysPerWriter)), double(saves));
    }

    void killedWriterLeavesOldOrNewAndNoLock()
    {
        const auto store = UserDefaults::withSuiteName(m_suite);
        QVERIFY(store->set("mine", 0));
        int mostSaves = 0;
        for (int round = 1; round <= 40; ++round) {
            const QByteArray writer = "w" + QByteArray::number(round);
            m_players.clear();
            Player* player = start(writer, 1'000'000);
            QVERIFY(player->process.waitForReadyRead(10'000)); // until the first save is done
            QTest::qSleep(int(QRandomGenerator::global()->bounded(12)));
            player->process.kill();
            QVERIFY(player->process.waitForFinished(5000));
            const int told = player->lastNumber();
            mostSaves = qMax(mostSaves, told);

            const auto content = SettingsFile(store->filePath()).read();
            QCOMPARE(content->damage, QString());
            QCOMPARE(content.failureText(), QString());
            // All saves that were printed are in the file. One more may be there that was not printed yet.
            int last = 0;
            for (int i = 0; i < keysPerWriter; ++i)
                last = qMax(last, content->values.value(QString::fromStdString(keyName(writer, i))).toInt());
            QVERIFY2(last == told || last == told + 1,
                (QByteArray::number(last) + ' ' + QByteArray::number(told)).constData());
            QElapsedTimer timer;
            timer.start();
            QVERIFY2(store->set("mine", round), qUtf8Printable(store->lastError()));
            QVERIFY(timer.elapsed() < 1500); // the lock's own limit is 2 s
            QCOMPARE(store->number("mine"), double(round));
            QVERIFY(store->apply({}, content->values.keys().filter(QString::fromLatin1(writer + '.'))));
        }
        QVERIFY(mostSaves > 1);

        // Temporary files of the killed writers are removed when they are an hour old.
        const QDir directory(TestHome::configDirectory());
        const auto leftovers = [&directory] {
            return directory.entryList({ QStringLiteral(".kestrum-*") }, QDir::Files | QDir::Hidden);
        };
        const QStringList left = leftovers();
        for (const QString& name : left) {
            const struct timespec times[] {
                { 1000, 0 }, { 1000, 0 }
            };
            QCOMPARE(
                ::utimensat(AT_FDCWD, QFile::encodeName(directory.filePath(name)).constData(), times, 0), 0);
        }
        store->sweepLeftovers();
        QVERIFY(leftovers().isEmpty());
    }

    void observerConvergesOnWhatAnotherProcessWrites()
    {
        const auto store = UserDefaults::withSuiteName(m_suite);
        int notices = 0;
        QJsonObject heard;
        connect(store.get(), &UserDefaults::changed, this, [&] {
            heard = store->storedDictionary();
            ++notices;
        });
        start("writer", 300);
        QTRY_VERIFY_WITH_TIMEOUT(m_players[0]->process.state() == QProcess::NotRunning, 30'000);
        finish();
        QTRY_COMPARE_WITH_TIMEOUT(heard, SettingsFile(store->filePath()).read()->values, 1000);
        QCOMPARE(heard.size(), keysPerWriter);
        QVERIFY(notices >= 1 && notices <= 300); // not more notices than changes
    }

    void otherProcessReadsEverySave_data()
    {
        QTest::addColumn<bool>("hasRuntimeDirectory");
        QTest::newRow("by the counter") << true;
        QTest::newRow("without a runtime directory, by looking") << false;
    }

    void otherProcessReadsEverySave()
    {
        QFETCH(const bool, hasRuntimeDirectory);
        const auto store = UserDefaults::withSuiteName(m_suite);
        Player reader({ QStringLiteral("read"), m_suite }, hasRuntimeDirectory);
        QCOMPARE(reader.ask(), 0.0);
        for (int i = 100; i < 400; ++i) {
            QVERIFY(store->set("a", i));
            QCOMPARE(reader.ask(), double(i));
        }
        reader.process.closeWriteChannel();
        QVERIFY(reader.process.waitForFinished(5000));
        QCOMPARE(reader.process.exitCode(), 0);
    }

private:
    Player* start(const QByteArray& writer, int count)
    {
        m_players.push_back(std::make_unique<Player>(QStringList {
            QStringLiteral("write"), m_suite, QString::fromLatin1(writer), QString::number(count) }));
        return m_players.back().get();
    }

    void finish()
    {
        for (const auto& player : m_players) {
            if (player->process.state() != QProcess::NotRunning)
                QVERIFY(player->process.waitForFinished(30'000));
            QVERIFY2(player->process.exitStatus() == QProcess::NormalExit && player->process.exitCode() == 0,
                player->process.readAllStandardError().constData());
        }
    }

    QString m_suite;
    int m_number = 0;
    std::vector<std::unique_ptr<Player>> m_players;
};

KESTRUM_TEST_MAIN_OF(StoreProcessesTest)(int argc, char** argv)
{
    const QByteArray part = argc > 2 ? argv[1] : "";
    if (part == "write" && argc == 5)
        return write(QString::fromUtf8(argv[2]), argv[3], QByteArray(argv[4]).toInt());
    if (part == "read" && argc == 3)
        return read(QString::fromUtf8(argv[2]));
    const TestHome home;
    const SettingsInMemory memory; // on a disk, writers would also collide less often
    const QCoreApplication application(argc, argv);
    StoreProcessesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StoreProcessesTest.moc"
