// SPDX-License-Identifier: MIT
#include "Platform/Machine/Sensors.h"

#include "Platform/Machine/SensorChips.h"

#include <algorithm>

namespace kestrum {
namespace {

using Chips = std::vector<SensorChip>;

void raise(std::optional<double>& highest, std::optional<double> candidate)
{
    if (candidate && (!highest || *candidate > *highest))
        highest = candidate;
}

// The highest temperature of the device's sensors with this rank, in °C.
std::optional<double> hottest(const SensorChip& chip, SensorChip::Rank SensorChip::Input::*rank, int wanted)
{
    const auto isWanted = [=](const SensorChip::Input& input) { return input.*rank == wanted; };
    std::optional<double> highest;
    if (std::none_of(chip.temperatures.begin(), chip.temperatures.end(), isWanted) || chip.isAsleep())
        return highest;
    for (const SensorChip::Input& input : chip.temperatures) {
        if (isWanted(input))
            raise(highest, chip.celsius(input));
    }
    return highest;
}

// The highest temperature of the sensors with the best rank, in °C. Sensors of the next rank are read only if no sensor
// of the better ranks can be read.
std::optional<double> best(const Chips& chips, SensorChip::Rank SensorChip::Input::*rank)
{
    std::optional<double> highest;
    for (SensorChip::Rank wanted = 1; wanted <= SensorChip::worstRank && !highest; ++wanted) {
        for (const SensorChip& chip : chips)
            raise(highest, hottest(chip, rank, wanted));
    }
    return highest;
}

} // namespace

std::optional<Sensors::Values> Sensors::read(const Wanted& wanted)
{
    Values values;
    if (!wanted.any())
        return values;
    const SensorChips::Lock lock = SensorChips::ofThisMachine().lock();
    if (!lock)
        return std::nullopt;
    const Chips& chips = SensorChips::ofThisMachine().present();
    for (const SensorChip& chip : chips) {
        const bool isForHeat = wanted.hottest && !chip.isQuiet && !chip.temperatures.empty();
        const bool isForFans = wanted.fan && !chip.fans.empty();
        if (!(isForHeat || isForFans) || chip.isAsleep())
            continue;
        if (isForHeat) {
            for (const SensorChip::Input& input : chip.temperatures)
                raise(values.hottest, chip.celsius(input));
        }
        if (isForFans) {
            for (const SensorChip::Input& input : chip.fans)
                raise(values.fan, chip.rpm(input));
        }
    }
    if (wanted.cpu)
        values.cpu = best(chips, &SensorChip::Input::cpu);
    if (wanted.gpu)
        values.gpu = best(chips, &SensorChip::Input::gpu);
    return values;
}

} // namespace kestrum
