// The texts of menu-bar items and the room that is kept for everything in them. Room follows the settings
// only, never the readings: an item does not change its width while it counts.

#include "KestrumShared/Items/ItemFonts.h"
#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/Units.h"
#include "KestrumShared/Vocabulary/FixedText.h"
#include "Platform/Desktop/SymbolImage.h"
#include "Platform/Machine/CoreTopology.h"

#include <QHash>
#include <cmath>

namespace kestrum {
namespace {

// Room for a readout's text, without the gap before it.
constexpr double percentRoom = 33;
constexpr double wattsRoom = 33;
constexpr double degreesRoom = 27;
constexpr double bytesRoom = 30;
constexpr double fanRoom = 29;

double memoryReadoutRoom()
{
    switch (MeterSettings::memoryReadout()) {
    case MemoryReadout::usage:
    case MemoryReadout::pressure:
        return percentRoom;
    case MemoryReadout::swap:
        return bytesRoom;
    case MemoryReadout::off:
        break;
    }
    return 0;
}

double storageReadoutRoom()
{
    switch (MeterSettings::storageReadout()) {
    case StorageReadout::usage:
        return percentRoom;
    case StorageReadout::free:
        return bytesRoom;
    case StorageReadout::off:
        break;
    }
    return 0;
}

double sensorsReadoutRoom()
{
    switch (Setting(Keys::sensorsReadout).value()) {
    case SensorsReadout::power:
        return wattsRoom;
    case SensorsReadout::hottest:
    case SensorsReadout::gpu:
        return degreesRoom;
    case SensorsReadout::fan:
        return fanRoom;
    case SensorsReadout::off:
        break;
    }
    return 0;
}

double withGap(double room, MonitorSection section)
{
    return room > 0 ? room + StatusMetricView::meterSideGap(section) : 0;
}

double cpuMeterWidth()
{
    return Setting(Keys::meterStyle).value() == MeterStyle::bars
        ? ItemGeometry::barsMeterWidth(CoreTopology::totalCores())
        : ItemGeometry::fixedMeterWidth;
}

// A reading that is no number is as good as absent; what is shown of the others fits 64 bits.
bool isPresent(std::optional<double> reading)
{
    return reading && std::abs(*reading) < 1e15;
}

std::optional<QString> wholeText(std::optional<double> reading, const char* unit)
{
    if (!isPresent(reading))
        return std::nullopt;
    return QString::number(std::llround(*reading)) + QLatin1StringView(unit);
}

std::optional<QString> degreesText(std::optional<double> celsius)
{
    if (!isPresent(celsius))
        return std::nullopt;
    return Units::degrees(*celsius);
}

QString gibibytesText(double bytes)
{
    const double gibibytes = bytes / 1073741824;
    // One decimal up to where it would print as 10.0, the next unit from where a fourth digit would be
    // needed.
    if (gibibytes >= 999.5)
        return fixedText(gibibytes / 1024, 1) + QLatin1Char('T');
    return fixedText(gibibytes, gibibytes >= 9.95 ? 0 : 1) + QLatin1Char('G');
}

} // namespace

double StatusMetricView::itemWidth(MonitorSection section)
{
    using namespace ItemGeometry;
    const double gap = meterSideGap(section);
    const double label = margin + labelWidth(section);
    switch (section) {
    case MonitorSection::cpu:
        return label + gap + cpuMeterWidth() + cpuReadoutWidth() + margin;
    case MonitorSection::memory:
        return label + gap + gaugeWidth + gaugeOverhang + withGap(memoryReadoutRoom(), section) + margin;
    case MonitorSection::storage:
        return label + gap + gaugeWidth + gaugeOverhang + withGap(storageReadoutRoom(), section) + margin;
    case MonitorSection::sensors:
        break;
    }
    const bool hasLetters = Setting(Keys::meterLabelStyle).value() == MeterLabelStyle::letters;
    const double symbol = hasLetters ? gap + iconSize(section).width() : 0;
    return label + symbol + withGap(sensorsReadoutRoom(), section) + margin;
}

QString StatusMetricView::symbolName(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return QStringLiteral("cpu");
    case MonitorSection::memory:
        return QStringLiteral("memorychip");
    case MonitorSection::storage:
        return QStringLiteral("internaldrive");
    case MonitorSection::sensors:
        break;
    }
    return QStringLiteral("sensor");
}

QSizeF StatusMetricView::iconSize(MonitorSection section)
{
    return symbolSize(symbolName(section));
}

QSizeF StatusMetricView::symbolSize(const QString& name)
{
    static QHash<QString, QSizeF> symbolSizes;
    const auto kept = symbolSizes.constFind(name);
    if (kept != symbolSizes.constEnd())
        return *kept;
    const QSizeF size = SymbolImage::size(name, ItemGeometry::symbolPointSize);
    constexpr double side = ItemGeometry::missingSymbolSide;
    return *symbolSizes.insert(name, size.isEmpty() ? QSizeF(side, side) : size);
}

double StatusMetricView::labelWidth(MonitorSection section)
{
    if (Setting(Keys::meterLabelStyle).value() == MeterLabelStyle::letters)
        return ItemGeometry::lettersWidth;
    return iconSize(section).width();
}

double StatusMetricView::meterSideGap(MonitorSection)
{
    return Setting(Keys::meterLabelStyle).value() == MeterLabelStyle::letters ? 3 : 5;
}

double StatusMetricView::cpuReadoutWidth()
{
    switch (Setting(Keys::cpuReadout).value()) {
    case CPUReadout::usage:
        return withGap(percentRoom, MonitorSection::cpu);
    case CPUReadout::power:
        return withGap(wattsRoom, MonitorSection::cpu);
    case CPUReadout::temperature:
        return withGap(degreesRoom, MonitorSection::cpu);
    case CPUReadout::off:
        break;
    }
    return 0;
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

std::optional<QString> StatusMetricView::cpuReadoutText(const MenuBarReadings& readings)
{
    switch (Setting(Keys::cpuReadout).value()) {
    case CPUReadout::usage:
        return percentText(readings.cpuUsage());
    case CPUReadout::temperature:
        return degreesText(readings.cpuTemperature());
    case CPUReadout::power:
        return wholeText(readings.cpuWatts(), "W");
    case CPUReadout::off:
        break;
    }
    return std::nullopt;
}

std::optional<QString> StatusMetricView::memoryReadoutText(const MenuBarReadings& readings)
{
    switch (MeterSettings::memoryReadout()) {
    case MemoryReadout::usage:
        return percentText(readings.memoryUsage());
    case MemoryReadout::pressure:
        return percentText(readings.memoryPressure());
    case MemoryReadout::swap:
        return bytesText(std::optional(readings.swapUsed()));
    case MemoryReadout::off:
        break;
    }
    return std::nullopt;
}

std::optional<QString> StatusMetricView::storageReadoutText(const MenuBarReadings& readings)
{
    switch (MeterSettings::storageReadout()) {
    case StorageReadout::usage:
        return percentText(readings.storageUsage());
    case StorageReadout::free:
        return bytesText(std::optional(readings.availableStorage()));
    case StorageReadout::off:
        break;
    }
    return std::nullopt;
}

std::optional<QString> StatusMetricView::sensorsReadoutText(const MenuBarReadings& readings)
{
    switch (Setting(Keys::sensorsReadout).value()) {
    case SensorsReadout::power:
        return wholeText(readings.systemWatts(), "W");
    case SensorsReadout::hottest:
    case SensorsReadout::gpu:
        return degreesText(sensorsTemperature(readings));
    case SensorsReadout::fan:
        return wholeText(readings.fastestFanRPM(), "");
    case SensorsReadout::off:
        break;
    }
    return std::nullopt;
}

std::optional<double> StatusMetricView::sensorsTemperature(const MenuBarReadings& readings)
{
    switch (Setting(Keys::sensorsReadout).value()) {
    case SensorsReadout::hottest:
        return readings.hottestCelsius();
    case SensorsReadout::gpu:
        return readings.gpuTemperature();
    case SensorsReadout::power:
    case SensorsReadout::fan:
    case SensorsReadout::off:
        break;
    }
    return std::nullopt;
}

std::optional<QString> StatusMetricView::readoutText(MonitorSection section, const MenuBarReadings& readings)
{
    switch (section) {
    case MonitorSection::cpu:
        return cpuReadoutText(readings);
    case MonitorSection::memory:
        return memoryReadoutText(readings);
    case MonitorSection::storage:
        return storageReadoutText(readings);
    case MonitorSection::sensors:
        break;
    }
    return sensorsReadoutText(readings);
}

QString StatusMetricView::description(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return AppLanguage::string("CPU");
    case MonitorSection::memory:
        return AppLanguage::string("Memory");
    case MonitorSection::storage:
        return AppLanguage::string("SSD");
    case MonitorSection::sensors:
        break;
    }
    return AppLanguage::string("Sensors");
}

} // namespace kestrum
