// SPDX-License-Identifier: MIT
#include "kestrumctl/KeyCatalogue.h"

#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/NearestNames.h"

#include <algorithm>
#include <tuple>
#include <type_traits>

namespace kestrum {

namespace {

// Enumerations and accents are stored as texts.
template <class T>
constexpr QJsonValue::Type typeOf = std::is_same_v<T, bool> ? QJsonValue::Bool
    : std::is_same_v<T, double>                             ? QJsonValue::Double
                                                            : QJsonValue::String;

template <class Tuple> void append(QList<CatalogueKey>& keys, const Tuple& catalogue)
{
    std::apply(
        [&keys](const auto&... key) {
            (keys.append(
                 { QLatin1StringView(key.name), typeOf<typename std::remove_cvref_t<decltype(key)>::Value> }),
                ...);
        },
        catalogue);
}

const CatalogueKey* find(const QString& name)
{
    const auto& keys = KeyCatalogue::keys();
    const auto found = std::find_if(
        keys.begin(), keys.end(), [&name](const CatalogueKey& key) { return key.name == name; });
    return found == keys.end() ? nullptr : &*found;
}

QString unknown(const QString& key, QStringList names)
{
    for (const CatalogueKey& known : KeyCatalogue::keys()) {
        if (!names.contains(known.name))
            names.append(known.name);
    }
    return NearestNames::unknown("key", key, names);
}

} // namespace

const QList<CatalogueKey>& KeyCatalogue::keys()
{
    static const QList<CatalogueKey> keys = [] {
        QList<CatalogueKey> all;
        append(all, Keys::registered);
        append(all, Keys::unregistered);
        return all;
    }();
    return keys;
}

const char* KeyCatalogue::description(QJsonValue::Type type)
{
    return type == QJsonValue::Bool ? "true or false" : type == QJsonValue::Double ? "a number" : "a text";
}

std::optional<QString> KeyCatalogue::refusal(const QString& key, const QJsonValue& value)
{
    const CatalogueKey* known = find(key);
    if (!known)
        return unknown(key, {});
    if (value.type() == known->type)
        return std::nullopt;
    return QStringLiteral("key \"%1\" takes %2, not %3")
        .arg(key, QLatin1StringView(description(known->type)), JsonText::shortened(value));
}

bool KeyCatalogue::contains(const QString& key)
{
    return find(key) != nullptr;
}

std::optional<QString> KeyCatalogue::unknownKey(const QString& key, const UserDefaults& store)
{
    const QStringList inEffect = store.dictionary().keys();
    if (contains(key) || inEffect.contains(key))
        return std::nullopt;
    return unknown(key, inEffect);
}

UserDefaults& KeyCatalogue::openedStore()
{
    UserDefaults& store = SharedSettings::store();
    store.registerDefaults(SharedSettings::factoryDefaults());
    return store;
}

} // namespace kestrum
