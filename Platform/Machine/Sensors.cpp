// SPDX-License-Identifier: MIT
#include "Platform/Machine/Sensors.h"

#include <algorithm>

namespace kestrum {
namespace {

void raise(std::optional<double>& highest, std::optional<double> candidate)
{
    if (candidate && (!highest || *candidate > *highest))
        highest = candidate;
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
    if (wanted != m_wanted || m_known.size() != chips.size())
        m_known.clear();
    m_wanted = wanted;
    for (const SensorChip& chip : chips) {
        Known& known = m_known[chip.place];
        known.isOld = known.pace.isPassedOver();
        known.time = {};
    }

    for (const SensorChip& chip : chips) {
        const bool isForHeat = wanted.hottest && !chip.isQuiet && !chip.temperatures.empty();
        const bool isForFans = wanted.fan && !chip.fans.empty();
        if (!(isForHeat || isForFans) || chip.isAsleep())
            continue;
        if (isForHeat) {
            for (const SensorChip::Input& input : chip.temperatures)
                raise(values.hottest, value(chip, input, &SensorChip::celsius));
        }
        if (isForFans) {
            for (const SensorChip::Input& input : chip.fans)
                raise(values.fan, value(chip, input, &SensorChip::rpm));
        }
    }
    if (wanted.cpu)
        values.cpu = best(chips, &SensorChip::Input::cpu);
    if (wanted.gpu)
        values.gpu = best(chips, &SensorChip::Input::gpu);

    for (auto& [place, known] : m_known) {
        if (!known.isOld)
            known.pace.wasRead(known.time);
    }
    return values;
}

std::optional<double> Sensors::value(
    const SensorChip& chip, const SensorChip::Input& input, Quantity quantity)
{
    Known& known = m_known[chip.place];
    if (known.isOld)
        return known.values[input.value];
    const auto begin = m_now();
    const auto value = (chip.*quantity)(input);
    known.time += m_now() - begin;
    known.values[input.value] = value;
    return value;
}

// The highest temperature of the device's sensors with this rank, in °C.
std::optional<double> Sensors::hottest(const SensorChip& chip, Rank rank, int wanted)
{
    const auto isWanted = [=](const SensorChip::Input& input) { return input.*rank == wanted; };
    std::optional<double> highest;
    if (std::none_of(chip.temperatures.begin(), chip.temperatures.end(), isWanted) || chip.isAsleep())
        return highest;
    for (const SensorChip::Input& input : chip.temperatures) {
        if (isWanted(input))
            raise(highest, value(chip, input, &SensorChip::celsius));
    }
    return highest;
}

// The highest temperature of the sensors with the best rank, in °C. Sensors of the next rank are read only if no sensor
// of the better ranks can be read.
std::optional<double> Sensors::best(const Chips& chips, Rank rank)
{
    std::optional<double> highest;
    for (SensorChip::Rank wanted = 1; wanted <= SensorChip::worstRank && !highest; ++wanted) {
        for (const SensorChip& chip : chips)
            raise(highest, hottest(chip, rank, wanted));
    }
    return highest;
}

} // namespace kestrum
