// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/SettingsSnapshot.h"

#include <QJsonObject>
#include <QStringList>

namespace kestrum {

/// Three layers of settings, from top to bottom: stored, administrator's and registered values. A key's effective value is in
/// the highest layer with this key. A look-up takes some nanoseconds. Changing a layer rebuilds the table of effective values.
class LayeredSettings {
public:
    /// The current effective values. The reference is valid until a layer changes; a copy stays valid.
    const SettingsSnapshot& snapshot() const { return m_inEffect; }

    const QJsonObject& stored() const { return m_stored; }
    /// All keys of all layers, each with its effective value. Builds a new object.
    QJsonObject inEffect() const;

    /// `setStored` and `setAdministered` replace a layer; `addRegistered` adds to a layer. `setStored` returns the keys whose
    /// effective value changed, in no particular order.
    QStringList setStored(const QJsonObject& values);
    void setAdministered(const QJsonObject& values);
    void addRegistered(const QJsonObject& values);

private:
    void rebuild();

    QJsonObject m_stored;
    QJsonObject m_administered;
    QJsonObject m_registered;
    SettingsSnapshot m_inEffect;
};

} // namespace kestrum
