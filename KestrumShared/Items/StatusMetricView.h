// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/ItemInk.h"
#include "KestrumShared/Items/MenuBarReadings.h"

#include <QPainter>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <memory>
#include <optional>

namespace kestrum {

/// One menu-bar item, 22 points high: a label, a meter in most sections, and a text. `SectionItem` describes the differences
/// between the sections. The item is not a widget, because its width and position are not whole points, and because the
/// agent draws items into images. The strip that contains the item handles the mouse events.
///
/// Functions without a parameter for the appearance use the present settings. Main thread only.
class StatusMetricView {
public:
    static constexpr double height = 22;

    StatusMetricView(
        MonitorSection section, const QRectF& frame, std::weak_ptr<const MenuBarReadings> readings);

    MonitorSection section() const { return m_section; }
    /// The item's frame in its strip, in points.
    QRectF frame() const { return m_frame; }
    void moveLeftEdgeTo(double x) { m_frame.moveLeft(x); }

    /// Draws the item with its top left corner at `topLeft`. Draws nothing if the readings are destroyed. `scale` is pixels
    /// per point, or 0 if this number is unknown.
    void draw(QPainter& painter, const QPointF& topLeft, const ItemInk& ink, double scale,
        const Appearance& appearance = Appearance::current()) const;

    /// The item's width in points. It does not depend on the readings.
    static double itemWidth(MonitorSection section, const Appearance& appearance = Appearance::current());
    /// The name of a section's symbol, and the size of a symbol in points. The size is 13 × 13 if the symbol has no picture.
    static QString symbolName(MonitorSection section);
    static QSizeF iconSize(MonitorSection section);
    static QSizeF symbolSize(const QString& name);
    /// The width of the label and the gap on each side of the meter, in points.
    static double labelWidth(MonitorSection section, const Appearance& appearance = Appearance::current());
    static double meterSideGap(MonitorSection section);
    /// The width in points of the CPU readout and the gap before the readout.
    static double cpuReadoutWidth();
    /// The line height of a readout, in points.
    static double readoutLineHeight();

    /// `fraction` as a percentage, such as "42%". `fraction` is clamped to 0…1; halves are rounded away from zero.
    static QString percentText(double fraction);
    /// Bytes in gibibytes ("1.2G", "412G") or tebibytes ("1.0T"); nothing if `bytes` is absent.
    static std::optional<QString> bytesText(std::optional<quint64> bytes);
    static std::optional<QString> bytesText(std::optional<qint64> bytes);

    /// Like `bytesText`, for a count that is a floating-point number.
    static QString gibibytesText(double bytes);

    /// The text of a section's readout; nothing when the readout is off or its reading is absent.
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
