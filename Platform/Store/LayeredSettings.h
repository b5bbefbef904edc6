// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/SettingsSnapshot.h"

#include <QJsonObject>
#include <QStringList>

namespace kestrum {

/// Three layers of values, each hiding the ones below: stored, the administrator's, registered. A look-up takes some
/// nanoseconds. A change of a layer rebuilds the table of effective values.
class LayeredSettings {
public:
    /// The effective values now. The reference is valid until a layer changes, a copy for good.
    const SettingsSnapshot& snapshot() const { return m_inEffect; }

    const QJsonObject& stored() const { return m_stored; }
    /// All keys of all layers, each with its effective value. Builds a new object.
    QJsonObject inEffect() const;

    /// The first two replace a layer; the last one adds to a layer. `setStored` gives the keys whose effective value changed, in
    /// no order.
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
