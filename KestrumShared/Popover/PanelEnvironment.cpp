// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelEnvironment.h"

#include "KestrumShared/Raster/HeadingBlue.h"
#include "KestrumShared/Raster/LabelColour.h"

#include <QGuiApplication>

namespace kestrum {

QFont PanelEnvironment::systemFont(int size, QFont::Weight weight)
{
    QFont font(QGuiApplication::font().families());
    font.setPixelSize(size);
    font.setWeight(weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QColor PanelEnvironment::textColour() const
{
    return labelColour(scheme);
}

// The colours must be readable on the opaque light popover, which is darker than the background of a window.
QColor PanelEnvironment::secondaryTextColour() const
{
    return scheme == ColourScheme::dark ? QColor(0xB0, 0xB0, 0xB8) : QColor(0x4A, 0x4A, 0x50);
}

QColor PanelEnvironment::headerColour() const
{
    return headingBlue(scheme);
}

QColor PanelEnvironment::dividerColour() const
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(1, 1, 1, 0.16F) : QColor::fromRgbF(0, 0, 0, 0.14F);
}

QColor PanelEnvironment::ground() const
{
    if (background == PopoverBackground::opaque)
        return scheme == ColourScheme::dark ? QColor::fromRgbF(0.12F, 0.13F, 0.14F)
                                            : QColor::fromRgbF(0.78F, 0.80F, 0.82F);
    return scheme == ColourScheme::dark ? QColor(0x2F, 0x2F, 0x33) : QColor(0xDF, 0xDF, 0xE1);
}

QColor PanelEnvironment::readable(const QColor& colour, double) const
{
    return colour;
}

QRectF PanelEnvironment::fromLeading(const QRectF& bounds, double distance, double width) const
{
    const double left
        = direction == Qt::RightToLeft ? bounds.right() - distance - width : bounds.left() + distance;
    return { left, bounds.top(), width, bounds.height() };
}

} // namespace kestrum
