// SPDX-License-Identifier: MIT
#include "Kestrum/Form/Theme.h"

#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Raster/Contrast.h"
#include "KestrumShared/Raster/LabelColour.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <algorithm>

namespace kestrum {

namespace {

struct Shades {
    QColor light;
    QColor dark;
};

QColor translucent(QColor colour, double alpha)
{
    colour.setAlphaF(float(alpha));
    return colour;
}

QColor translucent(int grey, double alpha)
{
    return translucent(QColor(grey, grey, grey), alpha);
}

Shades shades(Theme::Colour colour)
{
    using enum Theme::Colour;
    static const struct {
        Theme::Colour colour;
        Shades shades;
    } table[] = {
        { window, { QColor(0xF4F4F6), QColor(0x1E1F22) } },
        { sidebar, { QColor(0xE9E9ED), QColor(0x27282C) } },
        { card, { QColor(0xFFFFFF), QColor(0x2B2C30) } },
        { cardBorder, { translucent(0, 0.07), translucent(255, 0.07) } },
        { separator, { translucent(0, 0.08), translucent(255, 0.08) } },
        { text, { labelColour(ColourScheme::light), labelColour(ColourScheme::dark) } },
        { secondaryText, { QColor(0x6A6A70), QColor(0xA4A4AC) } },
        { sidebarSecondaryText, { QColor(0x66666C), QColor(0xA4A4AC) } },
        { accent, { QColor::fromRgbF(0.12F, 0.52F, 0.88F), QColor::fromRgbF(0.25F, 0.62F, 0.96F) } },
        { onSelection, { QColor(0xFFFFFF), labelColour(ColourScheme::light) } },
        { inactiveSelection, { translucent(0, 0.10), translucent(255, 0.12) } },
        { rowHovered, { translucent(0, 0.05), translucent(255, 0.06) } },
        { error, { QColor(0xC4322B), QColor(0xFF6B62) } },
        { offer, { QColor(0x248A3D), QColor(0x30D158) } },
        { switchOff, { translucent(QColor(0x787880), 0.24), translucent(QColor(0x787880), 0.36) } },
        { switchKnob, { QColor(0xFFFFFF), QColor(0xFFFFFF) } },
        { switchOutline, { QColor(0x7C7C84), QColor(0x7C7C84) } },
        { switchHovered, { translucent(0, 0.09), translucent(0, 0.12) } },
        { switchPressed, { translucent(0, 0.16), translucent(0, 0.20) } },
        { button, { QColor(0xFFFFFF), QColor(0x3A3B40) } },
        { buttonBorder, { translucent(0, 0.18), translucent(255, 0.08) } },
        { buttonHovered, { translucent(0, 0.04), translucent(255, 0.05) } },
        { buttonPressed, { translucent(0, 0.11), translucent(255, 0.12) } },
        { segmentTrack, { QColor(0xE3E3E8), QColor(0x1A1B1E) } },
        { chosenSegment, { QColor(0xFFFFFF), QColor(0x67676F) } },
        { segmentShade, { QColor(0x7C7C84), QColor(0x0E0F11) } },
        { outline, { QColor(0x7C7C84), QColor(0x8E8E96) } },
        { listBorder, { translucent(0, 0.18), translucent(255, 0.18) } },
        { scrollThumb, { translucent(0, 0.46), translucent(255, 0.40) } },
        { scrollThumbHovered, { translucent(0, 0.60), translucent(255, 0.56) } },
        { previewPlate,
            { StripBackground::plate(ColourScheme::light), StripBackground::plate(ColourScheme::dark) } },
    };
    // The table lacks `selection` and `focusRing`, which are made from the accent.
    static_assert(std::size(table) == size_t(previewPlate) + 1 - 2, "a colour lacks its shades");
    const bool isAccent = colour == selection || colour == focusRing;
    for (const auto& row : table) {
        if (row.colour == (isAccent ? accent : colour))
            return row.shades;
    }
    return {};
}

constexpr double readableContrast = 4.5;
constexpr double visibleContrast = 3;

/// Returns `accent`, changed as little as necessary to be visible on the preview's plate. Of all backgrounds in the window, the
/// plate is nearest to a medium grey, so the returned colour is visible on the others too.
QColor setOff(const QColor& accent, ColourScheme scheme)
{
    return Contrast::readable(
        accent, Theme::colour(Theme::Colour::previewPlate, scheme), visibleContrast, scheme);
}

/// Returns `accent`, changed as little as necessary so that texts and the white knob of a switch are visible on it.
QColor readable(QColor accent, ColourScheme scheme)
{
    const QColor ink = Theme::colour(Theme::Colour::onSelection, scheme);
    while (Contrast::ratio(ink, accent) < readableContrast)
        accent = Contrast::stepped(accent, scheme);
    const QColor knob = Theme::colour(Theme::Colour::switchKnob, scheme);
    while (Contrast::ratio(knob, accent) < visibleContrast)
        accent = Contrast::darker(accent);
    return accent;
}

} // namespace

QColor Theme::colour(Colour colour)
{
    return Theme::colour(colour, SystemAppearance::shared().scheme());
}

QColor Theme::colour(Colour colour, ColourScheme scheme)
{
    const Shades both = shades(colour);
    const QColor plain = scheme == ColourScheme::dark ? both.dark : both.light;
    if (colour != Colour::accent && colour != Colour::selection && colour != Colour::focusRing)
        return plain;
    // A desktop's accent can be any colour, also one that is hardly visible on the window's backgrounds.
    const auto& named = SystemAppearance::shared().accent();
    const QColor accent = named ? setOff(*named, scheme) : plain;
    return colour == Colour::accent ? accent : readable(setOff(accent, scheme), scheme);
}

QColor Theme::colourOn(Colour ground, Colour colour)
{
    return Contrast::laidOver(Theme::colour(colour), Theme::colour(ground));
}

QColor Theme::edgeColour(Colour inside, Colour outside, Colour edge)
{
    QColor half = Theme::colour(inside);
    half.setAlphaF(0.5F);
    return Contrast::laidOver(Theme::colour(edge), Contrast::laidOver(half, Theme::colour(outside)));
}

QPalette Theme::palette(ColourScheme scheme)
{
    const auto of = [scheme](Colour colour) { return Theme::colour(colour, scheme); };
    // Fusion derives the shades of its bevels from the button's colour.
    QPalette palette(of(Colour::card), of(Colour::window));
    for (const auto role :
        { QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText })
        palette.setColor(role, of(Colour::text));
    palette.setColor(QPalette::Base, of(Colour::card));
    palette.setColor(QPalette::ToolTipBase, of(Colour::card));
    palette.setColor(QPalette::PlaceholderText, of(Colour::secondaryText));
    palette.setColor(QPalette::BrightText, of(Colour::error));
    palette.setColor(QPalette::Highlight, of(Colour::selection));
    palette.setColor(QPalette::HighlightedText, of(Colour::onSelection));
    palette.setColor(QPalette::Link, of(Colour::accent));
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, of(Colour::secondaryText));
    return palette;
}

namespace {

constexpr int bodySize = 13; ///< in layout points

/// Font points per layout point. Layout points are pixels at 96 dpi. Font sizes are set in font points, which follow the text
/// scale of the desktop.
constexpr double fontPoints = 72.0 / 96.0;

/// The factor that adapts text sizes to the desktop's font, from 1 to 1.5. Below 1, texts would be hard to read; above 1.5, they
/// would not fit.
double textScale(const QFont& desktops)
{
    constexpr double largest = 1.5;
    const double points
        = desktops.pointSizeF() > 0 ? desktops.pointSizeF() : QFontInfo(desktops).pointSizeF();
    return std::clamp(points / (bodySize * fontPoints), 1.0, largest);
}

} // namespace

QFont Theme::font(TextStyle style)
{
    struct Shape {
        int size; ///< in layout points
        QFont::Weight weight;
    };
    // In the order of `TextStyle`.
    static constexpr Shape shapes[] = { { bodySize, QFont::Normal }, { bodySize, QFont::DemiBold },
        { 11, QFont::DemiBold }, { 11, QFont::Normal }, { 12, QFont::Bold }, { 11, QFont::Normal } };
    static_assert(std::size(shapes) == size_t(TextStyle::caption) + 1, "a style lacks its shape");
    const Shape& shape = shapes[size_t(style)];
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPointSizeF(shape.size * fontPoints * textScale(font));
    font.setWeight(shape.weight);
    return font;
}

int Theme::controlHeight(int textHeight)
{
    constexpr int least = 26;
    constexpr int room = 8; // above and below the text together
    return std::max(least, textHeight + room);
}

} // namespace kestrum
