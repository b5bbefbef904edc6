#include "Kestrum/Popovers/ChoiceTile.h"

#include "tests/Support/ControlWindow.h"
#include "tests/Support/HeardEvents.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TileWindow.h"

#include <QSignalSpy>

using namespace kestrum;

class ChoiceTileTest : public QObject {
    Q_OBJECT

    static inline const QString light = QStringLiteral("Light");

    static QImage picture(ChoiceTile& tile) { return pictureOf(tile, Qt::white, 2); }

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void theTitleStandsSixBelowThePicture()
    {
        const TileWindow w({ light });
        QFont font = Theme::font(Theme::TextStyle::caption);
        font.setWeight(QFont::DemiBold);
        QCOMPARE(w.tile(0).sizeHint().height(), 74 + 6 + QFontMetrics(font).height());
        QCOMPARE(w.tile(0).sizeHint().width(), 112);
    }

    void aTileIsAsWideAsItsTitleAndNotWiderWhenSelected()
    {
        const QString title = QStringLiteral("A title that is wider than the picture");
        TileWindow w({ title });
        ChoiceTile& tile = w.tile(0);
        QFont font = Theme::font(Theme::TextStyle::caption);
        font.setWeight(QFont::DemiBold);
        const QSize size = tile.sizeHint();
        QVERIFY(size.width() >= QFontMetrics(font).horizontalAdvance(title));
        tile.setSelected(true);
        QCOMPARE(tile.sizeHint(), size);
        // The picture stays in the middle.
        const QImage line = pictureOf(tile, Qt::white).copy(0, 37, size.width(), 1);
        QCOMPARE(pixelsOtherThan(line, Qt::white).place.left(), (size.width() - 112) / 2);
    }

    void thePictureIsCutToARoundedFrame()
    {
        TileWindow w({ light });
        const QImage image = picture(w.tile(0));
        // On the diagonal, a corner of radius 9 leaves 2.6 points empty, which is 5.3 pixels.
        for (const QPoint& corner : { QPoint(4, 4), QPoint(219, 4), QPoint(4, 143), QPoint(219, 143) })
            QCOMPARE(image.pixelColor(corner), QColor(Qt::white));
        for (const QPoint& edge : { QPoint(6, 6), QPoint(217, 6), QPoint(6, 141), QPoint(217, 141) })
            QVERIFY(image.pixelColor(edge).green() < 60);
        QCOMPARE(image.pixelColor(9, 9), QColor(Qt::red));
        QCOMPARE(image.pixelColor(112, 74), QColor(Qt::red));
        QCOMPARE(image.pixelColor(18, 3), QColor(Qt::red));
        // The picture reaches neither into the gap below nor behind the title.
        QCOMPARE(pixelsOtherThan(image.copy(0, 150, image.width(), 1), Qt::white).count, 0);
    }

    void theBorderTellsWhetherItIsSelected()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            TileWindow w({ light });
            ChoiceTile& tile = w.tile(0);
            const QColor faint
                = scheme == ColourScheme::dark ? QColor(242, 242, 244, 31) : QColor(29, 29, 31, 31);
            const QImage plain = picture(tile);
            for (const int x : { 0, 1, 222, 223 })
                QVERIFY_COLOUR(plain.pixelColor(x, 74), laidOver(faint, Qt::red));
            QCOMPARE(plain.pixelColor(2, 74), QColor(Qt::red));
            QVERIFY_COLOUR(plain.pixelColor(112, 147), laidOver(faint, Qt::red));

            tile.setSelected(true);
            const QImage selected = picture(tile);
            const QColor accent = Theme::colour(Theme::Colour::selection);
            for (const int x : { 0, 5, 218, 223 })
                QVERIFY_COLOUR(selected.pixelColor(x, 74), accent);
            QCOMPARE(selected.pixelColor(6, 74), QColor(Qt::red));
            QCOMPARE(selected.pixelColor(217, 74), QColor(Qt::red));
            QVERIFY_COLOUR(selected.pixelColor(112, 142), accent);
            QCOMPARE(selected.pixelColor(112, 141), QColor(Qt::red));
            QCOMPARE(selected.pixelColor(1, 1), QColor(Qt::white));
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void thePointerOverItShowsOnItsPictureAlone()
    {
        TileWindow w({ light });
        ChoiceTile& tile = w.tile(0);
        const auto middle = [&] { return picture(tile).pixelColor(112, 74); };
        const auto point = [&](QPoint place) {
            QTest::mouseMove(tile.window()->windowHandle(), tile.mapTo(tile.window(), place));
        };
        point({ 50, -5 });
        QTRY_VERIFY(!tile.underMouse());
        const QColor plain = middle();
        const QImage before = picture(tile);
        point({ 50, 30 });
        QTRY_VERIFY(middle() != plain);
        QCOMPARE(picture(tile).copy(0, 160, 224, 40), before.copy(0, 160, 224, 40));
        // A selected tile has its mark already, so hovering changes nothing.
        tile.setSelected(true);
        const QImage hovered = picture(tile);
        point({ 50, -5 });
        QTRY_VERIFY(!tile.underMouse());
        QCOMPARE(picture(tile), hovered);
    }

    void theTitleTellsWhetherItIsSelected()
    {
        TileWindow w({ QStringLiteral("HHHHHHHH") });
        ChoiceTile& tile = w.tile(0);
        const auto pixels = [&] {
            return PanelPixels(
                tile.size(), [&](QPainter& painter) { painter.drawImage(QPointF(0, 0), picture(tile)); });
        };
        const QRectF room(0, 80, 112, 40);
        const PanelPixels plain = pixels();
        tile.setSelected(true);
        const PanelPixels selected = pixels();
        const QColor primary = Theme::colour(Theme::Colour::text);
        const QColor secondary = Theme::colour(Theme::Colour::secondaryText);
        QVERIFY(plain.drawn(room, primary).isNull());
        QVERIFY(!plain.drawn(room, secondary).isNull());
        QVERIFY(!selected.drawn(room, primary).isNull());
        // Semibold text is wider; both texts are centred.
        QVERIFY(selected.drawn(room).width() > plain.drawn(room).width() + 1);
        QVERIFY(std::abs(plain.drawn(room).center().x() - 56) <= 1);
        QVERIFY(std::abs(selected.drawn(room).center().x() - 56) <= 1);
    }

    void aClickAnywhereInItsRectangleChooses()
    {
        TileWindow w({ light });
        ChoiceTile& tile = w.tile(0);
        QSignalSpy clicks(&tile, &ChoiceTile::clicked);
        const QRect rect = tile.rect();
        int expected = 0;
        for (const QPoint& place : { rect.topLeft(), rect.topRight(), rect.bottomLeft(), rect.bottomRight(),
                 rect.center(), QPoint(3, 77) }) {
            QTest::mouseClick(&tile, Qt::LeftButton, {}, place);
            QCOMPARE(clicks.size(), ++expected);
        }
        QTest::mouseClick(&tile, Qt::RightButton);
        QTest::mousePress(&tile, Qt::LeftButton);
        QTest::mouseRelease(&tile, Qt::LeftButton, {}, QPoint(-30, 10));
        QCOMPARE(clicks.size(), expected);
    }

    void spaceAndEnterChoose()
    {
        TileWindow w({ light });
        ChoiceTile& tile = w.tile(0);
        QSignalSpy clicks(&tile, &ChoiceTile::clicked);
        tile.setFocus();
        int expected = 0;
        for (const Qt::Key key : { Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter }) {
            QTest::keyClick(&tile, key);
            QCOMPARE(clicks.size(), ++expected);
        }
        QTest::keyClick(&tile, Qt::Key_A);
        QCOMPARE(clicks.size(), 3);
    }

    void itDoesNotSelectItself()
    {
        TileWindow w({ light });
        w.tile(0).click();
        QVERIFY(!w.tile(0).isSelected());
    }

    void assistiveProgramsSeeAButtonThatIsSelected()
    {
        TileWindow w({ light });
        ChoiceTile& tile = w.tile(0);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&tile);
        QCOMPARE(heard(accessible), QStringLiteral("Button Light"));
        QVERIFY(accessible->state().selectable && accessible->state().focusable);
        QVERIFY(!accessible->state().selected && !accessible->state().checked);
        tile.setSelected(true);
        QVERIFY(accessible->state().selected && accessible->state().checked);

        QSignalSpy clicks(&tile, &ChoiceTile::clicked);
        QAccessibleActionInterface* actions = accessible->actionInterface();
        QVERIFY(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
        actions->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(clicks.size(), 1);
        actions->doAction(QAccessibleActionInterface::setFocusAction());
        QVERIFY(tile.hasFocus());
        QVERIFY(accessible->state().focused);
    }

    void assistiveProgramsAreToldOfEachChangeAndOfNothingElse()
    {
        TileWindow w({ light, QStringLiteral("Dark") });
        const HeardEvents ears;
        const auto told = [&w](int tile) {
            const auto events = HeardEvents::taken(QAccessible::StateChanged);
            return events.size() == 1 && events[0].object == &w.tile(tile) && events[0].changed.selected
                && events[0].changed.checked;
        };
        w.tile(1).setSelected(true);
        QVERIFY(told(1));
        w.tile(1).setSelected(true);
        QCOMPARE(HeardEvents::taken(QAccessible::StateChanged).size(), 0);
        w.tile(1).setSelected(false);
        QVERIFY(told(1));
        w.tile(0).setSelected(false);
        QCOMPARE(HeardEvents::taken(QAccessible::StateChanged).size(), 0);
    }

    void theKeyboardMarksItAndThePointerDoesNot()
    {
        TileWindow w({ light, QStringLiteral("Dark") });
        QTest::mouseClick(&w.tile(0), Qt::LeftButton);
        QVERIFY(!w.ring());
        w.tile(0).setFocus();
        QTest::keyClick(&w.tile(0), Qt::Key_Tab);
        QVERIFY(w.tile(1).hasFocus());
        QVERIFY(w.ring());
        QVERIFY(w.ring()->geometry().contains(w.tile(1).geometry()));
        // The row leaves room for the mark.
        QVERIFY(w.row.rect().contains(w.ring()->geometry()));
    }
};

KESTRUM_TEST_MAIN(QApplication, ChoiceTileTest)
#include "ChoiceTileTest.moc"
