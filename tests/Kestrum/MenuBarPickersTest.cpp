#include "Kestrum/MenuBar/MenuBarPage.h"

#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/MenuBarPageWindow.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class MenuBarPickersTest : public QObject {
    Q_OBJECT

    using Page = MenuBarPageWindow;

    enum Kind { segmented, popup };

    /// Rows: key, position of the default, and all choices as "stored=Shown".
    static void pickers()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("initial");
        QTest::addColumn<QStringList>("choices");
        const auto row = [](const char* key, int kind, int initial, const char* choices) {
            QTest::newRow(key) << QString::fromLatin1(key) << kind << initial
                               << QString::fromLatin1(choices).split(u' ');
        };
        row("meterShape", segmented, 0, "pill=Pill square=Square");
        row("meterLabelStyle", segmented, 0, "icons=Icons letters=Letters");
        row("meterStyle", segmented, 0, "bars=Bars wave=Wave compact=Compact");
        row("cpuReadout", popup, 2, "off=None usage=Usage temperature=Temperature power=Power");
        row("memoryReadout", popup, 1, "off=None usage=Usage pressure=Pressure swap=Swap");
        row("storageReadout", popup, 1, "off=None usage=Usage free=Free");
        row("sensorsReadout", popup, 1, "off=None power=Power hottest=Hottest gpu=GPU fan=Fan");
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { Page::prepare(); }

    void aPickerShowsAllCasesAndTheDefault_data() { pickers(); }
    void aPickerShowsAllCasesAndTheDefault()
    {
        QFETCH(QString, key);
        QFETCH(QStringList, choices);
        const Page shown;
        const auto picker = shown.picker(key);
        QStringList titles;
        for (const QString& choice : choices)
            titles.append(choice.section(u'=', 1));
        QCOMPARE(picker.titles(), titles);
        QTEST(int(picker.segmented ? segmented : popup), "kind");
        QTEST(picker.index(), "initial");
        // Showing the page stores nothing.
        QVERIFY(storedText(qPrintable(key)).isEmpty());
    }

    void whatIsChosenIsStored_data() { pickers(); }
    void whatIsChosenIsStored()
    {
        QFETCH(QString, key);
        QFETCH(QStringList, choices);
        const Page shown;
        const auto picker = shown.picker(key);
        // The choice that is shown at first is not the first one to be chosen.
        for (int index = int(choices.size()) - 1; index >= 0; --index) {
            picker.choose(index);
            QCOMPARE(storedText(qPrintable(key)), choices[index].section(u'=', 0, 0));
            QCOMPARE(picker.index(), index);
        }
        QCOMPARE(SharedSettings::store().storedDictionary().keys(), QStringList { key });
    }

    void whatAnotherProgramStoresIsShown_data() { pickers(); }
    void whatAnotherProgramStoresIsShown()
    {
        QFETCH(QString, key);
        QFETCH(QStringList, choices);
        const Page shown;
        const auto picker = shown.picker(key);
        for (int index = int(choices.size()) - 1; index >= 0; --index) {
            FormHand::storeElsewhere(qPrintable(key), choices[index].section(u'=', 0, 0));
            QTRY_COMPARE(picker.index(), index);
        }
    }

    void aTextThatIsNoCaseStaysUntilSomebodyChooses_data() { pickers(); }
    void aTextThatIsNoCaseStaysUntilSomebodyChooses()
    {
        QFETCH(QString, key);
        QFETCH(QStringList, choices);
        // These two pickers fall back to a setting of an earlier version.
        const bool goesByPercent = key == u"memoryReadout" || key == u"storageReadout";
        const QString nonsense = choices.first().section(u'=', 1); // the title is no stored value
        SharedSettings::store().set(key.toStdString(), nonsense);
        const Page shown;
        const auto picker = shown.picker(key);
        QCOMPARE(picker.index(), goesByPercent ? 1 : -1);
        QCOMPARE(storedText(qPrintable(key)), nonsense);
        // The open page follows, too.
        FormHand::storeElsewhere(qPrintable(key), choices.last().section(u'=', 0, 0));
        QTRY_COMPARE(picker.index(), int(choices.size()) - 1);
        FormHand::storeElsewhere(qPrintable(key), nonsense);
        QTRY_COMPARE(picker.index(), goesByPercent ? 1 : -1);
        QCOMPARE(storedText(qPrintable(key)), nonsense);
        picker.choose(int(choices.size()) - 1);
        QCOMPARE(storedText(qPrintable(key)), choices.last().section(u'=', 0, 0));
    }

    void withoutAReadoutTheEarlierPercentSettingDecides_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("percent");
        QTest::addColumn<int>("index");
        for (const char* key : { "memoryReadout", "storageReadout" }) {
            const auto row = [key](const char* name, const QJsonValue& percent, int index) {
                QTest::addRow("%s, %s", key, name) << QString::fromLatin1(key) << percent << index;
            };
            row("shown", true, 1);
            row("hidden", false, 0);
            row("no truth value", QStringLiteral("yes"), 0);
        }
    }

    void withoutAReadoutTheEarlierPercentSettingDecides()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, percent);
        QFETCH(int, index);
        UserDefaults& store = SharedSettings::store();
        store.set(Keys::showMemoryPercent.name, percent);
        const Page shown;
        const auto picker = shown.picker(key);
        QCOMPARE(picker.index(), index);
        store.set(key.toStdString(), QStringLiteral("nonsense"));
        QTest::qWait(20);
        QCOMPARE(picker.index(), index);
        // The open page follows the setting itself.
        FormHand::storeElsewhere(Keys::showMemoryPercent.name, index == 0);
        QTRY_COMPARE(picker.index(), 1 - index);
        QCOMPARE(storedText(qPrintable(key)), QStringLiteral("nonsense"));
        // From here on, the earlier version's setting has no effect.
        picker.choose(2);
        FormHand::storeElsewhere(Keys::showMemoryPercent.name, index != 0);
        QTest::qWait(20);
        QCOMPARE(picker.index(), 2);
    }

    void theReadoutShownCanBeChosenForGood()
    {
        SharedSettings::store().set("memoryReadout", QStringLiteral("nonsense"));
        const Page shown;
        PopupPicker& picker = *shown.picker(QStringLiteral("memoryReadout")).popup;
        QCOMPARE(picker.index(), 1);
        Q_EMIT picker.chosen(1); // as from its list
        QCOMPARE(storedText("memoryReadout"), QStringLiteral("usage"));
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarPickersTest)
#include "MenuBarPickersTest.moc"
