#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>

using namespace kestrum;

namespace {

UserDefaults& store()
{
    return SharedSettings::store();
}

QString text(const QList<MonitorSection>& order)
{
    QStringList keys;
    for (const MonitorSection section : order)
        keys.append(rawValue(section));
    return keys.join(u',');
}

QList<MonitorSection> sections(const char* text)
{
    QList<MonitorSection> result;
    for (const QString& key : QString::fromLatin1(text).split(u',', Qt::SkipEmptyParts))
        result.append(fromRawValue<MonitorSection>(key).value());
    return result;
}

} // namespace

class MeterSettingsTest : public QObject {
    Q_OBJECT

    struct Order {
        const char* name;
        const char* text;
        const char* result;
    };
    struct Merge {
        const char* name;
        const char* visible;
        const char* order;
        const char* hidden;
        const char* result;
    };
    struct Visibility {
        const char* name;
        QJsonValue value;
        bool isShown;
    };
    struct Readout {
        const char* name;
        QJsonValue legacy;
        QJsonValue readout;
        bool isUsage;
    };
    struct Stored {
        const char* name;
        QJsonValue value;
        const char* result = "signal";
    };
    struct Migration {
        const char* name;
        QJsonValue global;
        QJsonValue fastCores;
        const char* result;
        const char* fastResult;
    };
    static inline const QJsonValue absent = QJsonValue::Undefined;

    static void storeUnlessAbsent(const char* key, const QJsonValue& value)
    {
        if (!value.isUndefined())
            QVERIFY(store().set(key, value));
    }

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        registerFactoryDefaults();
    }

    void orderTextsAreCompleted_data()
    {
        addRows<Order>({
            { "empty", "", "sensors,storage,memory,cpu" },
            { "repeated", "cpu,cpu,memory", "cpu,memory,sensors,storage" },
            { "whole", "storage,sensors,memory,cpu", "storage,sensors,memory,cpu" },
            { "unknown", "memory,bogus,memory", "memory,sensors,storage,cpu" },
            { "empty pieces", ",cpu,,memory,", "cpu,memory,sensors,storage" },
            { "a space is not trimmed", " cpu,memory", "memory,sensors,storage,cpu" },
            { "capitals are other names", "CPU,memory", "memory,sensors,storage,cpu" },
            { "one", "storage", "storage,sensors,memory,cpu" },
        });
    }
    void orderTextsAreCompleted()
    {
        QFETCH(Order, row);
        QCOMPARE(text(MeterSettings::order(QString::fromLatin1(row.text))), QLatin1StringView(row.result));
    }

    void storedOrdersAreCompletedAndStay_data()
    {
        addRows<Stored>({
            { "absent: the factory's, which is not the completing order", absent,
                "storage,sensors,memory,cpu" },
            // The value is still stored, so the factory default does not replace it.
            { "of another type: as if empty", 3, "sensors,storage,memory,cpu" },
            { "not understood", QStringLiteral("memory,bogus"), "memory,sensors,storage,cpu" },
        });
    }
    void storedOrdersAreCompletedAndStay()
    {
        QFETCH(Stored, row);
        storeUnlessAbsent("menuBarOrder", row.value);
        QCOMPARE(text(MeterSettings::storedOrder()), QLatin1StringView(row.result));
        QCOMPARE(store().storedDictionary().value(QLatin1StringView("menuBarOrder")), row.value);
    }

    void mergeRefillsShownSlots_data()
    {
        addRows<Merge>({
            { "one hidden", "cpu,memory,storage", "storage,sensors,memory,cpu", "sensors",
                "cpu,sensors,memory,storage" },
            { "none hidden", "cpu,memory,storage,sensors", "storage,sensors,memory,cpu", "",
                "cpu,memory,storage,sensors" },
            { "all hidden", "", "storage,sensors,memory,cpu", "storage,sensors,memory,cpu",
                "storage,sensors,memory,cpu" },
            { "visible used up", "cpu", "storage,sensors,memory,cpu", "memory",
                "cpu,memory,storage,sensors" },
            { "more visible than slots", "cpu,memory,storage", "storage,memory", "",
                "cpu,memory,storage,sensors" },
            { "visible and hidden stands twice", "cpu,sensors", "sensors,cpu", "sensors",
                "sensors,cpu,sensors,memory,storage" },
            { "missing sections come in the order of the cases", "", "", "", "cpu,memory,storage,sensors" },
        });
    }
    void mergeRefillsShownSlots()
    {
        QFETCH(Merge, row);
        const auto isShown
            = [hidden = sections(row.hidden)](MonitorSection section) { return !hidden.contains(section); };
        QCOMPARE(text(MeterSettings::merged(sections(row.visible), sections(row.order), isShown)),
            QLatin1StringView(row.result));
    }

    void hiddenSectionKeepsItsSlot()
    {
        QVERIFY(Setting(Keys::showSensorsItem).set(false));
        QVERIFY(MeterSettings::setMenuBarOrder(sections("cpu,memory,storage")));
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,sensors,memory,storage"));
    }

    void orderWriteTouchesOneKeyOnly()
    {
        QVERIFY(MeterSettings::setMenuBarOrder(sections("cpu,memory,storage,sensors")));
        QCOMPARE(store().storedDictionary().keys(), QStringList { QStringLiteral("menuBarOrder") });
    }

    void everySectionHasItsOwnVisibilityKey()
    {
        QStringList keys;
        for (const auto& entry : allCases<MonitorSection>())
            keys.append(QString::fromLatin1(MeterSettings::visibilityKey(entry.value).name));
        QCOMPARE(
            keys, QStringLiteral("showCPUItem showMemoryItem showStorageItem showSensorsItem").split(u' '));
    }

    void onlyAStoredFalseHides_data()
    {
        addRows<Visibility>({ { "absent", absent, true }, { "true", true, true }, { "false", false, false },
            { "zero", 0, true }, { "text", QStringLiteral("false"), true },
            { "null", QJsonValue::Null, true } });
    }
    void onlyAStoredFalseHides()
    {
        QFETCH(Visibility, row);
        for (const auto& entry : allCases<MonitorSection>()) {
            storeUnlessAbsent(MeterSettings::visibilityKey(entry.value).name, row.value);
            QCOMPARE(MeterSettings::isShown(entry.value), row.isShown);
        }
    }

    void freshStoreResolvesReadoutsAndAccents()
    {
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::usage);
        QCOMPARE(MeterSettings::storageReadout(), StorageReadout::usage);
        QCOMPARE(Setting(Keys::cpuReadout).value(), CPUReadout::temperature);
        QCOMPARE(MeterSettings::accent(Keys::cpuAccent).rawValue(), QStringLiteral("signal"));
        QCOMPARE(MeterSettings::accent(Keys::memoryAccent).rawValue(), QStringLiteral("signal"));
        QCOMPARE(MeterSettings::accent(Keys::storageAccent).rawValue(), QStringLiteral("signal"));
        QCOMPARE(MeterSettings::accent(Keys::cpuFastCoreAccent).rawValue(), QStringLiteral("indigo"));
    }

    void readoutsFallBackToTheLegacySwitch_data()
    {
        addRows<Readout>({
            { "registered", absent, absent, true },
            { "on", true, absent, true },
            { "off", false, absent, false },
            { "of another type", 1, absent, false },
            { "a text", QStringLiteral("true"), absent, false },
            { "unknown readout, on", true, QStringLiteral("Usage"), true },
            { "unknown readout, off", false, QStringLiteral("Usage"), false },
            { "readout of another type", true, 3, true },
        });
    }
    void readoutsFallBackToTheLegacySwitch()
    {
        QFETCH(Readout, row);
        storeUnlessAbsent("showMemoryPercent", row.legacy);
        storeUnlessAbsent("memoryReadout", row.readout);
        storeUnlessAbsent("storageReadout", row.readout);
        QCOMPARE(MeterSettings::memoryReadout(), row.isUsage ? MemoryReadout::usage : MemoryReadout::off);
        QCOMPARE(MeterSettings::storageReadout(), row.isUsage ? StorageReadout::usage : StorageReadout::off);
    }

    void readoutsHaveKeysOfTheirOwn()
    {
        QVERIFY(store().set("memoryReadout", QStringLiteral("pressure")));
        QVERIFY(store().set("storageReadout", QStringLiteral("off")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::pressure);
        QCOMPARE(MeterSettings::storageReadout(), StorageReadout::off);
        QVERIFY(store().set("memoryReadout", QStringLiteral("off")));
        QVERIFY(store().set("storageReadout", QStringLiteral("free")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::off);
        QCOMPARE(MeterSettings::storageReadout(), StorageReadout::free);
    }

    void badReadoutStaysStored()
    {
        QVERIFY(store().set("memoryReadout", QStringLiteral("bogus")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::usage);
        QCOMPARE(storedText("memoryReadout"), QStringLiteral("bogus"));
        QVERIFY(store().set("memoryReadout", QStringLiteral("swap")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::swap);
    }

    void unknownAccentIsSignal_data()
    {
        addRows<Stored>({ { "absent", absent }, { "a name", QStringLiteral("teal"), "teal" },
            { "capitals", QStringLiteral("Teal") }, { "two numbers", QStringLiteral("custom:srgb:0.1,0.2") },
            { "no number", QStringLiteral("custom:srgb:nan,0,0") }, { "of another type", 5 } });
    }
    void unknownAccentIsSignal()
    {
        QFETCH(Stored, row);
        storeUnlessAbsent("cpuAccent", row.value);
        QCOMPARE(MeterSettings::accent(Keys::cpuAccent).rawValue(), QLatin1StringView(row.result));
        QCOMPARE(store().object("cpuAccent"), row.value); // reading does not repair the stored value
    }

    void migrationSpreadsTheGlobalAccents_data()
    {
        addRows<Migration>({
            { "never chosen", absent, absent, "signal", "indigo" },
            { "not understood", QStringLiteral("nonsense"), absent, "signal", "indigo" },
            { "of another type", 7, absent, "signal", "indigo" },
            { "a name", QStringLiteral("teal"), absent, "teal", "indigo" },
            { "nonsense for the fast cores", QStringLiteral("amber"), QStringLiteral("nonsense"), "amber",
                "amber" },
            { "a custom colour", QStringLiteral("custom:srgb:0.1,0.2,2"), absent,
                "custom:srgb:0.1000,0.2000,1.0000", "indigo" },
        });
    }
    void migrationSpreadsTheGlobalAccents()
    {
        QFETCH(Migration, row);
        storeUnlessAbsent("accentChoice", row.global);
        storeUnlessAbsent("performanceCoreAccent", row.fastCores);
        QVERIFY(MeterSettings::migrateAccents());
        for (const char* key : { "cpuAccent", "memoryAccent", "storageAccent" })
            QCOMPARE(storedText(key), QLatin1StringView(row.result));
        QCOMPARE(storedText("cpuFastCoreAccent"), QLatin1StringView(row.fastResult));
        // The global accents do not change.
        QCOMPARE(store().storedDictionary().value(QLatin1StringView("accentChoice")), row.global);
        QCOMPARE(store().storedDictionary().value(QLatin1StringView("performanceCoreAccent")), row.fastCores);
    }

    void migrationLeavesWhatIsThere()
    {
        QVERIFY(store().set("cpuAccent", QStringLiteral("bogus")));
        QVERIFY(store().set("memoryAccent", 5));
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(storedText("cpuAccent"), QStringLiteral("bogus"));
        QCOMPARE(store().object("memoryAccent"), QJsonValue(5));
        QCOMPARE(storedText("storageAccent"), QStringLiteral("signal"));
    }

    void migrationTwiceWritesOnce()
    {
        QVERIFY(MeterSettings::migrateAccents());
        const QFileInfo before(store().filePath());
        const auto modified = before.fileTime(QFile::FileModificationTime);
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(QFileInfo(store().filePath()).fileTime(QFile::FileModificationTime), modified);
    }

    // The store's observer posts the signal to other programs. A second signal would make them read the settings twice.
    void writersPostNoSignal()
    {
        int heard = 0;
        SignalListener listener;
        listener.listen(SharedSettings::Signal::settings, [&] { ++heard; });
        listener.listen(SharedSettings::Signal::menuBarChanged, [&] { ++heard; });
        QVERIFY(MeterSettings::setMenuBarOrder(sections("cpu,memory,storage,sensors")));
        QVERIFY(MeterSettings::migrateAccents());
        QTest::qWait(quietTime);
        QCOMPARE(heard, 0);
        SharedSettings::post(SharedSettings::Signal::settings);
        QTRY_COMPARE(heard, 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MeterSettingsTest)
#include "MeterSettingsTest.moc"
