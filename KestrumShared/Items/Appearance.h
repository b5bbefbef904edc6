// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/MeterSettings.h"

#include <QColor>

namespace kestrum {

/// A snapshot of the settings that determine the look of items. Each drawing or measurement creates an object and passes it
/// to all functions that it calls, so that one picture never mixes two styles. Do not reuse an object for the next drawing.
struct Appearance {
    static Appearance current() { return Appearance(SharedSettings::store().snapshot()); }

    explicit Appearance(SettingsSnapshot values)
        : settings(std::move(values))
        , shape(value(Keys::meterShape))
        , hasLetters(value(Keys::meterLabelStyle) == MeterLabelStyle::letters)
    {
    }

    /// The value of a key that is not among the members, because only one section uses it.
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
    bool hasLetters; ///< whether labels are letters; otherwise they are icons
};

} // namespace kestrum
