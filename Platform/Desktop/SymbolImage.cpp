// SPDX-License-Identifier: MIT
#include "Platform/Desktop/SymbolImage.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <cmath>
#include <memory>

namespace kestrum {
namespace {

// At this point size one unit of a symbol is one point. All symbols are drawn on a field 14 units high. A line of 12-point
// text is about 14 points high, and an even height lies on whole pixels when it is centred in the 22 points of an item.
constexpr double unitPointSize = 12;

std::unique_ptr<QSvgRenderer> symbol(const QString& name)
{
    const QString path = QStringLiteral(":/symbols/%1.svg").arg(name);
    if (!QFile::exists(path))
        return nullptr;
    auto renderer = std::make_unique<QSvgRenderer>(path);
    // Rounding changes the proportions of the size a little, and the drawing must not be stretched.
    renderer->setAspectRatioMode(Qt::KeepAspectRatio);
    return renderer;
}

QSizeF sizeOf(const QSvgRenderer& symbol, double pointSize)
{
    // Rounded to half points, so that an edge lies on a whole pixel at scale 2.
    const auto halves = [&](double units) { return std::round(units * pointSize / unitPointSize * 2) / 2; };
    const QSizeF field = symbol.viewBoxF().size();
    return QSizeF(halves(field.width()), halves(field.height()));
}

} // namespace

QSizeF SymbolImage::size(const QString& name, double pointSize)
{
    const auto drawing = symbol(name);
    return drawing && pointSize > 0 ? sizeOf(*drawing, pointSize) : QSizeF(0, 0);
}

QImage SymbolImage::image(const QString& name, double pointSize, const QColor& colour, double scale)
{
    const auto drawing = symbol(name);
    if (!drawing || !(pointSize > 0) || !(scale > 0))
        return QImage();
    const QSizeF points = sizeOf(*drawing, pointSize);
    QImage image(int(std::ceil(points.width() * scale)), int(std::ceil(points.height() * scale)),
        QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) // too small or too large
        return image;
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing->render(&painter, QRectF(QPointF(0, 0), points * scale));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    painter.end();
    image.setDevicePixelRatio(scale);
    return image;
}

} // namespace kestrum
