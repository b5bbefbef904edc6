#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <cmath>
#include <cstdlib>

namespace kestrum {

/// The pixels of a drawing on a background of one colour. Places are in points from the drawing's top left corner.
class PanelPixels {
public:
    template <class Draw>
    PanelPixels(const QSizeF& size, Draw draw, const QColor& ground = Qt::white, double scale = 2)
        : m_image((size * scale).toSize(), QImage::Format_RGB32)
        , m_ground(ground)
        , m_scale(scale)
    {
        m_image.setDevicePixelRatio(scale);
        m_image.fill(ground);
        QPainter painter(&m_image);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter);
    }

    const QImage& image() const { return m_image; }

    QColor at(double x, double y) const
    {
        return m_image.pixelColor(int(std::floor(x * m_scale)), int(std::floor(y * m_scale)));
    }

    /// The smallest rectangle around all pixels within `area` that differ from the background; null when there are none. With
    /// `colour`, only pixels of that colour count.
    QRectF drawn(const QRectF& area, const QColor& colour = QColor()) const
    {
        QRect found;
        for (int y = 0; y < m_image.height(); ++y) {
            for (int x = 0; x < m_image.width(); ++x) {
                const QColor pixel = m_image.pixelColor(x, y);
                if (area.contains(QPointF(x + 0.5, y + 0.5) / m_scale)
                    && (colour.isValid() ? isNear(pixel, colour) : !isNear(pixel, m_ground)))
                    found |= QRect(x, y, 1, 1);
            }
        }
        return { found.x() / m_scale, found.y() / m_scale, found.width() / m_scale,
            found.height() / m_scale };
    }

    static bool isNear(const QColor& one, const QColor& other, int tolerance = 3)
    {
        return std::abs(one.red() - other.red()) <= tolerance
            && std::abs(one.green() - other.green()) <= tolerance
            && std::abs(one.blue() - other.blue()) <= tolerance;
    }

private:
    QImage m_image;
    QColor m_ground;
    double m_scale;
};

/// The result of drawing `above`, which may be translucent, over an opaque colour.
inline QColor laidOver(const QColor& above, const QColor& below)
{
    const float alpha = above.alphaF();
    const auto mixed = [alpha](float over, float under) { return over * alpha + under * (1 - alpha); };
    return QColor::fromRgbF(mixed(above.redF(), below.redF()), mixed(above.greenF(), below.greenF()),
        mixed(above.blueF(), below.blueF()));
}

} // namespace kestrum

/// Checks that two colours are the same except for rounding.
#define QVERIFY_COLOUR(actual, expected)                                                                     \
    QVERIFY2(PanelPixels::isNear(actual, expected),                                                          \
        qPrintable((actual).name() + QStringLiteral(" instead of ") + QColor(expected).name()))
