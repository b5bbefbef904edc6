// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/CompactHeader.h"

#include "KestrumShared/Popover/PanelText.h"
#include "KestrumShared/Popover/PixelGrid.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QFontInfo>
#include <QTransform>

namespace kestrum {
namespace {

constexpr double headerHeight = 38;
constexpr double padding = 12;  ///< at every edge
constexpr double symbolGap = 8; ///< between symbol and title
constexpr int titleSize = 12;

} // namespace

double CompactHeader::height(const PanelEnvironment&) const
{
    return headerHeight;
}

void CompactHeader::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const QRectF content = rect.adjusted(padding, padding, -padding, -padding);
    const double symbolSize = QFontInfo(environment.font).pixelSize();
    const QSizeF symbol = SymbolImage::size(icon, symbolSize);
    if (!symbol.isEmpty()) {
        QRectF place = environment.fromLeading(content, 0, symbol.width());
        place.setTop(place.center().y() - symbol.height() / 2);
        place.setHeight(symbol.height());
        // The image is made for the device's scale and aligned with whole pixels, so that it is drawn sharply.
        const double scale = painter.deviceTransform().m11();
        const QImage image = SymbolImage::image(icon, symbolSize, environment.headerColour(), scale);
        const QPointF corner = PixelGrid::aligned(place, painter).topLeft();
        painter.drawImage(QRectF(corner, QSizeF(image.size()) / scale), image);
    }
    const double titleStart = symbol.width() + symbolGap;
    PanelText { title, PanelEnvironment::systemFont(titleSize, QFont::DemiBold), environment.textColour() }
        .draw(
            painter, environment.fromLeading(content, titleStart, content.width() - titleStart), environment);
}

} // namespace kestrum
