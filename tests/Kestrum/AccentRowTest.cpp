#include "Kestrum/MenuBar/AccentRow.h"

#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Vocabulary/AccentSwatch.h"
#include "tests/Support/AccentRowWindow.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QLabel>

using namespace kestrum;
class AccentRowTest : public QObject {
    Q_OBJECT
    using Shown = AccentRowWindow;

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
        FormHand::choose(*shown.picker, Shown::customIndex);
        FormHand::choose(*shown.picker, index);
        QCOMPARE(Shown::stored(), name);
        QVERIFY(!shown.well->isVisible());
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("custom:srgb:0,0,0"));
        QTRY_COMPARE(shown.picker->index(), Shown::customIndex);
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
        // The custom colour starts as the fallback's colour.
        FormHand::choose(*shown.picker, Shown::customIndex);
        QCOMPARE(Shown::stored(), QStringLiteral("custom:srgb:0.2700,0.7200,0.6000"));
    }

    void customBeginsWithTheColourThatWasShown()
    {
        Shown::store("teal");
        const Shown shown;
        QVERIFY(!shown.well->isVisible());
        FormHand::choose(*shown.picker, Shown::customIndex);
        QCOMPARE(Shown::stored(), QStringLiteral("custom:srgb:0.2200,0.6600,0.7800"));
        QVERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), MeterAccent(MeterAccent::Name::teal).color().rgb());
        QCOMPARE(shown.picker->index(), Shown::customIndex);
        // The entry "Custom" shows the colour, as the preset entries do.
        const QImage swatch
            = shown.picker->itemIcon(Shown::customIndex + 1).pixmap(QSize(12, 12), 2).toImage();
        QCOMPARE(swatch.pixelColor(12, 12).rgb(), shown.well->colour().rgb());
        FormHand::choose(*shown.picker, 6);
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
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("custom:srgb:1.0000,0.5000,0.0000"));
        QTRY_VERIFY(shown.well->isVisible());
        QCOMPARE(shown.well->colour().rgb(), QColor::fromRgbF(1, 0.5F, 0).rgb());
        FormHand::storeElsewhere("memoryAccent", QStringLiteral("custom:srgb:0.0000,0.0000,1.0000"));
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
        FormHand::choose(*shown.picker, Shown::customIndex);
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
        // From this width on, the picker fits beside its title, and soon the well fits too.
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
        FormHand::choose(*shown.picker, Shown::customIndex);
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
};

KESTRUM_TEST_MAIN(QApplication, AccentRowTest)
#include "AccentRowTest.moc"
