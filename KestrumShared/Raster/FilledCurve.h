// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QPointF>
#include <QRect>
#include <array>
#include <vector>

namespace kestrum {

/// The area below a line, as a picture with smooth edges. QPainter would take five times as long, and would wake other threads
/// if the colour is translucent. The next call of `make` overwrites the picture.
class FilledCurve {
public:
    /// Makes the picture of the area below `line` down to the y coordinate `bottom`. `line` must have at least two vertices,
    /// from left to right; no vertex may be below `bottom`. Coordinates are pixels, y downwards.
    void make(const QList<QPointF>& line, double bottom, const QColor& colour);

    /// The device pixels that the picture covers. The picture is the upper left part of `image`, which may be larger.
    QRect area() const { return m_area; }
    const QImage& image() const { return m_image; }

private:
    struct Point {
        double x;
        double height;
    };
    struct Column {
        int solidRows; ///< number of rows, from the bottom, that are covered over all of `width`
        int rows;      ///< number of rows, from the bottom, that are covered at all
        double width;  ///< share of the column's width between the line's ends; below 1 only at an end
    };
    void setColour(const QColor& colour);
    QRgb pixel(double coverage) const;
    Column coverColumn(double left, std::size_t& segment);
    void writeColumn(int x, const Column& column, double floorGap);

    QRect m_area;
    QImage m_image;
    QRgb m_colour = 0;
    std::array<QRgb, 256> m_pixels {}; ///< the colour for each coverage of 0…255
    std::vector<Point> m_line;         ///< heights are measured from the lower edge of the area
    std::vector<double> m_steps;       ///< see `coverColumn`
};

} // namespace kestrum
