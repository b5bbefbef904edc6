#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Items/StatusMetricView.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

namespace {

CoreTier tier(int count)
{
    return { QStringLiteral("tier"), count };
}

} // namespace

class SampleReadingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void scalarsAreFixed()
    {
        const SampleReadings sample({}, 4);
        QCOMPARE(sample.cpuUsage(), 0.42);
        QCOMPARE(sample.cpuTemperature(), std::optional(48.0));
        QCOMPARE(sample.cpuWatts(), std::optional(12.0));
        QCOMPARE(sample.gpuTemperature(), std::optional(41.0));
        QCOMPARE(sample.hottestCelsius(), std::optional(52.0));
        QCOMPARE(sample.fastestFanRPM(), std::optional(1240.0));
        QCOMPARE(sample.systemWatts(), std::optional(24.0));
        QCOMPARE(sample.memoryUsage(), 0.64);
        QCOMPARE(sample.memoryPressure(), 0.31);
        QCOMPARE(sample.swapUsed(), quint64(1288490189));
        QCOMPARE(sample.storageUsage(), 0.58);
        QCOMPARE(sample.availableStorage(), qint64(412) << 30);
    }
    void historyIsOneWaveThreeTimes()
    {
        const QList<double> wave { 0.14, 0.22, 0.18, 0.35, 0.48, 0.41, 0.62, 0.55, 0.74, 0.68, 0.52, 0.38 };
        QCOMPARE(SampleReadings({}, 1).cpuHistory(), wave + wave + wave);
    }
    void fastCoresComeAfterTheEfficientOnes()
    {
        const SampleReadings sample({ tier(8), tier(4) }, 12);
        QCOMPARE(sample.performanceCoreCount(), 8);
        QCOMPARE(sample.coreUsages(),
            (QList<double> { 0.18, 0.32, 0.12, 0.44, 0.72, 0.88, 0.64, 0.95, 0.58, 0.81, 0.72, 0.88 }));
    }
    void machineWithoutTiersHasEfficiencyValuesOnly()
    {
        const QList<double> twelve { 0.18, 0.32, 0.12, 0.44, 0.22, 0.09, 0.51, 0.16, 0.27, 0.35, 0.14, 0.40 };
        QCOMPARE(SampleReadings({}, 5).performanceCoreCount(), 0);
        QCOMPARE(SampleReadings({}, 5).coreUsages(), twelve.first(5));
        QCOMPARE(SampleReadings({}, 14).coreUsages(), twelve + twelve.first(2));
        // A machine has one core at least.
        QCOMPARE(SampleReadings({}, 0).coreUsages(), twelve.first(1));
    }
    void tierLargerThanTheMachineIsClamped()
    {
        const SampleReadings sample({ tier(10) }, 3);
        QCOMPARE(sample.performanceCoreCount(), 3);
        QCOMPARE(sample.coreUsages(), (QList<double> { 0.72, 0.88, 0.64 }));
    }
    void thisMachinesCoresAreThoseOfItsTopology()
    {
        CoreTopology::useTiers({ tier(2), tier(3) });
        const SampleReadings sample;
        QCOMPARE(sample.coreUsages().size(), 5);
        QCOMPARE(sample.performanceCoreCount(), 2);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, SampleReadingsTest)
#include "SampleReadingsTest.moc"
