// SPDX-License-Identifier: MIT
#include "Platform/Machine/SensorList.h"

#include "Platform/Machine/KernelText.h"
#include "Platform/Machine/SensorKinds.h"
#include "fuzz/FuzzTarget.h"

#include <QSet>
#include <cmath>
#include <set>
#include <string>
#include <tuple>

namespace kestrum {

namespace {

constexpr int mostDevices = 6;

QString textOf(std::string_view words)
{
    return QString::fromUtf8(words.data(), qsizetype(words.size()));
}

/// A device in lines: its driver, the model of a disk, then "temp", "fan" or "power" with value, fault flag, kernel's label and label.
SensorChip device(std::string_view lines, int number)
{
    SensorChip chip;
    const std::string_view driver = KernelText::takeLine(lines);
    chip.driver = textOf(driver);
    chip.model = textOf(KernelText::takeLine(lines)).simplified();
    chip.place = { SensorKinds::kindOf(driver), 0, number, 0,
        QStringLiteral("%1-%2").arg(chip.driver).arg(number), {} };
    chip.isQuiet = false;
    chip.power = -1;
    std::vector<double> values;
    const auto take = [&values](std::string_view& line) {
        values.push_back(KernelText::wholeNumber<double>(KernelText::takeWord(line)).value_or(0));
        return int(values.size()) - 1;
    };
    while (!lines.empty()) {
        std::string_view line = KernelText::takeLine(lines);
        const std::string_view kind = KernelText::takeWord(line);
        const int value = take(line);
        if (kind == "power")
            chip.power = value;
        if (kind != "temp" && kind != "fan")
            continue;
        const int fault = take(line);
        const std::string_view given = KernelText::takeWord(line);
        auto& inputs = kind == "fan" ? chip.fans : chip.temperatures;
        const std::string name = std::string(kind) + std::to_string(inputs.size() + 1);
        const std::string_view label = line.empty() ? std::string_view(name) : line;
        SensorChip::Input& added = inputs.emplace_back(SensorChip::input(driver, name.c_str(), given, label));
        added.value = value;
        added.fault = fault;
    }
    chip.value = [values = std::move(values)](int index) -> std::optional<double> {
        const bool isKnown = index >= 0 && std::isfinite(values[std::size_t(index)]);
        return isKnown ? std::optional(values[std::size_t(index)]) : std::nullopt;
    };
    return chip;
}

void listIsSound(const SensorList::Values& values)
{
    std::set<std::tuple<int, QString, int>> names;
    for (const SensorDevice& device : values.devices) {
        const std::tuple name(device.model.isEmpty() ? int(device.kind) : -1, device.model, device.number);
        expect(names.insert(name).second, "devices have different names");
        bool isOfInput = false;
        for (const SensorInput& input : device.inputs) {
            expect(!input.celsius || (*input.celsius > -60 && *input.celsius < 126),
                "a temperature can be true");
            isOfInput = isOfInput || input.celsius == device.celsius;
        }
        expect(isOfInput, "a device's temperature is that of an input");
    }
    QSet<QString> fans;
    for (const FanSpeed& fan : values.fans) {
        expect(!fan.rpm || (*fan.rpm >= 0 && *fan.rpm < 30000), "a speed can be true");
        expect(fan.label.isEmpty() == (fan.number > 0), "a fan has a name or a number");
        expect(!fans.contains(fan.id), "fans have different ids");
        fans.insert(fan.id);
    }
    expect(!values.gpuWatts || (*values.gpuWatts > 0 && std::isfinite(*values.gpuWatts)),
        "a power is more than none");
}

// Devices, as `device` has them.
void runSensorList(std::string_view input)
{
    std::vector<SensorChip> chips;
    for (const std::string_view lines : parts(input, mostDevices)) {
        if (!lines.empty())
            chips.push_back(device(lines, int(chips.size())));
    }
    // A clock that stands still: no device is slow.
    SensorList list([] { return SensorList::Clock::time_point(); });
    const SensorList::Values values = list.read(chips);
    listIsSound(values);
    const SensorList::Values again = list.read(chips);
    expect(again.devices == values.devices && again.fans == values.fans && again.gpuWatts == values.gpuWatts,
        "the same texts give the same list");
    // What is gone stays, without values.
    const SensorList::Values gone = list.read(std::vector<SensorChip>());
    expect(gone.devices.size() == values.devices.size() && gone.fans.size() == values.fans.size()
            && !gone.gpuWatts,
        "a list keeps its rows");
    for (const SensorDevice& device : gone.devices)
        expect(!device.celsius, "what is gone has no temperature");
}

const FuzzTarget sensorListTarget("SensorList", runSensorList);

} // namespace
} // namespace kestrum
