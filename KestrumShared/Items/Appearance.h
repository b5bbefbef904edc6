// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/MeterSettings.h"

#include <QColor>

namespace kestrum {

/// Everything that a drawing of items asks of the settings, as it was at one moment. A drawing or measuring reads it once and
/// passes it down: a save in between cannot give a picture with two styles. Never kept from one drawing to the next.
struct Appearance {
    /// The settings as they are now. Looks the store up once.
    static Appearance current() { return Appearance(SharedSettings::store().snapshot()); }

    explicit Appearance(SettingsSnapshot values)
        : settings(std::move(values))
        , shape(value(Keys::meterShape))
        , hasLetters(value(Keys::meterLabelStyle) == MeterLabelStyle::letters)
    {
    }

    /// What only one section asks for, by its key.
    template <class T> T value(const Key<T>& key) const { return valueIn(settings, key); }
    template <class Readout> Readout readout(const UnregisteredKey<Readout>& key) const
    {
        return MeterSettings::readout(key, settings);
    }
    QColor accent(const UnregisteredKey<MeterAccent>& key) const
    {
        return MeterSettings::accent(key, settings).color();
    }

    /// The gap on each side of a meter, in points.
    double gap() const { return hasLetters ? 3 : 5; }

    SettingsSnapshot settings;
    MeterShape shape;
    bool hasLetters; ///< rather than icons
};

} // namespace kestrum
