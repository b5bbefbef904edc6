#include "KestrumShared/Readings/AppListReader.h"
#include "Platform/Machine/Bell.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

using Column = AppListReader::Column;

/// A machine with a few processes, and the list of its apps.
class AppListFixture {
public:
    AppListFixture()
        : list(m_tree.root(), bell.rope())
    {
        QObject::connect(&bell, &Bell::rung, [this] { list.collect(); });
        setTicks(0);
    }

    /// Sets the processor time that the processes have used.
    void setTicks(int ticks) const
    {
        for (const auto& [pid, name, share] :
            { std::tuple { 7, "first", 3 }, { 8, "second", 2 }, { 9, "idle", 0 } }) {
            const QByteArray id = QByteArray::number(pid);
            const QString folder = QStringLiteral("proc/%1/").arg(pid);
            m_tree.write(folder + QStringLiteral("stat"),
                id + " (" + name + ") S 1 7 7 0 -1 0 0 0 0 0 " + QByteArray::number(ticks * share)
                    + " 0 0 0 20 0 1 0 100 0 10\n");
            m_tree.write(folder + QStringLiteral("statm"),
                "900 " + QByteArray::number(100 * (10 - pid)) + " 0 1 0 1 0\n");
            m_tree.write(folder + QStringLiteral("io"),
                "read_bytes: " + QByteArray::number(ticks * share * 1000)
                    + "\nwrite_bytes: 0\ncancelled_write_bytes: 0\n");
        }
    }
    QStringList names() const
    {
        QStringList result;
        for (const AppUse& app : list.rows())
            result.append(app.name);
        return result;
    }
    /// Waits until a scan is over that began before.
    void finish() { QTRY_VERIFY_WITH_TIMEOUT(!list.isScanning(), 5000); }

private:
    FileTree m_tree;

public:
    Bell bell;
    AppListReader list;
};

const QStringList firstAndSecond { QStringLiteral("first"), QStringLiteral("second") };

} // namespace

class AppListReaderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }

    void openedColdTheRowsComeHalfASecondLater()
    {
        AppListFixture fixture;
        QElapsedTimer time;
        time.start();
        fixture.list.open(Column::cpu);
        fixture.finish();
        QVERIFY(fixture.names().isEmpty());
        fixture.setTicks(5);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QVERIFY(time.elapsed() >= 500);
        QCOMPARE(fixture.list.scans(), 2);
        // Nothing more without a tick.
        QTest::qWait(700);
        QCOMPARE(fixture.list.scans(), 2);
    }

    void afterAnApproachTheRowsAreThereAtOnce()
    {
        AppListFixture fixture;
        fixture.list.approach(Column::cpu);
        fixture.finish();
        QTest::qWait(510);
        fixture.setTicks(5);
        fixture.list.open(Column::cpu);
        QCOMPARE(fixture.list.scans(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QVERIFY(fixture.list.rows().first().cores > 0);
    }

    void soonAfterAnApproachTheDifferenceIsWaitedFor()
    {
        AppListFixture fixture;
        fixture.list.approach(Column::cpu);
        fixture.finish();
        fixture.list.open(Column::cpu);
        QCOMPARE(fixture.list.scans(), 1);
        fixture.setTicks(5);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QCOMPARE(fixture.list.scans(), 2);
    }

    void memoryNeedsNoDifference()
    {
        AppListFixture fixture;
        const QStringList all { QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("idle") };
        fixture.list.approach(Column::memory);
        fixture.finish();
        fixture.list.open(Column::memory);
        QCOMPARE(fixture.names(), all);
        QCOMPARE(fixture.list.scans(), 1);

        AppListFixture cold;
        cold.list.open(Column::memory);
        cold.finish();
        QCOMPARE(cold.names(), all);
        QCOMPARE(cold.list.scans(), 1);
    }

    void aScanForAnotherListIsFollowedByOneForThis()
    {
        AppListFixture fixture;
        fixture.list.approach(Column::cpu);
        fixture.list.open(Column::disk); // while the first scan is running
        fixture.setTicks(5);
        QTRY_VERIFY_WITH_TIMEOUT(fixture.list.scans() >= 2 && !fixture.list.isScanning(), 5000);
        fixture.setTicks(10);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QVERIFY(fixture.list.rows().first().readRate > fixture.list.rows().last().readRate);
    }

    void approachesScanEveryTwoSecondsAtMost()
    {
        AppListFixture fixture;
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < 2500) {
            fixture.list.approach(Column::cpu);
            QTest::qWait(10);
        }
        QCOMPARE(fixture.list.scans(), 2);
    }

    void ticksScanEveryTwoSecondsAtMost()
    {
        AppListFixture fixture;
        fixture.list.open(Column::cpu);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.list.scans(), 2, 5000);
        fixture.finish();
        QElapsedTimer time;
        time.start();
        while (fixture.list.scans() == 2 && time.elapsed() < 5000) {
            fixture.list.tick(100ms, fixture.bell.rope());
            QTest::qWait(10);
        }
        QVERIFY2(
            time.elapsed() >= 1900 && time.elapsed() < 3000, qPrintable(QString::number(time.elapsed())));
    }

    void closedNothingIsScanned()
    {
        AppListFixture fixture;
        fixture.list.open(Column::cpu);
        fixture.list.close(); // before the second scan
        QTest::qWait(700);
        fixture.list.tick(100ms, {});
        QCOMPARE(fixture.list.scans(), 1);
        QVERIFY(fixture.names().isEmpty());
    }

    void aListThatCannotBeReadIsNotTriedForEver()
    {
        const FileTree nothing;
        Bell bell;
        AppListReader list(nothing.path(QStringLiteral("none")), bell.rope());
        connect(&bell, &Bell::rung, [&list] { list.collect(); });
        list.open(Column::disk);
        QTest::qWait(2500);
        QVERIFY2(list.scans() <= 6, qPrintable(QString::number(list.scans())));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppListReaderTest)
#include "AppListReaderTest.moc"
