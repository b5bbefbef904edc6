#include "Kestrum/MenuBar/ItemHeader.h"

#include "KestrumShared/Raster/Contrast.h"
#include "KestrumShared/Raster/HeadingBlue.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Widgets.h"

#include <QBitmap>
#include <QPainter>

using namespace kestrum;

class ItemHeaderTest : public QObject {
    Q_OBJECT

    static constexpr int symbolBox = 20;

    /// The header on the window's background.
    static QImage picture(ItemHeader& header, int scale = 1)
    {
        header.resize(header.sizeHint() + QSize(40, 0));
        return pictureOf(header, Theme::colour(Theme::Colour::window), scale);
    }

    /// The symbol alone, on the same background.
    static QImage symbol(const QString& name, const QColor& colour, int scale)
    {
        const QImage plain = SymbolImage::image(name, 14, colour, scale);
        QImage image(plain.size(), QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        image.fill(Theme::colour(Theme::Colour::window));
        QPainter(&image).drawImage(0, 0, plain);
        // Crop to the symbol's ink, because the empty margins may reach beyond the header.
        return image.copy(QRegion(QBitmap::fromImage(plain.createAlphaMask())).boundingRect());
    }

    static bool contains(const QImage& picture, const QImage& part)
    {
        for (int y = 0; y + part.height() <= picture.height(); ++y) {
            for (int x = 0; x + part.width() <= picture.width(); ++x) {
                if (picture.copy(QRect(QPoint(x, y), part.size())) == part)
                    return true;
            }
        }
        return false;
    }

private Q_SLOTS:
    void init() { SystemAppearance::shared().setScheme(ColourScheme::light); }

    void eachItemHasItsSymbolInTheHeadingsBlue_data()
    {
        addRows<MonitorSection, QString>(
            { { "CPU", MonitorSection::cpu, "cpu" }, { "memory", MonitorSection::memory, "memorychip" },
                { "disk", MonitorSection::storage, "internaldrive" },
                { "sensors", MonitorSection::sensors, "sensor" } });
    }
    void eachItemHasItsSymbolInTheHeadingsBlue()
    {
        const auto [section, name] = thisRow<MonitorSection, QString>();
        ItemHeader header(section, QStringLiteral("CPU"));
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            for (const int scale : { 1, 2 })
                QVERIFY(contains(picture(header, scale), symbol(name, headingBlue(scheme), scale)));
        }
    }

    void theBlueIsTheSchemes()
    {
        QCOMPARE(headingBlue(ColourScheme::light).rgba(), QColor::fromRgbF(0.05F, 0.38F, 0.72F).rgba());
        QCOMPARE(headingBlue(ColourScheme::dark).rgba(), QColor::fromRgbF(0.39F, 0.70F, 1.0F).rgba());
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark })
            QVERIFY(
                Contrast::ratio(headingBlue(scheme), Theme::colour(Theme::Colour::window, scheme)) >= 4.5);
    }

    void theSymbolLeadsAndTheTitleFollows_data() { addDirections(); }
    void theSymbolLeadsAndTheTitleFollows()
    {
        const Qt::LayoutDirection direction = std::get<0>(thisRow<Qt::LayoutDirection>());
        // A picture of the header, mirrored so that the leading edge is at the left.
        const auto drawn = [direction](const QString& title) {
            ItemHeader header(MonitorSection::cpu, title);
            header.setLayoutDirection(direction);
            header.setFixedSize(200, 30);
            return picture(header).mirrored(direction == Qt::RightToLeft, false);
        };
        const QColor ground = Theme::colour(Theme::Colour::window);
        const QImage symbol = drawn({});
        const QRect symbolPlace = pixelsOtherThan(symbol, ground).place;
        QVERIFY(!symbolPlace.isNull());
        QCOMPARE_LE(symbolPlace.right(), symbolBox);
        const QImage both = drawn(QStringLiteral("CPU"));
        const QRect leading(0, 0, symbolPlace.right() + 1, both.height());
        QCOMPARE(both.copy(leading), symbol.copy(leading));
        const QRect following(leading.right() + 1, 0, both.width(), both.height());
        const QRect title = pixelsOtherThan(both.copy(following & both.rect()), ground).place;
        QVERIFY(!title.isNull());
        QCOMPARE_GE(following.left() + title.left(), symbolBox + 4);
    }

    void itLooksAndIsReadAsAHeading()
    {
        ItemHeader header(MonitorSection::storage, QStringLiteral("Disk"));
        QCOMPARE(header.text(), QStringLiteral("Disk"));
        QCOMPARE(header.font(), Theme::font(Theme::TextStyle::heading));
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&header);
        QCOMPARE(heard(accessible), QStringLiteral("StaticText Disk"));
        QCOMPARE(accessible->childCount(), 0);
    }

    void aLongTitleWrapsAndIsShownAsItIs()
    {
        const QString bolder = QStringLiteral("<b>Disk</b>");
        ItemHeader header(MonitorSection::storage, bolder + QStringLiteral(" and all that belongs to it"));
        QVERIFY(header.heightForWidth(120) > header.heightForWidth(600));
        const ItemHeader bold(MonitorSection::storage, bolder);
        const ItemHeader plain(MonitorSection::storage, QStringLiteral("Disk"));
        QVERIFY(bold.sizeHint().width() > plain.sizeHint().width() + 20);
    }
};

KESTRUM_TEST_MAIN(QApplication, ItemHeaderTest)
#include "ItemHeaderTest.moc"
