#include "KestrumShared/Vocabulary/MeterAppearance.h"
#include "KestrumShared/Text/Title.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>

using namespace kestrum;

namespace {

template <class E> QString table()
{
    QStringList entries;
    for (const auto& entry : allCases<E>()) {
        if (fromRawValue<E>(rawValue(entry.value)) != entry.value)
            return QStringLiteral("a case does not read back");
        entries.append(rawValue(entry.value) + u'=' + title(entry.value));
    }
    return entries.join(u' ');
}

} // namespace

class MeterAppearanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyCaseHasItsTextAndTitle()
    {
        QCOMPARE(table<MeterStyle>(), text("bars=Bars wave=Wave compact=Compact"));
        QCOMPARE(table<MeterShape>(), text("pill=Pill square=Square"));
        QCOMPARE(table<MeterLabelStyle>(), text("icons=Icons letters=Letters"));
        QCOMPARE(table<CPUReadout>(), text("off=None usage=Usage temperature=Temperature power=Power"));
        QCOMPARE(table<MemoryReadout>(), text("off=None usage=Usage pressure=Pressure swap=Swap"));
        QCOMPARE(table<StorageReadout>(), text("off=None usage=Usage free=Free"));
        QCOMPARE(table<SensorsReadout>(), text("off=None power=Power hottest=Hottest gpu=GPU fan=Fan"));
        QCOMPARE(table<PopoverAppearance>(), text("light=Light dark=Dark system=System"));
        QCOMPARE(table<PopoverBackground>(), text("translucent=Translucent opaque=Opaque"));
    }

    void titlesAreInTheInterfaceLanguage()
    {
        const TestBundle bundle("{ CFBundleDevelopmentRegion = en; }", { "en", "de" });
        bundle.writeTable("de", "None = \"Keine\"; Square = \"Eckig\";");
        setSession("KESTRUM_LANGUAGE=de");
        QCOMPARE(title(MeterShape::square), QStringLiteral("Eckig"));
        QCOMPARE(table<StorageReadout>(), QStringLiteral("off=Keine usage=Usage free=Free"));
        setSession({});
    }

    void sectionsStandInTheirOrder()
    {
        QStringList keys;
        for (const auto& entry : allCases<MonitorSection>())
            keys.append(rawValue(entry.value));
        QCOMPARE(keys, QStringLiteral("cpu memory storage sensors").split(u' '));
    }

    void parsingIsExact()
    {
        QVERIFY(!fromRawValue<MeterStyle>(u"Bars"));
        QVERIFY(!fromRawValue<MeterStyle>(u"bars "));
        QVERIFY(!fromRawValue<MeterStyle>(u""));
        QVERIFY(!fromRawValue<CPUReadout>(u"None"));
        QVERIFY(!fromRawValue<MonitorSection>(u"CPU"));
        QCOMPARE(fromRawValue<SensorsReadout>(u"gpu"), SensorsReadout::gpu);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MeterAppearanceTest)
#include "MeterAppearanceTest.moc"
