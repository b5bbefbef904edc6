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

/// The catalogue of all keys as a list, for checks of the command line.
namespace KeyCatalogue {

/// All keys of the catalogue. The keys with a factory default come first.
const QList<CatalogueKey>& keys();

/// The name of `type` in messages: "true or false", "a number" or "a text".
const char* description(QJsonValue::Type type);

/// The reason why `value` must not be stored under `key`: the key is not in the catalogue, or takes another type. Nothing if
/// the value can be stored. Any text is accepted for a key that takes texts: readers use the default for unknown texts.
std::optional<QString> refusal(const QString& key, const QJsonValue& value);

bool contains(const QString& key);

/// An error message if `key` is not in the catalogue and has no value in `store`; else nothing.
std::optional<QString> unknownKey(const QString& key, const UserDefaults& store);

/// The shared settings with registered factory defaults, so that reads return the same values as in the application.
UserDefaults& openedStore();

} // namespace KeyCatalogue
} // namespace kestrum
