#include "Kestrum/MenuBar/ItemHeader.h"

#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Raster/HeadingBlue.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QBitmap>
#include <QPainter>
#include <QTest>

using namespace kestrum;

namespace {

constexpr int symbolBox = 20;

/// The header on the window's background.
QImage picture(ItemHeader& header, int scale = 1)
{
    header.resize(header.sizeHint() + QSize(40, 0));
    QImage image(header.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Theme::colour(Theme::Colour::window));
    header.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

/// The symbol alone, on the same background.
QImage symbol(const QString& name, const QColor& colour, int scale)
{
    const QImage plain = SymbolImage::image(name, 14, colour, scale);
    QImage image(plain.size(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Theme::colour(Theme::Colour::window));
    QPainter(&image).drawImage(0, 0, plain);
    // Cropped to the symbol's ink: its empty margins may reach beyond the header.
    return image.copy(QRegion(QBitmap::fromImage(plain.createAlphaMask())).boundingRect());
}

bool contains(const QImage& picture, const QImage& part)
{
    for (int y = 0; y + part.height() <= picture.height(); ++y) {
        for (int x = 0; x + part.width() <= picture.width(); ++x) {
            if (picture.copy(QRect(QPoint(x, y), part.size())) == part)
                return true;
        }
    }
    return false;
}

} // namespace

class ItemHeaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { SystemAppearance::shared().setScheme(ColourScheme::light); }

    void eachItemHasItsSymbolInTheHeadingsBlue_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QString>("name");
        QTest::newRow("CPU") << MonitorSection::cpu << QStringLiteral("cpu");
        QTest::newRow("memory") << MonitorSection::memory << QStringLiteral("memorychip");
        QTest::newRow("disk") << MonitorSection::storage << QStringLiteral("internaldrive");
        QTest::newRow("sensors") << MonitorSection::sensors << QStringLiteral("sensor");
    }

    void eachItemHasItsSymbolInTheHeadingsBlue()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QString, name);
        ItemHeader header(section, "CPU");
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
                Theme::contrast(headingBlue(scheme), Theme::colour(Theme::Colour::window, scheme)) >= 4.5);
    }

    void theSymbolLeadsAndTheTitleFollows_data()
    {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("left to right") << Qt::LeftToRight;
        QTest::newRow("right to left") << Qt::RightToLeft;
    }

    void theSymbolLeadsAndTheTitleFollows()
    {
        QFETCH(Qt::LayoutDirection, direction);
        const auto inkOf = [direction](const char* title) {
            ItemHeader header(MonitorSection::cpu, title);
            header.setLayoutDirection(direction);
            header.setFixedWidth(200);
            const QImage image = picture(header);
            QList<int> columns; // x positions, from the leading edge
            for (int x = 0; x < image.width(); ++x) {
                for (int y = 0; y < image.height(); ++y) {
                    if (image.pixelColor(x, y) != Theme::colour(Theme::Colour::window)) {
                        columns.append(direction == Qt::LeftToRight ? x : image.width() - 1 - x);
                        break;
                    }
                }
            }
            std::sort(columns.begin(), columns.end());
            return columns;
        };
        const QList<int> symbol = inkOf("");
        QVERIFY(symbol.first() >= 0);
        QVERIFY(symbol.last() <= symbolBox);
        const QList<int> both = inkOf("CPU");
        QCOMPARE(both.mid(0, symbol.size()), symbol);
        QVERIFY(both.size() > symbol.size());
        QVERIFY(both[symbol.size()] >= symbolBox + 4);
    }

    void itLooksAndIsReadAsAHeading()
    {
        ItemHeader header(MonitorSection::storage, "Disk");
        QCOMPARE(header.text(), QStringLiteral("Disk"));
        QCOMPARE(header.font(), Theme::font(Theme::TextStyle::heading));
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&header);
        QCOMPARE(accessible->role(), QAccessible::StaticText);
        QCOMPARE(accessible->text(QAccessible::Name), QStringLiteral("Disk"));
        QCOMPARE(accessible->childCount(), 0);
    }

    void aLongTitleWrapsAndIsShownAsItIs()
    {
        ItemHeader header(MonitorSection::storage, "<b>Disk</b> and all that belongs to it");
        QVERIFY(header.heightForWidth(120) > header.heightForWidth(600));
        const ItemHeader bold(MonitorSection::storage, "<b>Disk</b>");
        const ItemHeader plain(MonitorSection::storage, "Disk");
        QVERIFY(bold.sizeHint().width() > plain.sizeHint().width() + 20);
    }
};

KESTRUM_TEST_MAIN(QApplication, ItemHeaderTest)
#include "ItemHeaderTest.moc"
