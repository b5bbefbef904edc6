// SPDX-License-Identifier: MIT
// The popover of the sensors.

#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/HistoryGraph.h"
#include "KestrumShared/Popover/MetricProgressBar.h"
#include "KestrumShared/Popover/PanelNote.h"
#include "KestrumShared/Popover/SectionPanel.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <algorithm>

namespace kestrum {
namespace {

using Kind = SensorDevice::Kind;

constexpr double highestWidth = 64;
constexpr double leastNowWidth = 48;
constexpr double inputIndent = 13; ///< as wide as a dot and the space after it
constexpr double temperatureGraphHeight = 60;
constexpr double coolest = 30; ///< °C at the edges of the graph
constexpr double warmest = 110;
// The charges up to which a discharging battery's bar has a warning colour.
constexpr double amberCharge = 0.20;
constexpr double redCharge = 0.10;

QString kindName(const SensorDevice& device)
{
    switch (device.kind) {
    case Kind::cpu:
        return AppLanguage::string("CPU");
    case Kind::gpu:
        return AppLanguage::string("GPU");
    case Kind::disk:
        return AppLanguage::string("Disk");
    case Kind::memory:
        return AppLanguage::string("Memory modules");
    case Kind::mainboard:
        return AppLanguage::string("Mainboard");
    case Kind::chipset:
        return AppLanguage::string("Chipset");
    case Kind::wiFi:
        return AppLanguage::string("Wi-Fi");
    case Kind::network:
        return AppLanguage::string("Network");
    case Kind::battery:
        return AppLanguage::string("Battery");
    case Kind::other:
        break;
    }
    return device.id;
}

QString statusText(BatteryState::Status status)
{
    switch (status) {
    case BatteryState::Status::discharging:
        return AppLanguage::string("Discharging");
    case BatteryState::Status::charging:
        return AppLanguage::string("Charging");
    case BatteryState::Status::full:
        return AppLanguage::string("Full");
    case BatteryState::Status::notCharging:
        return AppLanguage::string("Not charging");
    }
    return {};
}

bool hasAny(Kind kind, const QList<SensorDevice>& devices)
{
    return std::any_of(
        devices.begin(), devices.end(), [kind](const SensorDevice& device) { return device.kind == kind; });
}

std::optional<double> highestNow(const QList<SensorDevice>& devices)
{
    std::optional<double> highest;
    for (const SensorDevice& device : devices) {
        if (device.celsius && (!highest || *device.celsius > *highest))
            highest = device.celsius;
    }
    return highest;
}

} // namespace

QString SectionPanel::sensorsHeader() const
{
    const SensorsPopoverReadings& readings = m_readings.sensors;
    switch (valueIn(m_settings, Keys::sensorsReadout)) {
    case SensorsReadout::power:
        if (readings.systemWatts)
            return m_amounts.watts(*readings.systemWatts);
        break;
    case SensorsReadout::gpu:
        if (readings.gpu)
            return m_amounts.temperature(*readings.gpu);
        break;
    case SensorsReadout::fan:
        if (readings.fastestFan)
            return AppLanguage::string("%@ rpm", { m_amounts.count(*readings.fastestFan) });
        break;
    case SensorsReadout::hottest:
    case SensorsReadout::off:
        break;
    }
    const std::optional<double> celsius = readings.hottest ? readings.hottest : highestNow(readings.devices);
    return celsius ? m_amounts.temperature(*celsius) : QString();
}

QList<PanelPart> SectionPanel::temperatureRows() const
{
    const SensorsPopoverReadings& readings = m_readings.sensors;
    const bool hasCPU = hasAny(Kind::cpu, readings.devices);
    const bool hasGPU = hasAny(Kind::gpu, readings.devices);
    const QColor cpuColour = accent(Keys::cpuAccent);
    const QColor fastColour = accent(Keys::cpuFastCoreAccent);
    const QColor gpuColour = fastColour == cpuColour ? counterpart(cpuColour) : fastColour;
    const auto degrees = [this](std::optional<double> celsius) {
        return celsius ? m_amounts.temperature(*celsius) : Amounts::lost();
    };

    const double width = nowWidth();
    const QString since = readings.highest.isEmpty()
        ? QString()
        : AppLanguage::string("Highest since %1", { m_amounts.moment(readings.highestSince) });
    SectionTitle title { AppLanguage::string("TEMPERATURES"),
        { { AppLanguage::string("Highest"), highestWidth, { PanelAction::Kind::resetHighest }, since },
            { AppLanguage::string("Now"), width } } };
    QList<PanelPart> rows { title };
    for (const SensorDevice& device : readings.devices) {
        ColumnRow row = valueRow(deviceName(device), QString());
        // A line is that of the hottest of its kind, whichever this is at the moment.
        if (device.kind == Kind::cpu || device.kind == Kind::gpu)
            row.colour = device.kind == Kind::cpu ? cpuColour : gpuColour;
        const auto highest = readings.highest.find(device.id);
        const QString most = highest == readings.highest.end() ? Amounts::lost() : degrees(*highest);
        const QString now = device.isAsleep ? AppLanguage::string("Asleep") : degrees(device.celsius);
        row.columns = { { most, highestWidth, true }, { now, width, device.isAsleep } };
        if (device.celsius && !device.isAsleep)
            row.columns.last().colour = heat(*device.celsius);
        row.spoken = device.isAsleep ? AppLanguage::string("%1, asleep", { row.name })
                                     : AppLanguage::string("%1, highest %2, now %3", { row.name, most, now });
        if (!device.inputs.isEmpty())
            row.action = { PanelAction::Kind::toggleDevice, device.id };
        rows.append(row);
        if (!m_state.openDevices.contains(device.id))
            continue;
        for (const SensorInput& input : device.inputs) {
            ColumnRow inputRow = valueRow(input.label, degrees(input.celsius));
            inputRow.indent = inputIndent;
            if (input.celsius)
                inputRow.columns.first().colour = heat(*input.celsius);
            rows.append(inputRow);
        }
    }
    if (readings.moreDevices > 0)
        rows.append(
            dimmedRow(AppLanguage::string("%1 more", { m_amounts.count(readings.moreDevices) }), QString()));

    if (hasCPU || hasGPU) {
        HistoryGraph graph;
        graph.name = AppLanguage::string("Temperature");
        if (hasCPU)
            graph.lines.append({ readings.cpuHistory, cpuColour, true, AppLanguage::string("CPU") });
        if (hasGPU)
            graph.lines.append({ readings.gpuHistory, gpuColour, false, AppLanguage::string("GPU") });
        graph.graphHeight = temperatureGraphHeight;
        graph.least = coolest;
        graph.most = warmest;
        graph.limit = HeatColour::amberFrom;
        graph.limitText = m_amounts.temperature(HeatColour::amberFrom);
        graph.text = [amounts = m_amounts](double celsius) { return amounts.temperature(celsius); };
        rows.append(graph);
    }
    return rows;
}

double SectionPanel::nowWidth() const
{
    return columnWidth(AppLanguage::string("Now"),
        { AppLanguage::string("Asleep"), m_amounts.temperature(100), m_amounts.count(9999) }, leastNowWidth);
}

QString SectionPanel::deviceName(const SensorDevice& device) const
{
    const QString name = device.model.isEmpty() ? kindName(device) : device.model;
    return device.number > 0 ? name + QChar::Nbsp + m_amounts.count(device.number) : name;
}

QList<PanelPart> SectionPanel::fanRows() const
{
    const SensorsPopoverReadings& readings = m_readings.sensors;
    QList<PanelPart> rows { SectionTitle {
        AppLanguage::string("FANS"), { { AppLanguage::string("rpm") } } } };
    const double width = nowWidth();
    const auto revolutions
        = [this](std::optional<double> rpm) { return rpm ? m_amounts.count(*rpm) : Amounts::lost(); };
    for (const FanSpeed& fan : readings.fans) {
        const QString title = !fan.label.isEmpty() ? fan.label
            : fan.number > 0 ? AppLanguage::string("Fan %1", { m_amounts.count(fan.number) })
                             : AppLanguage::string("Fan");
        const auto highest = readings.highest.find(fan.id);
        const QString most = highest == readings.highest.end() ? Amounts::lost() : revolutions(*highest);
        ColumnRow row = valueRow(title, QString());
        row.columns = { { most, highestWidth, true }, { revolutions(fan.rpm), width } };
        row.spoken = AppLanguage::string("%1, highest %2, now %3", { title, most, row.columns.last().text });
        rows.append(row);
    }
    return rows;
}

QList<PanelPart> SectionPanel::powerRows() const
{
    const SensorsPopoverReadings& readings = m_readings.sensors;
    QList<PanelPart> rows { SectionTitle { AppLanguage::string("POWER") } };
    const auto wattsRow = [this, &rows](const QString& title, const RowValue<double>& watts) {
        if (watts.hasRow)
            rows.append(valueRow(title, watts.value ? m_amounts.watts(*watts.value) : Amounts::lost()));
    };
    wattsRow(AppLanguage::string("Whole computer"), readings.wholeWatts);
    rows += cpuPowerRows(AppLanguage::string("CPU"), readings.cpuWatts, readings.cpuPowerAccess);
    if (!explainsPower(readings.cpuWatts, readings.cpuPowerAccess))
        wattsRow(AppLanguage::string("GPU"), readings.gpuWatts);
    return rows;
}

QList<PanelPart> SectionPanel::batteryRows() const
{
    const SensorsPopoverReadings& readings = m_readings.sensors;
    QList<PanelPart> rows { SectionTitle { AppLanguage::string("BATTERY") } };
    if (!readings.hasBattery)
        return rows;
    const std::optional<BatteryState>& battery = readings.battery;
    if (!battery)
        return { SectionTitle { AppLanguage::string("BATTERY"), { { Amounts::lost() } } },
            MetricProgressBar { std::nullopt, std::nullopt, AppLanguage::string("Battery") },
            valueRow(Amounts::lost(), QString()) };
    std::optional<QColor> warning;
    if (battery->status == BatteryState::Status::discharging && battery->charge <= amberCharge)
        warning = m_environment.readable(battery->charge <= redCharge ? redBar : amberBar);
    QString time;
    if (battery->minutes) {
        const QString estimate = m_amounts.estimate(std::chrono::minutes(*battery->minutes));
        if (battery->status == BatteryState::Status::discharging)
            time = AppLanguage::string("%1 left", { estimate });
        else if (battery->status == BatteryState::Status::charging)
            time = AppLanguage::string("%1 until full", { estimate });
    }
    return { SectionTitle { AppLanguage::string("BATTERY"), { { m_amounts.percent(battery->charge) } } },
        MetricProgressBar { battery->charge, warning, AppLanguage::string("Battery") },
        valueRow(statusText(battery->status), time) };
}

PopoverPanel SectionPanel::sensors() const
{
    QList<PanelPart> sections;
    for (const QList<PanelPart>& rows : { temperatureRows(), fanRows(), powerRows(), batteryRows() }) {
        if (rows.size() > 1) // more than the title
            sections.append(DenseSection { std::nullopt, rows });
    }
    if (sections.isEmpty() && m_readings.sensors.isAnswered)
        sections.append(DenseSection { std::nullopt,
            { PanelNote {
                AppLanguage::string("No sensors"), PopoverPanel::width - 2 * DenseSection::sidePadding } } });
    return { header(MonitorSection::sensors, sensorsHeader()), sections };
}

} // namespace kestrum
