#include "Kestrum/Popovers/PopoversPage.h"

#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/Theme.h"
#include "Kestrum/Popovers/ChoiceTileRow.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QLabel>
#include <QScrollBar>

using namespace kestrum;

namespace {

const QColor opaqueDark(31, 33, 36);
const QColor opaqueLight(199, 204, 209);

void store(const char* key, const char* text)
{
    SharedSettings::store().set(key, QString::fromUtf8(text));
}

/// The page in a window, as wide as in the smallest settings window.
struct PopoversPageWindow {
    PopoversPage page;
    QList<ChoiceTileRow*> rows = page.findChildren<ChoiceTileRow*>();
    const ChoiceTileRow& appearance = *rows[0];
    const ChoiceTileRow& background = *rows[1];

    PopoversPageWindow()
    {
        page.resize(436, 480);
        page.show();
        page.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&page));
    }

    /// The colour at `place` in the picture of a tile; by default, a place on the popover that the tile shows.
    static QColor panel(const ChoiceTileRow& row, int index, const QPoint& place = { 100, 12 })
    {
        return row.tiles()[index]->grab().toImage().pixelColor(place);
    }
};

QStringList tileTitles(const ChoiceTileRow& row)
{
    QStringList titles;
    for (const ChoiceTile* tile : row.tiles())
        titles.append(tile->text());
    return titles;
}

} // namespace

class PopoversPageTest : public QObject {
    Q_OBJECT
    using Shown = PopoversPageWindow;

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init()
    {
        SettingsWindow::prepare();
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void thePageHasTwoRowsOfTilesAndAWordOnThemes()
    {
        const Shown shown;
        QCOMPARE(shown.rows.size(), 2);
        QCOMPARE(shown.appearance.findChild<QLabel*>()->text(), QStringLiteral("Appearance"));
        QCOMPARE(tileTitles(shown.appearance),
            QStringList({ QStringLiteral("Light"), QStringLiteral("Dark"), QStringLiteral("System") }));
        QCOMPARE(shown.background.findChild<QLabel*>()->text(), QStringLiteral("Background"));
        QCOMPARE(tileTitles(shown.background),
            QStringList({ QStringLiteral("Translucent"), QStringLiteral("Opaque") }));

        const QList<Card*> cards = shown.page.findChildren<Card*>();
        QCOMPARE(cards.size(), 2);
        QVERIFY(cards[0]->isAncestorOf(shown.rows[0]) && cards[0]->isAncestorOf(shown.rows[1]));
        QStringList texts;
        for (const QLabel* label : cards[0]->findChildren<QLabel*>()) {
            if (label->isVisible())
                texts.append(label->text());
        }
        // The card has no heading of its own.
        QCOMPARE(texts, QStringList({ QStringLiteral("Appearance"), QStringLiteral("Background") }));
        texts.clear();
        for (const QLabel* label : cards[1]->findChildren<QLabel*>()) {
            if (label->isVisible())
                texts.append(label->text());
        }
        texts.sort();
        QCOMPARE(texts, QStringList({ QStringLiteral("Coming soon"), QStringLiteral("Themes") }));
        QVERIFY(cards[0]->y() < cards[1]->y());
    }

    void theWordOnThemesIsSecondaryAndHasNoControl()
    {
        const Shown shown;
        const Row* soon = shown.page.findChild<Row*>();
        QCOMPARE(soon->text(), QStringLiteral("Coming soon"));
        const auto* label = soon->findChild<QLabel*>();
        QCOMPARE(label->foregroundRole(), QPalette::PlaceholderText);
        for (const QWidget* child : soon->findChildren<QWidget*>())
            QCOMPARE(child, label);
    }

    void theStoredChoicesAreSelected_data()
    {
        QTest::addColumn<QJsonValue>("appearance");
        QTest::addColumn<QJsonValue>("background");
        QTest::addColumn<int>("appearanceIndex");
        QTest::addColumn<int>("backgroundIndex");
        const auto text = [](const char* value) { return QJsonValue(QString::fromUtf8(value)); };
        const QJsonValue absent(QJsonValue::Undefined);
        QTest::newRow("absent") << absent << absent << 2 << 0;
        QTest::newRow("light, opaque") << text("light") << text("opaque") << 0 << 1;
        QTest::newRow("dark, translucent") << text("dark") << text("translucent") << 1 << 0;
        QTest::newRow("system") << text("system") << absent << 2 << 0;
        QTest::newRow("texts that are no choices") << text("Dark") << text("glass") << -1 << -1;
        QTest::newRow("empty texts") << text("") << text("") << -1 << -1;
        QTest::newRow("no texts") << QJsonValue(1) << QJsonValue(true) << 2 << 0;
    }

    void theStoredChoicesAreSelected()
    {
        QFETCH(QJsonValue, appearance);
        QFETCH(QJsonValue, background);
        if (!appearance.isUndefined())
            SharedSettings::store().set("popoverAppearance", appearance);
        if (!background.isUndefined())
            SharedSettings::store().set("popoverBackground", background);
        const Shown shown;
        QTEST(shown.appearance.index(), "appearanceIndex");
        QTEST(shown.background.index(), "backgroundIndex");
        // Showing the page stores nothing.
        const QJsonObject stored = SharedSettings::store().storedDictionary();
        QCOMPARE(stored.value(QLatin1StringView("popoverAppearance")), appearance);
        QCOMPARE(stored.value(QLatin1StringView("popoverBackground")), background);
    }

    void aClickStoresTheChoice_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("tile");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QString>("text");
        int row = 0;
        for (const auto& entry : allCases<PopoverAppearance>())
            QTest::newRow(entry.rawValue)
                << 0 << row++ << QByteArray("popoverAppearance") << QString::fromLatin1(entry.rawValue);
        row = 0;
        for (const auto& entry : allCases<PopoverBackground>())
            QTest::newRow(entry.rawValue)
                << 1 << row++ << QByteArray("popoverBackground") << QString::fromLatin1(entry.rawValue);
    }

    void aClickStoresTheChoice()
    {
        QFETCH(int, row);
        QFETCH(int, tile);
        QFETCH(QByteArray, key);
        // The row starts from a stored text that is no choice.
        store(key, "nonsense");
        const Shown shown;
        QTest::mouseClick(shown.rows[row]->tiles()[tile], Qt::LeftButton);
        QTEST(storedText(key), "text");
        QCOMPARE(shown.rows[row]->index(), tile);
        // The other key is still not stored.
        QCOMPARE(SharedSettings::store().storedDictionary().size(), 1);
    }

    void aClickOnTheTileSelectedStoresItsValueAgainAndChangesNothing()
    {
        const Shown shown;
        const QImage before = shown.rows[0]->grab().toImage();
        QTest::mouseClick(shown.appearance.tiles()[2], Qt::LeftButton);
        QCOMPARE(storedText("popoverAppearance"), QStringLiteral("system"));
        QCOMPARE(shown.rows[0]->grab().toImage(), before);
        QTest::mouseClick(shown.appearance.tiles()[2], Qt::LeftButton);
        QCOMPARE(storedText("popoverAppearance"), QStringLiteral("system"));
        QCOMPARE(shown.appearance.index(), 2);
        QCOMPARE(shown.rows[0]->grab().toImage(), before);
    }

    void theTilesFollowWhatAnotherProcessStores()
    {
        const Shown shown;
        const auto write = [](const char* key, const char* text) {
            Programs::output(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/kestrumctl"),
                { QStringLiteral("write"), QString::fromLatin1(key), u'"' + QString::fromLatin1(text) + u'"',
                    QStringLiteral("--force") });
        };
        write("popoverAppearance", "dark");
        QTRY_COMPARE(shown.appearance.index(), 1);
        write("popoverBackground", "opaque");
        QTRY_COMPARE(shown.background.index(), 1);
        write("popoverAppearance", "sepia");
        QTRY_COMPARE(shown.appearance.index(), -1);
        QCOMPARE(shown.background.index(), 1);
    }

    void picturesOfAppearancesHaveTheStoredGround()
    {
        const Shown shown;
        QVERIFY(Shown::panel(shown.appearance, 0) != opaqueLight);
        QVERIFY(Shown::panel(shown.appearance, 1) != opaqueDark);
        store("popoverBackground", "opaque");
        QCOMPARE(Shown::panel(shown.appearance, 0), opaqueLight);
        QCOMPARE(Shown::panel(shown.appearance, 1), opaqueDark);
        store("popoverBackground", "glass");
        QVERIFY(Shown::panel(shown.appearance, 0) != opaqueLight);
    }

    void thePictureOfTheSystemsIsLightAboveTheDiagonalAndDarkBelow()
    {
        store("popoverBackground", "opaque");
        store("popoverAppearance", "light");
        const Shown shown;
        QCOMPARE(Shown::panel(shown.appearance, 2, { 60, 12 }), opaqueLight);
        QCOMPARE(Shown::panel(shown.appearance, 2, { 13, 55 }), opaqueLight);
        QCOMPARE(Shown::panel(shown.appearance, 2, { 106, 25 }), opaqueDark);
        QCOMPARE(Shown::panel(shown.appearance, 2, { 100, 68 }), opaqueDark);
        // The place is just beside the diagonal and has no text.
        QCOMPARE(Shown::panel(shown.appearance, 2, { 95, 9 }), opaqueLight);
        QCOMPARE(Shown::panel(shown.appearance, 2, { 99, 12 }), opaqueDark);
    }

    void picturesOfGroundsHaveTheWindowsSchemeWhereTheSystemsIsChosen()
    {
        const Shown shown;
        QCOMPARE(shown.appearance.index(), 2);
        QCOMPARE(Shown::panel(shown.background, 1), opaqueLight);
        const QColor translucentLight = Shown::panel(shown.background, 0);
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QCOMPARE(Shown::panel(shown.background, 1), opaqueDark);
        QVERIFY(Shown::panel(shown.background, 0).lightnessF() < translucentLight.lightnessF() / 2);
        QVERIFY(Shown::panel(shown.background, 0) != opaqueDark);
    }

    void picturesOfGroundsHaveTheSchemeChosenWhateverTheWindows()
    {
        store("popoverAppearance", "dark");
        const Shown shown;
        QCOMPARE(Shown::panel(shown.background, 1), opaqueDark);
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        store("popoverAppearance", "light");
        QCOMPARE(Shown::panel(shown.background, 1), opaqueLight);
    }

    void thePreviewsSchemeIsTheChosenOneElseTheWindows_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<bool>("isDarkInLight");
        QTest::addColumn<bool>("isDarkInDark");
        QTest::newRow("light") << QStringLiteral("light") << false << false;
        QTest::newRow("dark") << QStringLiteral("dark") << true << true;
        QTest::newRow("system") << QStringLiteral("system") << false << true;
        QTest::newRow("another case of letters") << QStringLiteral("Dark") << false << true;
        QTest::newRow("another text") << QStringLiteral("sepia") << false << true;
        QTest::newRow("empty") << QString() << false << true;
    }

    void thePreviewsSchemeIsTheChosenOneElseTheWindows()
    {
        QFETCH(QString, stored);
        SharedSettings::store().set("popoverAppearance", stored);
        QTEST(PopoversPage::previewScheme() == ColourScheme::dark, "isDarkInLight");
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QTEST(PopoversPage::previewScheme() == ColourScheme::dark, "isDarkInDark");
    }

    void everyPictureIsDrawnAnewWhenAChoiceOrTheSchemeChanges()
    {
        const Shown shown;
        PaintWatcher watcher;
        ChoiceTile& ofAppearance = *shown.appearance.tiles()[0];
        ChoiceTile& ofGround = *shown.background.tiles()[1];
        ofAppearance.installEventFilter(&watcher);
        store("popoverBackground", "opaque");
        QTRY_VERIFY(watcher.painted.contains(QPoint(100, 12)));

        PaintWatcher other;
        ofGround.installEventFilter(&other);
        store("popoverAppearance", "dark");
        QTRY_VERIFY(other.painted.contains(QPoint(100, 12)));
        other.painted = {};
        QTest::qWait(50);
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QTRY_VERIFY(other.painted.contains(QPoint(100, 12)));
    }

    void nothingIsCutInTheSmallestWindow()
    {
        SettingsWindow w;
        w.view.resize(w.view.minimumSize());
        w.view.selectPage(SettingsPage::popovers);
        QTest::qWait(20);
        auto* page = qobject_cast<PopoversPage*>(w.view.pageWidget());
        QVERIFY(page);
        QCOMPARE(page->verticalScrollBar()->maximum(), 0);
        const QList<ChoiceTileRow*> rows = page->findChildren<ChoiceTileRow*>();
        for (const ChoiceTileRow* row : rows) {
            for (const ChoiceTile* tile : row->tiles()) {
                QVERIFY(row->rect().contains(tile->geometry()));
                QCOMPARE(tile->y(), row->tiles()[0]->y());
                QVERIFY(page->viewport()->rect().contains(
                    QRect(tile->mapTo(page->viewport(), QPoint(0, 0)), tile->size())));
            }
        }
        // In both rows the tiles are one below the other.
        QCOMPARE(rows[0]->tiles()[1]->x(), rows[1]->tiles()[1]->x());
    }

    void arrowsBringTheTileIntoViewThatTheyMoveTo()
    {
        Shown shown;
        // The window is so narrow that the tiles take two lines, and so low that only one line is visible.
        shown.page.resize(319, 180);
        QTest::qWait(20);
        const QList<ChoiceTile*> tiles = shown.appearance.tiles();
        const auto isInView = [&](int index) {
            return shown.page.viewport()->rect().contains(
                QRect(tiles[index]->mapTo(shown.page.viewport(), QPoint(0, 0)), tiles[index]->size()));
        };
        QVERIFY(tiles[2]->y() > tiles[1]->geometry().bottom());
        QVERIFY(isInView(0) && !isInView(2));
        QTest::mouseClick(tiles[1], Qt::LeftButton);
        QTest::keyClick(tiles[1], Qt::Key_Right);
        QVERIFY(tiles[2]->hasFocus());
        QVERIFY(isInView(2));
        QVERIFY(!isInView(1));
        QTest::keyClick(tiles[2], Qt::Key_Left);
        QVERIFY(isInView(1));
    }

    void textsFollowTheLanguageInThePicturesToo()
    {
        SettingsWindow w;
        w.view.selectPage(SettingsPage::popovers);
        QTest::qWait(20);
        const auto tile = [&w] { return w.view.findChild<ChoiceTileRow*>()->tiles()[0]; };
        QCOMPARE(tile()->text(), QStringLiteral("Light"));
        // The header's title.
        const QRect title(25, 12, 60, 14);
        const QImage english = tile()->grab(title).toImage();
        Setting { Keys::language }.set(QStringLiteral("de"));
        QTRY_COMPARE(tile()->text(), QStringLiteral("Hell"));
        QVERIFY(tile()->grab(title).toImage() != english);
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoversPageTest)
#include "PopoversPageTest.moc"
