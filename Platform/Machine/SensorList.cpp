// SPDX-License-Identifier: MIT
#include "Platform/Machine/SensorList.h"

#include <QHash>
#include <algorithm>
#include <utility>

namespace kestrum {
namespace {

using Kind = SensorDevice::Kind;

// The name that the user gave to the only sensor that can stand for the device; empty if there is none.
QString nameByUser(const SensorChip& chip)
{
    const SensorChip::Input* best = nullptr;
    bool isOnly = false;
    for (const SensorChip::Input& input : chip.temperatures) {
        if (best && input.own > best->own)
            continue;
        isOnly = !best || input.own < best->own;
        best = &input;
    }
    return isOnly && best->isNamedByUser ? best->label : QString();
}

QString modelOf(const SensorChip& chip)
{
    const QString name = nameByUser(chip);
    if (!name.isEmpty() || chip.place.kind != Kind::other)
        return name.isEmpty() ? chip.model : name;
    return chip.driver.isEmpty() ? chip.place.id : chip.driver;
}

// Devices of the same name get numbers, in the order of their buses.
void numberAlike(QList<SensorDevice>& devices)
{
    const auto name = [](const SensorDevice& device) {
        return std::pair(device.model.isEmpty() ? int(device.kind) : -1, device.model);
    };
    QHash<std::pair<int, QString>, int> counts;
    for (const SensorDevice& device : devices)
        ++counts[name(device)];
    counts.removeIf([](const auto& entry) { return entry.value() == 1; });
    for (auto device = devices.rbegin(); device != devices.rend(); ++device) {
        const auto count = counts.find(name(*device));
        if (count != counts.end())
            device->number = (*count)--;
    }
}

} // namespace

std::optional<SensorList::Values> SensorList::read()
{
    const SensorChips::Lock lock = SensorChips::ofThisMachine().lock();
    if (!lock)
        return std::nullopt;
    return read(SensorChips::ofThisMachine().present());
}

SensorList::Values SensorList::read(const std::vector<SensorChip>& chips)
{
    if (m_isNewOpening.exchange(false))
        m_chips.clear();
    for (auto& [place, chip] : m_chips)
        chip.isPresent = false;
    for (const SensorChip& chip : chips) {
        if (chip.isQuiet)
            continue;
        Chip& known = m_chips.try_emplace(chip.place).first->second;
        if (known.seenInputs.size() != chip.temperatures.size() || known.seenFans.size() != chip.fans.size())
            known = adopted(chip);
        known.isPresent = true;
        read(chip, known);
    }
    Values values;
    for (auto& [place, chip] : m_chips) {
        if (!chip.isPresent)
            forget(chip);
        if (chip.watts)
            values.gpuWatts = values.gpuWatts.value_or(0) + *chip.watts;
    }
    values.devices = devices();
    values.fans = fans();
    return values;
}

SensorList::Chip SensorList::adopted(const SensorChip& chip)
{
    Chip known;
    known.model = modelOf(chip);
    for (const SensorChip::Input& input : chip.temperatures) {
        // Memory modules have one sensor each, and are told apart by their sockets.
        const bool isModule = chip.place.kind == Kind::memory && input.label == input.name;
        known.inputs.append({ isModule ? chip.place.id : input.label, {} });
    }
    for (const SensorChip::Input& input : chip.fans) {
        const QString label = input.label == input.name ? QString() : input.label;
        known.fans.append({ chip.place.id + u'/' + input.name, label, 0, {} });
    }
    known.seenInputs.resize(chip.temperatures.size());
    known.seenFans.resize(chip.fans.size());
    return known;
}

void SensorList::forget(Chip& known)
{
    for (SensorInput& input : known.inputs)
        input.celsius.reset();
    for (FanSpeed& fan : known.fans)
        fan.rpm.reset();
    known.celsius.reset();
    known.watts.reset();
    known.isAsleep = false;
    known.pace.reset();
    known.isOld = false;
}

void SensorList::read(const SensorChip& chip, Chip& known) const
{
    if (chip.isAsleep()) {
        forget(known);
        known.isAsleep = true;
        known.isSeen = !chip.temperatures.empty();
        return;
    }
    known.isAsleep = false;
    known.isOld = known.pace.isPassedOver();
    if (known.isOld)
        return;
    const auto begin = m_now();
    known.celsius.reset();
    SensorChip::Rank best = 0;
    for (std::size_t index = 0; index < chip.temperatures.size(); ++index) {
        const SensorChip::Input& input = chip.temperatures[index];
        const auto celsius = chip.celsius(input);
        known.inputs[qsizetype(index)].celsius = celsius;
        if (!celsius)
            continue;
        known.seenInputs[index] = known.isSeen = true;
        if (!known.celsius || input.own < best || (input.own == best && *celsius > *known.celsius)) {
            known.celsius = celsius;
            best = input.own;
        }
    }
    for (std::size_t index = 0; index < chip.fans.size(); ++index) {
        const auto rpm = chip.rpm(chip.fans[index]);
        known.fans[qsizetype(index)].rpm = rpm;
        known.seenFans[index] = known.seenFans[index] || rpm;
    }
    known.watts = chip.place.kind == Kind::gpu ? chip.watts() : std::nullopt;
    known.pace.wasRead(m_now() - begin);
}

QList<SensorDevice> SensorList::devices() const
{
    QList<SensorDevice> devices;
    for (const auto& [place, chip] : m_chips) {
        if (!chip.isSeen)
            continue;
        SensorDevice device { place.id, place.kind, 0, chip.model, chip.celsius, chip.isAsleep, {},
            chip.isOld };
        for (std::size_t index = 0; index < chip.seenInputs.size(); ++index) {
            if (chip.seenInputs[index])
                device.inputs.append(chip.inputs[qsizetype(index)]);
        }
        // A machine has up to dozens of modules, all about as warm: they are one device with one input each.
        const auto modules
            = std::find_if(devices.begin(), devices.end(), [&device](const SensorDevice& other) {
                  return device.kind == Kind::memory && other.kind == Kind::memory
                      && device.model == other.model;
              });
        if (modules == devices.end()) {
            devices.append(std::move(device));
        } else {
            modules->inputs += device.inputs;
            modules->celsius = std::max(modules->celsius, device.celsius);
        }
    }
    numberAlike(devices);
    return devices;
}

// Graphics cards come last: of the fans without a name, those of the mainboard have the mainboard's numbers.
QList<FanSpeed> SensorList::fans() const
{
    QList<FanSpeed> fans;
    int unnamed = 0;
    for (const bool isOfGraphics : { false, true }) {
        for (const auto& [place, chip] : m_chips) {
            if ((place.kind == Kind::gpu) != isOfGraphics)
                continue;
            for (std::size_t index = 0; index < chip.seenFans.size(); ++index) {
                FanSpeed fan = chip.fans[qsizetype(index)];
                if (fan.label.isEmpty())
                    fan.number = ++unnamed;
                if (chip.seenFans[index])
                    fans.append(fan);
            }
        }
    }
    return fans;
}

} // namespace kestrum
