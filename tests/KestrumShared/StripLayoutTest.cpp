#include "KestrumShared/Items/StripLayout.h"

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Items/WantedReadings.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QGuiApplication>
#include <QTest>

using namespace kestrum;
using enum MonitorSection;

class StripLayoutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void itemsStandEightPointsApartInTheStoredOrder()
    {
        QVERIFY(Setting(Keys::menuBarOrder).set(QStringLiteral("memory,cpu")));
        const StripLayout layout = StripLayout::current();
        QList<MonitorSection> sections;
        double x = 0;
        for (const StripLayout::Item& item : layout.items) {
            sections.append(item.section);
            QVERIFY(item.isShown());
            QCOMPARE(*item.x, x);
            QCOMPARE(item.width, StatusMetricView::itemWidth(item.section));
            x += item.width + 8;
        }
        QCOMPARE(sections, (QList { memory, cpu, sensors, storage }));
        QCOMPARE(layout.width, x - 8);
    }

    void aHiddenItemTakesNoRoomButKeepsItsPlace()
    {
        QVERIFY(Setting(Keys::menuBarOrder).set(QStringLiteral("cpu,memory,storage,sensors")));
        QVERIFY(Setting(Keys::showMemoryItem).set(false));
        const StripLayout layout = StripLayout::current();
        QCOMPARE(layout.items[1].section, memory);
        QVERIFY(!layout.items[1].isShown());
        QCOMPARE(layout.items[1].width, StatusMetricView::itemWidth(memory));
        QCOMPARE(*layout.items[2].x, layout.items[0].width + 8);
        QCOMPARE(layout.width, layout.items[0].width + 8 + layout.items[2].width + 8 + layout.items[3].width);
    }

    void hiddenItemsAtTheEndLeaveNoGap()
    {
        QVERIFY(Setting(Keys::menuBarOrder).set(QStringLiteral("cpu,memory,storage,sensors")));
        for (const auto& key : { Keys::showMemoryItem, Keys::showStorageItem, Keys::showSensorsItem })
            QVERIFY(Setting(key).set(false));
        QCOMPARE(StripLayout::current().width, StatusMetricView::itemWidth(cpu));
        QVERIFY(Setting(Keys::showCPUItem).set(false));
        const StripLayout layout = StripLayout::current();
        QCOMPARE(layout.items.size(), 4);
        QCOMPARE(layout.width, 0.0);
    }

    void anEmptyOrderGivesAnEmptyStrip()
    {
        const StripLayout layout = StripLayout::of({});
        QVERIFY(layout.items.isEmpty());
        QCOMPARE(layout.width, 0.0);
    }

    void widthsFollowTheSettings()
    {
        const double before = StripLayout::current().width;
        QVERIFY(Setting(Keys::sensorsReadout).set(SensorsReadout::off));
        QCOMPARE(before - StripLayout::current().width, 33 + StatusMetricView::meterSideGap(sensors));
    }

    void wantedReadingsAreThoseOfTheGivenAppearance()
    {
        const Appearance before = Appearance::current();
        QVERIFY(Setting(Keys::meterLabelStyle).set(MeterLabelStyle::letters));
        QVERIFY(Setting(Keys::cpuReadout).set(CPUReadout::power));
        const WantedReadings then = WantedReadings::of({ cpu }, before);
        QVERIFY(then.cpuLoad && then.sensors.cpu && !then.cpuPower);
        const WantedReadings now = WantedReadings::of({ cpu });
        QVERIFY(now.cpuLoad && now.cpuPower && !now.sensors.cpu);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, StripLayoutTest)
#include "StripLayoutTest.moc"
