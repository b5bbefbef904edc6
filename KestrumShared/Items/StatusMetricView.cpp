#include "KestrumShared/Items/StatusMetricView.h"

#include "KestrumShared/Items/ItemFonts.h"
#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/ItemSprites.h"
#include "KestrumShared/Raster/Canvas.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Machine/CoreTopology.h"

#include <algorithm>

namespace kestrum {
namespace {

using namespace ItemGeometry;

constexpr double middle = StatusMetricView::height / 2;
constexpr double unknownScale = 2;

QLatin1StringView letters(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return QLatin1StringView("CPU");
    case MonitorSection::memory:
        return QLatin1StringView("RAM");
    case MonitorSection::storage:
        return QLatin1StringView("SSD");
    case MonitorSection::sensors:
        break;
    }
    return QLatin1StringView("SEN");
}

// One drawing of one item, with the settings as they are now.
class ItemDrawing {
public:
    ItemDrawing(Canvas& canvas, const MenuBarReadings& readings, ColourScheme scheme, double scale)
        : m_canvas(canvas)
        , m_readings(readings)
        , m_scheme(scheme)
        , m_scale(scale > 0 ? scale : unknownScale)
        , m_shape(Setting(Keys::meterShape).value())
        , m_labelStyle(Setting(Keys::meterLabelStyle).value())
    {
    }

    void draw(MonitorSection section)
    {
        const double gap = StatusMetricView::meterSideGap(section);
        drawLabel(section);
        double x = margin + StatusMetricView::labelWidth(section);
        switch (section) {
        case MonitorSection::cpu:
            x = drawCPUMeter(x + gap);
            break;
        case MonitorSection::memory:
            x = drawGauge(x + gap, m_readings.memoryUsage(), Keys::memoryAccent);
            break;
        case MonitorSection::storage:
            x = drawGauge(x + gap, m_readings.storageUsage(), Keys::storageAccent);
            break;
        case MonitorSection::sensors:
            if (m_labelStyle == MeterLabelStyle::letters)
                x = drawSymbol(section, x + gap);
            break;
        }
        drawReadout(x + gap, StatusMetricView::readoutText(section, m_readings), readoutColour(section));
    }

private:
    void drawLabel(MonitorSection section)
    {
        if (m_labelStyle == MeterLabelStyle::letters)
            drawLetters(section);
        else
            drawSymbol(section, margin);
    }

    void drawLetters(MonitorSection section)
    {
        const ItemFonts& fonts = ItemFonts::current();
        const QColor colour = labelColour(m_scheme);
        const SpriteKey key { SpriteKey::Kind::letters, colour.rgba(), { int(section), fonts.generation() } };
        // Wider than the room that is kept for them: the widest letters of some fonts are.
        const QRectF column(0, 0, 3 * lettersWidth, StatusMetricView::height);
        m_canvas.drawKept(key, column, [&](Canvas& canvas) {
            canvas.drawColumn(QPointF(margin, middle - fonts.letterHeight() / 2), letters(section),
                letterDistance, fonts.letters(), colour, ItemFonts::letterScale);
        });
    }

    double drawSymbol(MonitorSection section, double x)
    {
        const QSizeF size = StatusMetricView::iconSize(section);
        const QImage symbol
            = ItemSprites::symbol(StatusMetricView::symbolName(section), symbolPointSize, m_scheme, m_scale);
        if (!symbol.isNull())
            m_canvas.drawImage(QPointF(x, middle - size.height() / 2), symbol);
        return x + size.width();
    }

    void drawReadout(double x, const std::optional<QString>& text, const QColor& colour)
    {
        if (!text)
            return;
        const MonospacedDigits& font = ItemFonts::current().readout();
        m_canvas.drawText(QPointF(x, middle - font.lineHeight() / 2), *text, font, colour);
    }

    QColor readoutColour(MonitorSection section) const
    {
        const std::optional<double> celsius = section == MonitorSection::sensors
            ? StatusMetricView::sensorsTemperature(m_readings)
            : std::nullopt;
        return celsius ? HeatColour::of(*celsius, m_scheme) : labelColour(m_scheme);
    }

    double drawCPUMeter(double x)
    {
        const MeterStyle style = Setting(Keys::meterStyle).value();
        if (style == MeterStyle::compact)
            return drawCompactMeter(x);
        const double width
            = style == MeterStyle::wave ? fixedMeterWidth : barsMeterWidth(CoreTopology::totalCores());
        const QRectF frame(x, tallMeterBottom, width, tallMeterHeight);
        // Concentric with the outermost bars, whose ends are half as wide as a bar.
        strokeFrame(frame, 1.5, std::min(frame.height() / 2, barInset + barWidth / 2));
        if (style == MeterStyle::wave)
            drawWave(frame);
        else
            drawCoreBars(frame);
        return frame.right();
    }

    double drawCompactMeter(double x)
    {
        const QRectF frame(x, middle - compactMeterHeight / 2, fixedMeterWidth, compactMeterHeight);
        strokeFrame(frame, 1.5, frame.height() / 2);
        const double fullWidth = frame.width() - 2 * compactInset;
        fill(QRectF(x + compactInset, frame.top() + compactInset,
                 std::max(leastFill, fullWidth * m_readings.cpuUsage()), frame.height() - 2 * compactInset),
            MeterSettings::accent(Keys::cpuAccent).color());
        return frame.right();
    }

    // The first bars that fit: the readings may know more cores than the frame was made for.
    void drawCoreBars(const QRectF& frame)
    {
        const QList<double> usages = m_readings.coreUsages();
        const qsizetype fastCores = m_readings.performanceCoreCount();
        const qsizetype firstFast
            = usages.size() - std::min(usages.size(), std::max<qsizetype>(fastCores, 0));
        const QColor base = MeterSettings::accent(Keys::cpuAccent).color();
        const QColor fast = MeterSettings::accent(Keys::cpuFastCoreAccent).color();
        for (qsizetype i = 0; i < usages.size(); ++i) {
            const QRectF bar(frame.left() + barInset + double(i) * (barWidth + barGap),
                frame.top() + barInset, barWidth, std::max(leastBarHeight, usages[i] * fullBarHeight));
            if (bar.right() > frame.right() - barInset + 0.01)
                break;
            fill(bar, i >= firstFast ? fast : base);
        }
    }

    void drawWave(const QRectF& frame)
    {
        const QList<double> history = m_readings.cpuHistory();
        if (history.size() < 2)
            return;
        const QRectF inner = frame.adjusted(waveInset, waveInset, -waveInset, -waveInset);
        const double step = inner.width() / double(history.size() - 1);
        QPolygonF line;
        line.reserve(history.size());
        for (qsizetype i = 0; i < history.size(); ++i) {
            const double load = history[i] > 0 ? std::min(history[i], 1.0) : 0;
            line.append(QPointF(inner.left() + double(i) * step, inner.top() + load * inner.height()));
        }
        QColor colour = MeterSettings::accent(Keys::cpuAccent).color();
        colour.setAlphaF(0.85F);
        m_canvas.fillBelow(line, inner.top(), colour);
    }

    double drawGauge(double x, double fraction, const UnregisteredKey<MeterAccent>& accent)
    {
        const QRectF frame(x, tallMeterBottom, gaugeWidth, tallMeterHeight);
        strokeFrame(frame, 0.8, gaugeWidth / 2);
        const QRectF inner = frame.adjusted(gaugeInset, gaugeInset, -gaugeInset, -gaugeInset);
        fill(QRectF(inner.left(), inner.top(), inner.width(), std::max(leastFill, inner.height() * fraction)),
            MeterSettings::accent(accent).color());
        return frame.right();
    }

    void strokeFrame(const QRectF& rect, double squareRadius, double pillRadius)
    {
        m_canvas.strokeRoundedRect(rect, m_shape == MeterShape::square ? squareRadius : pillRadius,
            frameLineWidth, QColor::fromRgbF(0.43F, 0.43F, 0.45F, 0.92F));
    }

    void fill(const QRectF& rect, const QColor& colour)
    {
        const double radius = std::min(rect.width(), rect.height()) / 2;
        if (m_shape == MeterShape::pill && radius > 0)
            m_canvas.fillRoundedRect(rect, radius, colour);
        else
            m_canvas.fillRect(rect, colour);
    }

    Canvas& m_canvas;
    const MenuBarReadings& m_readings;
    ColourScheme m_scheme;
    double m_scale;
    MeterShape m_shape;
    MeterLabelStyle m_labelStyle;
};

} // namespace

StatusMetricView::StatusMetricView(
    MonitorSection section, const QRectF& frame, std::weak_ptr<const MenuBarReadings> readings)
    : m_section(section)
    , m_frame(frame)
    , m_readings(std::move(readings))
{
}

void StatusMetricView::draw(
    QPainter& painter, const QPointF& topLeft, ColourScheme scheme, double scale) const
{
    const auto readings = m_readings.lock();
    if (!readings)
        return;
    Canvas canvas(painter, topLeft, QSizeF(m_frame.width(), height));
    ItemDrawing(canvas, *readings, scheme, scale).draw(m_section);
}

} // namespace kestrum
