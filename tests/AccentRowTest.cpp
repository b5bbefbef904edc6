#include "Kestrum/MenuBar/AccentRow.h"

#include "Kestrum/Form/ColourWell.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Vocabulary/AccentSwatch.h"
#include "tests/ColourDialogHand.h"
#include "tests/FormHand.h"
#include "tests/SettingsWindow.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>
#include <QTimer>
#include <QVBoxLayout>
#include <memory>

using namespace kestrum;

namespace {

constexpr int pauseTime = 100;                 ///< in milliseconds, from the last movement to the save
constexpr int afterPause = 2 * pauseTime + 50; ///< time enough for a save that should not come
constexpr int customIndex = 8;

/// One row in a window.
struct Shown {
    QWidget window;
    AccentRow* row = new AccentRow(QStringLiteral("Colour"), Keys::memoryAccent);
    PopupPicker* picker = row->findChild<PopupPicker*>();
    ColourWell* well = row->findChild<ColourWell*>();

    explicit Shown(Qt::LayoutDirection direction = Qt::LeftToRight)
    {
        window.setLayoutDirection(direction);
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(row);
        layout->addWidget(new PushButton(QStringLiteral("The next control")));
        layout->addStretch(1);
        window.resize(400, 100);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    /// As if the colour dialog told of a movement.
    void move(const QColor& colour) const { Q_EMIT well->picked(colour); }
};

QString stored()
{
    return storedText("memoryAccent");
}

void store(const char* accent)
{
    SharedSettings::store().set("memoryAccent", QString::fromLatin1(accent));
    QTest::qWait(20); // let the notice of it pass
}

QString customText(const QColor& colour)
{
    return MeterAccent::custom(colour).rawValue();
}

/// Clicks on the well; the field of hues of the dialog that opens.
QWidget* openDialog(ColourWell& well)
{
    QTest::mouseClick(&well, Qt::LeftButton);
    auto* dialog = well.findChild<QColorDialog*>();
    return dialog && QTest::qWaitForWindowExposed(dialog) ? ColourDialogHand::field(*dialog) : nullptr;
}

} // namespace

class AccentRowTest : public QObject {
    Q_OBJECT

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
        for (int i = 0; i < customIndex; ++i) {
            for (const double scale : { 1.0, 2.0 }) {
                const QImage swatch = shown.picker->itemIcon(i).pixmap(QSize(12, 12), scale).toImage();
                const QImage whole = AccentSwatch::drawn(MeterAccent::presets()[i], 12, scale);
                QCOMPARE(swatch.convertToFormat(whole.format()), whole);
            }
        }
        QVERIFY(shown.picker->itemIcon(customIndex + 1).isNull());
    }

    void aPresetIsStoredByItsNameAndShown_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("name");
        const QStringList names { QStringLiteral("signal"), QStringLiteral("blue"), QStringLiteral("indigo"),
            QStringLiteral("purple"), QStringLiteral("teal"), QStringLiteral("pine"), QStringLiteral("amber"),
            QStringLiteral("graphite") };
        for (int i = 0; i < names.size(); ++i)
            QTest::newRow(qPrintable(names[i])) << i << names[i];
    }

    void aPresetIsStoredByItsNameAndShown()
    {
        QFETCH(int, index);
        QFETCH(QString, name);
        const Shown shown;
        FormHand::choose(*shown.picker, customIndex);
        FormHand::choose(*shown.picker, index);
        QCOMPARE(stored(), name);
        QVERIFY(!shown.well->isVisible());
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("custom:srgb:0,0,0"));
        QTRY_COMPARE(shown.picker->index(), customIndex);
        FormHand::storeElsewhere("memoryAccent", name);
        QTRY_COMPARE(shown.picker->index(), index);
    }

    void whatIsNoAccentShowsTheFallbackAndStays_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("a title") << QJsonValue(QStringLiteral("Blue"));
        QTest::newRow("the picker's own word") << QJsonValue(QStringLiteral("custom"));
        QTest::newRow("two numbers") << QJsonValue(QStringLiteral("custom:srgb:0.1,0.2"));
        QTest::newRow("a number") << QJsonValue(3);
    }

    void whatIsNoAccentShowsTheFallbackAndStays()
    {
        QFETCH(QJsonValue, value);
        if (!value.isUndefined())
            SharedSettings::store().set("memoryAccent", value);
        const Shown shown;
        QCOMPARE(shown.picker->index(), 0);
        QVERIFY(!shown.well->isVisible());
        const auto inFile = [] {
            return SharedSettings::store().storedDictionary().value(QLatin1StringView("memoryAccent"));
        };
        QCOMPARE(inFile(), value);
        // "Custom" begins with the fallback's colour.
        FormHand::choose(*shown.picker, customIndex);
        QCOMPARE(stored(), QStringLiteral("custom:srgb:0.2700,0.7200,0.6000"));
    }

    void customBeginsWithTheColourThatWasShown()
    {
        store("teal");
        const Shown shown;
        QVERIFY(!shown.well->isVisible());
        FormHand::choose(*shown.picker, customIndex);
        QCOMPARE(stored(), QStringLiteral("custom:srgb:0.2200,0.6600,0.7800"));
        QVERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), MeterAccent(MeterAccent::Name::teal).color().rgb());
        QCOMPARE(shown.picker->index(), customIndex);
        // Its entry shows the colour, as those of the presets do.
        const QImage swatch = shown.picker->itemIcon(customIndex + 1).pixmap(QSize(12, 12), 2).toImage();
        QCOMPARE(swatch.pixelColor(12, 12).rgb(), shown.well->colour().rgb());
        FormHand::choose(*shown.picker, 6);
        QVERIFY(!shown.well->isVisible());
        QVERIFY(shown.picker->itemIcon(customIndex + 1).isNull());
    }

    void choosingCustomAgainKeepsTheColour()
    {
        store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        Q_EMIT shown.picker->chosen(customIndex);
        QCOMPARE(stored(), QStringLiteral("custom:srgb:0.1000,0.2000,0.3000"));
        QVERIFY(shown.well->isVisible());
    }

    void anotherProgramsCustomColourIsShown()
    {
        const Shown shown;
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("custom:srgb:1.0000,0.5000,0.0000"));
        QTRY_VERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), QColor::fromRgbF(1, 0.5F, 0).rgb());
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("custom:srgb:0.0000,0.0000,1.0000"));
        QTRY_COMPARE(shown.well->colour().rgb(), QColor(Qt::blue).rgb());
    }

    void aDragInTheDialogIsStoredOnceWhenItHasStoodStill()
    {
        store("custom:srgb:1.0000,0.5000,0.5000");
        const Shown shown;
        const auto other = UserDefaults::withSuiteName(SharedSettings::suiteName());
        QSignalSpy saves(other.get(), &UserDefaults::changed);
        QWidget* field = openDialog(*shown.well);
        QVERIFY(field);
        // Two seconds long, with pauses shorter than the one that counts.
        QTest::mousePress(field, Qt::LeftButton, {}, { 20, 60 });
        for (int i = 0; i < 40; ++i) {
            const QColor before = shown.well->colour();
            ColourDialogHand::drag(field, { 24 + 4 * i, 60 + i });
            QVERIFY(shown.well->colour().rgb() != before.rgb());
            // At once in the picker too.
            const QImage swatch = shown.picker->itemIcon(customIndex + 1).pixmap(QSize(12, 12), 1).toImage();
            QCOMPARE(swatch.pixelColor(6, 6).rgb(), shown.well->colour().rgb());
            QTest::qWait(50);
        }
        QTest::mouseRelease(field, Qt::LeftButton, {}, { 180, 99 });
        QCOMPARE(saves.size(), 0);
        QCOMPARE(stored(), QStringLiteral("custom:srgb:1.0000,0.5000,0.5000"));
        const QString last = customText(shown.well->colour());
        QTRY_COMPARE_WITH_TIMEOUT(stored(), last, 10 * pauseTime);
        QTest::qWait(afterPause);
        QCOMPARE(saves.size(), 1);
        QCOMPARE(stored(), last);
        QCOMPARE(customText(shown.well->colour()), last);
    }

    void thePauseIsATenthOfASecondFromTheLastMovement()
    {
        store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::green);
        QTest::qWait(pauseTime / 2);
        // However late timers are, these come in their order.
        QStringList seen;
        const auto look = [&](int after) {
            QTimer::singleShot(after, Qt::PreciseTimer, shown.row, [&seen] { seen.append(stored()); });
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
        store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::red);
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("blue"));
        QTest::qWait(pauseTime / 4);
        QVERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), QColor(Qt::red).rgb());
        QTRY_COMPARE(stored(), customText(Qt::red));
        // From then on the store is followed again.
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("blue"));
        QTRY_COMPARE(shown.picker->index(), 1);
        QVERIFY(!shown.well->isVisible());
    }

    void aPresetChosenMeanwhileIsNotOverwritten()
    {
        store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        shown.move(Qt::red);
        Q_EMIT shown.picker->chosen(4); // at once: its list would take as long as the pause
        QCOMPARE(stored(), QStringLiteral("teal"));
        QTest::qWait(afterPause);
        QCOMPARE(stored(), QStringLiteral("teal"));
        QCOMPARE(shown.picker->index(), 4);
    }

    void aRowThatGoesStoresItsDraftAtOnceAndNothingLater()
    {
        store("custom:srgb:0.1000,0.2000,0.3000");
        {
            const Shown shown;
            shown.move(Qt::red);
        }
        QCOMPARE(stored(), customText(Qt::red));
        store("pine");
        QTest::qWait(afterPause);
        QCOMPARE(stored(), QStringLiteral("pine"));
        // Of all keys, only the row's own.
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
        // At black the hues are all alike; what people pick first is how bright it is to be.
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
        // From here on nothing comes any more.
        SharedSettings::store().set("cpuAccent", QStringLiteral("pine"));
        QTest::qWait(afterPause);
        QCOMPARE(storedText("cpuAccent"), QStringLiteral("pine"));
        for (const char* key : { "memoryAccent", "storageAccent", "cpuFastCoreAccent" })
            QVERIFY(storedText(key).isEmpty());
    }

    void namesSayWhatIsWhat()
    {
        store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        QCOMPARE(shown.picker->accessibleName(), QStringLiteral("Colour"));
        QCOMPARE(shown.row->findChild<QLabel*>()->buddy(), shown.picker);
        QAccessibleInterface* well = QAccessible::queryAccessibleInterface(shown.well);
        QCOMPARE(well->text(QAccessible::Name), QStringLiteral("Colour custom colour"));
        Setting { Keys::language }.set(QStringLiteral("de"));
        const Shown german;
        QCOMPARE(german.well->accessibleName(),
            AppLanguage::string("%@ custom colour").replace(QStringLiteral("%@"), QStringLiteral("Colour")));
        QVERIFY(german.well->accessibleName() != well->text(QAccessible::Name));
    }

    void theFocusStaysInTheRowWhenTheWellComesAndGoes()
    {
        const Shown shown;
        shown.picker->setFocus();
        FormHand::choose(*shown.picker, customIndex);
        QCOMPARE(shown.window.focusWidget(), shown.picker);
        QTest::keyClick(shown.picker, Qt::Key_Tab);
        QCOMPARE(shown.window.focusWidget(), shown.well);
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("blue"));
        QTRY_VERIFY(!shown.well->isVisible());
        QCOMPARE(shown.window.focusWidget(), shown.picker);
    }

    void theWellTrailsThePickerAndTheRowKeepsItsHeight_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("wide") << 400 << Qt::LeftToRight;
        QTest::newRow("right to left") << 400 << Qt::RightToLeft;
        // From here on there is room for the picker beside its title, and soon for the well too.
        for (int width = 220; width < 320; width += 20)
            QTest::addRow("%d wide", width) << width << Qt::LeftToRight;
    }

    void theWellTrailsThePickerAndTheRowKeepsItsHeight()
    {
        QFETCH(int, width);
        QFETCH(Qt::LayoutDirection, direction);
        Shown shown(direction);
        shown.window.resize(width, 100);
        QTest::qWait(20);
        const auto fromTrailing = [&](const QWidget* part) {
            return direction == Qt::LeftToRight ? width - 1 - part->geometry().right() : part->x();
        };
        const int height = shown.row->height();
        const QRect label = shown.row->findChild<QLabel*>()->geometry();
        QCOMPARE(fromTrailing(shown.picker), Theme::rowInset);
        FormHand::choose(*shown.picker, customIndex);
        QTest::qWait(20);
        QCOMPARE(shown.row->height(), height);
        QCOMPARE(shown.row->findChild<QLabel*>()->geometry(), label);
        QCOMPARE(shown.well->size(), shown.well->sizeHint());
        QCOMPARE(fromTrailing(shown.well), Theme::rowInset);
        QCOMPARE(fromTrailing(shown.picker), Theme::rowInset + shown.well->width() + 8);
        QVERIFY(std::abs(shown.picker->geometry().center().y() - shown.well->geometry().center().y()) <= 1);
        FormHand::choose(*shown.picker, 0);
        QTest::qWait(20);
        QCOMPARE(fromTrailing(shown.picker), Theme::rowInset);
    }

    void aColourThatCannotBeSavedIsNotShownAsIfItWere()
    {
        store("custom:srgb:0.1000,0.2000,0.3000");
        const Shown shown;
        // A directory where the settings file should be: it can be neither read nor replaced, not even by root.
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
