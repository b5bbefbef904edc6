#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/Programs.h"
#include "tests/Support/StoreWriters.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class StoreProcessesTest : public QObject, StoreWriters {
    Q_OBJECT

private Q_SLOTS:
    void init() { nextSuite(); }

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
};

KESTRUM_TEST_MAIN(QCoreApplication, StoreProcessesTest)
#include "StoreProcessesTest.moc"
