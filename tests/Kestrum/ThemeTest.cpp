#include "Kestrum/Form/Theme.h"
#include "tests/Support/TestHome.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

using namespace kestrum;
using Theme::Colour;

class ThemeTest : public QObject {
    Q_OBJECT

    /// The colour that results from a translucent colour over `ground`.
    static QColor laidOver(Colour over, Colour ground, ColourScheme scheme)
    {
        QImage picture(1, 1, QImage::Format_RGB32);
        picture.fill(Theme::colour(ground, scheme));
        QPainter(&picture).fillRect(picture.rect(), Theme::colour(over, scheme));
        return picture.pixelColor(0, 0);
    }

private Q_SLOTS:
    void contrastIsMeasuredAsTheGuidelinesDo()
    {
        QCOMPARE(Theme::contrast(Qt::white, Qt::black), 21.0);
        QCOMPARE(Theme::contrast(Qt::red, Qt::red), 1.0);
        // A known pair: the lightest grey with a contrast of 4.5 on white.
        QVERIFY(std::abs(Theme::contrast(QColor(0x767676), Qt::white) - 4.54) < 0.01);
        QCOMPARE(Theme::contrast(QColor(0, 0, 0, 0), Qt::white), 1.0);
    }

    void anOpaqueColourStandsForATranslucentOne()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            for (const Colour colour : { Colour::cardBorder, Colour::separator, Colour::scrollThumb }) {
                QImage pixel(1, 1, QImage::Format_ARGB32_Premultiplied);
                pixel.fill(Theme::colour(Colour::card));
                QPainter(&pixel).fillRect(0, 0, 1, 1, Theme::colour(colour));
                const QColor painted = pixel.pixelColor(0, 0);
                const QColor stated = Theme::colourOn(Colour::card, colour);
                QCOMPARE(stated.alpha(), 255);
                QVERIFY(std::abs(stated.red() - painted.red()) <= 1);
                QVERIFY(std::abs(stated.green() - painted.green()) <= 1);
                QVERIFY(std::abs(stated.blue() - painted.blue()) <= 1);
                QVERIFY(stated != Theme::colour(Colour::card));
            }
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void anOpaqueEdgeStandsForATranslucentOne()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            const auto painted = [](const QColor& edge) {
                QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
                image.fill(Theme::colour(Colour::window));
                QPainter painter(&image);
                painter.setRenderHint(QPainter::Antialiasing);
                painter.setPen(edge);
                painter.setBrush(Theme::colour(Colour::card));
                painter.drawRoundedRect(QRectF(5.5, 5.5, 29, 29), 8, 8);
                return image.pixelColor(5, 20);
            };
            const QColor translucent = painted(Theme::colour(Colour::cardBorder));
            const QColor opaque
                = painted(Theme::edgeColour(Colour::card, Colour::window, Colour::cardBorder));
            QVERIFY(std::abs(opaque.red() - translucent.red()) <= 1);
            QVERIFY(std::abs(opaque.green() - translucent.green()) <= 1);
            QVERIFY(std::abs(opaque.blue() - translucent.blue()) <= 1);
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void textIsReadableOnItsGround_data()
    {
        QTest::addColumn<Colour>("text");
        QTest::addColumn<Colour>("ground");
        QTest::newRow("text on the window") << Colour::text << Colour::window;
        QTest::newRow("text on a card") << Colour::text << Colour::card;
        QTest::newRow("a row of the sidebar") << Colour::text << Colour::sidebar;
        QTest::newRow("secondary text on the window") << Colour::secondaryText << Colour::window;
        QTest::newRow("secondary text on a card") << Colour::secondaryText << Colour::card;
        QTest::newRow("secondary text of the sidebar") << Colour::sidebarSecondaryText << Colour::sidebar;
        QTest::newRow("the selected row") << Colour::onSelection << Colour::selection;
        QTest::newRow("an error on the window") << Colour::error << Colour::window;
        QTest::newRow("a button") << Colour::text << Colour::button;
        QTest::newRow("a segment") << Colour::text << Colour::segmentTrack;
        QTest::newRow("the chosen segment") << Colour::text << Colour::chosenSegment;
        QTest::newRow("text on the preview's plate") << Colour::text << Colour::previewPlate;
    }

    void textIsReadableOnItsGround()
    {
        QFETCH(Colour, text);
        QFETCH(Colour, ground);
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const double contrast
                = Theme::contrast(Theme::colour(text, scheme), Theme::colour(ground, scheme));
            QVERIFY2(contrast >= 4.5, qPrintable(QString::number(contrast)));
        }
    }

    void whatIsSelectedStandsOut()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor sidebar = Theme::colour(Colour::sidebar, scheme);
            QVERIFY(Theme::contrast(Theme::colour(Colour::selection, scheme), sidebar) >= 3);
            QVERIFY(Theme::contrast(Theme::colour(Colour::accent, scheme), sidebar) >= 3);
            const QColor window = Theme::colour(Colour::window, scheme);
            QVERIFY(Theme::contrast(Theme::colour(Colour::scrollThumb, scheme), window) >= 3);
            QVERIFY(Theme::contrast(Theme::colour(Colour::scrollThumbHovered, scheme), window) >= 3);
            QVERIFY(Theme::contrast(Theme::colour(Colour::offer, scheme), sidebar) >= 3);
            for (const Colour ground :
                { Colour::window, Colour::sidebar, Colour::card, Colour::previewPlate })
                QVERIFY(
                    Theme::contrast(Theme::colour(Colour::focusRing, scheme), Theme::colour(ground, scheme))
                    >= 3);
        }
    }

    void statesOfControlsCanBeSeen_data()
    {
        QTest::addColumn<Colour>("mark");
        QTest::addColumn<Colour>("ground");
        QTest::newRow("the edge of a well's colour") << Colour::outline << Colour::button;
        QTest::newRow("a colour's edge on a card") << Colour::outline << Colour::card;
        QTest::newRow("the entry at hand") << Colour::selection << Colour::card;
        QTest::newRow("the tick of the entry chosen") << Colour::text << Colour::card;
        QTest::newRow("a picker's mark") << Colour::text << Colour::button;
    }

    void statesOfControlsCanBeSeen()
    {
        QFETCH(Colour, mark);
        QFETCH(Colour, ground);
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const double contrast
                = Theme::contrast(Theme::colour(mark, scheme), Theme::colour(ground, scheme));
            QVERIFY2(contrast >= 3, qPrintable(QString::number(contrast)));
        }
    }

    // Either the plate has enough contrast to the track, or the plate's shade has enough contrast to both.
    void theChosenSegmentStandsOutOfItsTrack()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor track = Theme::colour(Colour::segmentTrack, scheme);
            const QColor chip = Theme::colour(Colour::chosenSegment, scheme);
            const QColor shade = Theme::colour(Colour::segmentShade, scheme);
            const double edge = std::min(Theme::contrast(shade, track), Theme::contrast(shade, chip));
            QVERIFY(std::max(Theme::contrast(chip, track), edge) >= 3);
            // The plate is lighter than the track, and the track is visible on its card.
            QVERIFY(chip.lightnessF() > track.lightnessF());
            QVERIFY(Theme::contrast(track, Theme::colour(Colour::card, scheme)) >= 1.2);
        }
    }

    void textIsReadableOnWhatIsHoveredOrPressed()
    {
        const std::pair<Colour, Colour> plates[] = { { Colour::button, Colour::buttonHovered },
            { Colour::button, Colour::buttonPressed }, { Colour::segmentTrack, Colour::buttonHovered },
            { Colour::segmentTrack, Colour::buttonPressed }, { Colour::sidebar, Colour::rowHovered } };
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor text = Theme::colour(Colour::text, scheme);
            for (const auto& [ground, over] : plates)
                QVERIFY(Theme::contrast(text, laidOver(over, ground, scheme)) >= 4.5);
        }
    }

    void aSwitchUnderThePointerCanBeSeen()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            for (const Colour over : { Colour::switchHovered, Colour::switchPressed }) {
                const QColor track = laidOver(over, Colour::selection, scheme);
                QVERIFY(Theme::contrast(Theme::colour(Colour::switchKnob, scheme), track) >= 3);
                QVERIFY(Theme::contrast(track, Theme::colour(Colour::card, scheme)) >= 3);
                QVERIFY(Theme::contrast(track, Theme::colour(Colour::sidebar, scheme)) >= 3);
            }
        }
    }

    void whatIsWrittenOnALightAccentIsDark()
    {
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QVERIFY(Theme::colour(Colour::onSelection).lightnessF() < 0.2F);
        // A light accent therefore needs hardly any darkening for the selection, or none.
        QVERIFY(Theme::contrast(Theme::colour(Colour::selection), Theme::colour(Colour::accent)) < 1.1);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QVERIFY(Theme::colour(Colour::onSelection).lightnessF() > 0.8F);
    }

    void theAccentIsTheDesktopsWhereItNamesOne()
    {
        const QColor purple(0x8F, 0x3F, 0xAF);
        SystemAppearance::shared().setScheme(ColourScheme::light, purple);
        QCOMPARE(Theme::colour(Colour::accent), purple);
        QCOMPARE(Theme::colour(Colour::focusRing), purple);
        QCOMPARE(Theme::colour(Colour::selection), purple);
        QCOMPARE(Theme::palette(ColourScheme::light).color(QPalette::Highlight), purple);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QCOMPARE(Theme::colour(Colour::accent), QColor::fromRgbF(0.12F, 0.52F, 0.88F));
    }

    void everyAccentOfADesktopCanBeSeen_data()
    {
        QTest::addColumn<QColor>("accent");
        for (const Qt::GlobalColor accent :
            { Qt::black, Qt::white, Qt::gray, Qt::yellow, Qt::red, Qt::blue, Qt::darkBlue, Qt::cyan })
            QTest::addRow("%s", qPrintable(QColor(accent).name())) << QColor(accent);
    }

    void everyAccentOfADesktopCanBeSeen()
    {
        QFETCH(QColor, accent);
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme, accent);
            for (const Colour mark : { Colour::accent, Colour::focusRing, Colour::selection })
                QVERIFY(Theme::contrast(Theme::colour(mark), Theme::colour(Colour::sidebar)) >= 3);
            QVERIFY(
                Theme::contrast(Theme::colour(Colour::onSelection), Theme::colour(Colour::selection)) >= 4.5);
            QVERIFY(
                Theme::contrast(Theme::colour(Colour::focusRing), Theme::colour(Colour::previewPlate)) >= 3);
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void theTextOfTheInactiveSelectionIsReadable()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor ground = laidOver(Colour::inactiveSelection, Colour::sidebar, scheme);
            QVERIFY(Theme::contrast(Theme::colour(Colour::text, scheme), ground) >= 4.5);
        }
    }

    void theSelectionKeepsTheAccentsHue()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor accent = Theme::colour(Colour::accent, scheme);
            const QColor selection = Theme::colour(Colour::selection, scheme);
            QVERIFY(std::abs(accent.hsvHueF() - selection.hsvHueF()) < 0.01F);
            QVERIFY(selection.valueF() <= accent.valueF());
        }
    }

    void thePaletteIsTheTables()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QPalette palette = Theme::palette(scheme);
            for (const auto group : { QPalette::Active, QPalette::Inactive }) {
                QCOMPARE(palette.color(group, QPalette::Window), Theme::colour(Colour::window, scheme));
                QCOMPARE(palette.color(group, QPalette::WindowText), Theme::colour(Colour::text, scheme));
                QCOMPARE(palette.color(group, QPalette::Base), Theme::colour(Colour::card, scheme));
                QCOMPARE(palette.color(group, QPalette::Highlight), Theme::colour(Colour::selection, scheme));
            }
        }
    }

    void coloursFollowTheDesktopsScheme()
    {
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QCOMPARE(Theme::colour(Colour::window), QColor(0x1E1F22));
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QCOMPARE(Theme::colour(Colour::window), QColor(0xF4F4F6));
    }

    void textSizesAreOfTheDesktopsFont()
    {
        using Theme::TextStyle;
        const QString family = QFontInfo(QGuiApplication::font()).family();
        for (const auto style : { TextStyle::body, TextStyle::heading, TextStyle::sidebarHeading,
                 TextStyle::footnote, TextStyle::callout, TextStyle::caption })
            QCOMPARE(QFontInfo(Theme::font(style)).family(), family);
        QCOMPARE(Theme::font(TextStyle::body).pointSizeF(), 13 * 0.75);
        QCOMPARE(Theme::font(TextStyle::footnote).pointSizeF(), 11 * 0.75);
        QCOMPARE(Theme::font(TextStyle::heading).weight(), QFont::DemiBold);
        QCOMPARE(Theme::font(TextStyle::callout).pointSizeF(), 12 * 0.75);
        QCOMPARE(Theme::font(TextStyle::callout).weight(), QFont::Bold);
        QCOMPARE(Theme::font(TextStyle::caption).pointSizeF(), 11 * 0.75);
        QCOMPARE(Theme::font(TextStyle::caption).weight(), QFont::Normal);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ThemeTest)
#include "ThemeTest.moc"
