#include "Kestrum/MenuBar/MenuBarPage.h"

#include "Kestrum/Form/Switch.h"
#include "Kestrum/MenuBar/ItemHeader.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "tests/Support/MenuBarPageWindow.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class MenuBarPageTest : public QObject {
    Q_OBJECT

    using Page = MenuBarPageWindow;

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { Page::prepare(); }

    void theSectionsStandInOrder()
    {
        const Page shown;
        QStringList headings;
        for (int place = 0; place < shown.sections().size(); ++place)
            headings.append(shown.heading(place));
        QCOMPARE(headings.join(u'|'), QStringLiteral("|All Items|CPU|Memory|Disk|Sensors"));
        QVERIFY(shown.section(Page::preview).isAncestorOf(shown.page.preview()));
        QVERIFY(shown.labels(Page::preview).isEmpty());
    }

    void theRowsOfEachSectionStandInOrder_data()
    {
        addRows<int, QString>({ { "all items", Page::allItems, "Bar shape|Item labels" },
            { "CPU", Page::cpu, "Show in menu bar|Meter|Readout|Colour" },
            { "memory", Page::memory, "Show in menu bar|Readout|Colour" },
            { "disk", Page::disk, "Show in menu bar|Readout|Colour" },
            { "sensors", Page::sensors, "Show in menu bar|Readout" } });
    }
    void theRowsOfEachSectionStandInOrder()
    {
        const auto [place, rows] = thisRow<int, QString>();
        const Page shown;
        const Card& card = shown.section(place);
        QCOMPARE(shown.labels(place).join(u'|'), rows);
        // Only the sections of items have a symbol in their headers.
        QCOMPARE(card.findChildren<ItemHeader*>().size(), place > Page::allItems ? 1 : 0);
        // Screen readers use this name to say which section a row belongs to.
        QCOMPARE(card.accessibleName(), shown.heading(place));
        for (const auto* row : card.findChildren<Row*>()) {
            const auto* label = row->findChild<QLabel*>();
            QVERIFY(label->buddy());
            QCOMPARE(label->buddy()->accessibleName(), row->text());
        }
    }

    void eachItemHasItsOwnSymbol()
    {
        const Page shown;
        const auto symbol = [](ItemHeader& header) { return header.grab(QRect(0, 0, 24, 24)).toImage(); };
        const std::pair<int, MonitorSection> items[]
            = { { Page::cpu, MonitorSection::cpu }, { Page::memory, MonitorSection::memory },
                  { Page::disk, MonitorSection::storage }, { Page::sensors, MonitorSection::sensors } };
        for (const auto& [place, section] : items) {
            auto& header = *shown.section(place).findChild<ItemHeader*>();
            ItemHeader expected(section, QString());
            expected.setContentsMargins(header.contentsMargins());
            expected.setParent(header.parentWidget());
            expected.resize(header.size());
            QCOMPARE(symbol(header), symbol(expected));
        }
    }

    void thePreviewStandsOnItsOwnPlateOnly()
    {
        const Page shown;
        Card& section = shown.section(Page::preview);
        const QImage picture = pictureOf(section);
        // The place is outside of the plate's rounded corner, but a card's corner would contain it.
        QVERIFY(picture.pixelColor(3, 3).alpha() < 60);
        QCOMPARE(picture.pixelColor(14, 1).alpha(), 255);
    }

    void thePreviewFollowsTheControls()
    {
        const Page shown;
        const MenuBarStripView& strip = *shown.page.preview()->strip()->view();
        const auto sections = [&strip] {
            QList<MonitorSection> shownOnes;
            for (const auto& item : strip.items())
                shownOnes.append(item.section);
            return shownOnes;
        };
        using enum MonitorSection;
        QCOMPARE(sections(), QList({ storage, sensors, memory, cpu }));
        shown.section(Page::memory).findChild<Switch*>()->click();
        QTRY_COMPARE(sections(), QList({ storage, sensors, cpu }));
        FormHand::storeElsewhere("menuBarOrder", QStringLiteral("cpu,memory,storage,sensors"));
        QTRY_COMPARE(sections(), QList({ cpu, storage, sensors }));
    }

    void everyTextIsInTheInterfaceLanguage()
    {
        SettingsWindow::speak("de");
        Page::useFasterCores();
        const Page shown;
        QStringList texts;
        for (int place = 0; place < shown.sections().size(); ++place)
            texts += QStringList(shown.heading(place)) + shown.labels(place);
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
        QCOMPARE(shown.picker("cpuReadout").titles().first(), german("None"));
        QCOMPARE(shown.picker("cpuAccent").titles().last(), german("Custom"));
        const QString note = withPlainBlanks(shown.footnote(Page::sensors));
        const QStringList parts
            = german("The readout turns amber at %@ and red at %@.").split(QStringLiteral("%@"));
        QCOMPARE(note, parts[0] + QStringLiteral("85 °C") + parts[1] + QStringLiteral("95 °C") + parts[2]);
    }

    void hidingAnItemLeavesTheRestToBeEdited()
    {
        for (const char* key : { "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" })
            SharedSettings::store().set(key, false);
        SharedSettings::store().set("agentEnabled", false);
        const Page shown;
        for (const auto* widget : shown.page.findChildren<QWidget*>())
            QVERIFY(widget->isEnabled());
        shown.picker("sensorsReadout").choose(4);
        QCOMPARE(storedText("sensorsReadout"), QStringLiteral("fan"));
    }

    void theKeyboardReachesAllInReadingOrder_data()
    {
        addRows<Qt::Key>({ { "forwards", Qt::Key_Tab }, { "backwards", Qt::Key_Backtab } });
    }
    void theKeyboardReachesAllInReadingOrder()
    {
        const auto [key] = thisRow<Qt::Key>();
        Page::useFasterCores();
        SharedSettings::store().set("cpuAccent", QStringLiteral("custom:srgb:1,0,0"));
        SettingsWindow w;
        w.view.resize(640, 480);
        const auto* page = qobject_cast<MenuBarPage*>(w.view.pageWidget());
        w.sidebar().setFocus();
        QList<QPoint> places;
        for (int i = 0; i < 60; ++i) {
            QTest::keyClick(w.view.focusWidget(), key);
            const QWidget* control = w.view.focusWidget();
            if (control == &w.sidebar())
                break;
            if (!page->isAncestorOf(control))
                continue;
            places.append(control->mapTo(page->widget(), QPoint()));
            // The page scrolls the focused control into view.
            const QRect seen(control->mapTo(page->viewport(), QPoint()), control->size());
            QVERIFY2(page->viewport()->rect().contains(seen), qPrintable(control->objectName()));
        }
        QVERIFY(w.sidebar().hasFocus());
        // The controls are the strip, eleven pickers, four switches and a well.
        QCOMPARE(places.size(), 17);
        if (key == Qt::Key_Backtab)
            std::reverse(places.begin(), places.end());
        // Each control is below the previous control, or after it in the same row.
        for (qsizetype i = 1; i < places.size(); ++i) {
            const QPoint step = places[i] - places[i - 1];
            QVERIFY(step.y() > 20 || (std::abs(step.y()) < 8 && step.x() > 0));
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarPageTest)
#include "MenuBarPageTest.moc"
