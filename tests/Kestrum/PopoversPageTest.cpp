#include "Kestrum/Popovers/PopoversPage.h"

#include "Kestrum/Form/Row.h"
#include "Kestrum/Popovers/ChoiceTileRow.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/Programs.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QScrollBar>

using namespace kestrum;

class PopoversPageTest : public QObject {
    Q_OBJECT

    static inline const QColor opaqueDark { 31, 33, 36 };
    static inline const QColor opaqueLight { 199, 204, 209 };

    static void store(const char* key, const char* text)
    {
        SharedSettings::store().set(key, QString::fromUtf8(text));
    }

    /// The page in a window, as wide as in the smallest settings window.
    struct Shown {
        PopoversPage page;
        QList<ChoiceTileRow*> rows = page.findChildren<ChoiceTileRow*>();
        const ChoiceTileRow& appearance = *rows[0];
        const ChoiceTileRow& background = *rows[1];

        Shown()
        {
            page.resize(436, 480);
            activate(page);
        }

        /// The colour at `place` in the picture of a tile; by default, a place on the popover that the tile shows.
        static QColor panel(const ChoiceTileRow& row, int index, const QPoint& place = { 100, 12 })
        {
            return row.tiles()[index]->grab().toImage().pixelColor(place);
        }
        /// Whether a tile is in view as a whole.
        static bool isInView(const QScrollArea& page, const ChoiceTile& tile)
        {
            return page.viewport()->rect().contains(
                QRect(tile.mapTo(page.viewport(), QPoint(0, 0)), tile.size()));
        }
    };

    /// The texts that can be seen, in the order of the widgets.
    template <class Widget> static QString textsOf(const QWidget& part)
    {
        QStringList texts;
        for (const Widget* widget : part.findChildren<Widget*>()) {
            if (widget->isVisible())
                texts.append(widget->text());
        }
        return texts.join(u'|');
    }

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
        QCOMPARE(textsOf<QLabel>(shown.appearance), QStringLiteral("Appearance"));
        QCOMPARE(textsOf<ChoiceTile>(shown.appearance), QStringLiteral("Light|Dark|System"));
        QCOMPARE(textsOf<QLabel>(shown.background), QStringLiteral("Background"));
        QCOMPARE(textsOf<ChoiceTile>(shown.background), QStringLiteral("Translucent|Opaque"));

        const QList<Card*> cards = shown.page.findChildren<Card*>();
        QCOMPARE(cards.size(), 2);
        QVERIFY(cards[0]->isAncestorOf(shown.rows[0]) && cards[0]->isAncestorOf(shown.rows[1]));
        // The card has no heading of its own.
        QCOMPARE(textsOf<QLabel>(*cards[0]), QStringLiteral("Appearance|Background"));
        QCOMPARE(textsOf<QLabel>(*cards[1]), QStringLiteral("Themes|Coming soon"));
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
        const auto text = [](const char* value) { return QJsonValue(QString::fromUtf8(value)); };
        const QJsonValue absent(QJsonValue::Undefined);
        addRows<QJsonValue, QJsonValue, int, int>(
            { { "absent", absent, absent, 2, 0 }, { "light, opaque", text("light"), text("opaque"), 0, 1 },
                { "dark, translucent", text("dark"), text("translucent"), 1, 0 },
                { "system", text("system"), absent, 2, 0 },
                { "texts that are no choices", text("Dark"), text("glass"), -1, -1 },
                { "empty texts", text(""), text(""), -1, -1 }, { "no texts", 1, true, 2, 0 } });
    }
    void theStoredChoicesAreSelected()
    {
        const auto [appearance, background, appearanceIndex, backgroundIndex]
            = thisRow<QJsonValue, QJsonValue, int, int>();
        if (!appearance.isUndefined())
            SharedSettings::store().set("popoverAppearance", appearance);
        if (!background.isUndefined())
            SharedSettings::store().set("popoverBackground", background);
        const Shown shown;
        QCOMPARE(shown.appearance.index(), appearanceIndex);
        QCOMPARE(shown.background.index(), backgroundIndex);
        // Showing the page stores nothing.
        QCOMPARE(FormHand::stored("popoverAppearance"), appearance);
        QCOMPARE(FormHand::stored("popoverBackground"), background);
    }

    void aClickStoresTheChoice_data()
    {
        addRows<int, int, QByteArray>({ { "light", 0, 0, "popoverAppearance" },
            { "dark", 0, 1, "popoverAppearance" }, { "system", 0, 2, "popoverAppearance" },
            { "translucent", 1, 0, "popoverBackground" }, { "opaque", 1, 1, "popoverBackground" } });
    }
    void aClickStoresTheChoice()
    {
        const auto [row, tile, key] = thisRow<int, int, QByteArray>();
        // The row starts from a stored text that is no choice.
        store(key, "nonsense");
        const Shown shown;
        QTest::mouseClick(shown.rows[row]->tiles()[tile], Qt::LeftButton);
        QCOMPARE(storedText(key), QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(shown.rows[row]->index(), tile);
        // The other key is still not stored.
        QCOMPARE(SharedSettings::store().storedDictionary().size(), 1);
    }

    void aClickOnTheTileSelectedStoresItsValueAgainAndChangesNothing()
    {
        const Shown shown;
        const QImage before = shown.rows[0]->grab().toImage();
        for (int i = 0; i < 2; ++i) {
            QTest::mouseClick(shown.appearance.tiles()[2], Qt::LeftButton);
            QCOMPARE(storedText("popoverAppearance"), QStringLiteral("system"));
            QCOMPARE(shown.appearance.index(), 2);
            QCOMPARE(shown.rows[0]->grab().toImage(), before);
        }
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
        addRows<QString, bool, bool>({ { "light", "light", false, false }, { "dark", "dark", true, true },
            { "system", "system", false, true }, { "another case of letters", "Dark", false, true },
            { "another text", "sepia", false, true }, { "empty", "", false, true } });
    }
    void thePreviewsSchemeIsTheChosenOneElseTheWindows()
    {
        const auto [stored, isDarkInLight, isDarkInDark] = thisRow<QString, bool, bool>();
        SharedSettings::store().set("popoverAppearance", stored);
        QCOMPARE(PopoversPage::previewScheme() == ColourScheme::dark, isDarkInLight);
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QCOMPARE(PopoversPage::previewScheme() == ColourScheme::dark, isDarkInDark);
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
        other.painted = {};
        QTest::qWait(50);
        store("memoryAccent", "purple");
        QTRY_VERIFY(other.painted.contains(QPoint(100, 12)));
    }

    void nothingIsCutInTheSmallestWindow()
    {
        SettingsWindow w;
        w.view.resize(w.view.minimumSize());
        w.view.selectPage(SettingsPage::popovers);
        settle();
        auto* page = qobject_cast<PopoversPage*>(w.view.pageWidget());
        QVERIFY(page);
        QCOMPARE(page->verticalScrollBar()->maximum(), 0);
        const QList<ChoiceTileRow*> rows = page->findChildren<ChoiceTileRow*>();
        for (const ChoiceTileRow* row : rows) {
            for (const ChoiceTile* tile : row->tiles()) {
                QVERIFY(row->rect().contains(tile->geometry()));
                QCOMPARE(tile->y(), row->tiles()[0]->y());
                QVERIFY(Shown::isInView(*page, *tile));
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
        settle();
        const QList<ChoiceTile*> tiles = shown.appearance.tiles();
        const auto isInView = [&](int index) { return Shown::isInView(shown.page, *tiles[index]); };
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
        settle();
        const auto tile = [&w] { return w.view.findChild<ChoiceTileRow*>()->tiles()[0]; };
        QCOMPARE(tile()->text(), QStringLiteral("Light"));
        // The rectangle of the header's title.
        const QRect title(25, 12, 60, 14);
        const QImage english = tile()->grab(title).toImage();
        SettingsWindow::speak("de");
        QTRY_COMPARE(tile()->text(), QStringLiteral("Hell"));
        QVERIFY(tile()->grab(title).toImage() != english);
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoversPageTest)
#include "PopoversPageTest.moc"
