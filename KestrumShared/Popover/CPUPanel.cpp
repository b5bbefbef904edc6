// SPDX-License-Identifier: MIT
// The popover of the CPU.

#include "KestrumShared/Popover/CoreBars.h"
#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/HistoryGraph.h"
#include "KestrumShared/Popover/InsetDivider.h"
#include "KestrumShared/Popover/SectionPanel.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <algorithm>

namespace kestrum {
namespace {

constexpr int cpuAppCount = 5;
constexpr double leastCoresWidth = 52;
constexpr double leastShareWidth = 44;

QString tierTitle(const QString& name)
{
    const QString level = QStringLiteral("Level ");
    return name.startsWith(level) ? AppLanguage::string("Level %1", { name.mid(level.size()) })
                                  : AppLanguage::string(name);
}

/// The loads by tiers, slowest first. The fastest tiers get their cores first, as in the item: an offline core is missing
/// in the slowest tier, wherever it is.
QList<CoreBars::Tier> barTiers(const CPUPopoverReadings& readings, const QColor& colour, const QColor& fast)
{
    if (readings.tiers.isEmpty())
        return { { QString(), readings.cores, colour, readings.coreNumbers } };
    QList<CoreBars::Tier> tiers;
    qsizetype rest = readings.cores.size();
    for (qsizetype i = 0; i < readings.tiers.size(); ++i) {
        const bool isSlowest = i + 1 == readings.tiers.size();
        const qsizetype count = isSlowest ? rest : std::clamp<qsizetype>(readings.tiers[i].count, 0, rest);
        rest -= count;
        if (count > 0)
            tiers.prepend({ tierTitle(readings.tiers[i].name), readings.cores.mid(rest, count),
                i == 0 ? fast : colour, readings.coreNumbers.mid(rest, count) });
    }
    if (tiers.size() == 1)
        tiers = { { QString(), readings.cores, colour, readings.coreNumbers } };
    return tiers;
}

} // namespace

PopoverPanel SectionPanel::cpu() const
{
    const CPUPopoverReadings& readings = m_readings.cpu;
    const QColor colour = accent(Keys::cpuAccent);
    const auto percent = [amounts = m_amounts](double fraction) { return amounts.percent(fraction); };

    HistoryGraph usage;
    usage.title = AppLanguage::string("USAGE");
    usage.name = AppLanguage::string("Usage");
    usage.lines = { { readings.history, colour } };
    usage.graphHeight = m_environment.metrics.usageGraphHeight;
    usage.text = percent;

    const CoreBars cores { barTiers(readings, colour, accent(Keys::cpuFastCoreAccent)),
        valueIn(m_settings, Keys::meterShape), AppLanguage::string("CORES") };

    const QString coresHead = AppLanguage::string("Cores");
    const QString shareHead = AppLanguage::string("CPU");
    const double coresWidth = columnWidth(coresHead, { m_amounts.number(100, 1) }, leastCoresWidth);
    const double shareWidth = columnWidth(shareHead, { percent(1) }, leastShareWidth);
    QList<PanelPart> rows { appsTitle({ { coresHead, coresWidth }, { shareHead, shareWidth } }) };
    const double coreCount = std::max<double>(1, double(readings.cores.size()));
    rows += appRows(readings.apps, cpuAppCount, [&](const AppUse& app) {
        const QString used = m_amounts.number(app.cores, 1);
        // Processes are read one after another, and not at one moment: their use may add up to more than there is.
        const QString share = m_amounts.percent(std::min(1.0, app.cores / coreCount));
        ColumnRow row { name(app), { { used, coresWidth, true }, { share, shareWidth } } };
        row.spoken = AppLanguage::string("%1, cores %2, CPU %3", { row.name, used, share });
        return row;
    });

    QList<PanelPart> values;
    if (readings.celsius.hasRow) {
        const std::optional<double>& celsius = readings.celsius.value;
        ColumnRow row = valueRow(
            AppLanguage::string("Temperature"), celsius ? m_amounts.temperature(*celsius) : Amounts::lost());
        row.columns.first().colour = celsius ? heat(*celsius) : std::nullopt;
        values.append(row);
    }
    values += cpuPowerRows(AppLanguage::string("Power"), readings.watts, readings.powerAccess);
    if (!explainsPower(readings.watts, readings.powerAccess)) {
        if (readings.hertz.hasRow)
            values.append(valueRow(AppLanguage::string("Frequency"),
                readings.hertz.value ? m_amounts.clock(*readings.hertz.value) : Amounts::lost()));
        if (readings.load.hasRow) {
            QStringList texts;
            for (const double load : readings.load.value.value_or(std::array<double, 3>()))
                texts.append(m_amounts.number(load, 2));
            values.append(valueRow(AppLanguage::string("Load"),
                readings.load.value ? texts.join(QString(2, QChar::Nbsp)) : Amounts::lost()));
        }
        if (readings.uptime.hasRow)
            values.append(valueRow(AppLanguage::string("Uptime"),
                readings.uptime.value ? m_amounts.duration(*readings.uptime.value) : Amounts::lost()));
    }
    if (!values.isEmpty())
        values.prepend(InsetDivider {});

    return { header(MonitorSection::cpu, readings.usage ? percent(*readings.usage) : Amounts::lost()),
        { DenseSection { std::nullopt, { usage } }, DenseSection { std::nullopt, { cores } },
            DenseSection { std::nullopt, rows, values } } };
}

} // namespace kestrum
