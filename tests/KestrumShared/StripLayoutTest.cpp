#include "KestrumShared/Items/StripLayout.h"

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QGuiApplication>
#include <QTest>

using namespace kestrum;

namespace {

QList<MonitorSection> sections(const StripLayout& layout)
{
    QList<MonitorSection> result;
    for (const StripLayout::Item& item : layout.items)
        result.append(item.section);
    return result;
}

} // namespace

class StripLayoutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults()); }

    void init() { SharedSettings::store().apply({}, SharedSettings::store().storedDictionary().keys()); }

    void itemsStandEightPointsApartInTheStoredOrder()
    {
        QVERIFY(Setting(Keys::menuBarOrder).set(QStringLiteral("memory,cpu")));
        const StripLayout layout = StripLayout::current();
        QCOMPARE(sections(layout),
            (QList { MonitorSection::memory, MonitorSection::cpu, MonitorSection::sensors,
                MonitorSection::storage }));
        double x = 0;
        for (const StripLayout::Item& item : layout.items) {
            QVERIFY(item.isShown());
            QCOMPARE(*item.x, x);
            QCOMPARE(item.width, StatusMetricView::itemWidth(item.section));
            x += item.width + 8;
        }
        QCOMPARE(layout.width, x - 8);
    }

    void aHiddenItemTakesNoRoomButKeepsItsPlace()
    {
        QVERIFY(Setting(Keys::menuBarOrder).set(QStringLiteral("cpu,memory,storage,sensors")));
        QVERIFY(Setting(Keys::showMemoryItem).set(false));
        const StripLayout layout = StripLayout::current();
        QCOMPARE(layout.items[1].section, MonitorSection::memory);
        QVERIFY(!layout.items[1].isShown());
        QCOMPARE(layout.items[1].width, StatusMetricView::itemWidth(MonitorSection::memory));
        QCOMPARE(*layout.items[2].x, layout.items[0].width + 8);
        QCOMPARE(layout.width, layout.items[0].width + 8 + layout.items[2].width + 8 + layout.items[3].width);
    }

    void aHiddenItemAtTheEndLeavesNoGap()
    {
        QVERIFY(Setting(Keys::menuBarOrder).set(QStringLiteral("cpu,memory,storage,sensors")));
        for (const auto& key : { Keys::showMemoryItem, Keys::showStorageItem, Keys::showSensorsItem })
            QVERIFY(Setting(key).set(false));
        QCOMPARE(StripLayout::current().width, StatusMetricView::itemWidth(MonitorSection::cpu));
    }

    void withoutShownItemsTheStripHasNoWidth()
    {
        for (const auto& entry : allCases<MonitorSection>())
            QVERIFY(Setting(MeterSettings::visibilityKey(entry.value)).set(false));
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
        QCOMPARE(before - StripLayout::current().width,
            33 + StatusMetricView::meterSideGap(MonitorSection::sensors));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, StripLayoutTest)
#include "StripLayoutTest.moc"
