// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/CompactHeader.h"

#include "KestrumShared/Popover/PanelSymbol.h"
#include "KestrumShared/Popover/PanelText.h"

#include <QFontInfo>

namespace kestrum {
namespace {

constexpr double headerHeight = 38;
constexpr double compactPadding = 12; ///< at every edge
constexpr double symbolGap = 8;       ///< between symbol and title
constexpr int compactTitleSize = 12;

} // namespace

double CompactHeader::height(const PanelEnvironment&) const
{
    return headerHeight;
}

void CompactHeader::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const QRectF content = rect.adjusted(compactPadding, compactPadding, -compactPadding, -compactPadding);
    const PanelSymbol symbol { icon, double(QFontInfo(environment.font).pixelSize()),
        environment.headerColour() };
    const double symbolWidth = symbol.size().width();
    symbol.draw(painter, environment.fromLeading(content, 0, symbolWidth));
    const double titleStart = symbolWidth + symbolGap;
    PanelText { title, PanelEnvironment::systemFont(compactTitleSize, QFont::DemiBold),
        environment.textColour() }
        .draw(
            painter, environment.fromLeading(content, titleStart, content.width() - titleStart), environment);
}

} // namespace kestrum
