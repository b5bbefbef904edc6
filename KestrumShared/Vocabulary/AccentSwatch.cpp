#include "KestrumShared/Vocabulary/AccentSwatch.h"

#include <QHash>
#include <QLocale>
#include <QPainter>
#include <cmath>

namespace kestrum {
namespace {

QString decimalText(double number)
{
    const QString text = QString::number(number, 'g', QLocale::FloatingPointShortest);
    return number == std::trunc(number) ? text + QStringLiteral(".0") : text;
}

} // namespace

QImage AccentSwatch::image(const MeterAccent& accent, double size, double scale)
{
    if (!(size > 0) || !(scale > 0))
        return QImage();
    static QHash<QString, QImage> swatches;
    QString key = cacheKey(accent, size);
    if (scale != 1)
        key += QStringLiteral("@%1x").arg(decimalText(scale));
    const auto kept = swatches.constFind(key);
    if (kept != swatches.constEnd())
        return *kept;
    return *swatches.insert(key, drawn(accent, size, scale));
}

QImage AccentSwatch::drawn(const MeterAccent& accent, double size, double scale)
{
    if (!(size > 0) || !(scale > 0))
        return QImage();
    const int pixels = int(std::ceil(size * scale));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(accent.color());
    painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, 0.25F), 1));
    painter.drawRoundedRect(QRectF(0.5, 0.5, size - 1, size - 1), 3, 3);
    return image;
}

QString AccentSwatch::cacheKey(const MeterAccent& accent, double size)
{
    return accent.rawValue() + QLatin1Char('@') + decimalText(size);
}

} // namespace kestrum
