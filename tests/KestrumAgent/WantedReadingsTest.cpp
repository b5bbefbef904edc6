#include "KestrumShared/Items/WantedReadings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

namespace {

using Wanted = WantedReadings;
using Sensor = Sensors::Wanted;

WantedReadings wanted(
    std::initializer_list<bool Wanted::*> sources, std::initializer_list<bool Sensor::*> devices = {})
{
    WantedReadings result;
    for (bool Wanted::*source : sources)
        result.*source = true;
    for (bool Sensor::*sensor : devices)
        result.sensors.*sensor = true;
    return result;
}

} // namespace

class WantedReadingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void nothingShownWantsNothing() { QCOMPARE(WantedReadings::of({}), WantedReadings()); }

    void factorySettings()
    {
        QCOMPARE(WantedReadings::of({ MonitorSection::sensors, MonitorSection::cpu, MonitorSection::storage,
                     MonitorSection::memory }),
            wanted({ &Wanted::cpuLoad, &Wanted::memory, &Wanted::storage, &Wanted::systemPower },
                { &Sensor::cpu }));
    }

    void popovers()
    {
        using enum MonitorSection;
        const struct {
            MonitorSection section;
            WantedReadings expected;
        } rows[] {
            { cpu, wanted({ &Wanted::cpuLoad, &Wanted::cpuPower }, { &Sensor::cpu }) },
            { memory, wanted({ &Wanted::memory, &Wanted::memoryPressure }) },
            { storage, wanted({ &Wanted::storage }) },
            { sensors, wanted({ &Wanted::systemPower, &Wanted::cpuPower }) },
        };
        for (const auto& row : rows)
            QVERIFY2(
                WantedReadings::ofPopover(row.section) == row.expected, qPrintable(rawValue(row.section)));
        // A header shows what the item's readout shows.
        SharedSettings::store().set("sensorsReadout", QStringLiteral("fan"));
        QVERIFY(WantedReadings::ofPopover(sensors)
            == wanted({ &Wanted::systemPower, &Wanted::cpuPower }, { &Sensor::fan }));
    }

    void unionsAndIntersections()
    {
        const WantedReadings one
            = wanted({ &Wanted::cpuLoad, &Wanted::memory }, { &Sensor::cpu, &Sensor::gpu });
        const WantedReadings other
            = wanted({ &Wanted::memory, &Wanted::storage }, { &Sensor::gpu, &Sensor::fan });
        QVERIFY((one & other) == wanted({ &Wanted::memory }, { &Sensor::gpu }));
        QVERIFY((one | other)
            == wanted({ &Wanted::cpuLoad, &Wanted::memory, &Wanted::storage },
                { &Sensor::cpu, &Sensor::gpu, &Sensor::fan }));
    }

    void eachReadoutWantsItsSourceAlone()
    {
        using enum MonitorSection;
        const struct {
            MonitorSection section;
            const char* readout;
            WantedReadings expected;
        } rows[] {
            { cpu, "off", wanted({ &Wanted::cpuLoad }) },
            { cpu, "usage", wanted({ &Wanted::cpuLoad }) },
            { cpu, "power", wanted({ &Wanted::cpuLoad, &Wanted::cpuPower }) },
            { cpu, "temperature", wanted({ &Wanted::cpuLoad }, { &Sensor::cpu }) },
            { memory, "off", wanted({ &Wanted::memory }) },
            { memory, "usage", wanted({ &Wanted::memory }) },
            { memory, "swap", wanted({ &Wanted::memory }) },
            { memory, "pressure", wanted({ &Wanted::memory, &Wanted::memoryPressure }) },
            { storage, "off", wanted({ &Wanted::storage }) },
            { storage, "usage", wanted({ &Wanted::storage }) },
            { storage, "free", wanted({ &Wanted::storage }) },
            { sensors, "off", wanted({}) },
            { sensors, "power", wanted({ &Wanted::systemPower }) },
            { sensors, "hottest", wanted({}, { &Sensor::hottest }) },
            { sensors, "gpu", wanted({}, { &Sensor::gpu }) },
            { sensors, "fan", wanted({}, { &Sensor::fan }) },
        };
        for (const auto& row : rows) {
            const QString key = rawValue(row.section) + QLatin1StringView("Readout");
            SharedSettings::store().set(key.toStdString(), QLatin1StringView(row.readout));
            QVERIFY2(WantedReadings::of({ row.section }) == row.expected,
                qPrintable(key + u' ' + QLatin1StringView(row.readout)));
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, WantedReadingsTest)
#include "WantedReadingsTest.moc"
