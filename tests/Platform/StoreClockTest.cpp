// SPDX-License-Identifier: MIT
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/ObservedSuite.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <ctime>

using namespace kestrum;

/// Two programs, one of which has its clock set forward and back while it runs. The kernel gives files times by the right clock.
class StoreClockTest : public QObject, ObservedSuite {
    Q_OBJECT

private Q_SLOTS:
    void init() { nextSuite(); }

    void clockSetForwardOrBackHidesNoChange()
    {
        FaultRow row("clock set");
        const QString clock = TestHome::root() + QStringLiteral("/clock");
        const auto set = [&clock](qint64 seconds) {
            // In place, because the other program has mapped the file.
            QFile file(clock);
            QVERIFY(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
            QCOMPARE(
                file.write(reinterpret_cast<const char*>(&seconds), sizeof seconds), qint64(sizeof seconds));
        };
        set(0);
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        qputenv("KESTRUM_TEST_CLOCK", QFile::encodeName(clock));
        HelperProcess other({ QStringLiteral("observe"), m_suite });
        qunsetenv("KESTRUM_TEST_CLOCK");
        QCOMPARE(other.line(), QByteArray("ready"));
        Observed observed(m_suite);
        observed.settled();
        const auto isHeard = [&other](int number) { return hears(other, number); };
        int number = 0;
        for (const qint64 ahead : jumps) {
            const QByteArray name = QByteArray::number(ahead);
            set(ahead);
            QVERIFY2(observed.store->set("a", ++number), qUtf8Printable(observed.store->lastError()));
            QVERIFY2(isHeard(number), name.constData());
            row.add();

            other.say("store");
            ++number;
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a"), double(number), longestDelay);
            QVERIFY2(isHeard(number), name.constData());
            // The other program gives its files the time of its own clock.
            const qint64 saved = QFileInfo(path()).lastModified().toSecsSinceEpoch();
            QVERIFY2(qAbs(saved - ahead - ::time(nullptr)) <= 1, name.constData());
            row.add();

            write(path(), textOf(++number));
            setTimes(path(), ::time(nullptr) + ahead);
            QVERIFY2(isHeard(number), name.constData());
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a"), double(number), longestDelay);
            row.add();

            QVERIFY(QFile::remove(path()));
            QVERIFY2(isHeard(0), name.constData());
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a").value_or(0), 0.0, longestDelay);
            row.add();
        }
        QCOMPARE(other.finish(), 0);
    }

    void readerByTimeIsFoundOut()
    {
        // Proves that the checks above can fail.
        FaultRow row("clock set");
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        HelperProcess other({ QStringLiteral("observe-newer"), path() });
        QCOMPARE(other.line(), QByteArray("ready"));
        const auto editAt = [this](int number, qint64 ahead) {
            write(path(), textOf(number));
            setTimes(path(), ::time(nullptr) + ahead);
        };
        editAt(1, 0);
        QVERIFY(hears(other, 1));
        editAt(2, -60);
        QVERIFY(!hears(other, 2));
        row.addFoundOut();
        QCOMPARE(other.finish(), 0);
    }

private:
    /// Whether the other program tells in time that it has read this number.
    static bool hears(HelperProcess& other, int number)
    {
        QElapsedTimer timer;
        timer.start();
        while (other.hasLine(int(longestDelay - timer.elapsed()))) {
            if (other.line() == "a " + QByteArray::number(number))
                return true;
        }
        return false;
    }

    static constexpr qint64 day = 86'400;
    static constexpr qint64 jumps[] { 1, -1, 60, -60, 3600, -3600, 3700, -3700, day, -day, 30 * day,
        -30 * day, 3650 * day, -3650 * day, 1, 0 };
};

KESTRUM_TEST_MAIN(QCoreApplication, StoreClockTest)
#include "StoreClockTest.moc"
