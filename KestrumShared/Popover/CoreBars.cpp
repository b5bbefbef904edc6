// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/CoreBars.h"

#include "KestrumShared/Popover/Amounts.h"
#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PixelGrid.h"
#include "KestrumShared/Popover/PopoverPanel.h"
#include "KestrumShared/Popover/SectionTitle.h"
#include "KestrumShared/Popover/ValueRow.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QFontMetricsF>
#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace kestrum {
namespace {

constexpr double coreHeight = 26;
constexpr double wrappedHeight = 16; ///< where the bars need several rows
constexpr double rowGap = 4;
constexpr double tierGap = 12;
constexpr double labelGap = 4; ///< between a tier's name and its bars
constexpr double leastPitch = 5;
constexpr double widestGap = 4;
constexpr double largestRadius = 3.5;
constexpr double leastBar = 2; ///< height of the bar of an idle core

double mean(const QList<double>& loads)
{
    return loads.isEmpty() ? 0 : std::accumulate(loads.begin(), loads.end(), 0.0) / double(loads.size());
}

qsizetype coreCount(const CoreBars& cores)
{
    qsizetype count = 0;
    for (const CoreBars::Tier& tier : cores.tiers)
        count += tier.loads.size();
    return count;
}

SectionTitle titleRow(const CoreBars& cores)
{
    return { cores.title, { { Amounts().count(double(coreCount(cores))) } } };
}

ValueRow label(const CoreBars::Tier& tier)
{
    return { tier.name, Amounts().percent(mean(tier.loads)) };
}

/// The room of a tier's name and of a mean of two digits. It does not follow the load, so that the bars never move.
double labelWidth(const CoreBars::Tier& tier, const PanelEnvironment& environment)
{
    constexpr double twoDigits = 0.88;
    const PanelNumber number(Amounts().percent(twoDigits), environment.font, environment);
    return std::ceil(QFontMetricsF(environment.font).horizontalAdvance(tier.name)) + ValueRow::spacing
        + number.width();
}

/// The widths of the tiers: all the same where their names fit, else as the names need it. Nothing where they do not fit.
std::optional<QList<double>> tierWidths(
    const CoreBars& cores, double width, const PanelEnvironment& environment)
{
    QList<double> widths;
    for (const CoreBars::Tier& tier : cores.tiers)
        widths.append(labelWidth(tier, environment));
    const double count = double(widths.size());
    const double room = width - (count - 1) * tierGap;
    const double rest = room - std::accumulate(widths.begin(), widths.end(), 0.0);
    if (rest < 0)
        return std::nullopt;
    const bool areEqual = *std::max_element(widths.begin(), widths.end()) <= room / count;
    for (double& tier : widths)
        tier = areEqual ? room / count : tier + rest / count;
    return widths;
}

struct CoreLayout {
    PanelEnvironment labels; ///< with the font of the tiers' names
    double barsTop;
    QList<double> widths; ///< of the tiers
    qsizetype rows = 1;
    double rowHeight;

    CoreLayout(const CoreBars& cores, double width, const PanelEnvironment& environment)
        : labels(environment)
        , barsTop(titleRow(cores).height(environment) + environment.metrics.rowSpacing)
        , widths(cores.tiers.size(), width)
    {
        if (const double count = double(widths.size()); count > 1) {
            auto fitting = tierWidths(cores, width, labels);
            if (!fitting) {
                // Processors with three tiers are common, and three names do not fit in the size of rows.
                constexpr int smallSize = 10;
                labels.font = PanelEnvironment::systemFont(smallSize);
                fitting = tierWidths(cores, width, labels);
            }
            widths.fill((width - (count - 1) * tierGap) / count);
            widths = fitting.value_or(widths);
            barsTop += label(cores.tiers.first()).height(labels) + labelGap;
        }
        for (qsizetype i = 0; i < widths.size(); ++i) {
            const auto most = std::max<qsizetype>(1, qsizetype(widths[i] / leastPitch));
            rows = std::max(rows, (cores.tiers[i].loads.size() + most - 1) / most);
        }
        rowHeight = rows > 1 ? wrappedHeight : coreHeight;
    }
    double barsHeight() const { return double(rows) * rowHeight + double(rows - 1) * rowGap; }
    QRectF tier(qsizetype index, const QRectF& rect, const PanelEnvironment& environment) const
    {
        const double before
            = std::accumulate(widths.begin(), widths.begin() + index, double(index) * tierGap);
        return environment.fromLeading(rect, before, widths[index]);
    }
    /// The cell of a core, with the room up to the next one.
    QRectF cell(
        const QRectF& tier, qsizetype core, qsizetype cores, const PanelEnvironment& environment) const
    {
        const qsizetype inRow = barsInRow(cores);
        const double gap = barGap(tier, cores);
        const double pitch = (tier.width() + gap) / double(inRow);
        QRectF cell = environment.fromLeading(tier, double(core % inRow) * pitch, pitch - gap);
        const qsizetype row = core / inRow;
        cell.setTop(tier.top() + barsTop + double(row) * (rowHeight + rowGap));
        cell.setHeight(rowHeight);
        return cell;
    }
    qsizetype barsInRow(qsizetype cores) const { return (cores + rows - 1) / rows; }
    double barGap(const QRectF& tier, qsizetype cores) const
    {
        return std::clamp(tier.width() / double(barsInRow(cores)) * 0.3, 1.0, widestGap);
    }
};

/// The number of the pointed core, counted through all tiers; -1 elsewhere.
qsizetype pointedCore(
    const CoreBars& cores, const CoreLayout& layout, const QRectF& rect, const PanelEnvironment& environment)
{
    qsizetype before = 0;
    for (qsizetype index = 0; index < cores.tiers.size(); ++index) {
        const qsizetype count = cores.tiers[index].loads.size();
        const QRectF place = layout.tier(index, rect, environment);
        for (qsizetype core = 0; core < count; ++core) {
            const QRectF cell = layout.cell(place, core, count, environment);
            const double gap = layout.barGap(place, count) / 2;
            if (environment.isPointed(cell.adjusted(-gap, 0, gap, 0)))
                return before + core;
        }
        before += count;
    }
    return -1;
}

/// "Core 5, 72 %". People count from 1, so this is the kernel's "cpu4".
QString pointedText(const CoreBars& cores, qsizetype place)
{
    const Amounts amounts;
    qsizetype core = place;
    for (const CoreBars::Tier& tier : cores.tiers) {
        if (core < tier.loads.size()) {
            const QString number = amounts.count(double(tier.numbers.value(core, int(place)) + 1));
            return AppLanguage::string("Core %1, %2").arg(number, amounts.percent(tier.loads[core]));
        }
        core -= tier.loads.size();
    }
    return QString();
}

void drawBar(QPainter& painter, const QRectF& cell, double load, const QColor& colour, MeterShape shape,
    const PanelEnvironment& environment)
{
    const QRectF track = PixelGrid::moved(cell, painter);
    const double radius = shape == MeterShape::square ? 0 : std::min(largestRadius, track.width() / 2);
    QRectF bar = track;
    bar.setTop(track.bottom() - std::max(leastBar, std::clamp(load, 0.0, 1.0) * track.height()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(environment.trackColour());
    painter.drawRoundedRect(track, radius, radius);
    painter.setBrush(colour);
    const double barRadius = std::min(radius, bar.height() / 2);
    painter.drawRoundedRect(bar, barRadius, barRadius);
}

} // namespace

double CoreBars::height(const PanelEnvironment& environment) const
{
    // The number of rows follows from the width, and all sections of popovers are of one width.
    constexpr double width = PopoverPanel::width - 2 * DenseSection::sidePadding;
    const CoreLayout layout(*this, width, environment);
    return layout.barsTop + layout.barsHeight();
}

void CoreBars::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const CoreLayout layout(*this, rect.width(), environment);
    SectionTitle row = titleRow(*this);
    const qsizetype pointed = pointedCore(*this, layout, rect, environment);
    if (pointed >= 0)
        row.heads.first().text = pointedText(*this, pointed);
    row.draw(painter, QRectF(rect.topLeft(), QSizeF(rect.width(), row.height(environment))), environment);
    for (qsizetype index = 0; index < tiers.size(); ++index) {
        const Tier& tier = tiers[index];
        const QRectF place = layout.tier(index, rect, environment);
        if (tiers.size() > 1) {
            const ValueRow name = label(tier);
            QRectF labelPlace = place;
            labelPlace.setHeight(name.height(layout.labels));
            labelPlace.moveBottom(rect.top() + layout.barsTop - labelGap);
            name.draw(painter, labelPlace, layout.labels);
        }
        const QColor colour = environment.readable(tier.colour);
        for (qsizetype core = 0; core < tier.loads.size(); ++core)
            drawBar(painter, layout.cell(place, core, tier.loads.size(), environment), tier.loads[core],
                colour, shape, environment);
    }
}

QList<PanelElement> CoreBars::describe(const QRectF& rect, const PanelEnvironment& environment) const
{
    const SectionTitle row = titleRow(*this);
    QList<PanelElement> elements
        = row.describe(QRectF(rect.topLeft(), QSizeF(rect.width(), row.height(environment))), environment);
    if (tiers.size() < 2)
        return elements;
    const CoreLayout layout(*this, rect.width(), environment);
    for (qsizetype index = 0; index < tiers.size(); ++index) {
        const Tier& tier = tiers[index];
        PanelElement element;
        element.role = PanelElement::Role::bar;
        element.fraction = mean(tier.loads);
        element.name = AppLanguage::string("%1, %2 cores, %3")
                           .arg(tier.name, Amounts().count(double(tier.loads.size())),
                               Amounts().percent(mean(tier.loads)));
        element.columns = { tier.name, Amounts().percent(mean(tier.loads)) };
        element.rect = layout.tier(index, rect, environment);
        element.rect.setTop(rect.top() + row.height(environment) + environment.metrics.rowSpacing);
        elements.append(element);
    }
    return elements;
}

qsizetype CoreBars::pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const
{
    return pointedCore(*this, CoreLayout(*this, rect.width(), environment), rect, environment);
}

} // namespace kestrum
