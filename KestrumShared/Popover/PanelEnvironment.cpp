// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelEnvironment.h"

#include "KestrumShared/Popover/PopoverSurface.h"
#include "KestrumShared/Raster/Contrast.h"
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

QColor PanelEnvironment::trackColour() const
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(1, 1, 1, 0.09F) : QColor::fromRgbF(0, 0, 0, 0.07F);
}

QColor PanelEnvironment::ground() const
{
    return PopoverSurface::ground(background, scheme);
}

QColor PanelEnvironment::readable(const QColor& colour, double least) const
{
    return Contrast::readable(colour, ground(), least, scheme);
}

QRectF PanelEnvironment::plate(const QRectF& element)
{
    constexpr double buttonHeight = 20;
    return element.height() < buttonHeight ? element.marginsAdded({ 6, 3, 6, 3 }) : element;
}

void PanelEnvironment::drawPlate(QPainter& painter, const QRectF& element) const
{
    if (!isPointed(plate(element)))
        return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(trackColour());
    painter.drawRoundedRect(plate(element), plateRadius, plateRadius);
}

QRectF PanelEnvironment::fromLeading(const QRectF& bounds, double distance, double width) const
{
    const double left
        = direction == Qt::RightToLeft ? bounds.right() - distance - width : bounds.left() + distance;
    return { left, bounds.top(), width, bounds.height() };
}

} // namespace kestrum
