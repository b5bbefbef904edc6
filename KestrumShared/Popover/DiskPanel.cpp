// SPDX-License-Identifier: MIT
// The popover of the volumes.

#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/FlowGraph.h"
#include "KestrumShared/Popover/MetricProgressBar.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/SectionPanel.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <algorithm>

namespace kestrum {
namespace {

constexpr int diskAppCount = 3;
constexpr double leastRateWidth = 72;
constexpr double volumeBarGap = 4; ///< between a volume's name and its bar
// The used shares from which on a volume's bar has a warning colour.
constexpr double amberShare = 0.90;
constexpr double redShare = 0.97;
constexpr double leastRate = 500; ///< bytes per second; less would be shown as 0 kB

} // namespace

PopoverPanel SectionPanel::disk() const
{
    const DiskPopoverReadings& readings = m_readings.disk;
    const QColor readColour = accent(Keys::storageAccent);
    const QColor writeColour = counterpart(readColour);
    QList<PanelPart> sections;
    const auto addSection = [&sections](const QList<PanelPart>& parts) {
        if (parts.size() > 1) // more than the title
            sections.append(DenseSection { std::nullopt, parts });
    };

    QList<PanelPart> volumes { SectionTitle { AppLanguage::string("VOLUMES") } };
    for (const VolumeUse& volume : readings.volumes) {
        const bool hasSpace = volume.space && !volume.isSilent;
        const double used = hasSpace ? volume.space->used : 0;
        ColumnRow row { volume.name };
        if (hasSpace)
            row.columns
                = { { AppLanguage::string("%1 free", { m_amounts.space(double(volume.space->free)) }) } };
        else
            row.columns
                = { { volume.isSilent ? AppLanguage::string("No answer") : Amounts::lost(), 0, true } };
        if (volume.isSilent)
            row.spoken = AppLanguage::string("%1, no answer", { volume.name });
        const QColor colour = used >= redShare ? m_environment.readable(redBar)
            : used >= amberShare               ? m_environment.readable(amberBar)
                                               : readColour;
        const std::optional<double> share = hasSpace ? std::optional(used) : std::nullopt;
        volumes.append(
            PanelStack { { row, MetricProgressBar { share, colour, volume.name } }, volumeBarGap });
    }
    if (readings.moreVolumes > 0)
        volumes.append(
            dimmedRow(AppLanguage::string("%1 more", { m_amounts.count(readings.moreVolumes) }), QString()));
    addSection(volumes);

    QList<PanelPart> activity;
    const auto rateRow
        = [this, &activity](const QString& title, const RowValue<double>& rate, const QColor& colour) {
              if (rate.hasRow)
                  activity.append(
                      valueRow(title, rate.value ? m_amounts.rate(*rate.value) : Amounts::lost(), colour));
          };
    const QString read = AppLanguage::string("Read");
    const QString write = AppLanguage::string("Write");
    if (readings.readRate.hasRow || readings.writeRate.hasRow) {
        FlowGraph graph;
        graph.title = { AppLanguage::string("ACTIVITY") };
        graph.name = AppLanguage::string("Disk");
        graph.up = readings.readHistory;
        graph.down = readings.writeHistory;
        graph.upColour = readColour;
        graph.downColour = writeColour;
        graph.upName = read;
        graph.downName = write;
        graph.text = [amounts = m_amounts](double rate) { return amounts.scale(rate); };
        activity.append(graph);
    } else {
        activity.append(SectionTitle { AppLanguage::string("ACTIVITY") });
    }
    rateRow(read, readings.readRate, readColour);
    rateRow(write, readings.writeRate, writeColour);
    if (readings.pressure.hasRow)
        activity.append(valueRow(AppLanguage::string("Pressure"),
            readings.pressure.value ? m_amounts.percent(*readings.pressure.value) : Amounts::lost()));
    addSection(activity);

    const double rateWidth = std::max(columnWidth(read, {}, leastRateWidth),
        columnWidth(write, { m_amounts.rate(999e3), m_amounts.rate(99.9e6) }, leastRateWidth));
    const QString ownPrograms = AppLanguage::string("Your own programs");
    QList<PanelPart> apps { appsTitle(
        { { read, rateWidth, {}, ownPrograms }, { write, rateWidth, {}, ownPrograms } }) };
    apps += appRows(readings.apps, diskAppCount, [&](const AppUse& app) {
        const auto rate
            = [this](double value) { return value < leastRate ? Amounts::lost() : m_amounts.rate(value); };
        const QString readRate = rate(app.readRate);
        const QString writeRate = rate(app.writeRate);
        ColumnRow row { name(app), { { readRate, rateWidth, true }, { writeRate, rateWidth } } };
        row.spoken = AppLanguage::string("%1, read %2, write %3", { row.name, readRate, writeRate });
        return row;
    });
    addSection(apps);

    return { header(MonitorSection::storage, m_amounts.percent(readings.used)), sections };
}

} // namespace kestrum
