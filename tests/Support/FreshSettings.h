#pragma once

#include "KestrumShared/Settings/SharedSettings.h"

#include <QJsonObject>

namespace kestrum {

/// Registers the factory defaults in the settings suite, as every program does at its start.
inline void registerFactoryDefaults()
{
    SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
}

/// Removes all values that an earlier test has stored in the suite.
inline void forgetSettings()
{
    SharedSettings::store().apply({}, SharedSettings::store().storedDictionary().keys());
}

/// The text that is stored for a key, without its default; empty when there is none.
inline QString storedText(const char* key)
{
    return SharedSettings::store().storedDictionary().value(QLatin1StringView(key)).toString();
}

} // namespace kestrum
