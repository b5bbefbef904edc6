// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/UserDefaults.h"

#include <QJsonValue>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// What kind of value a key takes.
enum class KeyType { truth, number, text };

struct CatalogueKey {
    QString name;
    KeyType type;
};

/// The settings' keys as the program's users name them.
namespace KeyCatalogue {

/// Every catalogued key, those with a factory default first.
const QList<CatalogueKey>& keys();

/// "true or false", "a number", "a text".
const char* description(KeyType type);

/// Why `value` cannot be stored under `key`: the key is not in the catalogue, or takes another type. Nothing
/// when it can; a text that no reader understands is no reason, since readers fall back by themselves.
std::optional<QString> refusal(const QString& key, const QJsonValue& value);

bool contains(const QString& key);

/// The sentence about a key that is neither in the catalogue nor in effect in `store`; nothing when it is one
/// or the other.
std::optional<QString> unknownKey(const QString& key, const UserDefaults& store);

/// The shared settings with the factory defaults below them, so that they read as in the application.
UserDefaults& openedStore();

} // namespace KeyCatalogue
} // namespace kestrum
