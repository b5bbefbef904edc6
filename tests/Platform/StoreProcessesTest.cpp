#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SettingsInMemory.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QRandomGenerator>
#include <QTest>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class StoreProcessesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_suite = QStringLiteral("suite.%1").arg(++m_number);
        m_writers.clear();
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
        while (!m_writers[0]->hasEnded() || !m_writers[1]->hasEnded()) {
            for (int i = 0; i < 50; ++i, ++reads) {
                const auto content = file.read();
                QCOMPARE(content.failureText(), QString());
                QCOMPARE(content->damage, QString());
                QVERIFY(!wasThere || content->identity.size > 0);
                wasThere = content->identity.size > 0;
            }
            QCoreApplication::processEvents();
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
        // A writer holds the lock for at most two flushes. On the slowest disk, one turn of all writers takes longer than the
        // time for which a writer waits while the lock's owner does not change.
        QTest::newRow("in memory") << 0 << FaultRow::times(50, 100);
        QTest::newRow("2 ms more a flush") << 2000 << 100;
        QTest::newRow("15 ms more") << 15'000 << 20;
        QTest::newRow("150 ms more") << 150'000 << 3;
    }

    void tenWritersGetTheirTurns()
    {
        QFETCH(const int, delay);
        QFETCH(const int, saves);
        QElapsedTimer timer;
        timer.start();
        qputenv("KESTRUM_TEST_SLOW_FLUSH", QByteArray::number(delay));
        for (char writer = 'a'; writer < 'k'; ++writer)
            start(QByteArray(1, writer), saves);
        qunsetenv("KESTRUM_TEST_SLOW_FLUSH");
        finish(); // no writer had to give up waiting for the lock
        if (delay == 0 && FaultRow::isLong()) {
            qInfo(
                "%d saves of ten writers took %lld ms", 10 * saves, static_cast<long long>(timer.elapsed()));
            QVERIFY(Programs::areSanitized || timer.elapsed() <= 2000);
        }
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
            HelperProcess process(arguments(writer, 1'000'000));
            QVERIFY(process.hasLine(10'000)); // until the first save is done
            QTest::qSleep(int(QRandomGenerator::global()->bounded(12)));
            QCOMPARE(::kill(pid_t(process.pid()), SIGKILL), 0);
            QCOMPARE(process.finish(), -1);
            int told = 0;
            while (process.hasLine(0))
                told = process.line().toInt();
            mostSaves = qMax(mostSaves, told);

            const auto content = SettingsFile(store->filePath()).read();
            QCOMPARE(content->damage, QString());
            QCOMPARE(content.failureText(), QString());
            // The file contains all saves that were printed. It may contain one more save that was not printed yet.
            int last = 0;
            for (int i = 0; i < keysPerWriter; ++i)
                last = qMax(last, content->values.value(QString::fromStdString(keyName(writer, i))).toInt());
            QVERIFY2(last == told || last == told + 1,
                (QByteArray::number(last) + ' ' + QByteArray::number(told)).constData());
            QElapsedTimer timer;
            timer.start();
            QVERIFY2(store->set("mine", round), qUtf8Printable(store->lastError()));
            QVERIFY(timer.elapsed() < 1500); // a wait for the lock would take 2 s
            QCOMPARE(store->number("mine"), double(round));
            QVERIFY(store->apply({}, content->values.keys().filter(QString::fromLatin1(writer + '.'))));
        }
        QVERIFY(mostSaves > 1);

        // Temporary files of killed writers are removed when they are an hour old.
        const QDir directory(TestHome::configDirectory());
        const auto leftovers = [&directory] {
            return directory.entryList({ QStringLiteral(".kestrum-*") }, QDir::Files | QDir::Hidden);
        };
        const QStringList left = leftovers();
        for (const QString& name : left)
            setTimes(directory.filePath(name), 1000);
        store->sweepLeftovers();
        QVERIFY(leftovers().isEmpty());
    }

    void writersLoseNothingWhileOneIsKilledAgainAndAgain_data()
    {
        QTest::addColumn<int>("writers");
        QTest::newRow("two") << 2;
        QTest::newRow("ten") << 10;
    }

    void writersLoseNothingWhileOneIsKilledAgainAndAgain()
    {
        QFETCH(const int, writers);
        FaultRow row("writers, one killed");
        const int savesOfEach = FaultRow::times(600, 20'000) / (writers - 1) + 1;
        const auto store = UserDefaults::withSuiteName(m_suite);
        const SettingsFile file(store->filePath());
        for (int i = 1; i < writers; ++i)
            start("w" + QByteArray::number(i), savesOfEach);
        const auto areDone = [this] {
            QCoreApplication::processEvents();
            return std::all_of(
                m_writers.begin(), m_writers.end(), [](const auto& writer) { return writer->hasEnded(); });
        };
        QElapsedTimer patience;
        patience.start();
        int round = 0;
        while (!areDone()) {
            QVERIFY(patience.elapsed() < FaultRow::times(30'000, 300'000));
            const QByteArray name = "victim" + QByteArray::number(++round);
            HelperProcess victim({ QStringLiteral("keys"), m_suite, QString::fromLatin1(name),
                QStringLiteral("1"), QStringLiteral("1000000") });
            QElapsedTimer life;
            life.start();
            while (life.elapsed() < 50) {
                const auto content = file.read();
                QCOMPARE(content.failureText() + content->damage, QString());
                QTest::qSleep(1);
            }
            QCOMPARE(::kill(pid_t(victim.pid()), SIGKILL), 0);
            QCOMPARE(victim.finish(), -1);
            int told = 0;
            while (victim.hasLine(0))
                told = victim.line().toInt();
            const int last = file.read()->values.value(QString::fromStdString(keyName(name, 0))).toInt();
            QVERIFY2(last == told || last == told + 1,
                (QByteArray::number(last) + ' ' + QByteArray::number(told)).constData());
            QVERIFY2(store->remove(keyName(name, 0)), qUtf8Printable(store->lastError()));
            row.add(told);
        }
        QVERIFY(round > 1);
        finish(); // each writer has found its own last values before each save
        for (int i = 1; i < writers; ++i) {
            for (int save = savesOfEach - keysPerWriter + 1; save <= savesOfEach; ++save)
                QCOMPARE(
                    store->number(keyName("w" + QByteArray::number(i), save % keysPerWriter)), double(save));
            row.add(savesOfEach);
        }
    }

    void writersWithoutALockAreFoundOut()
    {
        // Proves that the check above can fail.
        FaultRow row("writers, one killed");
        qputenv("KESTRUM_TEST_NO_LOCK", "1");
        for (char writer = 'a'; writer < 'e'; ++writer)
            start(QByteArray(1, writer), 500);
        qunsetenv("KESTRUM_TEST_NO_LOCK");
        bool isLost = false;
        for (const auto& writer : m_writers) {
            QTRY_VERIFY_WITH_TIMEOUT(writer->hasEnded(), 30'000);
            isLost = isLost || writer->finish() == 2;
        }
        QVERIFY(isLost);
        row.addFoundOut();
    }

    void observerConvergesOnRandomSaves()
    {
        FaultRow row("notices");
        const int saves = FaultRow::times(1500, 100'000);
        const auto store = UserDefaults::withSuiteName(m_suite);
        QVERIFY(store->set("key0", 0));
        int notices = 0;
        QJsonObject heard;
        connect(store.get(), &UserDefaults::changed, this, [&] {
            heard = store->storedDictionary();
            ++notices;
        });
        // This observer watches the file only, and so proves that the check can fail.
        const SettingsFile file(store->filePath());
        QFileSystemWatcher watcher({ store->filePath() });
        QJsonObject heardByTheFile;
        connect(
            &watcher, &QFileSystemWatcher::fileChanged, this, [&] { heardByTheFile = file.read()->values; });

        HelperProcess writer(
            { QStringLiteral("random"), m_suite, QStringLiteral("1"), QString::number(saves) });
        QVERIFY(QTest::qWaitFor([&writer] { return writer.hasLine(0); }, FaultRow::times(30'000, 400'000)));
        QCOMPARE(writer.line(), QByteArray("done"));
        const auto isEqual = [&file](const QJsonObject& values) { return values == file.read()->values; };
        QVERIFY(QTest::qWaitFor([&] { return isEqual(heard); }, 1000));
        QVERIFY(notices >= 1 && notices <= saves + 1);
        row.add(saves);
        QVERIFY(!QTest::qWaitFor([&] { return isEqual(heardByTheFile); }, 1000));
        row.addFoundOut();

        const int before = notices;
        writer.say("equal");
        QCOMPARE(writer.line(), QByteArray("equal"));
        QTest::qWait(300);
        QCOMPARE(notices, before);
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
        const QByteArray directory = qgetenv("XDG_RUNTIME_DIR");
        if (!hasRuntimeDirectory)
            qunsetenv("XDG_RUNTIME_DIR");
        HelperProcess reader({ QStringLiteral("read"), m_suite });
        qputenv("XDG_RUNTIME_DIR", directory);
        const auto read = [&reader] {
            reader.say("read");
            return reader.line();
        };
        QCOMPARE(read(), QByteArray("0"));
        for (int i = 100; i < 400; ++i) {
            QVERIFY(store->set("a", i));
            QCOMPARE(read(), QByteArray::number(i));
        }
        QCOMPARE(reader.finish(), 0);
    }

private:
    static constexpr int keysPerWriter = 20;

    static std::string keyName(const QByteArray& writer, int number)
    {
        return (writer + '.' + QByteArray::number(number)).toStdString();
    }
    QStringList arguments(const QByteArray& writer, int count) const
    {
        return { QStringLiteral("keys"), m_suite, QString::fromLatin1(writer), QString::number(keysPerWriter),
            QString::number(count) };
    }
    void start(const QByteArray& writer, int count)
    {
        m_writers.push_back(std::make_unique<HelperProcess>(arguments(writer, count)));
    }
    void finish()
    {
        for (const auto& writer : m_writers) {
            QTRY_VERIFY_WITH_TIMEOUT(writer->hasEnded(), 30'000);
            QVERIFY2(writer->finish() == 0, writer->errors().constData());
        }
    }

    const SettingsInMemory m_memory; // on a disk, writers would also collide less often
    QString m_suite;
    int m_number = 0;
    std::vector<std::unique_ptr<HelperProcess>> m_writers;
};

KESTRUM_TEST_MAIN(QCoreApplication, StoreProcessesTest)
#include "StoreProcessesTest.moc"
