#include "Kestrum/Form/Switch.h"
#include "tests/Support/MenuBarPageWindow.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

/// The values that the page's controls store and show.
class MenuBarPickersTest : public QObject {
    Q_OBJECT

    using Page = MenuBarPageWindow;

    /// Rows of test data: whether the picker is segmented, the position of the default, and all choices as "stored=Shown".
    static void pickers()
    {
        addRows<bool, int, QString>({
            { "meterShape", true, 0, "pill=Pill square=Square" },
            { "meterLabelStyle", true, 0, "icons=Icons letters=Letters" },
            { "meterStyle", true, 0, "bars=Bars wave=Wave compact=Compact" },
            { "cpuReadout", false, 2, "off=None usage=Usage temperature=Temperature power=Power" },
            { "memoryReadout", false, 1, "off=None usage=Usage pressure=Pressure swap=Swap" },
            { "storageReadout", false, 1, "off=None usage=Usage free=Free" },
            { "sensorsReadout", false, 1, "off=None power=Power hottest=Hottest gpu=GPU fan=Fan" },
        });
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { Page::prepare(); }

    void switchesShowAndHideItems_data()
    {
        addRows<int>({ { "showCPUItem", Page::cpu }, { "showMemoryItem", Page::memory },
            { "showStorageItem", Page::disk }, { "showSensorsItem", Page::sensors } });
    }
    void switchesShowAndHideItems()
    {
        const auto [place] = thisRow<int>();
        const char* key = QTest::currentDataTag();
        const Page shown;
        auto& toggle = *shown.section(place).findChild<Switch*>();
        QVERIFY(toggle.isChecked());
        toggle.click();
        QCOMPARE(FormHand::stored(key), QJsonValue(false));
        toggle.click();
        QCOMPARE(FormHand::stored(key), QJsonValue(true));
        FormHand::storeElsewhere(key, false);
        QTRY_VERIFY(!toggle.isChecked());
        // A value of another type counts as the default.
        FormHand::storeElsewhere(key, QStringLiteral("false"));
        QTRY_VERIFY(toggle.isChecked());
        QCOMPARE(FormHand::stored(key), QJsonValue(QStringLiteral("false")));
    }

    void eachAccentHasItsKey_data()
    {
        addRows<int>({ { "cpuAccent", Page::cpu }, { "cpuFastCoreAccent", Page::cpu },
            { "memoryAccent", Page::memory }, { "storageAccent", Page::disk } });
    }
    void eachAccentHasItsKey()
    {
        const auto [place] = thisRow<int>();
        const char* key = QTest::currentDataTag();
        Page::useFasterCores();
        const Page shown;
        const auto picker = shown.picker(key);
        QVERIFY(shown.section(place).isAncestorOf(picker.popup));
        picker.choose(5);
        QCOMPARE(storedText(key), QStringLiteral("pine"));
        QCOMPARE(SharedSettings::store().storedDictionary().size(), 1);
        FormHand::storeElsewhere(key, QStringLiteral("teal"));
        QTRY_COMPARE(picker.index(), 4);
    }

    void fasterCoresHaveAColourOfTheirOwn_data()
    {
        addRows<QString, QString>({ { "none", "", "" }, { "one", "Performance", "" },
            { "two", "Performance|Efficiency", "Performance cores" },
            { "three", "Level 0|Level 1|Level 2", "Level 0 cores" },
            // The name is shown unchanged.
            { "an odd name", "%@|b", "%@ cores" } });
    }
    void fasterCoresHaveAColourOfTheirOwn()
    {
        const auto [tiers, title] = thisRow<QString, QString>();
        QList<CoreTier> cores;
        for (const QString& name : tiers.split(u'|', Qt::SkipEmptyParts))
            cores.append({ name, 4 });
        CoreTopology::useTiers(cores);
        const Page shown;
        const QStringList rows = shown.labels(Page::cpu);
        QCOMPARE(rows.value(4), title);
        QCOMPARE(rows.value(3), QStringLiteral("Colour"));
        QCOMPARE(shown.picker("cpuFastCoreAccent").popup != nullptr, !title.isEmpty());
    }

    void theFasterCoresAreNamedInTheInterfaceLanguage()
    {
        SettingsWindow::speak("es");
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
        // For an unknown stored value, the unit is that of the region.
        setSession("LANG=en_US.UTF-8");
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("Celsius"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 185°F and red at 203°F."));
        for (int place = 0; place < Page::sensors; ++place)
            QVERIFY(shown.footnote(place).isEmpty());
    }

    void aPickerShowsStoresAndFollowsItsChoices_data() { pickers(); }
    void aPickerShowsStoresAndFollowsItsChoices()
    {
        const auto [isSegmented, initial, all] = thisRow<bool, int, QString>();
        const QStringList choices = all.split(u' ');
        const char* key = QTest::currentDataTag();
        const Page shown;
        const auto picker = shown.picker(key);
        QStringList titles;
        for (const QString& choice : choices)
            titles.append(choice.section(u'=', 1));
        QCOMPARE(picker.titles(), titles);
        QCOMPARE(picker.segmented != nullptr, isSegmented);
        QCOMPARE(picker.index(), initial);
        // Showing the page stores nothing.
        QVERIFY(storedText(key).isEmpty());
        // Choose the last choice first, because the first choice may be shown already.
        for (int index = int(choices.size()) - 1; index >= 0; --index) {
            picker.choose(index);
            QCOMPARE(storedText(key), choices[index].section(u'=', 0, 0));
            QCOMPARE(picker.index(), index);
        }
        QCOMPARE(SharedSettings::store().storedDictionary().keys(), QStringList { QString::fromLatin1(key) });
        for (int index = int(choices.size()) - 1; index >= 0; --index) {
            FormHand::storeElsewhere(key, choices[index].section(u'=', 0, 0));
            QTRY_COMPARE(picker.index(), index);
        }
    }

    void aTextThatIsNoCaseStaysUntilSomebodyChooses_data() { pickers(); }
    void aTextThatIsNoCaseStaysUntilSomebodyChooses()
    {
        const QStringList choices = std::get<2>(thisRow<bool, int, QString>()).split(u' ');
        const char* key = QTest::currentDataTag();
        // These two pickers fall back to a setting of an earlier version.
        const bool goesByPercent = qstrcmp(key, "memoryReadout") == 0 || qstrcmp(key, "storageReadout") == 0;
        const QString nonsense = choices.first().section(u'=', 1); // the title is no stored value
        SharedSettings::store().set(key, nonsense);
        const Page shown;
        const auto picker = shown.picker(key);
        QCOMPARE(picker.index(), goesByPercent ? 1 : -1);
        QCOMPARE(storedText(key), nonsense);
        // The open page follows changes of the readout.
        FormHand::storeElsewhere(key, choices.last().section(u'=', 0, 0));
        QTRY_COMPARE(picker.index(), int(choices.size()) - 1);
        FormHand::storeElsewhere(key, nonsense);
        QTRY_COMPARE(picker.index(), goesByPercent ? 1 : -1);
        QCOMPARE(storedText(key), nonsense);
        picker.choose(int(choices.size()) - 1);
        QCOMPARE(storedText(key), choices.last().section(u'=', 0, 0));
    }

    void withoutAReadoutTheEarlierPercentSettingDecides_data()
    {
        addRows<QByteArray, QJsonValue, int>(
            { { "memory, shown", "memoryReadout", true, 1 }, { "memory, hidden", "memoryReadout", false, 0 },
                { "memory, no truth value", "memoryReadout", QStringLiteral("yes"), 0 },
                { "storage, shown", "storageReadout", true, 1 },
                { "storage, hidden", "storageReadout", false, 0 },
                { "storage, no truth value", "storageReadout", QStringLiteral("yes"), 0 } });
    }
    void withoutAReadoutTheEarlierPercentSettingDecides()
    {
        const auto [key, percent, index] = thisRow<QByteArray, QJsonValue, int>();
        UserDefaults& store = SharedSettings::store();
        store.set(Keys::showMemoryPercent.name, percent);
        const Page shown;
        const auto picker = shown.picker(key.constData());
        QCOMPARE(picker.index(), index);
        store.set(key.constData(), QStringLiteral("nonsense"));
        settle();
        QCOMPARE(picker.index(), index);
        // The open page also follows the earlier version's setting.
        FormHand::storeElsewhere(Keys::showMemoryPercent.name, index == 0);
        QTRY_COMPARE(picker.index(), 1 - index);
        QCOMPARE(storedText(key), QStringLiteral("nonsense"));
        // From here on, the earlier version's setting has no effect.
        picker.choose(2);
        FormHand::storeElsewhere(Keys::showMemoryPercent.name, index != 0);
        settle();
        QCOMPARE(picker.index(), 2);
    }

    void theReadoutShownCanBeChosenForGood()
    {
        SharedSettings::store().set("memoryReadout", QStringLiteral("nonsense"));
        const Page shown;
        PopupPicker& picker = *shown.picker("memoryReadout").popup;
        QCOMPARE(picker.index(), 1);
        Q_EMIT picker.chosen(1); // as if chosen in the list
        QCOMPARE(storedText("memoryReadout"), QStringLiteral("usage"));
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarPickersTest)
#include "MenuBarPickersTest.moc"
