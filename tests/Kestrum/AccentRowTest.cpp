#include "KestrumShared/Vocabulary/AccentSwatch.h"
#include "tests/Support/AccentRowWindow.h"
#include "tests/Support/ColourWellFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QLabel>
#include <QTimer>
#include <memory>

using namespace kestrum;
class AccentRowTest : public QObject {
    Q_OBJECT
    using Shown = AccentRowWindow;

    static constexpr int pauseTime = 100;                 ///< in ms, from the last movement to the save
    static constexpr int afterPause = 2 * pauseTime + 50; ///< in ms: by then a draft would have been saved

    static QString customText(const QColor& colour) { return MeterAccent::custom(colour).rawValue(); }

    /// Clicks on the well. Returns the hue field of the dialog that opens, or null if no dialog opens.
    static QWidget* openDialog(ColourWell& well)
    {
        const auto dialog = ColourDialogHand::open(well);
        return dialog ? ColourDialogHand::field(*dialog) : nullptr;
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void thePickerHasThePresetsADividerAndCustom()
    {
        const Shown shown;
        QCOMPARE(FormHand::titles(*shown.picker).join(u' '),
            QStringLiteral("Signal Blue Indigo Purple Teal Pine Amber Graphite - Custom"));
    }

    void everyPresetHasItsSwatchSharpAtBothScales()
    {
        const Shown shown;
        for (int i = 0; i < Shown::customIndex; ++i) {
            for (const double scale : { 1.0, 2.0 }) {
                const QImage swatch = shown.picker->itemIcon(i).pixmap(QSize(12, 12), scale).toImage();
                const QImage whole = AccentSwatch::drawn(MeterAccent::presets()[i], 12, scale);
                QCOMPARE(swatch.convertToFormat(whole.format()), whole);
            }
        }
        QVERIFY(shown.picker->itemIcon(Shown::customIndex + 1).isNull());
    }

    void aPresetIsStoredByItsNameAndShown_data()
    {
        addRows<int>({ { "signal", 0 }, { "blue", 1 }, { "indigo", 2 }, { "purple", 3 }, { "teal", 4 },
            { "pine", 5 }, { "amber", 6 }, { "graphite", 7 } });
    }
    void aPresetIsStoredByItsNameAndShown()
    {
        const auto [index] = thisRow<int>();
        const char* name = QTest::currentDataTag();
        const Shown shown;
        shown.choose(Shown::customIndex);
        shown.choose(index);
        QCOMPARE(Shown::stored(), QString::fromLatin1(name));
        QVERIFY(!shown.well->isVisible());
        Shown::storeElsewhere("custom:srgb:0,0,0");
        QTRY_COMPARE(shown.picker->index(), Shown::customIndex);
        Shown::storeElsewhere(name);
        QTRY_COMPARE(shown.picker->index(), index);
    }

    void whatIsNoAccentShowsTheFallbackAndStays_data()
    {
        addRows<QJsonValue>({ { "absent", QJsonValue::Undefined }, { "a title", QStringLiteral("Blue") },
            { "the picker's own word", QStringLiteral("custom") },
            { "two numbers", QStringLiteral("custom:srgb:0.1,0.2") }, { "a number", 3 } });
    }
    void whatIsNoAccentShowsTheFallbackAndStays()
    {
        const auto [value] = thisRow<QJsonValue>();
        if (!value.isUndefined())
            SharedSettings::store().set("memoryAccent", value);
        const Shown shown;
        QCOMPARE(shown.picker->index(), 0);
        QVERIFY(!shown.well->isVisible());
        QCOMPARE(FormHand::stored("memoryAccent"), value);
        // The custom colour starts as the fallback's colour.
        shown.choose(Shown::customIndex);
        QCOMPARE(Shown::stored(), QStringLiteral("custom:srgb:0.2700,0.7200,0.6000"));
    }

    void customBeginsWithTheColourThatWasShown()
    {
        Shown::store("teal");
        const Shown shown;
        QVERIFY(!shown.well->isVisible());
        shown.choose(Shown::customIndex);
        QCOMPARE(Shown::stored(), QStringLiteral("custom:srgb:0.2200,0.6600,0.7800"));
        QVERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), MeterAccent(MeterAccent::Name::teal).color().rgb());
        QCOMPARE(shown.picker->index(), Shown::customIndex);
        // The entry "Custom" has a swatch of its colour, as the preset entries do.
        QCOMPARE(shown.customSwatch(), shown.well->colour().rgb());
        shown.choose(6);
        QVERIFY(!shown.well->isVisible());
        QVERIFY(shown.picker->itemIcon(Shown::customIndex + 1).isNull());
    }

    void choosingCustomAgainKeepsTheColour()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        Q_EMIT shown.picker->chosen(Shown::customIndex);
        QCOMPARE(Shown::stored(), QStringLiteral("custom:srgb:0.1000,0.2000,0.3000"));
        QVERIFY(shown.well->isVisible());
    }

    void anotherProgramsCustomColourIsShown()
    {
        const Shown shown;
        Shown::storeElsewhere("custom:srgb:1.0000,0.5000,0.0000");
        QTRY_VERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), QColor::fromRgbF(1, 0.5F, 0).rgb());
        Shown::storeElsewhere("custom:srgb:0.0000,0.0000,1.0000");
        QTRY_COMPARE(shown.well->colour().rgb(), QColor(Qt::blue).rgb());
    }

    void namesSayWhatIsWhat()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        QCOMPARE(shown.picker->accessibleName(), QStringLiteral("Colour"));
        QCOMPARE(shown.row->findChild<QLabel*>()->buddy(), shown.picker);
        QAccessibleInterface* well = QAccessible::queryAccessibleInterface(shown.well);
        QCOMPARE(well->text(QAccessible::Name), QStringLiteral("Colour custom colour"));
        SettingsWindow::speak("de");
        const Shown german;
        QCOMPARE(german.well->accessibleName(),
            AppLanguage::string("%@ custom colour").replace(QStringLiteral("%@"), QStringLiteral("Colour")));
        QVERIFY(german.well->accessibleName() != well->text(QAccessible::Name));
    }

    void theFocusStaysInTheRowWhenTheWellComesAndGoes()
    {
        const Shown shown;
        shown.picker->setFocus();
        shown.choose(Shown::customIndex);
        QCOMPARE(shown.window.focusWidget(), shown.picker);
        QTest::keyClick(shown.picker, Qt::Key_Tab);
        QCOMPARE(shown.window.focusWidget(), shown.well);
        Shown::storeElsewhere("blue");
        QTRY_VERIFY(!shown.well->isVisible());
        QCOMPARE(shown.window.focusWidget(), shown.picker);
    }

    void theWellTrailsThePickerAndTheRowKeepsItsHeight_data()
    {
        // From a width of 220, the picker fits beside its title; a little more is enough for the well too.
        addRows<int, Qt::LayoutDirection>({ { "wide", 400, Qt::LeftToRight },
            { "right to left", 400, Qt::RightToLeft }, { "220 wide", 220, Qt::LeftToRight },
            { "240 wide", 240, Qt::LeftToRight }, { "260 wide", 260, Qt::LeftToRight },
            { "280 wide", 280, Qt::LeftToRight }, { "300 wide", 300, Qt::LeftToRight } });
    }
    void theWellTrailsThePickerAndTheRowKeepsItsHeight()
    {
        const auto [width, direction] = thisRow<int, Qt::LayoutDirection>();
        Shown shown(direction);
        shown.window.resize(width, 100);
        settle();
        const auto fromTrailing = [&shown](const QWidget* part) {
            return shown.row->isRightToLeft() ? part->x() : shown.row->width() - 1 - part->geometry().right();
        };
        const int height = shown.row->height();
        const QRect label = shown.row->findChild<QLabel*>()->geometry();
        QCOMPARE(fromTrailing(shown.picker), Theme::rowInset);
        shown.choose(Shown::customIndex);
        settle();
        QCOMPARE(shown.row->height(), height);
        QCOMPARE(shown.row->findChild<QLabel*>()->geometry(), label);
        QCOMPARE(shown.well->size(), shown.well->sizeHint());
        QCOMPARE(fromTrailing(shown.well), Theme::rowInset);
        QCOMPARE(fromTrailing(shown.picker), Theme::rowInset + shown.well->width() + 8);
        QCOMPARE_LE(std::abs(shown.picker->geometry().center().y() - shown.well->geometry().center().y()), 1);
        shown.choose(0);
        settle();
        QCOMPARE(fromTrailing(shown.picker), Theme::rowInset);
    }

    void aDragInTheDialogIsStoredOnceWhenItHasStoodStill()
    {
        Shown::store("custom:srgb:1.0000,0.5000,0.5000");
        const Shown shown;
        const auto other = UserDefaults::withSuiteName(SharedSettings::suiteName());
        QSignalSpy saves(other.get(), &UserDefaults::changed);
        QWidget* field = openDialog(*shown.well);
        QVERIFY(field);
        // The drag takes two seconds. Its pauses are too short for a save.
        QTest::mousePress(field, Qt::LeftButton, {}, { 20, 60 });
        for (int i = 0; i < 40; ++i) {
            const QColor before = shown.well->colour();
            ColourDialogHand::drag(field, { 24 + 4 * i, 60 + i });
            QVERIFY(shown.well->colour().rgb() != before.rgb());
            // The picker's swatch follows at once, too.
            QCOMPARE(shown.customSwatch(), shown.well->colour().rgb());
            QTest::qWait(50);
        }
        QTest::mouseRelease(field, Qt::LeftButton, {}, { 180, 99 });
        QCOMPARE(saves.size(), 0);
        QCOMPARE(Shown::stored(), QStringLiteral("custom:srgb:1.0000,0.5000,0.5000"));
        const QString last = customText(shown.well->colour());
        QTRY_COMPARE_WITH_TIMEOUT(Shown::stored(), last, 10 * pauseTime);
        QTest::qWait(afterPause);
        QCOMPARE(saves.size(), 1);
        QCOMPARE(Shown::stored(), last);
        QCOMPARE(customText(shown.well->colour()), last);
    }

    void thePauseIsATenthOfASecondFromTheLastMovement()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::green);
        QTest::qWait(pauseTime / 2);
        // Precise timers in one thread fire in the order of their due times, even when they are late.
        QStringList seen;
        const auto look = [&](int after) {
            QTimer::singleShot(after, Qt::PreciseTimer, shown.row, [&seen] { seen.append(Shown::stored()); });
        };
        look(pauseTime - 10);
        shown.move(Qt::red);
        look(pauseTime + 10);
        QTRY_COMPARE(seen.size(), 2);
        QCOMPARE(seen.first(), QStringLiteral("custom:srgb:0.1000,0.2000,0.3000"));
        QCOMPARE(seen.last(), customText(Qt::red));
    }

    void theDraftIsShownUntilItIsStored()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::red);
        Shown::storeElsewhere("blue");
        QTest::qWait(pauseTime / 4);
        QVERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), QColor(Qt::red).rgb());
        QTRY_COMPARE(Shown::stored(), customText(Qt::red));
        // Now that the draft is stored, the row follows the store again.
        Shown::storeElsewhere("blue");
        QTRY_COMPARE(shown.picker->index(), 1);
        QVERIFY(!shown.well->isVisible());
    }

    void whatIsChosenAndAtOnceChosenBackElsewhereIsShown()
    {
        Shown::store("blue");
        const Shown shown;
        Q_EMIT shown.picker->chosen(4);
        Shown::storeElsewhere("blue");
        QCOMPARE(shown.picker->index(), 4);
        QTRY_COMPARE(shown.picker->index(), 1);
    }

    void aPresetChosenMeanwhileIsNotOverwritten()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::red);
        Q_EMIT shown.picker->chosen(4); // do not open the list: that would take as long as the pause
        QCOMPARE(Shown::stored(), QStringLiteral("teal"));
        QTest::qWait(afterPause);
        QCOMPARE(Shown::stored(), QStringLiteral("teal"));
        QCOMPARE(shown.picker->index(), 4);
    }

    void aRowThatGoesStoresItsDraftAtOnceAndNothingLater()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        {
            const Shown shown;
            shown.move(Qt::red);
        }
        QCOMPARE(Shown::stored(), customText(Qt::red));
        Shown::store("pine");
        QTest::qWait(afterPause);
        QCOMPARE(Shown::stored(), QStringLiteral("pine"));
        // Only the row's own key is stored.
        QCOMPARE(
            SharedSettings::store().storedDictionary().keys().join(u','), QStringLiteral("memoryAccent"));
    }

    void aRowThatGoesWithoutADraftStoresNothing()
    {
        {
            const Shown shown;
        }
        QVERIFY(SharedSettings::store().storedDictionary().isEmpty());
    }

    void thePageGoesInTheMiddleOfADrag_data()
    {
        addRows<QString>(
            { { "another page", "page" }, { "another language", "language" }, { "the window", "window" } });
    }
    void thePageGoesInTheMiddleOfADrag()
    {
        const auto [how] = thisRow<QString>();
        SharedSettings::store().set("cpuAccent", QStringLiteral("custom:srgb:0,0,0"));
        auto w = std::make_unique<SettingsWindow>();
        QWidget* row = w->view.findChild<PopupPicker*>(QStringLiteral("cpuAccent"))->parentWidget();
        const QPointer<ColourWell> well = row->findChild<ColourWell*>();
        QWidget* field = openDialog(*well);
        QVERIFY(field);
        const QPointer<QColorDialog> dialog = well->findChild<QColorDialog*>();
        // At black all hues look alike, so a user would set the brightness first.
        Q_EMIT dialog->currentColorChanged(Qt::green);
        QTest::mousePress(field, Qt::LeftButton, {}, { 30, 30 });
        ColourDialogHand::drag(field, { 50, 40 });
        const QString last = customText(well->colour());
        QVERIFY(storedText("cpuAccent") != last);
        if (how == u"page")
            w->view.selectPage(SettingsPage::general);
        else if (how == u"language")
            SettingsWindow::speak("de");
        else
            w.reset();
        QTRY_VERIFY(!well);
        QVERIFY(!dialog);
        QCOMPARE(storedText("cpuAccent"), last);
        // After this, nothing more may be stored.
        SharedSettings::store().set("cpuAccent", QStringLiteral("pine"));
        QTest::qWait(afterPause);
        QCOMPARE(storedText("cpuAccent"), QStringLiteral("pine"));
        for (const char* key : { "memoryAccent", "storageAccent", "cpuFastCoreAccent" })
            QVERIFY(storedText(key).isEmpty());
    }

    void aColourThatCannotBeSavedIsNotShownAsIfItWere()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        // A directory in place of the settings file: even root can neither read nor replace it.
        const QString path = SharedSettings::store().filePath();
        QFile::remove(path);
        QVERIFY(QDir().mkpath(path + QStringLiteral("/occupied")));
        shown.move(Qt::red);
        QTest::qWait(afterPause);
        QCOMPARE(
            shown.well->colour().rgb(), MeterAccent::fromRawValue(u"custom:srgb:0.1,0.2,0.3")->color().rgb());
        QVERIFY(QDir(path).removeRecursively());
    }
};

KESTRUM_TEST_MAIN(QApplication, AccentRowTest)
#include "AccentRowTest.moc"
