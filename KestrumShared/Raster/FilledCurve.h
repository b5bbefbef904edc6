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

/// The area below a line, as a picture with smooth edges, computed on the spot: the painter needs five times as long
/// for it, and other threads' help when the colour is translucent. Keeps its memory for the next curve.
class FilledCurve {
public:
    /// Makes the picture of what lies between `line`, which runs from left to right, and `bottom`, which is nowhere
    /// above the line; in pixels, y downwards.
    void make(const QList<QPointF>& line, double bottom, const QColor& colour);

    /// Which pixels the picture covers; they are the upper left part of `image`, which is larger at times.
    QRect area() const { return m_area; }
    const QImage& image() const { return m_image; }

private:
    struct Point {
        double x;
        double height;
    };
    struct Column {
        int solidRows; ///< so many from the bottom are covered over the column's whole width
        int rows;      ///< all above these are not covered
        double width;  ///< covered part of the column's width
    };
    void setColour(const QColor& colour);
    QRgb pixel(double coverage) const;
    Column coverColumn(double left, std::size_t& segment);
    void writeColumn(int x, const Column& column, double floorGap);

    QRect m_area;
    QImage m_image;
    QRgb m_colour = 0;
    std::array<QRgb, 256> m_pixels {}; ///< the colour at each coverage
    std::vector<Point> m_line;         ///< heights are counted from the lower edge of the area
    std::vector<double> m_steps;       ///< see coverColumn
};

} // namespace kestrum
