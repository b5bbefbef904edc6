#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Raster/Contrast.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QFontInfo>
#include <QGuiApplication>

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
    static double contrast(Colour colour, Colour ground, ColourScheme scheme)
    {
        return Contrast::ratio(Theme::colour(colour, scheme), Theme::colour(ground, scheme));
    }
private Q_SLOTS:
    void anOpaqueColourStandsForATranslucentOne()
    {
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            for (const Colour colour : { Colour::cardBorder, Colour::separator, Colour::scrollThumb }) {
                QImage pixel(1, 1, QImage::Format_ARGB32_Premultiplied);
                pixel.fill(Theme::colour(Colour::card));
                QPainter(&pixel).fillRect(0, 0, 1, 1, Theme::colour(colour));
                const QColor painted = pixel.pixelColor(0, 0);
                const QColor stated = Theme::colourOn(Colour::card, colour);
                QCOMPARE(stated.alpha(), 255);
                QVERIFY(PanelPixels::isNear(stated, painted, 1));
                QVERIFY(stated != Theme::colour(Colour::card));
            }
        }
    }

    void anOpaqueEdgeStandsForATranslucentOne()
    {
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
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
            QVERIFY(PanelPixels::isNear(opaque, translucent, 1));
        }
    }

    void whatIsDrawnStandsOutOfItsGround_data()
    {
        using enum Theme::Colour;
        constexpr double readable = 4.5;
        constexpr double visible = 3;
        addRows<Colour, Colour, double>({ { "text on the window", text, window, readable },
            { "text on a card", text, card, readable }, { "a row of the sidebar", text, sidebar, readable },
            { "secondary text on the window", secondaryText, window, readable },
            { "secondary text on a card", secondaryText, card, readable },
            { "secondary text of the sidebar", sidebarSecondaryText, sidebar, readable },
            { "the selected row's text", onSelection, selection, readable },
            { "an error on the window", error, window, readable }, { "a button", text, button, readable },
            { "a segment", text, segmentTrack, readable },
            { "the chosen segment", text, chosenSegment, readable },
            { "text on the preview's plate", text, previewPlate, readable },
            { "the selected row", selection, sidebar, visible }, { "the accent", accent, sidebar, visible },
            { "a scroll bar", scrollThumb, window, visible },
            { "a scroll bar under the pointer", scrollThumbHovered, window, visible },
            { "an offer", offer, sidebar, visible },
            { "the keyboard's place on the window", focusRing, window, visible },
            { "the keyboard's place in the sidebar", focusRing, sidebar, visible },
            { "the keyboard's place on a card", focusRing, card, visible },
            { "the keyboard's place on the preview's plate", focusRing, previewPlate, visible },
            { "the edge of a well's colour", outline, button, visible },
            { "a colour's edge on a card", outline, card, visible },
            { "the entry at hand", selection, card, visible },
            { "the tick of the entry chosen", text, card, visible },
            { "a picker's mark", text, button, visible } });
    }
    void whatIsDrawnStandsOutOfItsGround()
    {
        const auto [colour, ground, least] = thisRow<Colour, Colour, double>();
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark })
            QCOMPARE_GE(contrast(colour, ground, scheme), least);
    }

    // Either the segment's plate has enough contrast to the track, or the plate's shade has enough to plate and track.
    void theChosenSegmentStandsOutOfItsTrack()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor track = Theme::colour(Colour::segmentTrack, scheme);
            const QColor chip = Theme::colour(Colour::chosenSegment, scheme);
            const QColor shade = Theme::colour(Colour::segmentShade, scheme);
            const double edge = std::min(Contrast::ratio(shade, track), Contrast::ratio(shade, chip));
            QVERIFY(std::max(Contrast::ratio(chip, track), edge) >= 3);
            // The plate is lighter than the track, and the track is visible on its card.
            QVERIFY(chip.lightnessF() > track.lightnessF());
            QVERIFY(Contrast::ratio(track, Theme::colour(Colour::card, scheme)) >= 1.2);
        }
    }

    void textIsReadableOnEveryTint()
    {
        const std::pair<Colour, Colour> plates[] = { { Colour::button, Colour::buttonHovered },
            { Colour::button, Colour::buttonPressed }, { Colour::segmentTrack, Colour::buttonHovered },
            { Colour::segmentTrack, Colour::buttonPressed }, { Colour::sidebar, Colour::rowHovered },
            { Colour::sidebar, Colour::inactiveSelection } };
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor text = Theme::colour(Colour::text, scheme);
            for (const auto& [ground, over] : plates)
                QVERIFY(Contrast::ratio(text, laidOver(over, ground, scheme)) >= 4.5);
        }
    }

    void aSwitchUnderThePointerCanBeSeen()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            for (const Colour over : { Colour::switchHovered, Colour::switchPressed }) {
                const QColor track = laidOver(over, Colour::selection, scheme);
                QVERIFY(Contrast::ratio(Theme::colour(Colour::switchKnob, scheme), track) >= 3);
                QVERIFY(Contrast::ratio(track, Theme::colour(Colour::card, scheme)) >= 3);
                QVERIFY(Contrast::ratio(track, Theme::colour(Colour::sidebar, scheme)) >= 3);
            }
        }
    }

    void whatIsWrittenOnALightAccentIsDark()
    {
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QVERIFY(Theme::colour(Colour::onSelection).lightnessF() < 0.2F);
        // Because the text is dark, a light accent is hardly changed for the selection.
        QVERIFY(Contrast::ratio(Theme::colour(Colour::selection), Theme::colour(Colour::accent)) < 1.1);
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
        addRows<QColor>({ { "none", QColor() }, { "black", Qt::black }, { "white", Qt::white },
            { "grey", Qt::gray }, { "yellow", Qt::yellow }, { "red", Qt::red }, { "blue", Qt::blue },
            { "dark blue", Qt::darkBlue }, { "cyan", Qt::cyan } });
    }
    void everyAccentOfADesktopCanBeSeen()
    {
        const auto [accent] = thisRow<QColor>();
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(
                scheme, accent.isValid() ? std::optional(accent) : std::nullopt);
            QCOMPARE_GE(contrast(Colour::onSelection, Colour::selection, scheme), 4.5);
            QCOMPARE_GE(contrast(Colour::text, Colour::button, scheme), 4.5);
            QCOMPARE_GE(contrast(Colour::switchKnob, Colour::selection, scheme), 3);
            QCOMPARE_GE(contrast(Colour::switchOutline, Colour::switchKnob, scheme), 3);
            QCOMPARE_GE(contrast(Colour::accent, Colour::sidebar, scheme), 3);
            QCOMPARE_GE(contrast(Colour::focusRing, Colour::sidebar, scheme), 3);
            QCOMPARE_GE(contrast(Colour::focusRing, Colour::previewPlate, scheme), 3);
            for (const Colour ground : { Colour::card, Colour::window, Colour::sidebar }) {
                QCOMPARE_GE(contrast(Colour::selection, ground, scheme), 3);
                QCOMPARE_GE(contrast(Colour::switchOutline, ground, scheme), 3);
            }
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
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

    void everyColourHasShades()
    {
        for (int colour = 0; colour <= int(Colour::previewPlate); ++colour) {
            for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark })
                QVERIFY2(Theme::colour(Colour(colour), scheme).isValid(), QByteArray::number(colour));
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
