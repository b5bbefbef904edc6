// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelSymbol.h"

#include "KestrumShared/Popover/PixelGrid.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QHash>
#include <QImage>

namespace kestrum {
namespace {

/// The symbol's picture. A symbol is read from its file once: a header is drawn every second.
QImage picture(const PanelSymbol& symbol, double scale)
{
    static QHash<QString, QImage> kept;
    constexpr int most = 64;
    const QString key = QStringLiteral("%1 %2 %3 %4 %5")
                            .arg(symbol.name, symbol.colour.name(QColor::HexArgb))
                            .arg(symbol.pointSize)
                            .arg(scale)
                            .arg(symbol.isMirrored);
    const auto found = kept.constFind(key);
    if (found != kept.constEnd())
        return *found;
    if (kept.size() >= most)
        kept.clear();
    const QImage image = SymbolImage::image(symbol.name, symbol.pointSize, symbol.colour, scale);
    return *kept.insert(key, symbol.isMirrored ? image.mirrored(true, false) : image);
}

} // namespace

QSizeF PanelSymbol::size() const
{
    return SymbolImage::size(name, pointSize);
}

void PanelSymbol::draw(QPainter& painter, const QRectF& rect) const
{
    // The image is made for the device's scale and aligned with whole pixels, so that it is drawn sharply.
    const double scale = painter.deviceTransform().m11();
    const QImage image = picture(*this, scale);
    if (image.isNull())
        return;
    QRectF place(QPointF(0, 0), QSizeF(image.size()) / scale);
    place.moveCenter(rect.center());
    painter.drawImage(QRectF(PixelGrid::aligned(place, painter).topLeft(), place.size()), image);
}

} // namespace kestrum
