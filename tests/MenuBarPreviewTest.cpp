#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Platform/SystemAppearance.h"
#include "tests/TestHome.h"

#include <QApplication>
#include <QImage>
#include <QTest>

using namespace kestrum;

class MenuBarPreviewTest : public QObject {
    Q_OBJECT

    static QImage picture(QWidget& widget)
    {
        QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        widget.render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }

private Q_SLOTS:
    void initTestCase() { SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults()); }

    void thePlateFollowsTheScheme_data()
    {
        QTest::addColumn<ColourScheme>("scheme");
        QTest::addColumn<QColor>("plate");
        QTest::newRow("light") << ColourScheme::light << QColor::fromRgbF(0.87F, 0.87F, 0.87F);
        QTest::newRow("dark") << ColourScheme::dark << QColor(0x3A3B3F);
    }

    void thePlateFollowsTheScheme()
    {
        QFETCH(ColourScheme, scheme);
        QFETCH(QColor, plate);
        SystemAppearance::shared().setScheme(scheme);
        MenuBarPreview preview;
        preview.resize(600, preview.sizeHint().height());
        const QImage image = picture(preview);
        QCOMPARE(image.pixelColor(40, 8).rgba(), plate.rgba());
        QCOMPARE(image.pixelColor(0, image.height() / 2).rgba(), plate.rgba());
    }

    void theCornersAreFourteenRound()
    {
        MenuBarPreview preview;
        preview.resize(600, preview.sizeHint().height());
        const QImage image = picture(preview);
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
        // On the diagonal the curve begins at 14 less 14/√2, which is 4.1.
        QVERIFY(image.pixelColor(3, 3).alpha() < 40);
        QVERIFY(image.pixelColor(4, 4).alpha() > 120);
        QVERIFY(image.pixelColor(10, 0).alpha() < 255);
        QCOMPARE(image.pixelColor(14, 0).alpha(), 255);
        QCOMPARE(image.pixelColor(599, 81).alpha(), 0);
    }

    void theItemsStandAtTheTrailingEndThirtyFromTheEdges_data()
    {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("left to right") << Qt::LeftToRight;
        QTest::newRow("right to left") << Qt::RightToLeft;
    }

    void theItemsStandAtTheTrailingEndThirtyFromTheEdges()
    {
        QFETCH(Qt::LayoutDirection, direction);
        MenuBarPreview preview;
        preview.setLayoutDirection(direction);
        preview.resize(600, preview.sizeHint().height());
        QCOMPARE(preview.height(), 22 + 2 * 30);
        picture(preview); // lays it out
        const MenuBarStripView& view = *preview.strip()->view();
        const QRectF row = view.widgetRect(QRectF(QPointF(0, 0), view.intrinsicContentSize()));
        const QRectF place = row.translated(view.mapTo(&preview, QPoint(0, 0)));
        QCOMPARE(place.top(), 30.0);
        QCOMPARE(place.bottom(), preview.height() - 30.0);
        if (direction == Qt::LeftToRight)
            QVERIFY(std::abs(place.right() - 570) < 1);
        else
            QCOMPARE(place.left(), 30.0);
        // The order of the items is the menu bar's, whatever the direction of writing.
        QCOMPARE(view.items().first().section, MonitorSection::storage);
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarPreviewTest)
#include "MenuBarPreviewTest.moc"
