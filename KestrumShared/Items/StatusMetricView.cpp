// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StatusMetricView.h"

#include "KestrumShared/Items/ItemFonts.h"
#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "KestrumShared/Vocabulary/FixedText.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QHash>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

using namespace ItemGeometry;

constexpr double middle = StatusMetricView::height / 2;
constexpr double unknownScale = 2;

void drawLabel(ItemDrawing& drawing, MonitorSection section)
{
    if (!drawing.appearance.hasLetters) {
        drawing.symbol(section, QPointF(margin, middle - StatusMetricView::iconSize(section).height() / 2));
        return;
    }
    const ItemFonts& fonts = ItemFonts::current();
    const QColor colour = drawing.ink.label;
    const SpriteKey key { SpriteKey::Kind::letters, colour.rgba(), { int(section), fonts.generation() } };
    // The picture is wider than the label, because some fonts have letters that are wider than the label.
    const QRectF column(0, 0, 3 * lettersWidth, StatusMetricView::height);
    drawing.canvas.drawKept(key, column, [&](Canvas& canvas) {
        canvas.drawColumn(QPointF(margin, middle - fonts.letterHeight() / 2),
            SectionItem::of(section).letters, letterDistance, fonts.letters(), colour,
            ItemFonts::letterScale);
    });
}

void drawReadout(ItemDrawing& drawing, double x, const ItemReadout& readout)
{
    const auto text = readout.text(drawing.readings, drawing.appearance);
    if (!text)
        return;
    const QColor colour = readout.warns
        ? HeatColour::of(*readout.read(drawing.readings), drawing.ink.scheme, drawing.ink.label)
        : drawing.ink.label;
    const MonospacedDigits& font = ItemFonts::current().readout();
    drawing.canvas.drawText(QPointF(x, middle - font.lineHeight() / 2), *text, font, colour);
}

double withGap(double room, const Appearance& appearance)
{
    return room > 0 ? room + appearance.gap() : 0;
}

} // namespace

StatusMetricView::StatusMetricView(
    MonitorSection section, const QRectF& frame, std::weak_ptr<const MenuBarReadings> readings)
    : m_section(section)
    , m_frame(frame)
    , m_readings(std::move(readings))
{
}

void StatusMetricView::draw(QPainter& painter, const QPointF& topLeft, const ItemInk& ink, double scale,
    const Appearance& appearance) const
{
    const auto readings = m_readings.lock();
    if (!readings)
        return;
    const SectionItem& item = SectionItem::of(m_section);
    Canvas canvas(painter, topLeft, QSizeF(m_frame.width(), height));
    ItemDrawing drawing { canvas, *readings, appearance, ink, scale > 0 ? scale : unknownScale };
    drawLabel(drawing, m_section);
    double x = margin + labelWidth(m_section, appearance);
    if (const ItemMeter meter = item.meter(appearance); meter.draw) {
        const QRectF frame(x + appearance.gap(), meter.bottom, meter.width, meter.height);
        meter.draw(drawing, frame);
        x = frame.right();
    }
    drawReadout(drawing, x + appearance.gap(), item.readout(appearance));
}

double StatusMetricView::itemWidth(MonitorSection section, const Appearance& appearance)
{
    const SectionItem& item = SectionItem::of(section);
    double width = margin + labelWidth(section, appearance);
    if (const ItemMeter meter = item.meter(appearance); meter.draw)
        width += appearance.gap() + meter.width + meter.overhang;
    return width + withGap(item.readout(appearance).room(), appearance) + margin;
}

QString StatusMetricView::symbolName(MonitorSection section)
{
    const QStringView name = SectionItem::of(section).symbol;
    return QString::fromRawData(name.data(), name.size());
}

QSizeF StatusMetricView::iconSize(MonitorSection section)
{
    return symbolSize(symbolName(section));
}

QSizeF StatusMetricView::symbolSize(const QString& name)
{
    static QHash<QString, QSizeF> symbolSizes;
    QSizeF& size = symbolSizes[name];
    if (size.isEmpty())
        size = SymbolImage::size(name, symbolPointSize);
    if (size.isEmpty())
        size = QSizeF(missingSymbolSide, missingSymbolSide);
    return size;
}

double StatusMetricView::labelWidth(MonitorSection section, const Appearance& appearance)
{
    return appearance.hasLetters ? lettersWidth : iconSize(section).width();
}

double StatusMetricView::meterSideGap(MonitorSection)
{
    return Appearance::current().gap();
}

double StatusMetricView::cpuReadoutWidth()
{
    const Appearance appearance = Appearance::current();
    return withGap(SectionItem::cpu.readout(appearance).room(), appearance);
}

double StatusMetricView::readoutLineHeight()
{
    return ItemFonts::current().readout().lineHeight();
}

QString StatusMetricView::percentText(double fraction)
{
    const double percent = fraction > 0 ? std::round(std::min(fraction, 1.0) * 100) : 0;
    return QString::number(int(percent)) + QLatin1Char('%');
}

std::optional<QString> StatusMetricView::bytesText(std::optional<quint64> bytes)
{
    return bytes ? std::optional(gibibytesText(double(*bytes))) : std::nullopt;
}

std::optional<QString> StatusMetricView::bytesText(std::optional<qint64> bytes)
{
    return bytes ? std::optional(gibibytesText(double(*bytes))) : std::nullopt;
}

QString StatusMetricView::gibibytesText(double bytes)
{
    const double gibibytes = bytes / 1073741824;
    // Gibibytes have one decimal up to 9.9. Values that would need four digits are shown in tebibytes.
    if (gibibytes >= 999.5)
        return fixedText(gibibytes / 1024, 1) + QLatin1Char('T');
    return fixedText(gibibytes, gibibytes >= 9.95 ? 0 : 1) + QLatin1Char('G');
}

std::optional<QString> StatusMetricView::readoutText(
    MonitorSection section, const MenuBarReadings& readings, const Appearance& appearance)
{
    return SectionItem::of(section).readout(appearance).text(readings, appearance);
}

QString StatusMetricView::description(MonitorSection section)
{
    return SectionItem::of(section).description();
}

} // namespace kestrum
