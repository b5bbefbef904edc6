// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverFrame.h"

#include "KestrumShared/Popover/PixelGrid.h"
#include "KestrumShared/Popover/PopoverSurface.h"

#include <QImage>
#include <QList>
#include <QPen>
#include <algorithm>
#include <array>

namespace kestrum {
namespace {

constexpr QMarginsF shadowMargins { 20, 16, 20, 24 };
constexpr double shadowReach = 20; ///< how far the shadow fades out
constexpr double shadowOffset = 4; ///< downwards
constexpr double rimWidth = 1;
constexpr double ringWidth = 2;

float shadowOpacity(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? 0.5F : 0.28F;
}

/// Replaces each pixel by the mean of its neighbours along one axis. `step` leads from a pixel to the next, `stride` from a line
/// to the next.
void blur(uchar* pixels, qsizetype count, qsizetype step, qsizetype lines, qsizetype stride, qsizetype reach)
{
    QList<uchar> line(count);
    for (qsizetype i = 0; i < lines; ++i) {
        uchar* const first = pixels + i * stride;
        for (qsizetype x = 0; x < count; ++x)
            line[x] = first[x * step];
        qsizetype sum = 0;
        for (qsizetype x = -reach; x < count; ++x) {
            sum += x + reach < count ? line[x + reach] : 0;
            sum -= x - reach - 1 >= 0 ? line[x - reach - 1] : 0;
            if (x >= 0)
                first[x * step] = uchar(sum / (2 * reach + 1));
        }
    }
}

/// The shadow of a popover that is hardly larger than its corners, cut out where the popover is.
QImage shadowPicture(const QSizeF& size, const QRectF& popover, double scale, ColourScheme scheme)
{
    QImage mask((size * scale).toSize(), QImage::Format_Alpha8);
    mask.fill(0);
    QPainter painter(&mask);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    painter.drawRoundedRect(popover.translated(0, shadowOffset), PopoverFrame::radius, PopoverFrame::radius);
    painter.end();
    // Three means are almost a Gaussian.
    constexpr int means = 3;
    const auto reach = std::max<qsizetype>(1, qsizetype(shadowReach * scale / means));
    for (int i = 0; i < means; ++i) {
        blur(mask.bits(), mask.width(), 1, mask.height(), mask.bytesPerLine(), reach);
        blur(mask.bits(), mask.height(), mask.bytesPerLine(), mask.width(), 1, reach);
    }
    QImage shadow(mask.size(), QImage::Format_ARGB32_Premultiplied);
    shadow.fill(QColor::fromRgbF(0, 0, 0, shadowOpacity(scheme)));
    QPainter cut(&shadow);
    cut.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    cut.drawImage(0, 0, mask);
    cut.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    cut.setRenderHint(QPainter::Antialiasing);
    cut.scale(scale, scale);
    cut.setPen(Qt::NoPen);
    cut.setBrush(Qt::black);
    cut.drawRoundedRect(popover, PopoverFrame::radius, PopoverFrame::radius);
    return shadow;
}

/// Draws the shadow from a picture of its corners and a piece of each side, made once for a scale and a scheme.
void drawShadow(QPainter& painter, const QRectF& popover, ColourScheme scheme)
{
    struct Picture {
        double scale = 0;
        ColourScheme scheme = ColourScheme::light;
        QImage image;
    };
    static Picture kept;
    const double scale = painter.deviceTransform().m11();
    // Beyond it, a side looks the same all along.
    constexpr double corner = PopoverFrame::radius + shadowReach + shadowOffset;
    constexpr double middle = 4;
    const QRectF small(shadowMargins.left(), shadowMargins.top(), 2 * corner + middle, 2 * corner + middle);
    if (kept.image.isNull() || kept.scale != scale || kept.scheme != scheme)
        kept = { scale, scheme,
            shadowPicture(small.marginsAdded(shadowMargins).size(), small, scale, scheme) };

    const auto cuts = [](double first, double length, double before, double after) {
        return std::array { first - before, first + corner, first + length - corner, first + length + after };
    };
    const QRectF place = PixelGrid::aligned(popover, painter);
    const auto fromX = cuts(small.left(), small.width(), shadowMargins.left(), shadowMargins.right());
    const auto fromY = cuts(small.top(), small.height(), shadowMargins.top(), shadowMargins.bottom());
    const auto toX = cuts(place.left(), place.width(), shadowMargins.left(), shadowMargins.right());
    const auto toY = cuts(place.top(), place.height(), shadowMargins.top(), shadowMargins.bottom());
    for (size_t row = 0; row < 3; ++row) {
        for (size_t column = 0; column < 3; ++column) {
            if (row == 1 && column == 1)
                continue;
            const QRectF source(QPointF(fromX[column], fromY[row]) * scale,
                QPointF(fromX[column + 1], fromY[row + 1]) * scale);
            painter.drawImage(QRectF(QPointF(toX[column], toY[row]), QPointF(toX[column + 1], toY[row + 1])),
                kept.image, source);
        }
    }
}

} // namespace

QMarginsF PopoverFrame::margins() const
{
    return hasShadow ? shadowMargins : QMarginsF();
}

void PopoverFrame::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    if (hasShadow)
        drawShadow(painter, rect, environment.scheme);
    PopoverSurface { environment.background, false }.draw(painter, rect, radius, environment);
    const QColor rim = environment.scheme == ColourScheme::dark ? QColor::fromRgbF(1, 1, 1, 0.14F)
                                                                : QColor::fromRgbF(0, 0, 0, 0.16F);
    constexpr double inset = rimWidth / 2;
    painter.setPen(QPen(rim, rimWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), radius - inset, radius - inset);
}

void PopoverFrame::drawFocusRing(
    QPainter& painter, const QRectF& element, const PanelEnvironment& environment)
{
    const QColor accent = SystemAppearance::shared().accent().value_or(environment.headerColour());
    constexpr double inset = ringWidth / 2;
    painter.setPen(QPen(environment.readable(accent), ringWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(PanelEnvironment::plate(element).adjusted(inset, inset, -inset, -inset),
        PanelEnvironment::plateRadius, PanelEnvironment::plateRadius);
}

} // namespace kestrum
