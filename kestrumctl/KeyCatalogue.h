// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/UserDefaults.h"

#include <QJsonValue>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

struct CatalogueKey {
    QString name;
    QJsonValue::Type type; ///< Bool, Double or String
};

/// The catalogue of all settings' keys, for commands that users give.
namespace KeyCatalogue {

/// All keys of the catalogue, first those with a factory default.
const QList<CatalogueKey>& keys();

/// The type's name in messages: "true or false", "a number" or "a text".
const char* description(QJsonValue::Type type);

/// The reason why `value` cannot be stored under `key`: the key is not in the catalogue, or takes another type. Nothing if it
/// can be stored. An unknown text is accepted, because readers then use the default.
std::optional<QString> refusal(const QString& key, const QJsonValue& value);

bool contains(const QString& key);

/// The error message if `key` is not in the catalogue and has no effective value in `store`; else nothing.
std::optional<QString> unknownKey(const QString& key, const UserDefaults& store);

/// The shared settings. The factory defaults are registered, so that reads give the same values as in the application.
UserDefaults& openedStore();

} // namespace KeyCatalogue
} // namespace kestrum
