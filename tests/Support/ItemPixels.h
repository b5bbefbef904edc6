#pragma once

#include "tests/Support/DrawingFixture.h"

#include <QColor>
#include <algorithm>

namespace kestrum {

/// Two accents as they are drawn.
inline const QColor signalColour(69, 184, 153);
inline const QColor indigoColour(107, 107, 242);

/// The pixels of a drawn item. Places are in points from the item's bottom left corner.
class ItemPixels {
public:
    ItemPixels(QImage image, double scale)
        : m_image(std::move(image))
        , m_scale(scale)
    {
    }

    /// The colour of the pixel that contains the place.
    QColor at(double x, double y) const { return m_image.pixelColor(int(std::floor(x * m_scale)), row(y)); }

    /// The smallest rectangle around all pixels with at least a tenth of coverage whose middle lies in `area`; null when there
    /// are none. With `colour`, only pixels of that colour count. As in the item, `top` is the lower edge.
    QRectF inked(const QRectF& area, const QColor& colour = QColor()) const
    {
        QRect ink;
        for (int y = 0; y < m_image.height(); ++y) {
            const double middle = (m_image.height() - y - 0.5) / m_scale;
            if (middle < area.top() || middle > area.bottom())
                continue;
            for (int x = 0; x < m_image.width(); ++x) {
                const double centre = (x + 0.5) / m_scale;
                if (centre >= area.left() && centre <= area.right()
                    && isInked(m_image.pixelColor(x, y), colour))
                    ink |= QRect(x, y, 1, 1);
            }
        }
        if (ink.isNull())
            return QRectF();
        return QRectF(ink.x() / m_scale, (m_image.height() - ink.y() - ink.height()) / m_scale,
            ink.width() / m_scale, ink.height() / m_scale);
    }

private:
    static bool isInked(const QColor& pixel, const QColor& colour)
    {
        if (pixel.alpha() < 26)
            return false;
        // A translucent pixel at an edge has a less exact colour.
        const int tolerance = 4 + 255 / pixel.alpha() * 3;
        return !colour.isValid()
            || (std::abs(pixel.red() - colour.red()) <= tolerance
                && std::abs(pixel.green() - colour.green()) <= tolerance
                && std::abs(pixel.blue() - colour.blue()) <= tolerance);
    }

    int row(double y) const { return m_image.height() - 1 - int(std::floor(y * m_scale)); }

    QImage m_image;
    double m_scale;
};

} // namespace kestrum
