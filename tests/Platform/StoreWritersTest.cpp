// SPDX-License-Identifier: MIT
#include "tests/Support/StoreWriters.h"
#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QTest>
#include <csignal>

using namespace kestrum;

/// Writers of which one is killed again and again, and an observer of random saves.
class StoreWritersTest : public QObject, StoreWriters {
    Q_OBJECT

private Q_SLOTS:
    void init() { nextSuite(); }

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
        QElapsedTimer timer;
        timer.start();
        int round = 0;
        while (!areDone()) {
            QVERIFY(timer.elapsed() < FaultRow::times(30'000, 300'000));
            const QByteArray name = "victim" + QByteArray::number(++round);
            HelperProcess victim({ QStringLiteral("keys"), m_suite, QString::fromLatin1(name),
                QStringLiteral("1"), QStringLiteral("1000000") });
            QVERIFY(victim.hasLine(10'000)); // it is killed among its saves, not while it is loaded
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
            start(QByteArray(1, writer), 2000);
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
};

KESTRUM_TEST_MAIN(QCoreApplication, StoreWritersTest)
#include "StoreWritersTest.moc"
