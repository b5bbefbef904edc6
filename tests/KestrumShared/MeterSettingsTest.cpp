#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QtTest>

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

QList<MonitorSection> sections(const QString& text)
{
    QList<MonitorSection> result;
    for (const QString& key : text.split(u',', Qt::SkipEmptyParts))
        result.append(fromRawValue<MonitorSection>(key).value());
    return result;
}

QString stored(const char* key)
{
    return store().storedDictionary().value(QLatin1StringView(key)).toString();
}

} // namespace

class MeterSettingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY(store().apply({}, store().storedDictionary().keys()));
        store().registerDefaults(SharedSettings::factoryDefaults());
    }

    void orderTextsAreCompleted_data()
    {
        QTest::addColumn<QString>("order");
        QTest::addColumn<QString>("result");
        QTest::newRow("empty") << ""
                               << "sensors,storage,memory,cpu";
        QTest::newRow("repeated") << "cpu,cpu,memory"
                                  << "cpu,memory,sensors,storage";
        QTest::newRow("whole") << "storage,sensors,memory,cpu"
                               << "storage,sensors,memory,cpu";
        QTest::newRow("unknown") << "memory,bogus,memory"
                                 << "memory,sensors,storage,cpu";
        QTest::newRow("empty pieces") << ",cpu,,memory,"
                                      << "cpu,memory,sensors,storage";
        QTest::newRow("a space is not trimmed") << " cpu,memory"
                                                << "memory,sensors,storage,cpu";
        QTest::newRow("capitals are other names") << "CPU,memory"
                                                  << "memory,sensors,storage,cpu";
        QTest::newRow("one") << "storage"
                             << "storage,sensors,memory,cpu";
    }

    void orderTextsAreCompleted()
    {
        QFETCH(QString, order);
        QFETCH(QString, result);
        QCOMPARE(text(MeterSettings::order(order)), result);
    }

    void factoryOrderIsNotTheCompletingOrder()
    {
        QCOMPARE(text(MeterSettings::storedOrder()), QStringLiteral("storage,sensors,memory,cpu"));
        QCOMPARE(text(MeterSettings::order(u"")), QStringLiteral("sensors,storage,memory,cpu"));
    }

    // A stored order of the wrong type is still stored, so the factory order does not replace it.
    void orderThatIsNoTextReadsAsEmpty()
    {
        QVERIFY(store().set("menuBarOrder", 3));
        QCOMPARE(text(MeterSettings::storedOrder()), QStringLiteral("sensors,storage,memory,cpu"));
    }

    void badOrderStaysStored()
    {
        QVERIFY(store().set("menuBarOrder", QStringLiteral("memory,bogus")));
        QCOMPARE(text(MeterSettings::storedOrder()), QStringLiteral("memory,sensors,storage,cpu"));
        QCOMPARE(stored("menuBarOrder"), QStringLiteral("memory,bogus"));
    }

    void mergeRefillsShownSlots_data()
    {
        QTest::addColumn<QString>("visible");
        QTest::addColumn<QString>("order");
        QTest::addColumn<QString>("hidden");
        QTest::addColumn<QString>("result");
        QTest::newRow("one hidden") << "cpu,memory,storage"
                                    << "storage,sensors,memory,cpu"
                                    << "sensors"
                                    << "cpu,sensors,memory,storage";
        QTest::newRow("none hidden") << "cpu,memory,storage,sensors"
                                     << "storage,sensors,memory,cpu"
                                     << ""
                                     << "cpu,memory,storage,sensors";
        QTest::newRow("all hidden") << ""
                                    << "storage,sensors,memory,cpu"
                                    << "storage,sensors,memory,cpu"
                                    << "storage,sensors,memory,cpu";
        QTest::newRow("visible used up") << "cpu"
                                         << "storage,sensors,memory,cpu"
                                         << "memory"
                                         << "cpu,memory,storage,sensors";
        QTest::newRow("more visible than slots") << "cpu,memory,storage"
                                                 << "storage,memory"
                                                 << ""
                                                 << "cpu,memory,storage,sensors";
        QTest::newRow("visible and hidden stands twice") << "cpu,sensors"
                                                         << "sensors,cpu"
                                                         << "sensors"
                                                         << "sensors,cpu,sensors,memory,storage";
    }

    void mergeRefillsShownSlots()
    {
        QFETCH(QString, visible);
        QFETCH(QString, order);
        QFETCH(QString, hidden);
        QFETCH(QString, result);
        const auto isShown = [&](MonitorSection section) { return !sections(hidden).contains(section); };
        QCOMPARE(text(MeterSettings::merged(sections(visible), sections(order), isShown)), result);
    }

    void mergeCompletesInCaseOrder()
    {
        const auto shown = [](MonitorSection) { return true; };
        QCOMPARE(text(MeterSettings::merged({}, {}, shown)), QStringLiteral("cpu,memory,storage,sensors"));
    }

    void hiddenSectionKeepsItsSlot()
    {
        QVERIFY(Setting(Keys::showSensorsItem).set(false));
        QVERIFY(MeterSettings::setMenuBarOrder(sections(QStringLiteral("cpu,memory,storage"))));
        QCOMPARE(stored("menuBarOrder"), QStringLiteral("cpu,sensors,memory,storage"));
    }

    void orderWriteTouchesOneKeyOnly()
    {
        QVERIFY(MeterSettings::setMenuBarOrder(sections(QStringLiteral("cpu,memory,storage,sensors"))));
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
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<bool>("shown");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << true;
        QTest::newRow("true") << QJsonValue(true) << true;
        QTest::newRow("false") << QJsonValue(false) << false;
        QTest::newRow("zero") << QJsonValue(0) << true;
        QTest::newRow("text") << QJsonValue(QStringLiteral("false")) << true;
        QTest::newRow("null") << QJsonValue(QJsonValue::Null) << true;
    }

    void onlyAStoredFalseHides()
    {
        QFETCH(QJsonValue, value);
        QFETCH(bool, shown);
        for (const auto& entry : allCases<MonitorSection>()) {
            if (!value.isUndefined())
                QVERIFY(store().set(MeterSettings::visibilityKey(entry.value).name, value));
            QCOMPARE(MeterSettings::isShown(entry.value), shown);
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
        QTest::addColumn<QJsonValue>("legacy");
        QTest::addColumn<QJsonValue>("readout");
        QTest::addColumn<bool>("usage");
        const QJsonValue absent(QJsonValue::Undefined);
        QTest::newRow("registered") << absent << absent << true;
        QTest::newRow("on") << QJsonValue(true) << absent << true;
        QTest::newRow("off") << QJsonValue(false) << absent << false;
        QTest::newRow("of another type") << QJsonValue(1) << absent << false;
        QTest::newRow("a text") << QJsonValue(QStringLiteral("true")) << absent << false;
        QTest::newRow("unknown readout, on")
            << QJsonValue(true) << QJsonValue(QStringLiteral("Usage")) << true;
        QTest::newRow("unknown readout, off")
            << QJsonValue(false) << QJsonValue(QStringLiteral("Usage")) << false;
        QTest::newRow("readout of another type") << QJsonValue(true) << QJsonValue(3) << true;
    }

    void readoutsFallBackToTheLegacySwitch()
    {
        QFETCH(QJsonValue, legacy);
        QFETCH(QJsonValue, readout);
        QFETCH(bool, usage);
        if (!legacy.isUndefined())
            QVERIFY(store().set("showMemoryPercent", legacy));
        if (!readout.isUndefined()) {
            QVERIFY(store().set("memoryReadout", readout));
            QVERIFY(store().set("storageReadout", readout));
        }
        QCOMPARE(MeterSettings::memoryReadout(), usage ? MemoryReadout::usage : MemoryReadout::off);
        QCOMPARE(MeterSettings::storageReadout(), usage ? StorageReadout::usage : StorageReadout::off);
    }

    void readoutsHaveKeysOfTheirOwn()
    {
        QVERIFY(store().set("memoryReadout", QStringLiteral("pressure")));
        QVERIFY(store().set("storageReadout", QStringLiteral("off")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::pressure);
        QCOMPARE(MeterSettings::storageReadout(), StorageReadout::off);
    }

    void badReadoutStaysStored()
    {
        QVERIFY(store().set("memoryReadout", QStringLiteral("bogus")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::usage);
        QCOMPARE(stored("memoryReadout"), QStringLiteral("bogus"));
        QVERIFY(store().set("memoryReadout", QStringLiteral("swap")));
        QCOMPARE(MeterSettings::memoryReadout(), MemoryReadout::swap);
    }

    void unknownAccentIsSignal_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("accent");
        const auto text = [](const char* value) { return QJsonValue(QString::fromLatin1(value)); };
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << "signal";
        QTest::newRow("a name") << text("teal") << "teal";
        QTest::newRow("capitals") << text("Teal") << "signal";
        QTest::newRow("two numbers") << text("custom:srgb:0.1,0.2") << "signal";
        QTest::newRow("no number") << text("custom:srgb:nan,0,0") << "signal";
        QTest::newRow("of another type") << QJsonValue(5) << "signal";
    }

    void unknownAccentIsSignal()
    {
        QFETCH(QJsonValue, value);
        QFETCH(QString, accent);
        if (!value.isUndefined())
            QVERIFY(store().set("cpuAccent", value));
        QCOMPARE(MeterSettings::accent(Keys::cpuAccent).rawValue(), accent);
        QCOMPARE(store().object("cpuAccent"), value); // reading does not repair the value
    }

    void migrationSpreadsTheGlobalAccent()
    {
        QVERIFY(store().set("accentChoice", QStringLiteral("teal")));
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(stored("cpuAccent"), QStringLiteral("teal"));
        QCOMPARE(stored("memoryAccent"), QStringLiteral("teal"));
        QCOMPARE(stored("storageAccent"), QStringLiteral("teal"));
        QCOMPARE(stored("cpuFastCoreAccent"), QStringLiteral("indigo"));
        QCOMPARE(stored("accentChoice"), QStringLiteral("teal"));
        QVERIFY(!store().storedDictionary().contains(QStringLiteral("performanceCoreAccent")));
    }

    void migrationOfNonsenseTakesTheBaseAccent()
    {
        QVERIFY(store().set("accentChoice", QStringLiteral("amber")));
        QVERIFY(store().set("performanceCoreAccent", QStringLiteral("nonsense")));
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(stored("cpuFastCoreAccent"), QStringLiteral("amber"));
        QCOMPARE(stored("performanceCoreAccent"), QStringLiteral("nonsense"));
    }

    void migrationWithoutAGlobalAccentTakesSignal_data()
    {
        QTest::addColumn<QJsonValue>("choice");
        QTest::newRow("never chosen") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("not understood") << QJsonValue(QStringLiteral("nonsense"));
        QTest::newRow("of another type") << QJsonValue(7);
    }

    void migrationWithoutAGlobalAccentTakesSignal()
    {
        QFETCH(QJsonValue, choice);
        if (!choice.isUndefined())
            QVERIFY(store().set("accentChoice", choice));
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(stored("cpuAccent"), QStringLiteral("signal"));
    }

    void migrationLeavesWhatIsThere()
    {
        QVERIFY(store().set("cpuAccent", QStringLiteral("bogus")));
        QVERIFY(store().set("memoryAccent", 5));
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(stored("cpuAccent"), QStringLiteral("bogus"));
        QCOMPARE(store().object("memoryAccent"), QJsonValue(5));
        QCOMPARE(stored("storageAccent"), QStringLiteral("signal"));
    }

    void migrationSpreadsCustomColours()
    {
        QVERIFY(store().set("accentChoice", QStringLiteral("custom:srgb:0.1,0.2,2")));
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(stored("storageAccent"), QStringLiteral("custom:srgb:0.1000,0.2000,1.0000"));
    }

    void migrationTwiceWritesOnce()
    {
        QVERIFY(MeterSettings::migrateAccents());
        const QFileInfo before(store().filePath());
        const auto modified = before.fileTime(QFile::FileModificationTime);
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(QFileInfo(store().filePath()).fileTime(QFile::FileModificationTime), modified);
    }

    // The store's observer posts the signal to the other programs. A second signal would make them read the settings twice.
    void writersPostNoSignal()
    {
        int heard = 0;
        SignalListener listener;
        listener.listen(SharedSettings::Signal::settings, [&] { ++heard; });
        listener.listen(SharedSettings::Signal::menuBarChanged, [&] { ++heard; });
        QVERIFY(MeterSettings::setMenuBarOrder(sections(QStringLiteral("cpu,memory,storage,sensors"))));
        QVERIFY(MeterSettings::migrateAccents());
        QTest::qWait(100);
        QCOMPARE(heard, 0);
        SharedSettings::post(SharedSettings::Signal::settings);
        QTRY_COMPARE(heard, 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MeterSettingsTest)
#include "MeterSettingsTest.moc"
