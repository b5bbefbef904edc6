// SPDX-License-Identifier: MIT
// The coverage of a pixel is the exact area of its part below the line. The line is cut at the vertical edges of pixels, so
// each column of pixels contains straight pieces of the line. From the bottom upwards, a column has pixels completely below
// the line, pixels that the line crosses, and pixels completely above the line. Only crossed pixels need a computation. If
// a column contains several pieces, each of them spans a part of the column's width, and the areas below them are added.

#include "KestrumShared/Raster/FilledCurve.h"

#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

// Rounds to 64ths of a pixel. The painter rounds outlines in the same way, so the result looks the same.
double snapped(double pixels)
{
    return std::floor(pixels * 64 + 0.5) / 64;
}

// The area below a line of slope 1 within a row of pixels, which is 1 high. The line starts below the row and ends at
// `height`, measured from the row's lower edge. The width of the area is not limited to one pixel.
double risenArea(double height)
{
    if (height <= 0)
        return 0;
    return height < 1 ? height * height / 2 : height - 0.5;
}

// The average share of a pixel's height that is below a straight line. The line rises from `low` to `high`, measured from
// the pixel's lower edge.
double shareBelow(double low, double high)
{
    if (high - low < 1e-6)
        return std::clamp(low, 0.0, 1.0);
    return (risenArea(high) - risenArea(low)) / (high - low);
}

} // namespace

void FilledCurve::setColour(const QColor& colour)
{
    const QRgb rgba = colour.rgba();
    if (rgba == m_colour)
        return;
    m_colour = rgba;
    for (int coverage = 0; coverage < 256; ++coverage) {
        const int alpha = (qAlpha(rgba) * coverage + 127) / 255;
        m_pixels[std::size_t(coverage)] = qPremultiply(qRgba(qRed(rgba), qGreen(rgba), qBlue(rgba), alpha));
    }
}

QRgb FilledCurve::pixel(double coverage) const
{
    return m_pixels[std::size_t(std::clamp(qRound(coverage * 255), 0, 255))];
}

void FilledCurve::make(const QList<QPointF>& line, double bottom, const QColor& colour)
{
    double top = bottom;
    for (const QPointF& point : line)
        top = std::min(top, point.y());
    const int x = int(std::floor(snapped(line.first().x())));
    const int y = int(std::floor(snapped(top)));
    const int floorY = int(std::ceil(snapped(bottom)));
    m_area = QRect(x, y, int(std::ceil(snapped(line.last().x()))) - x, floorY - y);
    if (m_area.isEmpty())
        return;
    if (m_image.width() < m_area.width() || m_image.height() < m_area.height())
        m_image = QImage(m_area.size().expandedTo(m_image.size()), QImage::Format_ARGB32_Premultiplied);
    setColour(colour);
    m_line.clear();
    for (const QPointF& point : line)
        m_line.push_back({ snapped(point.x()) - x, floorY - snapped(point.y()) });
    m_steps.assign(std::size_t(m_area.height()) + 1, 0);

    std::size_t segment = 1;
    for (int column = 0; column < m_area.width(); ++column)
        writeColumn(column, coverColumn(column, segment), floorY - snapped(bottom));
}

// Computes the coverage of the column of pixels whose left edge is `left`. For each row, the coverage of the row's pixel
// minus the coverage of the pixel above is added to `m_steps[row]`. The search begins at the index `segment`. Segments that
// end before the column are skipped, and `segment` is increased accordingly.
FilledCurve::Column FilledCurve::coverColumn(double left, std::size_t& segment)
{
    Column column { m_area.height(), 0, 0 };
    for (std::size_t i = segment; i < m_line.size(); ++i) {
        const Point& start = m_line[i - 1];
        const Point& end = m_line[i];
        if (start.x >= left + 1)
            break;
        if (end.x <= left)
            segment = i + 1;
        if (end.x <= std::max(left, start.x))
            continue;
        const double from = std::max(start.x, left);
        const double to = std::min(end.x, left + 1);
        const double slope = (end.height - start.height) / (end.x - start.x);
        const double a = start.height + slope * (from - start.x);
        const double b = start.height + slope * (to - start.x);
        const double low = std::clamp(std::min(a, b), 0.0, double(m_area.height()));
        const double high = std::clamp(std::max(a, b), 0.0, double(m_area.height()));
        const double width = to - from;
        const int solid = int(low);
        const int rows = std::max(solid, int(std::ceil(high)));
        double below = width;
        for (int row = solid; row < rows; ++row) {
            const double share = width * shareBelow(low - row, high - row);
            if (row > 0)
                m_steps[std::size_t(row) - 1] += below - share;
            below = share;
        }
        if (rows > 0)
            m_steps[std::size_t(rows) - 1] += below;
        column.solidRows = std::min(column.solidRows, solid);
        column.rows = std::max(column.rows, rows);
        column.width += width;
    }
    return column;
}

void FilledCurve::writeColumn(int x, const Column& column, double floorGap)
{
    const qsizetype pitch = m_image.bytesPerLine() / qsizetype(sizeof(QRgb));
    QRgb* next = reinterpret_cast<QRgb*>(m_image.bits()) + x;
    int row = m_area.height() - 1;
    for (; row >= column.rows; --row, next += pitch)
        *next = 0;
    double coverage = 0;
    for (; row >= column.solidRows; --row, next += pitch) {
        coverage += m_steps[std::size_t(row)];
        m_steps[std::size_t(row)] = 0;
        *next = pixel(coverage);
    }
    if (column.solidRows > 0)
        m_steps[std::size_t(column.solidRows) - 1] = 0;
    const QRgb solid = pixel(column.width);
    for (; row >= 0; --row, next += pitch)
        *next = solid;
    // The lower edge of the area may be within the lowest row, which is then covered less.
    const double lowest = column.solidRows > 0 ? column.width : coverage;
    *(next - pitch) = pixel(lowest - column.width * floorGap);
}

} // namespace kestrum
