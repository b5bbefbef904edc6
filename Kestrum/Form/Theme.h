// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QFont>
#include <QPalette>

namespace kestrum {

/// The window's look: all colours, sizes and text styles that more than one widget needs. Sizes are in layout points; the desktop's
/// scale converts them to pixels.
namespace Theme {

enum class Colour {
    window,
    sidebar,
    card,
    cardBorder,
    separator,
    text,
    secondaryText,
    sidebarSecondaryText, ///< dark enough for the sidebar's background
    accent,               ///< the desktop's accent, or the built-in one if the desktop has none
    selection, ///< background of selected and switched-on things: the accent, changed so that `onSelection` is readable on it
    focusRing, ///< the same colour as `selection`
    onSelection, ///< text on `selection`: white on the deep accents of the light scheme, dark on the light accents of the dark one
    inactiveSelection, ///< background of a selected row in an inactive window
    rowHovered,        ///< laid over a row under the pointer
    error,
    offer, ///< green: an update is available
    switchOff,
    switchKnob,
    switchOutline, ///< around the track and the knob of a switch that is off
    switchHovered, ///< laid over the track under the pointer; dark, so that the white knob stays visible
    switchPressed,
    button,
    buttonBorder,
    buttonHovered, ///< laid over a button under the pointer
    buttonPressed, ///< laid over a button that is held down
    segmentTrack,  ///< below the segments of a picker
    chosenSegment,
    segmentShade, ///< the edge below a chosen segment, so that the segment looks raised
    outline,      ///< border of a shown colour that may equal the background
    listBorder,   ///< around an open list
    scrollThumb,
    scrollThumbHovered,
    previewPlate,
};

/// The colour in the desktop's present scheme or in `scheme`.
QColor colour(Colour colour);
QColor colour(Colour colour, ColourScheme scheme);

/// The opaque colour that results from the translucent `colour` over `ground`. Use this function for tall shapes: QPainter fills
/// tall translucent areas on several threads, and the wait for them takes longer than the drawing.
QColor colourOn(Colour ground, Colour colour);
/// The opaque colour of an edge line that covers half a pixel of `inside` and half a pixel of `outside`.
QColor edgeColour(Colour inside, Colour outside, Colour edge);

/// The palette of this application's windows.
QPalette palette(ColourScheme scheme);

enum class TextStyle {
    body,
    heading,
    sidebarHeading,
    footnote,
    callout, ///< the bold first line of a row at the sidebar's foot
    caption, ///< the second line of that row
};

/// The desktop's font in the size and weight of `style`. A larger text scale or font size of the desktop enlarges the font, up to
/// 1.5 times.
QFont font(TextStyle style);

/// The height of buttons and pickers whose text is `textHeight` high.
int controlHeight(int textHeight = 0);

inline constexpr int pageMargin = 20;
inline constexpr int narrowPageMargin = 16;
inline constexpr int narrowPageWidth = 460; ///< pages below this width have the narrow margin
inline constexpr int maximumCardWidth = 620;
inline constexpr double cardRadius = 10;
inline constexpr int sectionGap = 20;
inline constexpr int headingGap = 8;
inline constexpr int footnoteGap = 6;
inline constexpr int rowInset = 12;    ///< of rows and of the separators between them
inline constexpr int pictureSize = 12; ///< of a picture before a title
inline constexpr int pictureGap = 8;   ///< between a picture and its title
inline constexpr double disabledOpacity = 0.45;
inline constexpr double focusRingWidth = 2;
inline constexpr double focusRingGap = 1;

} // namespace Theme
} // namespace kestrum
