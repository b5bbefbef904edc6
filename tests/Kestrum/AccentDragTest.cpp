#include "tests/Support/AccentRowWindow.h"
#include "tests/Support/ColourDialogHand.h"
#include "tests/Support/TestHome.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTimer>
#include <memory>

using namespace kestrum;
namespace {

constexpr int pauseTime = 100;                 ///< in ms, from the last movement to the save
constexpr int afterPause = 2 * pauseTime + 50; ///< in ms: by then a draft would have been saved

QString customText(const QColor& colour)
{
    return MeterAccent::custom(colour).rawValue();
}

/// Clicks on the well. Gives the hue field of the dialog that opens, or null when no dialog opens.
QWidget* openDialog(ColourWell& well)
{
    QTest::mouseClick(&well, Qt::LeftButton);
    auto* dialog = well.findChild<QColorDialog*>();
    return dialog && QTest::qWaitForWindowExposed(dialog) ? ColourDialogHand::field(*dialog) : nullptr;
}

} // namespace

/// What happens while people drag in the colour dialog.
class AccentDragTest : public QObject {
    Q_OBJECT
    using Shown = AccentRowWindow;

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

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
            const QImage swatch
                = shown.picker->itemIcon(Shown::customIndex + 1).pixmap(QSize(12, 12), 1).toImage();
            QCOMPARE(swatch.pixelColor(6, 6).rgb(), shown.well->colour().rgb());
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
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("blue"));
        QTest::qWait(pauseTime / 4);
        QVERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), QColor(Qt::red).rgb());
        QTRY_COMPARE(Shown::stored(), customText(Qt::red));
        // Now that the draft is stored, the row follows the store again.
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("blue"));
        QTRY_COMPARE(shown.picker->index(), 1);
        QVERIFY(!shown.well->isVisible());
    }

    void aPresetChosenMeanwhileIsNotOverwritten()
    {
        Shown::store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::red);
        Q_EMIT shown.picker->chosen(4); // at once: opening the list would take as long as the pause
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
            SharedSettings::store().storedDictionary().keys(), QStringList(QStringLiteral("memoryAccent")));
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
        QTest::addColumn<QString>("how");
        for (const char* how : { "another page", "another language", "the window" })
            QTest::newRow(how) << QString::fromLatin1(how);
    }

    void thePageGoesInTheMiddleOfADrag()
    {
        QFETCH(QString, how);
        SharedSettings::store().set("cpuAccent", QStringLiteral("custom:srgb:0,0,0"));
        auto w = std::make_unique<SettingsWindow>();
        QWidget* row = w->view.findChild<PopupPicker*>(QStringLiteral("cpuAccent"))->parentWidget();
        const QPointer<ColourWell> well = row->findChild<ColourWell*>();
        QWidget* field = openDialog(*well);
        QVERIFY(field);
        const QPointer<QColorDialog> dialog = well->findChild<QColorDialog*>();
        // At black all hues look alike, so people would set the brightness first.
        Q_EMIT dialog->currentColorChanged(Qt::green);
        QTest::mousePress(field, Qt::LeftButton, {}, { 30, 30 });
        ColourDialogHand::drag(field, { 50, 40 });
        const QString last = customText(well->colour());
        QVERIFY(storedText("cpuAccent") != last);
        if (how == u"another page")
            w->view.selectPage(SettingsPage::general);
        else if (how == u"another language")
            Setting { Keys::language }.set(QStringLiteral("de"));
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

KESTRUM_TEST_MAIN(QApplication, AccentDragTest)
#include "AccentDragTest.moc"
