// SPDX-License-Identifier: MIT
#include "Kestrum/Popovers/PanelMiniature.h"

#include "KestrumShared/Popover/CompactHeader.h"
#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/MemoryColours.h"
#include "KestrumShared/Popover/MetricProgressBar.h"
#include "KestrumShared/Popover/PanelDivider.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PopoverSurface.h"
#include "KestrumShared/Popover/ValueRow.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/ByteText.h"

#include <QLinearGradient>

namespace kestrum {
namespace {

constexpr double panelWidth = 300;
constexpr double panelRadius = 12;
constexpr double panelScale = 0.5;
constexpr double panelRest = 60;         ///< height of the popover below the sample, outside of the picture
constexpr QPointF panelOffset { 10, 9 }; ///< from the picture's top leading corner
constexpr int fontSize = 10;
constexpr double headerPadding = 12;
// Tighter than in a popover, so that the edge of the picture cuts no row.
constexpr PanelMetrics metrics { .sectionPadding = 7, .rowSpacing = 4 };

constexpr qint64 mebibyte = 1 << 20;
constexpr double pressure = 0.31;

/// The wallpaper of the drawn desktop: a gradient from the top leading to the bottom trailing corner.
QLinearGradient desktop(ColourScheme scheme, const QRectF& rect, Qt::LayoutDirection direction)
{
    const bool isFromRight = direction == Qt::RightToLeft;
    QLinearGradient gradient(
        isFromRight ? rect.topRight() : rect.topLeft(), isFromRight ? rect.bottomLeft() : rect.bottomRight());
    const bool isDark = scheme == ColourScheme::dark;
    gradient.setColorAt(0, isDark ? QColor::fromRgbF(0.16F, 0.20F, 0.55F) : QColor(0xBC, 0xD2, 0xF4));
    gradient.setColorAt(0.6, isDark ? QColor(0x18, 0x5A, 0xB4) : QColor(0xEC, 0xD0, 0xE4));
    gradient.setColorAt(1, isDark ? QColor(0x06, 0x1A, 0x4C) : QColor(0xF6, 0xEA, 0xD6));
    return gradient;
}

/// The header of the sample, with the share of used memory at its trailing end.
struct SampleHeader {
    CompactHeader header;
    ValueRow share;

    double height(const PanelEnvironment& environment) const { return header.height(environment); }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
    {
        header.draw(painter, rect, environment);
        share.draw(painter, rect.adjusted(headerPadding, 0, -headerPadding, 0), environment);
    }
};

/// The contents of the sample. The rows begin with the coloured dots of the memory popover, and like there the row of all used
/// memory has none.
PanelStack samplePanel(const PanelEnvironment& environment)
{
    const auto amounts = ByteText::style(ByteText::Counting::memory);
    const auto row
        = [&amounts](const char* title, qint64 mebibytes, std::optional<QColor> colour = std::nullopt) {
              return ValueRow { AppLanguage::string(title), amounts.format(mebibytes * mebibyte), colour };
          };
    return { {
        SampleHeader { { AppLanguage::string("Memory"), QStringLiteral("memorychip") },
            { QString(), QStringLiteral("64 %") } },
        PanelDivider {},
        DenseSection { AppLanguage::string("PRESSURE"),
            {
                MetricProgressBar { pressure },
                row("Memory Used", 10486),
                row("App Memory", 6912, MemoryColours::app(SharedSettings::store().snapshot(), environment)),
                row("Cache", 3584, MemoryColours::cache(environment.scheme)),
            } },
    } };
}

} // namespace

void PanelMiniature::draw(QPainter& painter, const QPointF& topLeft, Qt::LayoutDirection direction) const
{
    const QRectF rect(topLeft, size);
    PanelEnvironment environment;
    environment.scheme = scheme;
    environment.direction = direction;
    environment.background = background;
    environment.metrics = metrics;
    environment.font = PanelEnvironment::systemFont(fontSize);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setClipRect(rect, Qt::IntersectClip);
    painter.fillRect(rect, desktop(scheme, rect, direction));

    // From here on, coordinates are in the panel's own points, with the origin at its top leading corner.
    const bool isFromRight = direction == Qt::RightToLeft;
    painter.translate(isFromRight ? rect.right() - panelOffset.x() : rect.left() + panelOffset.x(),
        rect.top() + panelOffset.y());
    painter.scale(panelScale, panelScale);
    const PanelStack panel = samplePanel(environment);
    const QRectF frame(isFromRight ? -panelWidth : 0, 0, panelWidth, panel.height(environment) + panelRest);
    PopoverSurface { background, true }.draw(painter, frame, panelRadius, environment);
    panel.draw(painter, frame, environment);
    painter.restore();
}

} // namespace kestrum
