#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/MenuBarPageWindow.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class ItemSectionTest : public QObject {
    Q_OBJECT

    using Page = MenuBarPageWindow;

    /// Rows: a key, and the section whose control edits the key.
    static void keys(std::initializer_list<std::pair<const char*, int>> places)
    {
        QTest::addColumn<int>("place");
        for (const auto& [key, place] : places)
            QTest::newRow(key) << place;
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { Page::prepare(); }

    void switchesShowAndHideItems_data()
    {
        keys({ { "showCPUItem", Page::cpu }, { "showMemoryItem", Page::memory },
            { "showStorageItem", Page::disk }, { "showSensorsItem", Page::sensors } });
    }

    void switchesShowAndHideItems()
    {
        QFETCH(int, place);
        const char* key = QTest::currentDataTag();
        const Page shown;
        auto& toggle = *shown.section(place).findChild<Switch*>();
        QVERIFY(toggle.isChecked());
        toggle.click();
        const auto stored
            = [key] { return SharedSettings::store().storedDictionary().value(QLatin1StringView(key)); };
        QCOMPARE(stored(), QJsonValue(false));
        toggle.click();
        QCOMPARE(stored(), QJsonValue(true));
        FormHand::storeElsewhere(key, false);
        QTRY_VERIFY(!toggle.isChecked());
        // A value of another type counts as the default.
        FormHand::storeElsewhere(key, QStringLiteral("false"));
        QTRY_VERIFY(toggle.isChecked());
        QCOMPARE(stored(), QJsonValue(QStringLiteral("false")));
    }

    void eachAccentHasItsKey_data()
    {
        keys({ { "cpuAccent", Page::cpu }, { "cpuFastCoreAccent", Page::cpu },
            { "memoryAccent", Page::memory }, { "storageAccent", Page::disk } });
    }

    void eachAccentHasItsKey()
    {
        QFETCH(int, place);
        const char* key = QTest::currentDataTag();
        Page::useFasterCores();
        const Page shown;
        const auto picker = shown.picker(QLatin1StringView(key));
        QVERIFY(shown.section(place).isAncestorOf(picker.popup));
        picker.choose(5);
        QCOMPARE(storedText(key), QStringLiteral("pine"));
        QCOMPARE(SharedSettings::store().storedDictionary().size(), 1);
        FormHand::storeElsewhere(key, QStringLiteral("teal"));
        QTRY_COMPARE(picker.index(), 4);
    }

    void fasterCoresHaveAColourOfTheirOwn_data()
    {
        QTest::addColumn<QStringList>("tiers");
        QTest::addColumn<QString>("title");
        QTest::newRow("none") << QStringList() << QString();
        QTest::newRow("one") << QStringList { QStringLiteral("Performance") } << QString();
        QTest::newRow("two") << QStringList { QStringLiteral("Performance"), QStringLiteral("Efficiency") }
                             << QStringLiteral("Performance cores");
        QTest::newRow("three") << QStringList { QStringLiteral("Level 0"), QStringLiteral("Level 1"),
            QStringLiteral("Level 2") }
                               << QStringLiteral("Level 0 cores");
        // The name is shown unchanged.
        QTest::newRow("an odd name") << QStringList { QStringLiteral("%@"), QStringLiteral("b") }
                                     << QStringLiteral("%@ cores");
    }

    void fasterCoresHaveAColourOfTheirOwn()
    {
        QFETCH(QStringList, tiers);
        QFETCH(QString, title);
        QList<CoreTier> cores;
        for (const QString& name : tiers)
            cores.append({ name, 4 });
        CoreTopology::useTiers(cores);
        const Page shown;
        const QStringList rows = shown.labels(Page::cpu);
        QCOMPARE(rows.value(4), title);
        QCOMPARE(rows.value(3), QStringLiteral("Colour"));
        QCOMPARE(shown.picker(QStringLiteral("cpuFastCoreAccent")).popup != nullptr, !title.isEmpty());
    }

    void theFasterCoresAreNamedInTheInterfaceLanguage()
    {
        Setting { Keys::language }.set(QStringLiteral("es"));
        Page::useFasterCores();
        QCOMPARE(Page().labels(Page::cpu).value(4), QStringLiteral("Núcleos de rendimiento"));
    }

    void theFootnoteNamesTheLimitsInTheUnitChosen()
    {
        const Page shown;
        const auto text = [&shown] { return shown.footnote(Page::sensors); };
        QCOMPARE(text(), QStringLiteral("The readout turns amber at 85°C and red at 95°C."));
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("fahrenheit"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 185°F and red at 203°F."));
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("celsius"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 85°C and red at 95°C."));
        // An unknown value means the unit of the region.
        setSession("LANG=en_US.UTF-8");
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("Celsius"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 185°F and red at 203°F."));
        for (int place = 0; place < Page::sensors; ++place)
            QVERIFY(shown.footnote(place).isEmpty());
    }
};

KESTRUM_TEST_MAIN(QApplication, ItemSectionTest)
#include "ItemSectionTest.moc"
