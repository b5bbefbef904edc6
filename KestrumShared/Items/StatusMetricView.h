// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QPainter>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <memory>
#include <optional>

namespace kestrum {

/// One menu-bar item, 22 points high: a label, for most sections a meter, and a text. Its section's facts stand in
/// `SectionItem`. It is not a widget: widths and positions of items are fractions of a point, and the agent draws the same item
/// into images. It never takes part in hit testing: the strip that holds it handles the mouse.
///
/// What depends on the settings takes them as they are now, unless it is given the appearance that a whole strip is drawn with.
/// Main thread only.
class StatusMetricView {
public:
    static constexpr double height = 22;

    StatusMetricView(
        MonitorSection section, const QRectF& frame, std::weak_ptr<const MenuBarReadings> readings);

    MonitorSection section() const { return m_section; }
    /// Where the item stands in its strip, in points.
    QRectF frame() const { return m_frame; }
    void moveLeftEdgeTo(double x) { m_frame.moveLeft(x); }

    /// Draws the item with its top left corner at `topLeft`; nothing when the readings are gone. `scale` is
    /// pixels a point, 0 when unknown.
    void draw(QPainter& painter, const QPointF& topLeft, ColourScheme scheme, double scale,
        const Appearance& appearance = Appearance::current()) const;

    /// The item's width in points. It does not follow the readings.
    static double itemWidth(MonitorSection section, const Appearance& appearance = Appearance::current());
    /// The symbol of the section's icon label, and its size in points; 13 × 13 where there is no drawing of
    /// it.
    static QString symbolName(MonitorSection section);
    static QSizeF iconSize(MonitorSection section);
    static QSizeF symbolSize(const QString& name);
    /// Room kept for the label, and the gap on each side of a meter, both in points.
    static double labelWidth(MonitorSection section, const Appearance& appearance = Appearance::current());
    static double meterSideGap(MonitorSection section);
    /// Room kept for the CPU readout, gap included.
    static double cpuReadoutWidth();
    /// Height of a readout's line.
    static double readoutLineHeight();

    /// "42%"; values are clamped to 0…1 and rounded with halves away from zero.
    static QString percentText(double fraction);
    /// Bytes in gibibytes ("1.2G", "412G") or tebibytes ("1.0T"); no text for no count.
    static std::optional<QString> bytesText(std::optional<quint64> bytes);
    static std::optional<QString> bytesText(std::optional<qint64> bytes);

    /// As `bytesText` for a count that is given as a number.
    static QString gibibytesText(double bytes);

    /// A section's readout; nothing when it is off or its reading is absent.
    static std::optional<QString> cpuReadoutText(const MenuBarReadings& readings)
    {
        return readoutText(MonitorSection::cpu, readings);
    }
    static std::optional<QString> memoryReadoutText(const MenuBarReadings& readings)
    {
        return readoutText(MonitorSection::memory, readings);
    }
    static std::optional<QString> storageReadoutText(const MenuBarReadings& readings)
    {
        return readoutText(MonitorSection::storage, readings);
    }
    static std::optional<QString> sensorsReadoutText(const MenuBarReadings& readings)
    {
        return readoutText(MonitorSection::sensors, readings);
    }
    static std::optional<QString> readoutText(MonitorSection section, const MenuBarReadings& readings,
        const Appearance& appearance = Appearance::current());

    /// The section's name as a screen reader says it, in the interface language.
    static QString description(MonitorSection section);

private:
    MonitorSection m_section;
    QRectF m_frame;
    std::weak_ptr<const MenuBarReadings> m_readings;
};

} // namespace kestrum
