// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/UserDefaults.h"

#include <QJsonValue>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// The type of a key's value.
enum class KeyType { truth, number, text };

struct CatalogueKey {
    QString name;
    KeyType type;
};

/// The settings' keys for the program's users.
namespace KeyCatalogue {

/// Every catalogued key, those with a factory default first.
const QList<CatalogueKey>& keys();

/// "true or false", "a number", "a text".
const char* description(KeyType type);

/// Why `value` cannot be stored under `key`: the key is not in the catalogue, or has another type. Nothing when it can. An
/// unknown text is accepted, since readers fall back to the default.
std::optional<QString> refusal(const QString& key, const QJsonValue& value);

bool contains(const QString& key);

/// The error for a key that is neither in the catalogue nor in effect in `store`; nothing when it is either.
std::optional<QString> unknownKey(const QString& key, const UserDefaults& store);

/// The shared settings with the factory defaults registered, so that they read as in the application.
UserDefaults& openedStore();

} // namespace KeyCatalogue
} // namespace kestrum
