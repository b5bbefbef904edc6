// SPDX-License-Identifier: MIT
#include "Platform/Desktop/SymbolImage.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <cmath>
#include <memory>

namespace kestrum {
namespace {

// The font size, in points, at which one unit of a symbol is one point. All symbols are 14 units high, about the height
// of a line of 12-point text. Because 14 is even, a symbol that is centred in an item of 22 points lies on whole pixels.
constexpr double unitPointSize = 12;

std::unique_ptr<QSvgRenderer> symbol(const QString& name)
{
    const QString path = QStringLiteral(":/symbols/%1.svg").arg(name);
    if (!QFile::exists(path))
        return nullptr;
    auto renderer = std::make_unique<QSvgRenderer>(path);
    // `sizeOf` rounds width and height, so their ratio changes a little. The drawing must not be stretched.
    renderer->setAspectRatioMode(Qt::KeepAspectRatio);
    return renderer;
}

QSizeF sizeOf(const QSvgRenderer& symbol, double pointSize)
{
    // Sizes are rounded to half points, which are whole pixels at scale 2.
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
