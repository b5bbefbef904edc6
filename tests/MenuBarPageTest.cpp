#include "Kestrum/MenuBar/MenuBarPage.h"

#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/Switch.h"
#include "Kestrum/MenuBar/ItemHeader.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "KestrumShared/Machine/CoreTopology.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/FormHand.h"
#include "tests/SettingsWindow.h"
#include "tests/TestHome.h"
#include "tests/TestSession.h"

#include <QLabel>
#include <QLayout>

using namespace kestrum;

namespace {

struct Shown {
    MenuBarPage page;

    Shown()
    {
        page.resize(436, 480);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
    }

    /// In the order in which they stand on the page.
    QList<Card*> sections() const
    {
        QList<Card*> sections;
        const QLayout* column = page.widget()->layout();
        for (int i = 0; i < column->count(); ++i) {
            if (auto* card = qobject_cast<Card*>(column->itemAt(i)->widget()))
                sections.append(card);
        }
        return sections;
    }
    template <class Control> Control& control(const char* key) const
    {
        return *page.findChild<Control*>(QLatin1StringView(key));
    }
    template <class Control> bool has(const char* key) const
    {
        return page.findChild<Control*>(QLatin1StringView(key));
    }
};

/// The texts beside a section's rows, from top to bottom.
QStringList labels(const Card& section)
{
    QList<Row*> rows = section.findChildren<Row*>();
    std::sort(rows.begin(), rows.end(),
        [&](Row* a, Row* b) { return a->mapTo(&section, QPoint()).y() < b->mapTo(&section, QPoint()).y(); });
    QStringList labels;
    for (const Row* row : rows)
        labels.append(row->text());
    return labels;
}

/// Of what is above the plate, and of what is below it.
QString heading(const Card& section)
{
    const QLayout* layout = section.layout();
    QString text;
    for (int i = 0; i < layout->count() - 1; ++i) {
        const auto* label = qobject_cast<QLabel*>(layout->itemAt(i)->widget());
        if (label && !label->isHidden())
            text += label->text();
    }
    return text;
}

QString footnote(const Card& section)
{
    const QLayout* layout = section.layout();
    const auto* label = qobject_cast<QLabel*>(layout->itemAt(layout->count() - 1)->widget());
    return label->isHidden() ? QString() : label->text();
}

} // namespace

class MenuBarPageTest : public QObject {
    Q_OBJECT

    /// Key, position of the default, and all choices as "stored=Shown".
    static void pickers()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("initial");
        QTest::addColumn<QStringList>("choices");
        const auto row = [](const char* key, int initial, const char* choices) {
            QTest::newRow(key) << QString::fromLatin1(key) << initial
                               << QString::fromLatin1(choices).split(u' ');
        };
        row("meterShape", 0, "pill=Pill square=Square");
        row("meterLabelStyle", 0, "icons=Icons letters=Letters");
        row("meterStyle", 0, "bars=Bars wave=Wave compact=Compact");
        row("cpuReadout", 2, "off=None usage=Usage temperature=Temperature power=Power");
        row("memoryReadout", 1, "off=None usage=Usage pressure=Pressure swap=Swap");
        row("storageReadout", 1, "off=None usage=Usage free=Free");
        row("sensorsReadout", 1, "off=None power=Power hottest=Hottest gpu=GPU fan=Fan");
    }

    /// A picker of either kind.
    struct Picker {
        explicit Picker(const Shown& shown, const QString& key)
            : segmented(shown.page.findChild<SegmentedPicker*>(key))
            , popup(shown.page.findChild<PopupPicker*>(key))
        {
        }
        int index() const { return segmented ? segmented->index() : popup->index(); }
        QStringList titles() const
        {
            return segmented ? FormHand::titles(*segmented) : FormHand::titles(*popup);
        }
        void choose(int index) const
        {
            segmented ? FormHand::choose(*segmented, index) : FormHand::choose(*popup, index);
        }
        SegmentedPicker* segmented;
        PopupPicker* popup;
    };

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init()
    {
        setSession("LANG=C.UTF-8");
        SettingsWindow::prepare();
        CoreTopology::useTiers({});
    }

    void theSectionsStandInOrder()
    {
        const Shown shown;
        QStringList headings;
        for (const Card* section : shown.sections())
            headings.append(heading(*section));
        QCOMPARE(headings,
            QStringList({ QString(), QStringLiteral("All Items"), QStringLiteral("CPU"),
                QStringLiteral("Memory"), QStringLiteral("Disk"), QStringLiteral("Sensors") }));
        QVERIFY(shown.sections().first()->isAncestorOf(shown.page.preview()));
        QVERIFY(labels(*shown.sections().first()).isEmpty());
    }

    void theRowsOfEachSectionStandInOrder_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<QStringList>("rows");
        const QString show = QStringLiteral("Show in menu bar");
        const QString readout = QStringLiteral("Readout");
        const QString colour = QStringLiteral("Colour");
        QTest::newRow("all items") << 1
                                   << QStringList { QStringLiteral("Bar shape"),
                                          QStringLiteral("Item labels") };
        QTest::newRow("CPU") << 2 << QStringList { show, QStringLiteral("Meter"), readout, colour };
        QTest::newRow("memory") << 3 << QStringList { show, readout, colour };
        QTest::newRow("disk") << 4 << QStringList { show, readout, colour };
        QTest::newRow("sensors") << 5 << QStringList { show, readout };
    }

    void theRowsOfEachSectionStandInOrder()
    {
        QFETCH(int, section);
        const Shown shown;
        const Card& card = *shown.sections().at(section);
        QTEST(labels(card), "rows");
        // Only the items have a symbol.
        QCOMPARE(card.findChildren<ItemHeader*>().size(), section > 1 ? 1 : 0);
        // Assistive programs say to which section a row belongs.
        QCOMPARE(card.accessibleName(), heading(card));
        for (const auto* row : card.findChildren<Row*>()) {
            const auto* label = row->findChild<QLabel*>();
            QVERIFY(label->buddy());
            QCOMPARE(label->buddy()->accessibleName(), row->text());
        }
    }

    void everyTextIsInTheInterfaceLanguage()
    {
        Setting { Keys::language }.set(QStringLiteral("de"));
        CoreTopology::useTiers({ { QStringLiteral("Performance"), 8 }, { QStringLiteral("Efficiency"), 4 } });
        const Shown shown;
        QStringList texts;
        for (const Card* section : shown.sections())
            texts += QStringList(heading(*section)) + labels(*section);
        const auto german = [](const char* text) {
            const QString translated = AppLanguage::string(text);
            return translated == QLatin1StringView(text) ? QStringLiteral("no translation") : translated;
        };
        const QString show = german("Show in menu bar");
        const QString readout = german("Readout");
        const QString colour = german("Colour");
        QCOMPARE(texts.join(u'|'),
            QStringList(
                { QString(), german("All Items"), german("Bar shape"), german("Item labels"),
                    QStringLiteral("CPU"), show, german("Meter"), readout, colour,
                    german("%@ cores").replace(QStringLiteral("%@"), AppLanguage::string("Performance")),
                    german("Memory"), show, readout, colour, german("Disk"), show, readout, colour,
                    german("Sensors"), show, readout })
                .join(u'|'));
        QCOMPARE(FormHand::titles(shown.control<PopupPicker>("cpuReadout")).first(), german("None"));
        QCOMPARE(FormHand::titles(shown.control<PopupPicker>("cpuAccent")).last(), german("Custom"));
        const QString note = withPlainBlanks(footnote(*shown.sections().last()));
        const QStringList parts
            = german("The readout turns amber at %@ and red at %@.").split(QStringLiteral("%@"));
        QCOMPARE(note, parts[0] + QStringLiteral("85 °C") + parts[1] + QStringLiteral("95 °C") + parts[2]);
    }

    void aPickerShowsAllCasesAndTheDefault_data() { pickers(); }
    void aPickerShowsAllCasesAndTheDefault()
    {
        QFETCH(QString, key);
        QFETCH(QStringList, choices);
        const Shown shown;
        const Picker picker(shown, key);
        QStringList titles;
        for (const QString& choice : choices)
            titles.append(choice.section(u'=', 1));
        QCOMPARE(picker.titles(), titles);
        QTEST(picker.index(), "initial");
        // Showing stores nothing.
        QVERIFY(storedText(qPrintable(key)).isEmpty());
    }

    void whatIsChosenIsStored_data() { pickers(); }
    void whatIsChosenIsStored()
    {
        QFETCH(QString, key);
        QFETCH(QStringList, choices);
        const Shown shown;
        const Picker picker(shown, key);
        // Not the one first that is shown.
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
        const Shown shown;
        const Picker picker(shown, key);
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
        // These two have the setting of an earlier version to go by.
        const bool goesByPercent = key == u"memoryReadout" || key == u"storageReadout";
        const QString nonsense = choices.first().section(u'=', 1); // a title is not what is stored
        SharedSettings::store().set(key.toStdString(), nonsense);
        const Shown shown;
        const Picker picker(shown, key);
        QCOMPARE(picker.index(), goesByPercent ? 1 : -1);
        QCOMPARE(storedText(qPrintable(key)), nonsense);
        // While the page is open too.
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
        const Shown shown;
        const Picker picker(shown, key);
        QCOMPARE(picker.index(), index);
        store.set(key.toStdString(), QStringLiteral("nonsense"));
        QTest::qWait(20);
        QCOMPARE(picker.index(), index);
        // The open page follows the setting itself.
        FormHand::storeElsewhere(Keys::showMemoryPercent.name, index == 0);
        QTRY_COMPARE(picker.index(), 1 - index);
        QCOMPARE(storedText(qPrintable(key)), QStringLiteral("nonsense"));
        // From here on it has no say.
        picker.choose(2);
        FormHand::storeElsewhere(Keys::showMemoryPercent.name, index != 0);
        QTest::qWait(20);
        QCOMPARE(picker.index(), 2);
    }

    void theReadoutShownCanBeChosenForGood()
    {
        SharedSettings::store().set("memoryReadout", QStringLiteral("nonsense"));
        const Shown shown;
        auto& picker = shown.control<PopupPicker>("memoryReadout");
        QCOMPARE(picker.index(), 1);
        Q_EMIT picker.chosen(1); // as from its list
        QCOMPARE(storedText("memoryReadout"), QStringLiteral("usage"));
    }

    void switchesShowAndHideItems_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<QString>("key");
        QTest::newRow("CPU") << 2 << QStringLiteral("showCPUItem");
        QTest::newRow("memory") << 3 << QStringLiteral("showMemoryItem");
        QTest::newRow("disk") << 4 << QStringLiteral("showStorageItem");
        QTest::newRow("sensors") << 5 << QStringLiteral("showSensorsItem");
    }

    void switchesShowAndHideItems()
    {
        QFETCH(int, section);
        QFETCH(QString, key);
        const Shown shown;
        auto& toggle = *shown.sections().at(section)->findChild<Switch*>();
        QVERIFY(toggle.isChecked());
        toggle.click();
        const auto stored = [&key] { return SharedSettings::store().storedDictionary().value(key); };
        QCOMPARE(stored(), QJsonValue(false));
        toggle.click();
        QCOMPARE(stored(), QJsonValue(true));
        FormHand::storeElsewhere(qPrintable(key), false);
        QTRY_VERIFY(!toggle.isChecked());
        // A value of another type counts as the default.
        FormHand::storeElsewhere(qPrintable(key), QStringLiteral("false"));
        QTRY_VERIFY(toggle.isChecked());
        QCOMPARE(stored(), QJsonValue(QStringLiteral("false")));
    }

    void hidingAnItemLeavesTheRestToBeEdited()
    {
        for (const char* key : { "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" })
            SharedSettings::store().set(key, false);
        SharedSettings::store().set("agentEnabled", false);
        const Shown shown;
        for (const auto* widget : shown.page.findChildren<QWidget*>())
            QVERIFY(widget->isEnabled());
        Picker(shown, QStringLiteral("sensorsReadout")).choose(4);
        QCOMPARE(storedText("sensorsReadout"), QStringLiteral("fan"));
    }

    void eachAccentHasItsKey_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<QString>("key");
        QTest::newRow("CPU") << 2 << QStringLiteral("cpuAccent");
        QTest::newRow("performance cores") << 2 << QStringLiteral("cpuFastCoreAccent");
        QTest::newRow("memory") << 3 << QStringLiteral("memoryAccent");
        QTest::newRow("disk") << 4 << QStringLiteral("storageAccent");
    }

    void eachAccentHasItsKey()
    {
        QFETCH(int, section);
        QFETCH(QString, key);
        CoreTopology::useTiers({ { QStringLiteral("Performance"), 8 }, { QStringLiteral("Efficiency"), 4 } });
        const Shown shown;
        const Picker picker(shown, key);
        QVERIFY(shown.sections().at(section)->isAncestorOf(picker.popup));
        picker.choose(5);
        QCOMPARE(storedText(qPrintable(key)), QStringLiteral("pine"));
        QCOMPARE(SharedSettings::store().storedDictionary().size(), 1);
        FormHand::storeElsewhere(qPrintable(key), QStringLiteral("teal"));
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
        // A name is shown as it is.
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
        const Shown shown;
        const QStringList rows = labels(*shown.sections().at(2));
        QCOMPARE(rows.value(4), title);
        QCOMPARE(rows.value(3), QStringLiteral("Colour"));
        QCOMPARE(shown.has<PopupPicker>("cpuFastCoreAccent"), !title.isEmpty());
    }

    void theFootnoteNamesTheLimitsInTheUnitChosen()
    {
        const Shown shown;
        const auto text = [&shown] { return footnote(*shown.sections().last()); };
        QCOMPARE(text(), QStringLiteral("The readout turns amber at 85°C and red at 95°C."));
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("fahrenheit"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 185°F and red at 203°F."));
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("celsius"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 85°C and red at 95°C."));
        // What is unknown goes by the region.
        setSession("LANG=en_US.UTF-8");
        FormHand::storeElsewhere("temperatureUnit", QStringLiteral("Celsius"));
        QTRY_COMPARE(text(), QStringLiteral("The readout turns amber at 185°F and red at 203°F."));
        for (const Card* section : shown.sections().mid(0, 5))
            QVERIFY(footnote(*section).isEmpty());
    }

    void theKeyboardReachesAllInReadingOrder_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("forwards") << int(Qt::Key_Tab);
        QTest::newRow("backwards") << int(Qt::Key_Backtab);
    }

    void theKeyboardReachesAllInReadingOrder()
    {
        QFETCH(int, key);
        CoreTopology::useTiers({ { QStringLiteral("Performance"), 8 }, { QStringLiteral("Efficiency"), 4 } });
        SharedSettings::store().set("cpuAccent", QStringLiteral("custom:srgb:1,0,0"));
        SettingsWindow w;
        w.view.resize(640, 480);
        const auto* page = qobject_cast<MenuBarPage*>(w.view.pageWidget());
        w.sidebar().setFocus();
        QList<QPoint> places;
        for (int i = 0; i < 60; ++i) {
            QTest::keyClick(w.view.focusWidget(), Qt::Key(key));
            const QWidget* control = w.view.focusWidget();
            if (control == &w.sidebar())
                break;
            if (!page->isAncestorOf(control))
                continue;
            places.append(control->mapTo(page->widget(), QPoint()));
            // It is brought into view, whatever was in view before.
            const QRect seen(control->mapTo(page->viewport(), QPoint()), control->size());
            QVERIFY2(page->viewport()->rect().contains(seen), qPrintable(control->objectName()));
        }
        QVERIFY(w.sidebar().hasFocus());
        // The strip, eleven pickers, four switches and a well.
        QCOMPARE(places.size(), 17);
        if (key == Qt::Key_Backtab)
            std::reverse(places.begin(), places.end());
        // Below the one before, or in the same row behind it.
        for (qsizetype i = 1; i < places.size(); ++i) {
            const QPoint step = places[i] - places[i - 1];
            QVERIFY(step.y() > 20 || (std::abs(step.y()) < 8 && step.x() > 0));
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarPageTest)
#include "MenuBarPageTest.moc"
