// SPDX-License-Identifier: MIT
// The popover of the memory.

#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/HistoryGraph.h"
#include "KestrumShared/Popover/MemoryColours.h"
#include "KestrumShared/Popover/MetricProgressBar.h"
#include "KestrumShared/Popover/SectionPanel.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {
namespace {

constexpr int memoryAppCount = 5;
constexpr double amountWidth = 72;
// All used memory has the accent's colour, in three strengths. Grey memory can be given back.
constexpr double systemStrength = 0.62;
constexpr double compressedStrength = 0.36;

} // namespace

PopoverPanel SectionPanel::memory() const
{
    const MemoryPopoverReadings& readings = m_readings.memory;
    const MemoryParts& parts = readings.parts;
    const auto share
        = [](quint64 part, quint64 whole) { return whole > 0 ? double(part) / double(whole) : 0; };
    const auto ofWhole = [this](quint64 part, quint64 whole) {
        return AppLanguage::string(
            "%1 of %2", { m_amounts.memory(double(part)), m_amounts.wholeMemory(double(whole)) });
    };
    const QColor colour = MemoryColours::app(m_settings, m_environment);
    struct Use {
        QString title;
        quint64 bytes;
        const QList<HistoryPoint>& history;
        QColor colour;
        bool isShown = true;
    };
    const Use uses[] = {
        { AppLanguage::string("App Memory"), parts.app, readings.app, colour },
        { AppLanguage::string("System Memory"), parts.system, readings.system,
            weakened(colour, systemStrength) },
        { AppLanguage::string("Compressed"), parts.compressed, readings.compressed,
            weakened(colour, compressedStrength), readings.hasCompressed },
        { AppLanguage::string("Cache"), parts.cache, readings.cache,
            MemoryColours::cache(m_environment.scheme) },
    };

    const QString pressure = m_amounts.percent(readings.pressure);
    const QList<PanelPart> strain { SectionTitle { AppLanguage::string("PRESSURE"), { { pressure } } },
        MetricProgressBar { readings.pressure, std::nullopt, AppLanguage::string("Pressure") } };
    QList<PanelPart> amounts { valueRow(
        AppLanguage::string("Memory Used"), ofWhole(parts.used(), parts.total)) };
    HistoryGraph usage;
    usage.title = AppLanguage::string("USAGE");
    usage.name = AppLanguage::string("Usage");
    usage.graphHeight = m_environment.metrics.usageGraphHeight;
    usage.form = HistoryGraph::Form::stacked;
    usage.text = [amounts = m_amounts](double fraction) { return amounts.percent(fraction); };
    for (const Use& use : uses) {
        if (!use.isShown)
            continue;
        amounts.append(valueRow(use.title, m_amounts.memory(double(use.bytes)), use.colour));
        usage.lines.append({ use.history, use.colour, true, use.title });
    }
    QList<PanelPart> sections { DenseSection { std::nullopt, strain, amounts },
        DenseSection { std::nullopt, { usage } } };

    if (readings.hasSwap)
        sections.append(DenseSection { std::nullopt,
            { SectionTitle { AppLanguage::string("SWAP"), { { ofWhole(parts.swapUsed, parts.swapTotal) } } },
                MetricProgressBar {
                    share(parts.swapUsed, parts.swapTotal), colour, AppLanguage::string("Swap") } } });

    QList<PanelPart> apps { appsTitle({ { AppLanguage::string("Memory"), amountWidth } }) };
    apps += appRows(readings.apps, memoryAppCount, [&](const AppUse& app) {
        const QString amount = m_amounts.memory(double(app.memory));
        ColumnRow row { name(app), { { amount, amountWidth } } };
        row.spoken = AppLanguage::string("%1, memory %2", { row.name, amount });
        return row;
    });
    sections.append(DenseSection { std::nullopt, apps });

    return { header(MonitorSection::memory, m_amounts.percent(share(parts.used(), parts.total))), sections };
}

} // namespace kestrum
