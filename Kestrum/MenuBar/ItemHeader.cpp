// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/ItemHeader.h"

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Raster/HeadingBlue.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QPainter>
#include <QStyle>

namespace kestrum {

namespace {

constexpr int symbolBox = 20;
constexpr int headerSymbolPoints = 14; // the widest symbol just fits into the box
constexpr int symbolGap = 5;

} // namespace

ItemHeader::ItemHeader(MonitorSection section, const QString& title)
    : WrappedLabel(Theme::TextStyle::heading, title)
    , m_symbol(StatusMetricView::symbolName(section))
{
    setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    setIndent(symbolBox + symbolGap);
}

void ItemHeader::paintEvent(QPaintEvent* event)
{
    WrappedLabel::paintEvent(event);
    QPainter painter(this);
    const double scale = painter.deviceTransform().m11();
    const QColor blue = headingBlue(SystemAppearance::shared().scheme());
    const QImage symbol = SymbolImage::image(m_symbol, headerSymbolPoints, blue, scale);
    const QSizeF size = symbol.deviceIndependentSize();
    const QRect room = contentsRect();
    const QRect box = QStyle::visualRect(
        layoutDirection(), room, QRect(room.left(), room.top(), symbolBox, room.height()));
    const auto onPixel = [scale](double place) { return qRound(place * scale) / scale; };
    painter.drawImage(QPointF(onPixel(box.left() + (symbolBox - size.width()) / 2),
                          onPixel(box.top() + (box.height() - size.height()) / 2)),
        symbol);
}

} // namespace kestrum
