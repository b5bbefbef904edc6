#pragma once

#include "KestrumShared/Settings/SharedSettings.h"

#include <QJsonObject>

namespace kestrum {

/// Makes the factory defaults known to the settings suite, as every program does at its start.
inline void registerFactoryDefaults()
{
    SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
}

/// Removes all that is stored in the suite, which the test before may have left.
inline void forgetSettings()
{
    SharedSettings::store().apply({}, SharedSettings::store().storedDictionary().keys());
}

/// The text that is stored for a key, whatever its default; empty when there is none.
inline QString storedText(const char* key)
{
    return SharedSettings::store().storedDictionary().value(QLatin1StringView(key)).toString();
}

} // namespace kestrum
