#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QFont>
#include <QPalette>

namespace kestrum {

/// The window's look: every colour, size and text style that more than one widget needs, stated once. Sizes
/// are in points of the layout, which the desktop's scale turns into pixels.
namespace Theme {

enum class Colour {
    window,
    sidebar,
    card,
    cardBorder,
    separator,
    text,
    secondaryText,
    sidebarSecondaryText, ///< dark enough for the sidebar's ground
    accent,               ///< the desktop's, else our own
    selection, ///< the accent as it shows: of what is selected, switched on or where the keyboard is; readable below `onSelection`
    focusRing, ///< the same
    onSelection, ///< white on the deep accents of the light scheme, dark on the light ones of the dark scheme
    inactiveSelection, ///< ground of what is selected in a window that is not active
    rowHovered,        ///< laid over what has no plate of its own, under the pointer
    error,
    offer, ///< the green of good news
    switchOff,
    switchKnob,
    switchOutline, ///< around the track and the knob of a switch that is off
    switchHovered, ///< laid over the track under the pointer: dark, or a white knob would not be seen on what is on
    switchPressed,
    button,
    buttonBorder,
    buttonHovered, ///< laid over a button under the pointer
    buttonPressed, ///< laid over a button that is held down
    segmentTrack,  ///< below the segments of a picker
    chosenSegment,
    segmentShade, ///< the edge below a chosen segment, which lifts it off the track
    outline,      ///< around a colour, which its ground alone would not show
    listBorder,   ///< around a list that has opened
    scrollThumb,
    scrollThumbHovered,
    previewPlate,
};

/// The colour in the scheme that the desktop has now, or in a given one.
QColor colour(Colour colour);
QColor colour(Colour colour, ColourScheme scheme);

/// The opaque colour that a translucent one makes on `ground`. For tall shapes, of many rows of pixels: the painter fills what is
/// translucent with the help of other threads, and waits for them longer than the drawing takes.
QColor colourOn(Colour ground, Colour colour);
/// The same for an edge, half of which lies on what it encloses and half on what is outside.
QColor edgeColour(Colour inside, Colour outside, Colour edge);

/// The contrast of two colours, 1 to 21; what is translucent is laid over the other first.
double contrast(const QColor& text, const QColor& ground);

/// What a window of ours and everything in it is painted with.
QPalette palette(ColourScheme scheme);

enum class TextStyle {
    body,
    heading,
    sidebarHeading,
    footnote,
    callout, ///< names what a row of the sidebar's foot is about, in bold
    caption, ///< the line below it
};

/// The desktop's font in the size and weight of `style`. Sizes follow the desktop's text scale, and the size of its font where that
/// is larger than ours, up to one and a half times.
QFont font(TextStyle style);

/// How high a control is that is pressed or opened: enough for its line of text, which may be of any height.
int controlHeight(int textHeight = 0);

inline constexpr int pageMargin = 20;
inline constexpr int narrowPageMargin = 16;
inline constexpr int narrowPageWidth = 460; ///< below it the narrow margin holds
inline constexpr int maximumCardWidth = 620;
inline constexpr double cardRadius = 10;
inline constexpr int sectionGap = 20;
inline constexpr int headingGap = 8;
inline constexpr int footnoteGap = 6;
inline constexpr int rowInset = 12;    ///< of rows and of the separators between them
inline constexpr int pictureSize = 12; ///< of a picture before a title
inline constexpr int pictureGap = 8;   ///< between the two
inline constexpr double disabledOpacity = 0.45;
inline constexpr double focusRingWidth = 2;
inline constexpr double focusRingGap = 1;

} // namespace Theme
} // namespace kestrum
