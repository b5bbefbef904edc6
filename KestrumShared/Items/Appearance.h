// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/MeterSettings.h"

#include <QColor>

namespace kestrum {

/// The settings on which the look of items depends, as they were at one moment. A drawing or measurement creates one and
/// passes it on, so that a change of the settings in between cannot give a picture with two styles. Never reuse it for the
/// next drawing.
struct Appearance {
    /// A snapshot of the shared settings as they are now.
    static Appearance current() { return Appearance(SharedSettings::store().snapshot()); }

    explicit Appearance(SettingsSnapshot values)
        : settings(std::move(values))
        , shape(value(Keys::meterShape))
        , hasLetters(value(Keys::meterLabelStyle) == MeterLabelStyle::letters)
    {
    }

    /// The value of a key that only one section uses.
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
    bool hasLetters; ///< letters as labels, not icons
};

} // namespace kestrum
