// SPDX-License-Identifier: MIT
#include "KestrumShared/Vocabulary/AccentSwatch.h"

#include <QHash>
#include <QLocale>
#include <QPainter>
#include <cmath>
#include <utility>

namespace kestrum {
namespace {

// The painter uses one 256th less than the requested opacity, so the result is an opacity of a quarter.
constexpr double edgeOpacity = 65.0 / 256;

QString decimalText(double number)
{
    const QString text = QString::number(number, 'g', QLocale::FloatingPointShortest);
    return number == std::trunc(number) ? text + QStringLiteral(".0") : text;
}

} // namespace

QImage AccentSwatch::image(const MeterAccent& accent, double size, double scale)
{
    static QHash<QString, QImage> swatches;
    QString key = cacheKey(accent, size);
    if (scale != 1)
        key += QStringLiteral("@%1x").arg(decimalText(scale));
    const auto cached = swatches.constFind(key);
    if (cached != swatches.constEnd())
        return *cached;
    return *swatches.insert(key, drawn(accent, size, scale));
}

QImage AccentSwatch::drawn(const MeterAccent& accent, double size, double scale)
{
    if (!(size > 0) || !(scale > 0))
        return QImage();
    const int pixels = int(std::ceil(size * scale));
    QImage empty(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    empty.fill(Qt::transparent);
    empty.setDevicePixelRatio(scale);
    const auto drawOutline = [size](QPainter& painter, const QBrush& inside, const QPen& edge) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(inside);
        painter.setPen(edge);
        painter.drawRoundedRect(QRectF(0.5, 0.5, size - 1, size - 1), 3, 3);
    };
    // The edge is drawn opaque into its own image, and this image is painted over the fill with `edgeOpacity`. Drawing a
    // translucent edge directly would wake other threads and wait for them.
    QImage edge = empty;
    {
        QPainter painter(&edge);
        drawOutline(painter, Qt::NoBrush, QPen(Qt::black, 1));
    }
    QImage image = std::move(empty);
    QPainter painter(&image);
    drawOutline(painter, accent.color(), Qt::NoPen);
    painter.setOpacity(edgeOpacity);
    painter.drawImage(0, 0, edge);
    return image;
}

QString AccentSwatch::cacheKey(const MeterAccent& accent, double size)
{
    return accent.rawValue() + QLatin1Char('@') + decimalText(size);
}

} // namespace kestrum
