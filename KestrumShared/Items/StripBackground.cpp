// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StripBackground.h"

#include "KestrumShared/Raster/LabelColour.h"

#include <cmath>

namespace kestrum {

QColor StripBackground::plate(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor(0x3A3B3F) : QColor::fromRgbF(0.87F, 0.87F, 0.87F);
}

QColor StripBackground::backdrop(ColourScheme scheme)
{
    QColor colour = labelColour(scheme);
    colour.setAlphaF(0.14F);
    return colour;
}

double StripBackground::onPixel(double x, const QTransform& device)
{
    return (std::round(x * device.m11() + device.dx()) - device.dx()) / device.m11();
}

QRectF StripBackground::onPixels(QRectF rect, const QTransform& device)
{
    rect.setLeft(onPixel(rect.left(), device));
    rect.setRight(onPixel(rect.right(), device));
    return rect;
}

void StripBackground::drawBackdrop(QPainter& painter, const QRectF& ground, ColourScheme scheme)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(backdrop(scheme));
    painter.drawRoundedRect(onPixels(ground, painter.deviceTransform()), backdropRadius, backdropRadius);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void StripBackground::drawLifted(QPainter& painter, const QRectF& ground, ColourScheme scheme)
{
    const QRectF piece = onPixels(ground, painter.deviceTransform());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    // Several translucent layers make a soft shadow. Each layer is a little wider than the previous layer.
    QColor shadow(Qt::black);
    shadow.setAlphaF(scheme == ColourScheme::dark ? 0.22F : 0.11F);
    painter.setBrush(shadow);
    for (const double reach : { 0.5, 1.25, 2.0 })
        painter.drawRoundedRect(piece.adjusted(-reach, 1 - reach, reach, 1 + reach), backdropRadius + reach,
            backdropRadius + reach);
    painter.setBrush(plate(scheme));
    painter.drawRoundedRect(piece, backdropRadius, backdropRadius);
    drawBackdrop(painter, piece, scheme);
}

} // namespace kestrum
